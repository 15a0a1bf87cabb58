#include <gmock/gmock.h>

#include <stdexcept>

#include "diagnostics/picture/ModuleSelection.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::ElementsAre;
using TestSupport::chain;
using TestSupport::graph;

struct Selected {
  explicit Selected(std::string_view text) : modules(graph(text)), snapshot(snapshotOf(modules)) {}

  std::size_t operator[](std::string_view name) const { return indexOf(snapshot, name); }
  std::string names(const ModuleSelection& selection) const { return namesOf(snapshot, selection); }

  TestSupport::TestGraph modules;
  GraphSnapshot snapshot;
};

TEST(ModuleSelection, HoldsTheModulesOfOneChain) {
  const Selected design("A -> B -> C; A -> (S):side[side] -> T:side; B -> U:other[fork] -> C");

  EXPECT_EQ(design.names(modulesOfChain(design.snapshot, chain("main"))), "A B C");
  EXPECT_EQ(design.names(modulesOfChain(design.snapshot, chain("side"))), "S T");
  EXPECT_EQ(design.names(modulesOfChain(design.snapshot, chain("other"))), "U");
  EXPECT_EQ(design.names(modulesOfChain(design.snapshot, chain("nowhere"))), "");
}

TEST(ModuleSelection, LeavesAModuleOfAnUnknownChainToNoChain) {
  const GraphSnapshot stored = snapshotOf({record("A", {}, {"B"}), record("B", {"A"}, {})});

  EXPECT_THAT(modulesOfChain(stored, chain("main")), ElementsAre());
}

TEST(ModuleSelection, HoldsWhatAModuleIsComputedFrom) {
  const Selected design("A -> B -> D -> E; A -> C -> D; X -> E");

  EXPECT_EQ(design.names(ancestorsOf(design.snapshot, design["D"])), "A B D C");
  EXPECT_EQ(design.names(ancestorsOf(design.snapshot, design["A"])), "A");
}

TEST(ModuleSelection, HoldsWhatIsComputedFromAModule) {
  const Selected design("A -> B -> D -> E; A -> C -> D; X -> E");

  EXPECT_EQ(design.names(followersOf(design.snapshot, design["C"])), "D E C");
  EXPECT_EQ(design.names(followersOf(design.snapshot, design["X"])), "E X");
}

TEST(ModuleSelection, GoesAsFarAsTheDepthByTheShortestWay) {
  const Selected design("A -> B -> C -> D -> E; A -> D");

  EXPECT_EQ(design.names(followersOf(design.snapshot, design["A"], 0)), "A");
  EXPECT_EQ(design.names(followersOf(design.snapshot, design["A"], 1)), "A B D");
  EXPECT_EQ(design.names(followersOf(design.snapshot, design["A"], 2)), "A B C D E");
  EXPECT_EQ(design.names(ancestorsOf(design.snapshot, design["E"], 2)), "A C D E");
}

TEST(ModuleSelection, OfANeighbourhoodHoldsBothDirections) {
  const Selected design("A -> B -> C -> D -> E; B -> X; Y -> D");

  EXPECT_EQ(design.names(neighbourhoodOf(design.snapshot, design["C"], 1)), "B C D");
  EXPECT_EQ(design.names(neighbourhoodOf(design.snapshot, design["C"])), "A B C D E");
}

TEST(ModuleSelection, OfARangeHoldsWhatLiesOnAWayFromStartToEnd) {
  const Selected design("A -> B -> D -> E; A -> C -> D; X -> D; B -> Y");

  EXPECT_EQ(design.names(modulesBetween(design.snapshot, design["A"], design["D"])), "A B D C");
  EXPECT_EQ(design.names(modulesBetween(design.snapshot, design["B"], design["E"])), "B D E");
  EXPECT_EQ(design.names(modulesBetween(design.snapshot, design["D"], design["A"])), "");
}

// An update looks for what it needs along previous entries and goes on along next entries; a link
// that stands in one list only takes part in one of the two.
TEST(ModuleSelection, FollowsAOneSidedLinkInItsOwnDirectionOnly) {
  const Selected design("A ->. B; C .-> D");

  EXPECT_EQ(design.names(followersOf(design.snapshot, design["A"])), "A B");
  EXPECT_EQ(design.names(ancestorsOf(design.snapshot, design["B"])), "B");
  EXPECT_EQ(design.names(followersOf(design.snapshot, design["C"])), "C");
  EXPECT_EQ(design.names(ancestorsOf(design.snapshot, design["D"])), "C D");
}

TEST(ModuleSelection, PassesOverDeadEntriesAndEndsOnCycles) {
  const Selected design("A -> ~; A -> B -> C -> A; C -> C");

  EXPECT_EQ(design.names(followersOf(design.snapshot, design["B"])), "A B C");
  EXPECT_EQ(design.names(ancestorsOf(design.snapshot, design["B"])), "A B C");
}

TEST(ModuleSelection, RefusesAModuleThatTheSnapshotDoesNotHave) {
  const Selected design("A -> B");

  EXPECT_THROW(ancestorsOf(design.snapshot, 2), std::out_of_range);
  EXPECT_THROW(followersOf(design.snapshot, 2), std::out_of_range);
  EXPECT_THROW(modulesBetween(design.snapshot, 0, 2), std::out_of_range);
}

TEST(ModuleSelection, InBothHoldsWhatIsInEach) {
  EXPECT_THAT(inBoth({1, 3, 5, 7}, {0, 3, 4, 7, 9}), ElementsAre(3, 7));
  EXPECT_THAT(inBoth({1}, {}), ElementsAre());
}

// What the library itself gathers is the measure.
TEST(ModuleSelection, IsWhatTheModulesThemselvesGather) {
  TestSupport::forSeeds(300, [](std::uint64_t seed) {
    TestSupport::RandomGraphParameters parameters = TestSupport::faultyGraphs();
    parameters.modules = 12;
    const TestSupport::TestGraph modules = TestSupport::randomGraph(seed, parameters);
    const GraphSnapshot snapshot = snapshotOf(modules);
    for (const auto& member : modules) {
      std::unordered_set<TestSupport::ModulePtr> ancestors{member.module};
      std::unordered_set<TestSupport::ModulePtr> followers{member.module};
      member.module->forAllPreviousModules([&](const TestSupport::ModulePtr& module) {
        ancestors.insert(module);
        return true;
      });
      member.module->forAllFollowingModules([&](const TestSupport::ModulePtr& module) {
        followers.insert(module);
        return true;
      });
      const std::size_t index = indexOf(snapshot, member.name);
      EXPECT_EQ(namesOf(snapshot, ancestorsOf(snapshot, index)), modules.names(ancestors));
      EXPECT_EQ(namesOf(snapshot, followersOf(snapshot, index)), modules.names(followers));
    }
  });
}

}  // namespace
}  // namespace Tessaril::Diagnostics
