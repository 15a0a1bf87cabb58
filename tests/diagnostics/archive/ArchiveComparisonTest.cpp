#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "diagnostics/archive/ArchiveComparison.h"
#include "diagnostics/archive/ArchiveReport.h"
#include "tests/diagnostics/archive/SavedGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using TestSupport::HandMadeArchive;
using TestSupport::openStep;
using TestSupport::presentClasses;
using TestSupport::savedGraph;

std::string difference(const std::string& before, const std::string& after) {
  return textOf(compareArchives(inspectArchive(before), inspectArchive(after)));
}

std::string graphDifference(const std::string& before, const std::string& after) {
  return difference(savedGraph(before), savedGraph(after));
}

TEST(ArchiveComparison, NothingBetweenEqualArchives) {
  const std::string bytes = savedGraph("A -> B; A -> (S):s[side<main]");
  EXPECT_TRUE(compareArchives(inspectArchive(bytes), inspectArchive(bytes)).isEmpty());
  EXPECT_EQ(difference(bytes, bytes), "");
}

TEST(ArchiveComparison, ObjectsThatWereAddedAndRemoved) {
  EXPECT_EQ(graphDifference("A; B", "A; C"),
            "- object /B, Test.StoredModule\n+ object /C, Test.StoredModule\n");
}

TEST(ArchiveComparison, FlagsOfModules) {
  EXPECT_EQ(graphDifference("A", "A[active,inconsistent,badinput,frozen,skipped,additional]"),
            "~ object /A: active no -> yes, consistent yes -> no, input ok yes -> no, "
            "frozen no -> yes, skipped no -> yes, additional no -> yes\n");
}

TEST(ArchiveComparison, ChainsOfModules) {
  const std::string w = TestSupport::chain("w").toString();
  EXPECT_EQ(graphDifference("A -> B", "A -> B:w[fork]"),
            "~ object /B: insert mode addToChain -> startFork, chain main chain -> " + w + "\n");
  EXPECT_EQ(graphDifference("A[merge<main]", "A[merge<main+w]"),
            "~ object /A: merge chains main chain -> main chain, " + w + "\n");
}

TEST(ArchiveComparison, StartsOfSideChainsAndOrders) {
  EXPECT_EQ(graphDifference("A -> B", "A -> (B)"),
            "~ object /B: start of a side chain no -> yes\n");
  EXPECT_EQ(graphDifference("A; B; C; A -> B; A -> C", "A; B; C; A -> C; A -> B"),
            "~ object /A: order of next modules changed\n");
}

TEST(ArchiveComparison, LinksInBothListsOrInOne) {
  EXPECT_EQ(graphDifference("A; B; C; A -> B", "A; B; C; A -> C"),
            "- link /A -> /B\n+ link /A -> /C\n");
  EXPECT_EQ(graphDifference("A; B", "A; B; A ->. B"),
            "+ link /A -> /B (only as a next module of the first)\n");
  EXPECT_EQ(graphDifference("A -> B", "A; B; A ->. B"),
            "- link /A -> /B (only as a previous module of the second)\n");
}

TEST(ArchiveComparison, ARepeatedEntryIsADifference) {
  EXPECT_EQ(graphDifference("A -> B", "A -> B; A ->. B"),
            "+ link /A -> /B (only as a next module of the first)\n");
}

HandMadeArchive stepBegun(const std::string& rootName, const std::string& note) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text(rootName).number(1).number(2);
  return openStep(archive, "App.Step", "A", note);
}

std::string stepEnded(HandMadeArchive archive, unsigned int version = 1,
                      const std::string& behind = {}) {
  archive.close().close().open("ApplyModuleData").number(0).close();
  if (!behind.empty()) {
    archive.text(behind);
  }
  return archive.with(presentClasses({{"App.Step", version}, {"App.Part", 1}}));
}

TEST(ArchiveComparison, ClassesAndTheirVersions) {
  EXPECT_EQ(difference(stepEnded(stepBegun("r", "")), stepEnded(stepBegun("r", ""), 2)),
            "~ class App.Step: version 1 -> version 2\n");
  EXPECT_EQ(difference(savedGraph("A"), HandMadeArchive().with({})).substr(0, 46),
            "- class Object: version 1 -> not there\n- class");
}

TEST(ArchiveComparison, TwoClassesOfOneNameAreTwo) {
  std::string bytes = HandMadeArchive().with({{"App.A", 1}, {"App.B", 2}});
  // The name of the second class; its type id stays.
  bytes[bytes.rfind("App.B") + 4] = 'A';
  TestSupport::repair(bytes);
  EXPECT_EQ(difference(bytes, bytes), "");
}

TEST(ArchiveComparison, OwnValuesAsBytes) {
  EXPECT_EQ(difference(stepEnded(stepBegun("r", "red")), stepEnded(stepBegun("r", "blu"))),
            "~ object /A: own values changed\n");
  EXPECT_EQ(difference(stepEnded(stepBegun("r", "red")), stepEnded(stepBegun("r", "blue"))),
            "~ object /A: own values changed\n");
}

