#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "diagnostics/archive/ArchiveInspector.h"
#include "tests/diagnostics/archive/SavedGraph.h"
#include "tests/persistence/GoldenFiles.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::HandMadeArchive;
using TestSupport::openStep;
using TestSupport::presentClasses;
using TestSupport::record;
using TestSupport::savedGraph;

std::vector<std::string> texts(const std::vector<DroppedLink>& links) {
  std::vector<std::string> all;
  for (const DroppedLink& link : links) {
    all.push_back(link.toString());
  }
  return all;
}

const InspectedClass& classNamed(const InspectedArchive& archive, const std::string& name) {
  return *std::find_if(archive.classes.begin(), archive.classes.end(),
                       [&name](const InspectedClass& known) { return known.name == name; });
}

/// A design "design" with the modules A and B and the plain object "box", and links that the test
/// adds.
HandMadeArchive smallDesign(std::uint32_t records) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(3).number(2);
  openStep(archive, "App.Step", "A").close().number(3);
  openStep(archive, "App.Step", "B").close().number(4);
  archive.open("Object").text("box").number(0).close().close();
  archive.open("ApplyModuleData").number(records);
  return archive;
}

InspectedArchive inspected(HandMadeArchive& archive) {
  return inspectArchive(archive.close().with(presentClasses({{"App.Step", 1}})));
}

TEST(ArchiveInspector, ComparesVersionsWithThoseKnownHere) {
  HandMadeArchive archive;
  archive.open("ModuleState").close().open("ModuleState").close();
  const InspectedArchive inspectedArchive = inspectArchive(archive.with(
      {{"ModuleState", 53014}, {"ApplyModule", 500003}, {"Path", 1}, {"Strange.Box", 2}}));
  const InspectedClass& older = classNamed(inspectedArchive, "ModuleState");
  EXPECT_EQ(older.standing(), ClassStanding::Older);
  EXPECT_EQ(older.versionHere, 500001U);
  EXPECT_EQ(older.blocks, 2U);
  const InspectedClass& newer = classNamed(inspectedArchive, "ApplyModule");
  EXPECT_EQ(newer.standing(), ClassStanding::Newer);
  EXPECT_EQ(newer.versionHere, 500002U);
  EXPECT_EQ(newer.blocks, 0U);
  EXPECT_EQ(classNamed(inspectedArchive, "Path").standing(), ClassStanding::Current);
  const InspectedClass& unknown = classNamed(inspectedArchive, "Strange.Box");
  EXPECT_EQ(unknown.standing(), ClassStanding::Unknown);
  EXPECT_FALSE(unknown.versionHere.has_value());
}

TEST(ArchiveInspector, CountsTheBlocksOfAClassWithAnAbsurdlyLongName) {
  const std::string name(5000, 'n');
  HandMadeArchive archive;
  archive.open(name).close().open(name).close();
  EXPECT_EQ(classNamed(inspectArchive(archive.with({{name, 1}})), name).blocks, 2U);
}

TEST(ArchiveInspector, NamesEachProblemOnce) {
  std::string bytes = savedGraph("A");
  bytes.pop_back();
  const InspectedArchive archive = inspectArchive(bytes);
  ASSERT_EQ(archive.problems().size(), 1U);
  EXPECT_EQ(archive.problems()[0].text, "cut at byte " + std::to_string(bytes.size()) + " of " +
                                            std::to_string(bytes.size() + 1));
}

// Links that restoring would drop

TEST(DroppedLinks, NoneOfAWholeDesign) {
  EXPECT_THAT(texts(inspectArchive(savedGraph("A -> B -> C; A -> C")).droppedLinks), IsEmpty());
  for (const std::string name : {"design-500000.tsr", "design-500002.tsr"}) {
    EXPECT_THAT(texts(inspectArchive(TestSupport::goldenFile(name)).droppedLinks), IsEmpty());
  }
}

TEST(DroppedLinks, NeighboursThatAreNoModules) {
  HandMadeArchive archive = smallDesign(2);
  record(archive, "/A", {"/gone"}, {"/B", "/box", ""});
  record(archive, "/B", {"/A"}, {});
  EXPECT_THAT(
      texts(inspected(archive).droppedLinks),
      ElementsAre("/A: /gone, a previous module, leads nowhere, so the link is dropped",
                  "/A: /box, a next module, leads to an object that is no module, so the link is "
                  "dropped",
                  "/A: the empty path, a next module, leads nowhere, so the link is dropped"));
}

TEST(DroppedLinks, RecordsThatLeadToNoModule) {
  HandMadeArchive archive = smallDesign(2);
  record(archive, "/gone", {"/A"}, {"/nobody"});
  record(archive, "/box", {}, {});
  EXPECT_THAT(texts(inspected(archive).droppedLinks),
              ElementsAre("/gone leads nowhere, so its record is left out",
                          "/box leads to an object that is no module, so its record is left out"));
}

TEST(DroppedLinks, RecordsThatALaterOneReplaces) {
  HandMadeArchive archive = smallDesign(3);
  record(archive, "/A", {"/gone"}, {});
  record(archive, "/B", {}, {});
  record(archive, "/A", {}, {});
  EXPECT_THAT(texts(inspected(archive).droppedLinks),
              ElementsAre("/A has another record behind this one, and that one counts"));
}

TEST(DroppedLinks, PathsAreFollowedAsTheTreeFollowsThem) {
  HandMadeArchive archive = smallDesign(1);
  record(archive, "A", {"/box/../B"}, {"/../B"});
  EXPECT_THAT(texts(inspected(archive).droppedLinks),
              ElementsAre("A: /../B, a next module, leads nowhere, so the link is dropped"));
}

