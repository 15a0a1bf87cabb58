#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "diagnostics/archive/DesignListing.h"
#include "tests/diagnostics/archive/SavedGraph.h"
#include "tests/persistence/GoldenFiles.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::HandMadeArchive;
using TestSupport::openStep;
using TestSupport::presentClasses;
using TestSupport::record;
using TestSupport::savedGraph;

std::vector<std::string> paths(const DesignListing& listing) {
  std::vector<std::string> all;
  for (const ArchivedObject& object : listing.objects) {
    all.push_back(object.path + (object.hasPlace ? "" : "?") + (object.module ? "" : " -"));
  }
  return all;
}

std::vector<std::string> texts(const DesignListing& listing) {
  std::vector<std::string> all;
  for (const ArchiveProblem& problem : listing.problems) {
    all.push_back(problem.toString());
  }
  return all;
}

TEST(DesignListing, ListsTheTreeWithStatesAndLinks) {
  const DesignListing listing = listDesign(
      savedGraph("A[active] -> B[inconsistent,frozen,additional] -> M[merge<main+w]; A -> "
                 "(W):w[fork,skipped,badinput] -> M"));
  EXPECT_THAT(texts(listing), IsEmpty());
  EXPECT_THAT(paths(listing), ElementsAre("/ -", "/A", "/B", "/M", "/W"));
  EXPECT_TRUE(listing.hasLinks);
  EXPECT_EQ(listing.bytesBehind, 0U);
  EXPECT_EQ(listing.objects[0].className, "Object");
  EXPECT_EQ(listing.objects[1].className, "Test.StoredModule");
  const ArchivedModule& a = *listing.objects[1].module;
  EXPECT_EQ(a.flags, (SnapshotFlags{true, true, true, false, false}));
  EXPECT_FALSE(a.additional);
  EXPECT_EQ(a.speedRate, 3);
  const ArchivedModule& b = *listing.objects[2].module;
  EXPECT_EQ(b.flags, (SnapshotFlags{false, false, true, true, false}));
  EXPECT_TRUE(b.additional);
  const ArchivedModule& m = *listing.objects[3].module;
  EXPECT_EQ(m.insertMode, ApplyModuleInsertInfo::MergeFork);
  EXPECT_THAT(m.mergeChainIds, ElementsAre(Identifier(), TestSupport::chain("w")));
  const ArchivedModule& w = *listing.objects[4].module;
  EXPECT_EQ(w.flags, (SnapshotFlags{false, true, false, false, true}));
  EXPECT_EQ(w.chainId, TestSupport::chain("w"));
  EXPECT_EQ(w.insertMode, ApplyModuleInsertInfo::StartFork);

  ASSERT_EQ(listing.links.size(), 4U);
  EXPECT_EQ(listing.links[0].path.toString(), "/A");
  EXPECT_THAT(listing.links[0].nextPaths, ElementsAre(Path("/B"), Path("/W")));
  EXPECT_THAT(listing.links[0].previousPaths, IsEmpty());
}

TEST(DesignListing, ListsTheGoldenDesigns) {
  const std::vector<std::string> expected{"/ -",        "/input",       "/teeth", "/body -",
                                          "/body/bore", "/body/keyway", "/rack",  "/check"};
  const DesignListing present = listDesign(TestSupport::goldenFile("design-500002.tsr"));
  EXPECT_THAT(texts(present), IsEmpty());
  EXPECT_EQ(paths(present), expected);
  EXPECT_EQ(present.links.size(), 6U);
  EXPECT_EQ(present.bytesBehind, 12U);
  EXPECT_FALSE(present.objects[6].module->startOfSideChain);
  // Then the record of a module told the starts of forks.
  const DesignListing old = listDesign(TestSupport::goldenFile("design-500000.tsr"));
  EXPECT_EQ(paths(old), expected);
  EXPECT_TRUE(old.objects[6].module->startOfSideChain);
}

TEST(DesignListing, GivesBytesOfObjectsAndOfTheirOwnValues) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1).number(2);
  openStep(archive, "App.Step", "A", "mine").close().close();
  archive.open("ApplyModuleData").number(0).close();
  const std::string bytes = archive.with(presentClasses({{"App.Step", 9}}));
  const DesignListing listing = listDesign(bytes);
  ASSERT_EQ(listing.objects.size(), 2U);
  const ArchivedObject& step = listing.objects[1];
  EXPECT_EQ(step.className, "App.Step");
  EXPECT_EQ(step.begin, 50U);
  ASSERT_EQ(step.ownValues.size(), 1U);
  EXPECT_EQ(
      bytes.substr(step.ownValues[0].first, step.ownValues[0].second - step.ownValues[0].first),
      std::string("\4\0\0\0mine", 8));
  EXPECT_EQ(step.end, step.ownValues[0].second);
}

