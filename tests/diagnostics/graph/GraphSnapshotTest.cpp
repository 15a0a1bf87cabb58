#include <gmock/gmock.h>

#include "diagnostics/graph/ChainNames.h"
#include "diagnostics/graph/GraphSnapshot.h"
#include "diagnostics/graph/SnapshotJson.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::chain;
using TestSupport::graph;
using TestSupport::graphOf;
using TestSupport::ObjectModule;
using TestSupport::TestGraph;

using Modules = std::vector<std::shared_ptr<const ApplyModule>>;

/// "A[<- B][-> C ~]": both lists of each module, "~" for a dead entry and what its record names.
std::string linksOf(const GraphSnapshot& snapshot) {
  const auto list = [&](const std::vector<SnapshotLink>& links) {
    std::string text;
    for (const SnapshotLink& link : links) {
      EXPECT_TRUE(!link.module || snapshot.modules.at(*link.module).name == link.name);
      text += " " + (link.module ? link.name : "~" + link.name);
    }
    return text;
  };
  std::string text;
  for (const SnapshotModule& module : snapshot.modules) {
    text += (text.empty() ? "" : "; ") + module.name + " <-" + list(module.previous) + " ->" +
            list(module.next);
  }
  return text;
}

std::vector<std::string> namesOfAll(const GraphSnapshot& snapshot) {
  std::vector<std::string> names;
  for (const SnapshotModule& module : snapshot.modules) {
    names.push_back(module.name);
  }
  return names;
}

/// A design with the modules of a graph as its children.
struct Design {
  explicit Design(std::string_view text) : graph(graphOf<ObjectModule>(text)) {
    for (const auto& member : graph) {
      root->addChild(std::dynamic_pointer_cast<Object>(member.module));
    }
  }

  std::shared_ptr<Object> root = std::make_shared<Object>("design");
  TestGraph graph;
};

TEST(GraphSnapshotTest, nothingGivesAnEmptySnapshot) {
  EXPECT_THAT(snapshotOf(Modules{}).modules, IsEmpty());
  EXPECT_THAT(snapshotOf(Modules{nullptr}).modules, IsEmpty());
  EXPECT_THAT(snapshotOf(std::vector<ApplyModuleData>{}).modules, IsEmpty());
}

TEST(GraphSnapshotTest, followsNextAndPreviousEntriesByBreadthNextOnesFirst) {
  const auto g = graph("A -> M -> Z; A -> S -> T; B -> M; R ->. M");
  const auto naming = [&](const ApplyModule& module) { return g.nameOf(&module); };
  EXPECT_THAT(namesOfAll(snapshotOf(Modules{g["M"]}, naming)),
              ElementsAre("M", "Z", "A", "B", "S", "T"));
  EXPECT_THAT(namesOfAll(snapshotOf(Modules{g["R"], nullptr, g["T"], g["R"]}, naming)),
              ElementsAre("R", "T", "M", "S", "Z", "A", "B"));
}

TEST(GraphSnapshotTest, listsKeepTheirOrderWithDeadRepeatedAndOneSidedEntries) {
  EXPECT_EQ(linksOf(snapshotOf(graph("A -> ~; A -> B; A ->. B; ~ -> B; A -> A"))),
            "A <- A -> ~ B B A; B <- A ~ ->");
}

TEST(GraphSnapshotTest, holdsWhatModulesKnowOfThemselves) {
  auto g = graph("[active] A -> (S):cutter[side<main,inconsistent,badinput,additional]");
  g.as<TestSupport::TestModule>("S")->answers.speedRate =
      static_cast<LegacyProgress::Speed::Rate>(5);
  const GraphSnapshot snapshot = snapshotOf(g);
  EXPECT_FALSE(snapshot.stored);
  const SnapshotModule& start = snapshot.modules.at(0);
  const SnapshotModule& side = snapshot.modules.at(1);
  EXPECT_EQ(start.className, "Tessaril::TestSupport::TestModule");
  EXPECT_EQ(start.module, g["A"]);
  EXPECT_EQ(start.recordCount, 0U);
  EXPECT_EQ(start.flags, (SnapshotFlags{true, true, true, false, false}));
  EXPECT_EQ(side.flags, (SnapshotFlags{true, false, false, false, false}));
  EXPECT_TRUE(side.startOfSideChain);
  EXPECT_TRUE(side.additional);
  EXPECT_EQ(side.insertMode, ApplyModuleInsertInfo::StartSideChain);
  EXPECT_EQ(side.chainId, chain("cutter"));
  EXPECT_THAT(side.mergeChainIds, ElementsAre(Identifier()));
  EXPECT_EQ(side.speedRate, 5);
  EXPECT_EQ(start.speedRate, 3);
}

TEST(GraphSnapshotTest, frozenAndSkippedAreNotMixedUp) {
  const GraphSnapshot snapshot = snapshotOf(graph("A[frozen] -> B[skipped]"));
  EXPECT_EQ(snapshot.modules.at(0).flags, (SnapshotFlags{false, true, true, true, false}));
  EXPECT_EQ(snapshot.modules.at(1).flags, (SnapshotFlags{false, true, true, false, true}));
}