TEST(DroppedLinks, APathDoesNotLeadThroughWhatIsNotThere) {
  HandMadeArchive archive = smallDesign(2);
  record(archive, "/A", {}, {"/gone/../B", "/box/.."});
  record(archive, "/gone/../A", {}, {});
  EXPECT_THAT(
      texts(inspected(archive).droppedLinks),
      ElementsAre(
          "/A: /gone/../B, a next module, leads nowhere, so the link is dropped",
          "/A: /box/.., a next module, leads to an object that is no module, so the link is "
          "dropped",
          "/gone/../A leads nowhere, so its record is left out"));
}

TEST(DroppedLinks, TheRootAboveADesignIsAnObjectToo) {
  HandMadeArchive archive = smallDesign(1);
  record(archive, "/design/A", {}, {"/", "/design", "/design/B"});
  EXPECT_THAT(texts(inspected(archive).droppedLinks),
              ElementsAre("/design/A: /, a next module, leads to an object that is no module, so "
                          "the link is dropped",
                          "/design/A: /design, a next module, leads to an object that is no "
                          "module, so the link is dropped"));
}

// The graph of a file

TEST(StoredGraph, HoldsWhatTheFileHolds) {
  const GraphSnapshot snapshot = snapshotOf(inspectArchive(
      savedGraph("A[active] -> M[merge<main+w]; A -> (W):w[fork<main,frozen] -> M")));
  EXPECT_TRUE(snapshot.stored);
  ASSERT_EQ(snapshot.modules.size(), 3U);
  const SnapshotModule& a = snapshot.modules[0];
  EXPECT_EQ(a.name, "/A");
  EXPECT_EQ(a.className, "Test.StoredModule");
  EXPECT_TRUE(a.exists);
  EXPECT_EQ(a.recordCount, 1U);
  EXPECT_TRUE(a.flags->active);
  EXPECT_EQ(a.speedRate, 3);
  ASSERT_EQ(a.next.size(), 2U);
  EXPECT_EQ(snapshot.modules[*a.next[0].module].name, "/M");
  EXPECT_EQ(snapshot.modules[*a.next[1].module].name, "/W");
  const auto w = std::find_if(snapshot.modules.begin(), snapshot.modules.end(),
                              [](const SnapshotModule& module) { return module.name == "/W"; });
  EXPECT_TRUE(w->startOfSideChain);
  EXPECT_TRUE(w->flags->frozen);
  EXPECT_EQ(w->insertMode, ApplyModuleInsertInfo::StartFork);
  EXPECT_EQ(w->chainId, TestSupport::chain("w"));
  EXPECT_EQ(w->startChainId, Identifier());
  const auto m = std::find_if(snapshot.modules.begin(), snapshot.modules.end(),
                              [](const SnapshotModule& module) { return module.name == "/M"; });
  EXPECT_THAT(m->mergeChainIds, ElementsAre(Identifier(), TestSupport::chain("w")));
}

TEST(StoredGraph, EntriesThatRestoringDropsAreDead) {
  HandMadeArchive archive = smallDesign(2);
  record(archive, "/A", {"/gone"}, {"/B", "/box"});
  record(archive, "/gone", {}, {"/A"});
  const GraphSnapshot snapshot = snapshotOf(inspected(archive));
  ASSERT_EQ(snapshot.modules.size(), 3U);
  const SnapshotModule& a = snapshot.modules[0];
  EXPECT_EQ(a.previous[0], (SnapshotLink{{}, "/gone"}));
  // B has no record: it is there all the same, behind the others.
  EXPECT_EQ(a.next[0], (SnapshotLink{2, "/B"}));
  EXPECT_EQ(a.next[1], (SnapshotLink{{}, "/box"}));
  EXPECT_EQ(snapshot.modules[1].name, "/gone");
  EXPECT_FALSE(snapshot.modules[1].exists);
  EXPECT_EQ(snapshot.modules[2].name, "/B");
  EXPECT_TRUE(snapshot.modules[2].exists);
  EXPECT_EQ(snapshot.modules[2].recordCount, 0U);
}

TEST(StoredGraph, AnEmptyPathLeadsToNoModuleEvenIfOneHasNoName) {
  // The module has no Object part, so it has neither name nor place.
  HandMadeArchive archive;
  archive.number(1).open("App.Design").open("ApplyModule");
  archive.open("ModuleState").flags({true, false, true, false, false}).close();
  archive.flags({false}).number(3);
  archive.open("ApplyModuleInsertInfo").number(0).id({0, 0}).ids({}).close().close().close();
  archive.open("ApplyModuleData").number(1);
  record(archive, "/A", {""}, {}).close();
  const GraphSnapshot snapshot =
      snapshotOf(inspectArchive(archive.with(presentClasses({{"App.Design", 1}}))));
  ASSERT_EQ(snapshot.modules.size(), 2U);
  EXPECT_EQ(snapshot.modules[1].name, "");
  EXPECT_TRUE(snapshot.modules[1].exists);
  EXPECT_EQ(snapshot.modules[0].previous[0], (SnapshotLink{{}, ""}));
}

TEST(StoredGraph, ModulesWithoutAPlaceKeepTheirNamesApart) {
  HandMadeArchive archive;
  archive.number(1).open("App.Design");
  openStep(archive, "App.Step", "A").close();
  openStep(archive, "App.Step", "A").close();
  archive.close().open("ApplyModuleData").number(0).close();
  const GraphSnapshot snapshot = snapshotOf(
      inspectArchive(archive.with(presentClasses({{"App.Step", 1}, {"App.Design", 1}}))));
  ASSERT_EQ(snapshot.modules.size(), 2U);
  EXPECT_EQ(snapshot.modules[0].name, "A");
  EXPECT_EQ(snapshot.modules[1].name, "A (2)");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