TEST(DesignListing, FindsBasePartsBelowAClassOfTheApplication) {
  HandMadeArchive archive;
  archive.number(1).open("App.Assembly");
  openStep(archive, "App.Step", "root").close().number(12).close();
  archive.open("ApplyModuleData").number(0).close();
  const DesignListing listing =
      listDesign(archive.with(presentClasses({{"App.Step", 1}, {"App.Assembly", 1}})));
  EXPECT_THAT(texts(listing), IsEmpty());
  EXPECT_THAT(paths(listing), ElementsAre("/"));
  EXPECT_EQ(listing.objects[0].className, "App.Assembly");
}

/// A design without an Object part, whose modules are its members.
std::string membersOnly(std::initializer_list<std::string_view> linked) {
  HandMadeArchive archive;
  archive.number(1).open("App.Design");
  openStep(archive, "App.Step", "A").close();
  openStep(archive, "App.Step", "B").close();
  archive.number(77).close();
  archive.open("ApplyModuleData").number(static_cast<std::uint32_t>(linked.size()));
  for (const std::string_view path : linked) {
    record(archive, path, {}, {});
  }
  return archive.close().with(presentClasses({{"App.Design", 1}, {"App.Step", 1}}));
}

TEST(DesignListing, PlacesMembersWhereTheLinksNameThem) {
  const DesignListing listing =
      listDesign(membersOnly({"/elsewhere/X", "/elsewhere/A", "/pair/A", "/pair/B"}));
  EXPECT_THAT(paths(listing), ElementsAre("/pair -", "/pair/A", "/pair/B"));
}

TEST(DesignListing, LeavesMembersThatNothingNamesWithoutAPlace) {
  EXPECT_THAT(paths(listDesign(membersOnly({}))), ElementsAre("? -", "A?", "B?"));
  EXPECT_THAT(paths(listDesign(membersOnly({"/pair/A"}))), ElementsAre("/pair -", "/pair/A", "B?"));
}

TEST(DesignListing, PutsTheNameOfADesignThatWasSavedBelowTheRootInFront) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("pair").number(1).number(2);
  openStep(archive, "App.Step", "A").close().close();
  archive.open("ApplyModuleData").number(1);
  record(archive, "/pair/A", {}, {}).close();
  EXPECT_THAT(paths(listDesign(archive.with(presentClasses({{"App.Step", 1}})))),
              ElementsAre("/pair -", "/pair/A"));
}

TEST(DesignListing, ReadsTheBeginningOfNewerRecords) {
  HandMadeArchive archive;
  archive.number(1).open("App.Step").open("Object").text("A").number(0).text("new").close();
  archive.open("ApplyModule");
  archive.open("ModuleState").flags({true, true, true, false, false, true}).close();
  archive.flags({false}).number(5);
  archive.open("ApplyModuleInsertInfo").number(0).id({0, 0}).ids({}).text("new").close();
  archive.text("new").close().close();
  archive.open("ApplyModuleData").number(0).close();
  const DesignListing listing = listDesign(archive.with({{"Object", 2},
                                                         {"Identifier", 1},
                                                         {"ModuleState", 500002},
                                                         {"ApplyModule", 500003},
                                                         {"ApplyModuleInsertInfo", 500001},
                                                         {"ApplyModuleData", 500000},
                                                         {"App.Step", 1}}));
  EXPECT_THAT(texts(listing), IsEmpty());
  ASSERT_THAT(paths(listing), ElementsAre("/"));
  EXPECT_EQ(listing.objects[0].module->speedRate, 5);
  EXPECT_TRUE(listing.objects[0].module->flags.active);
}

TEST(DesignListing, PassesOverObjectsAmongTheValuesOfOtherClasses) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(2).number(2);
  openStep(archive, "App.Step", "A");
  // The application's own: a part that is shared by both steps.
  archive.number(3).open("App.Part").number(9).close().close();
  archive.number(4);
  openStep(archive, "App.Step", "B").number(3).close().close();
  archive.open("ApplyModuleData").number(0).close();
  const DesignListing listing =
      listDesign(archive.with(presentClasses({{"App.Step", 1}, {"App.Part", 1}})));
  EXPECT_THAT(texts(listing), IsEmpty());
  EXPECT_THAT(paths(listing), ElementsAre("/ -", "/A", "/B"));
}