TEST(GraphSnapshotTest, namesComeFromTheCallerThenTheTreeThenTheirNumber) {
  const Design design("A -> B -> C");
  const auto lone = std::make_shared<ObjectModule>("lone");
  const auto nameless = std::make_shared<ApplyModule>();
  const auto naming = [&](const ApplyModule& module) {
    return design.graph.nameOf(&module) == "B" ? "the second" : "";
  };
  EXPECT_THAT(namesOfAll(snapshotOf(Modules{design.graph["A"], lone, nameless}, naming)),
              ElementsAre("/A", "lone", "module 3", "the second", "/C"));
}

TEST(GraphSnapshotTest, equalNamesAreToldApart) {
  const auto g = graph("A -> B -> C -> D");
  const auto naming = [&](const ApplyModule& module) {
    return g.nameOf(&module) == "C" ? "x (2)" : "x";
  };
  EXPECT_THAT(namesOfAll(snapshotOf(Modules{g["A"]}, naming)),
              ElementsAre("x", "x (2)", "x (2) (2)", "x (3)"));
}

TEST(GraphSnapshotTest, keepsItsModulesAlive) {
  auto g = graph("A -> B");
  const std::weak_ptr<ApplyModule> module = g["B"];
  const GraphSnapshot snapshot = snapshotOf(g);
  g.drop("B");
  EXPECT_FALSE(module.expired());
}

TEST(StoredSnapshotTest, recordsAloneTellLinksAndStartFlags) {
  const GraphSnapshot snapshot = snapshotOf(
      {record("A", {}, {"B", "S"}), record("S", {"A"}, {}, true), record("B", {"A"}, {"X"})});
  EXPECT_TRUE(snapshot.stored);
  EXPECT_EQ(linksOf(snapshot), "/A <- -> /B /S; /S <- /A ->; /B <- /A -> ~/X");
  const SnapshotModule& side = snapshot.modules.at(1);
  EXPECT_TRUE(side.startOfSideChain);
  EXPECT_TRUE(side.exists);
  EXPECT_EQ(side.recordCount, 1U);
  EXPECT_EQ(side.module, nullptr);
  EXPECT_EQ(side.flags, std::nullopt);
  EXPECT_EQ(side.insertMode, std::nullopt);
  EXPECT_EQ(side.speedRate, std::nullopt);
  EXPECT_EQ(side.className, "");
}

TEST(StoredSnapshotTest, underARootWhatIsThereIsAskedAndTheLinksAreThoseOfTheRecords) {
  const Design design("A -> B[frozen] -> C");
  const GraphSnapshot snapshot =
      snapshotOf({record("B", {"A", "gone"}, {"C"}), record("gone", {}, {"B"})}, design.root);
  EXPECT_EQ(linksOf(snapshot), "/B <- /A ~/gone -> /C; /gone <- -> /B; /A <- ->; /C <- ->");
  EXPECT_EQ(snapshot.modules.at(0).flags, (SnapshotFlags{false, true, true, true, false}));
  EXPECT_EQ(snapshot.modules.at(0).module, design.graph["B"]);
  EXPECT_FALSE(snapshot.modules.at(1).exists);
  EXPECT_EQ(snapshot.modules.at(1).recordCount, 1U);
  EXPECT_TRUE(snapshot.modules.at(2).exists);
  EXPECT_EQ(snapshot.modules.at(2).recordCount, 0U);
}

TEST(StoredSnapshotTest, theStartFlagIsThatOfTheRecord) {
  const Design design("A -> (S)");
  const GraphSnapshot snapshot =
      snapshotOf({record("A", {}, {}, true), record("S", {}, {}, false)}, design.root);
  EXPECT_TRUE(snapshot.modules.at(0).startOfSideChain);
  EXPECT_FALSE(snapshot.modules.at(1).startOfSideChain);
}

TEST(StoredSnapshotTest, anObjectThatIsNoModuleIsNotThere) {
  const Design design("A");
  design.root->addChild(std::make_shared<Object>("plain"));
  const GraphSnapshot snapshot =
      snapshotOf({record("A", {"plain"}, {}), record("plain", {}, {})}, design.root);
  EXPECT_EQ(linksOf(snapshot), "/A <- ~/plain ->; /plain <- ->");
  EXPECT_FALSE(snapshot.modules.at(1).exists);
}

TEST(StoredSnapshotTest, ofSeveralRecordsTheLastOneCounts) {
  const Design design("A -> B; C");
  const std::vector<ApplyModuleData> records{record("A", {}, {"B"}, true), record("B", {"A"}, {}),
                                             record("A", {}, {"C"})};
  const GraphSnapshot snapshot = snapshotOf(records);
  EXPECT_EQ(snapshot.modules.at(0).recordCount, 2U);
  EXPECT_EQ(linksOf(snapshot), "/A <- -> ~/C; /B <- /A ->");
  EXPECT_FALSE(snapshot.modules.at(0).startOfSideChain);
  ApplyGraph::restoreApplyGraph(design.root, records);
  EXPECT_EQ(TestSupport::linkText(design.graph), "A ->. C; A .-> B");
}