TEST(ArchiveComparison, AddressesAndNumbersWithinOwnValuesDoNotCount) {
  // The longer name of the root moves everything behind it.
  HandMadeArchive before = stepBegun("r", "");
  before.number(3).open("App.Part").number(7).close();
  HandMadeArchive after = stepBegun("a longer root", "");
  after.number(3).open("App.Part").number(7).close();
  EXPECT_EQ(difference(stepEnded(before), stepEnded(after)), "");
  // Another object before it gives the part another number.
  HandMadeArchive third;
  third.number(1).open("Object").text("r").number(2).number(2);
  third.open("Object").text("first").number(0).close().number(3);
  openStep(third, "App.Step", "A").number(4).open("App.Part").number(7).close();
  EXPECT_EQ(difference(stepEnded(before), stepEnded(third)), "+ object /first, Object\n");
  // A value in the part counts.
  HandMadeArchive changed = stepBegun("r", "");
  changed.number(3).open("App.Part").number(8).close();
  EXPECT_EQ(difference(stepEnded(before), stepEnded(changed)), "~ object /A: own values changed\n");
}

TEST(ArchiveComparison, APlainNumberBeforeABlockCounts) {
  HandMadeArchive before = stepBegun("r", "");
  before.number(7).open("App.Part").number(1).close();
  HandMadeArchive after = stepBegun("r", "");
  after.number(8).open("App.Part").number(1).close();
  EXPECT_EQ(difference(stepEnded(before), stepEnded(before)), "");
  EXPECT_EQ(difference(stepEnded(before), stepEnded(after)), "~ object /A: own values changed\n");
}

/// A step with a part that it shares, behind that many other objects.
std::string stepBehind(std::uint32_t others) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("r").number(others + 1);
  for (std::uint32_t i = 0; i < others; ++i) {
    archive.number(2 + i).open("Object").text(std::to_string(i)).number(0).close();
  }
  archive.number(2 + others);
  openStep(archive, "App.Step", "A").number(3 + others).open("App.Part").number(7).close();
  return stepEnded(archive);
}

TEST(ArchiveComparison, NumbersOfNewObjectsDoNotCountHoweverManyThereAre) {
  // The numbers differ in their second byte only.
  const std::string text = difference(stepBehind(4), stepBehind(4 + 256));
  EXPECT_THAT(text, testing::StartsWith("+ object /4, Object\n"));
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("own values")));
}

TEST(ArchiveComparison, ObjectsOfOnePathAreComparedInTheirOrder) {
  const auto withoutPlaces = [](const std::vector<std::string>& notes) {
    HandMadeArchive archive;
    archive.number(1).open("App.Design");
    for (const std::string& note : notes) {
      openStep(archive, "App.Step", "A", note).close();
    }
    archive.close().open("ApplyModuleData").number(0).close();
    return archive.with(presentClasses({{"App.Design", 1}, {"App.Step", 1}}));
  };
  EXPECT_EQ(difference(withoutPlaces({"x", "y"}), withoutPlaces({"x", "y"})), "");
  EXPECT_EQ(difference(withoutPlaces({"x", "y"}), withoutPlaces({"x", "z"})),
            "~ object A: own values changed\n");
  EXPECT_EQ(difference(withoutPlaces({"x", "y", "z"}), withoutPlaces({"x", "y"})),
            "- object A, App.Step\n");
  EXPECT_EQ(difference(withoutPlaces({"x", "y"}), withoutPlaces({"x", "y", "z"})),
            "+ object A, App.Step\n");
}

TEST(ArchiveComparison, BytesBehindTheLinks) {
  EXPECT_EQ(difference(stepEnded(stepBegun("r", "")), stepEnded(stepBegun("r", ""), 1, "more")),
            "~ the application's own values behind the links changed\n");
}

TEST(ArchiveComparison, TheSameFactsAsJson) {
  const auto json =
      toJson(compareArchives(inspectArchive(savedGraph("A; B; C; A -> B; A -> C")),
                             inspectArchive(savedGraph("A[active]; B; D; A -> D; A ->. B"))));
  EXPECT_EQ(json.dump(),
            R"({"classes":[],"removedObjects":[{"path":"/C","class":"Test.StoredModule"}],)"
            R"("addedObjects":[{"path":"/D","class":"Test.StoredModule"}],)"
            R"("changedObjects":[{"path":"/A","changes":[{"what":"active","before":"no",)"
            R"("after":"yes"}]}],)"
            R"("removedLinks":[{"from":"/A","to":"/B","inNext":false,"inPrevious":true},)"
            R"({"from":"/A","to":"/C","inNext":true,"inPrevious":true}],)"
            R"("addedLinks":[{"from":"/A","to":"/D","inNext":true,"inPrevious":true}],)"
            R"("bytesBehindDiffer":false})");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