TEST(DesignListing, PassesOverAChildThatIsStoredAmongTheValuesOfAnother) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(2).number(2);
  openStep(archive, "App.Step", "A").number(3);
  archive.open("Object").text("hidden").number(0).close().close();
  archive.number(3).close();
  archive.open("ApplyModuleData").number(0).close();
  const DesignListing listing = listDesign(archive.with(presentClasses({{"App.Step", 1}})));
  EXPECT_THAT(texts(listing), IsEmpty());
  EXPECT_THAT(paths(listing), ElementsAre("/ -", "/A"));
  EXPECT_TRUE(listing.hasLinks);
}

TEST(DesignListing, SaysThatAnArchiveHoldsNoDesign) {
  for (const std::string& bytes : {HandMadeArchive().with({}), HandMadeArchive().number(0).with({}),
                                   HandMadeArchive().text("just a text").with(presentClasses())}) {
    const DesignListing listing = listDesign(bytes);
    EXPECT_THAT(texts(listing), ElementsAre("byte 20: no object stands where a design begins"));
    EXPECT_FALSE(listing.hasLinks);
  }
}

TEST(DesignListing, SaysWhenNoLinksStandBehindTheRoot) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(0).close().number(3).number(4);
  const DesignListing listing = listDesign(archive.with(presentClasses()));
  EXPECT_THAT(texts(listing), IsEmpty());
  EXPECT_FALSE(listing.hasLinks);
  EXPECT_EQ(listing.bytesBehind, 8U);
}

TEST(DesignListing, KeepsWhatWasReadBeforeSomethingIsWrong) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(2).number(2);
  openStep(archive, "App.Step", "A").close().number(2).close();
  const DesignListing listing = listDesign(archive.with(presentClasses({{"App.Step", 1}})));
  EXPECT_THAT(paths(listing), ElementsAre("/ -", "/A"));
}

TEST(DesignListing, NamesTheByteWhereAnObjectComesTooEarly) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1).number(5);
  archive.open("Object").text("A").number(0).close().close();
  EXPECT_THAT(texts(listDesign(archive.with(presentClasses()))),
              ElementsAre("byte 46: object 5 behind object 1"));
}

/// An object with children of these names.
std::string parentOf(std::initializer_list<std::string_view> names) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(static_cast<std::uint32_t>(names.size()));
  std::uint32_t number = 2;
  for (const std::string_view name : names) {
    archive.number(number++).open("Object").text(name).number(0).close();
  }
  return archive.close().with(presentClasses());
}

TEST(DesignListing, NamesWhatTheTreeRefuses) {
  EXPECT_THAT(texts(listDesign(parentOf({"A", "B", "A"}))),
              ElementsAre("byte 92: \"design\" has a child \"A\" already"));
  for (const std::string name : {"", ".", "..", "a/b"}) {
    EXPECT_THAT(texts(listDesign(parentOf({name}))),
                ElementsAre("byte 58: \"" + name + "\" cannot be the name of an object"));
  }
}

TEST(DesignListing, RefusesPathsThatWouldTakeMoreMemoryThanThereIs) {
  constexpr std::size_t kSize = 1'000'000;
  constexpr std::uint32_t kChildren = 1000;
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1);
  archive.number(2).open("Object").text(std::string(kSize, 'n')).number(kChildren);
  for (std::uint32_t i = 0; i < kChildren; ++i) {
    archive.number(3 + i).open("Object").text(std::to_string(i)).number(0).close();
  }
  const DesignListing listing = listDesign(archive.close().close().with(presentClasses()));
  EXPECT_THAT(texts(listing), ElementsAre(HasSubstr("the paths of the objects would take 100")));
  EXPECT_TRUE(listing.objects.empty());
}

TEST(DesignListing, RefusesWhatTheArchiverRefusesAndThrowsForNothing) {
  const std::string bytes = savedGraph("A -> B; A -> (S):s[side<main]");
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(listDesign(bytes.substr(0, size)).problems.empty()) << size;
  }
  // With the checksum of the damaged bytes, so that they are read.
  for (std::size_t place = 20; place + 4 < bytes.size(); ++place) {
    for (const int change : {0x01, 0x80, 0xFF}) {
      std::string damaged = bytes;
      damaged[place] = static_cast<char>(damaged[place] ^ change);
      TestSupport::repair(damaged);
      EXPECT_NO_THROW(listDesign(damaged)) << place;
    }
  }
}

}  // namespace
}  // namespace Tessaril::Diagnostics