TEST(StoredSnapshotTest, twoPathsToOneModuleAreOneModule) {
  const Design design("A -> B");
  ApplyModuleData relative = record("B", {"A"}, {});
  relative.path = Path("B");
  const GraphSnapshot snapshot = snapshotOf({record("A", {}, {"B"}), relative}, design.root);
  EXPECT_EQ(snapshot.modules.size(), 2U);
  EXPECT_EQ(snapshot.modules.at(0).next.at(0).module, 1U);
}

TEST(StoredSnapshotTest, storedAndLiveGraphHaveTheSameLinks) {
  TestSupport::forSeeds(200, [](std::uint64_t seed) {
    Design design("");
    design.graph = TestSupport::randomGraph(
        seed, {}, [](const std::string& name) { return std::make_shared<ObjectModule>(name); });
    for (const auto& member : design.graph) {
      design.root->addChild(std::dynamic_pointer_cast<Object>(member.module));
    }
    std::vector<ApplyModuleData> records;
    const auto start = design.graph.members().front().module;
    ApplyGraph::storeApplyGraph(design.root, {start}, records);
    std::vector<std::shared_ptr<const ApplyModule>> modules;
    for (const ApplyModuleData& data : records) {
      modules.push_back(std::dynamic_pointer_cast<ApplyModule>(design.root->getObject(data.path)));
    }
    GraphSnapshot stored = snapshotOf(records, design.root);
    EXPECT_EQ(linksOf(snapshotOf(modules)), linksOf(stored));
  });
}

TEST(ChainNamesTest, chainsAreCountedInTheOrderOfTheirModulesAndThenOfTheirMention) {
  const ChainNames names(
      snapshotOf(graph("A -> (S):cutter[side<other]; A -> W:wheel[fork] -> M[merge<third+wheel]")));
  EXPECT_EQ(names.nameOf(Identifier()), "main chain");
  EXPECT_EQ(names.nameOf(chain("cutter")), "chain 1");
  EXPECT_EQ(names.nameOf(chain("wheel")), "chain 2");
  EXPECT_EQ(names.nameOf(chain("other")), "chain 3");
  EXPECT_EQ(names.nameOf(chain("third")), "chain 4");
  const Identifier unknown(0, 255);
  EXPECT_EQ(names.nameOf(unknown), "00000000-0000-0000-0000-0000000000ff");
}

TEST(SnapshotJsonTest, aLiveModule) {
  const GraphSnapshot snapshot = snapshotOf(graph("A -> (S):c[side<main,frozen]; S -> ~"));
  EXPECT_EQ(toJson(snapshot)["modules"][1].dump(2), R"({
  "name": "S",
  "class": "Tessaril::TestSupport::TestModule",
  "exists": true,
  "records": 0,
  "flags": {
    "active": false,
    "consistent": true,
    "inputOk": true,
    "frozen": true,
    "skipped": false
  },
  "startOfSideChain": true,
  "additional": false,
  "placement": {
    "mode": "startSideChain",
    "chain": {
      "name": "chain 1",
      "id": ")" + chain("c").toString() + R"("
    },
    "startChain": {
      "name": "main chain",
      "id": "00000000-0000-0000-0000-000000000000"
    },
    "mergeChains": [
      {
        "name": "main chain",
        "id": "00000000-0000-0000-0000-000000000000"
      }
    ]
  },
  "speedRate": 3,
  "previous": [
    {
      "module": 0,
      "name": "A"
    }
  ],
  "next": [
    {
      "module": null,
      "name": ""
    }
  ]
})");
}

TEST(SnapshotJsonTest, whatARecordDoesNotTellIsNull) {
  const auto json = toJson(snapshotOf({record("A", {}, {"B"})}));
  EXPECT_EQ(json.dump(),
            R"({"stored":true,"modules":[{"name":"/A","class":null,"exists":true,"records":1,)"
            R"("flags":null,"startOfSideChain":false,"additional":false,"placement":null,)"
            R"("speedRate":null,"previous":[],"next":[{"module":null,"name":"/B"}]}]})");
}

TEST(SnapshotJsonTest, insertModesHaveNames) {
  EXPECT_EQ(insertModeName(ApplyModuleInsertInfo::AddToChain), "addToChain");
  EXPECT_EQ(insertModeName(ApplyModuleInsertInfo::StartFork), "startFork");
  EXPECT_EQ(insertModeName(ApplyModuleInsertInfo::MergeFork), "mergeFork");
  EXPECT_EQ(insertModeName(static_cast<ApplyModuleInsertInfo::ApplyGraphInsertMode>(7)), "mode 7");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
