#include <gmock/gmock.h>

#include <set>

#include "diagnostics/graph/RunReach.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/support/RandomGraph.h"
#include "tests/support/ScriptedDesign.h"

namespace Tessaril::Diagnostics {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::graph;
using TestSupport::TestGraph;
using NameSet = std::set<std::string>;

/// The findings about a run from one module to another.
std::vector<std::string> check(std::string_view text, std::string_view start,
                               std::string_view end) {
  const GraphSnapshot snapshot = snapshotOf(graph(text));
  return linesOf(checkRun(snapshot, indexOf(snapshot, start), indexOf(snapshot, end)));
}

NameSet namesReached(const GraphSnapshot& snapshot, const std::vector<ModuleReach>& reaches,
                     std::initializer_list<RunReach> wanted) {
  NameSet names;
  for (std::size_t module = 0; module < reaches.size(); ++module) {
    if (std::find(wanted.begin(), wanted.end(), reaches[module].reach) != wanted.end()) {
      names.insert(snapshot.modules[module].name);
    }
  }
  return names;
}

TEST(RunReachTest, aRunOverAWholeChainLeavesNothingOut) {
  EXPECT_THAT(check("A -> B -> C", "A", "C"), IsEmpty());
  EXPECT_THAT(check("A", "A", "A"), IsEmpty());
}

TEST(RunReachTest, whatLiesOffTheWayAndBehindTheEndIsAutoAppliedAtMost) {
  EXPECT_THAT(check("A -> B -> C; A -> S", "A", "B"),
              ElementsAre("remark: S is off the way: B does not depend on it. It is auto-applied "
                          "at most.",
                          "remark: C is behind the end, B. It is auto-applied at most."));
}

TEST(RunReachTest, whatLiesBeforeTheStartIsTakenAsItIs) {
  EXPECT_THAT(check("A -> B -> C", "B", "C"),
              ElementsAre("remark: A is before the start, B: its results are taken as they are."));
}

TEST(RunReachTest, whatIsPassedByForOneReasonSharesARemark) {
  const GraphSnapshot snapshot =
      snapshotOf(graph("R -> A -> B -> C -> D; R -> X -> Y; A -> S -> T; R -> V"));
  const auto findings = checkRun(snapshot, indexOf(snapshot, "A"), indexOf(snapshot, "B"));
  EXPECT_THAT(
      linesOf(findings),
      ElementsAre(
          "remark: S and T are off the way: B does not depend on them. They are auto-applied "
          "at most.",
          "remark: C and D are behind the end, B. They are auto-applied at most.",
          "remark: R is before the start, A: its results are taken as they are.",
          "remark: X, Y and V are not behind the start, A; B does not depend on them."));
  EXPECT_EQ(namesOf(snapshot, findings.at(3).modules), "X Y V");
}

TEST(RunReachTest, aForkThatTheStartDoesNotLeadToIsMissedByTheEnd) {
  EXPECT_THAT(check("A -> B -> M; A -> W -> M; A -> S", "B", "M"),
              ElementsAre("warning: W is not behind the start, B: it follows only A. M depends on "
                          "it and takes its results as they are.",
                          "remark: A is before the start, B: its results are taken as they are.",
                          "remark: S is not behind the start, B; M does not depend on it."));
}

TEST(RunReachTest, anotherRootIsNotBehindTheStart) {
  EXPECT_THAT(check("A -> M; B -> M", "A", "M"),
              ElementsAre("warning: B is not behind the start, A: it follows nothing. M depends on "
                          "it and takes its results as they are."));
}

TEST(RunReachTest, namesWhatIsOnACircleAndBehindIt) {
  EXPECT_THAT(
      check("A -> B -> C -> B; C -> D; D -> E; X -> E; A -> X", "A", "E"),
      ElementsAre("error: an update from A does not get to its end: E is behind a circle: it waits "
                  "for D, where no update gets to.",
                  "error: B is on a circle: it waits for C, and that for it.",
                  "error: C is on a circle: it waits for B, and that for it.",
                  "error: D is behind a circle: it waits for C, where no update gets to."));
  EXPECT_THAT(check("A -> B -> B", "A", "B"),
              ElementsAre("error: an update from A does not get to its end: B is on a circle: it "
                          "waits for itself."));
}

TEST(RunReachTest, aCircleBehindTheEndOrOffTheWayIsNamedToo) {
  EXPECT_THAT(check("A -> E -> X; X -> Y -> X; A -> S -> T -> S; T -> U", "A", "E"),
              ElementsAre("error: X is on a circle: it waits for Y, and that for it.",
                          "error: Y is on a circle: it waits for X, and that for it.",
                          "error: S is on a circle: it waits for T, and that for it.",
                          "error: T is on a circle: it waits for S, and that for it.",
                          "error: U is behind a circle: it waits for T, where no update gets to."));
}

TEST(RunReachTest, aStartThatDoesNotLeadToTheEndAppliesNothing) {
  EXPECT_THAT(check("A -> B; C -> D", "A", "D"),
              ElementsAre("error: an update from A does not get to its end: D is not behind the "
                          "start, A: it follows only C. D depends on it and takes its results as "
                          "they are.",
                          "warning: C is not behind the start, A: it follows nothing. D depends on "
                          "it and takes its results as they are.",
                          "remark: A and B are off the way: D does not depend on them. They are "
                          "auto-applied at most."));
}

TEST(RunReachTest, aLinkWithOneEndKeepsTheUpdateAway) {
  EXPECT_THAT(check("A -> B; B .-> C; C -> D", "A", "D"),
              ElementsAre("error: an update from A does not get to its end: D is not behind the "
                          "start, A: it follows only C. D depends on it and takes its results as "
                          "they are.",
                          "error: C is behind a link that only one end knows, at B or before "
                          "that."));
}

TEST(RunReachTest, aModuleThatIsNotThereIsMissing) {
  GraphSnapshot snapshot = snapshotOf(graph("A -> B; C"));
  snapshot.modules[2].exists = false;
  EXPECT_THAT(linesOf(checkRun(snapshot, 0, 1)),
              ElementsAre("error: C does not exist; there is only a record of it."));
}

TEST(RunReachTest, anIndexOutsideOfTheSnapshotIsRefused) {
  const GraphSnapshot snapshot = snapshotOf(graph("A -> B"));
  EXPECT_THROW(runReach(snapshot, 2, 0), std::out_of_range);
  EXPECT_THROW(runReach(snapshot, 0, 2), std::out_of_range);
}

TEST(RunReachTest, eachPlaceHasItsWords) {
  EXPECT_EQ(reachName(RunReach::OnTheWay), "on the way");
  EXPECT_EQ(reachName(RunReach::BehindEnd), "behind the end");
  EXPECT_EQ(reachName(RunReach::BrokenLink), "behind a broken link");
}

// What is on the way is what the library's own traversal of the range visits.
TEST(RunReachTest, onTheWayIsWhatTheOrderedTraversalVisits) {
  std::size_t blocked = 0;
  TestSupport::forSeeds(3000, [&](std::uint64_t seed) {
    TestSupport::RandomGraphParameters parameters = TestSupport::faultyGraphs();
    parameters.chains = 0;
    const TestGraph g = TestSupport::randomGraph(seed, parameters);
    if (g.size() == 0) {
      return;
    }
    const GraphSnapshot snapshot = snapshotOf(g);
    TestSupport::Random random(seed);
    const std::size_t start = random.percent(60) ? 0 : random.below(g.size());
    const std::size_t end = random.below(g.size());
    const auto reaches = runReach(snapshot, start, end);
    const NameSet onTheWay = namesReached(snapshot, reaches, {RunReach::OnTheWay});
    NameSet visited;
    ApplyGraph::forSemanticOrderedModuleRange(
        [&](const std::shared_ptr<ApplyModule>& module) { visited.insert(g.nameOf(module)); },
        g.members()[start].module, g.members()[end].module);
    ApplyGraph::ModuleSet behindEnd;
    g.members()[end].module->gatherAllSuccessors(behindEnd, nullptr);
    // The traversal begins with the start in any case, and goes round a cycle through the end.
    for (const std::string& name : visited) {
      const ModuleReach& reach = reaches[indexOf(snapshot, name)];
      EXPECT_TRUE(onTheWay.contains(name) || behindEnd.contains(g[name]) ||
                  (name == snapshot.modules[start].name && !reach.isNeeded))
          << name << " is " << reachName(reach.reach);
    }
    for (const std::string& name : onTheWay) {
      EXPECT_TRUE(visited.contains(name)) << name;
    }
    blocked += onTheWay.contains(snapshot.modules[end].name) ? 0 : 1;
  });
  EXPECT_GT(blocked, 300U);
}

/// The modules that an update of the range fully applies where all of them need it.
NameSet modulesAppliedByAnUpdate(TestSupport::ScriptedDesign& design, const std::string& start,
                                 const std::string& end) {
  NameSet applied;
  design.forEachModule([&applied](TestSupport::ScriptedModule& module) {
    module.necessary = true;
    module.apply.whenMade = [&applied, name = module.getName()] { applied.insert(name); };
  });
  const auto update = design.update(start, end);
  // The description has asked the end for a command already.
  applied.clear();
  design.run(*update);
  return applied;
}

TEST(RunReachTest, onTheWayIsWhatAnUpdateApplies) {
  std::size_t cutShort = 0;
  for (const unsigned faults : {0U, 2U, 6U}) {
    TestSupport::forSeeds(700, [&](std::uint64_t seed) {
      TestSupport::RandomGraphParameters parameters;
      parameters.modules = 9;
      parameters.roots = 2;
      parameters.links = 20;
      parameters.backLinks = faults;
      parameters.selfLinks = faults;
      parameters.duplicates = faults;
      TestSupport::ScriptedDesign design([&](const TestSupport::ModuleFactory& factory) {
        return TestSupport::randomGraph(seed, parameters, factory);
      });
      const GraphSnapshot snapshot = snapshotOf(design.graph);
      TestSupport::Random random(seed);
      const std::size_t start = random.percent(50) ? 0 : random.below(9);
      const std::size_t end = random.below(9);
      const auto reaches = runReach(snapshot, start, end);
      EXPECT_EQ(modulesAppliedByAnUpdate(design, snapshot.modules[start].name,
                                         snapshot.modules[end].name),
                namesReached(snapshot, reaches, {RunReach::OnTheWay}))
          << TestSupport::linkText(design.graph) << " from " << snapshot.modules[start].name
          << " to " << snapshot.modules[end].name;
      cutShort += reaches[end].reach == RunReach::OnTheWay ? 0 : 1;
    });
  }
  EXPECT_GT(cutShort, 500U);
}

/// The modules that an update of the range makes commands for, when its start has to be applied.
NameSet modulesReachedByAnUpdate(TestSupport::ScriptedDesign& design, const std::string& start,
                                 const std::string& end) {
  NameSet reached;
  design.forEachModule([&reached](TestSupport::ScriptedModule& module) {
    const std::string name = module.getName();
    module.apply.whenMade = [&reached, name] { reached.insert(name); };
    module.autoApply.whenMade = [&reached, name] { reached.insert(name); };
  });
  design.needApply(start);
  const auto update = design.update(start, end);
  // The description has asked the end for a command already.
  reached.clear();
  design.run(*update);
  return reached;
}

TEST(RunReachTest, reachedAtAllIsWhatAnUpdateMakesCommandsFor) {
  std::size_t compared = 0;
  for (const unsigned backLinks : {0U, 3U}) {
    TestSupport::forSeeds(500, [&](std::uint64_t seed) {
      TestSupport::RandomGraphParameters parameters;
      parameters.modules = 9;
      parameters.roots = 2;
      parameters.links = 15;
      parameters.backLinks = backLinks;
      TestSupport::ScriptedDesign design([&](const TestSupport::ModuleFactory& factory) {
        return TestSupport::randomGraph(seed, parameters, factory);
      });
      const GraphSnapshot snapshot = snapshotOf(design.graph);
      TestSupport::Random random(seed);
      const std::size_t end = 1 + random.below(8);
      const auto reaches = runReach(snapshot, 0, end);
      if (reaches[0].reach != RunReach::OnTheWay) {
        return;
      }
      const NameSet expected = namesReached(
          snapshot, reaches, {RunReach::OnTheWay, RunReach::OffTheWay, RunReach::BehindEnd});
      const NameSet reached =
          modulesReachedByAnUpdate(design, snapshot.modules[0].name, snapshot.modules[end].name);
      if (backLinks == 0) {
        EXPECT_EQ(reached, expected);
      } else {
        // Past a cycle off the way an update may get from another side graph.
        EXPECT_TRUE(std::includes(reached.begin(), reached.end(), expected.begin(), expected.end()))
            << TestSupport::linkText(design.graph) << " to " << snapshot.modules[end].name << ": "
            << ::testing::PrintToString(expected) << ::testing::PrintToString(reached);
        for (const std::string& name : reached) {
          const ModuleReach& reach = reaches[indexOf(snapshot, name)];
          EXPECT_TRUE(expected.contains(name) || reach.reach == RunReach::BehindCycle)
              << name << " is " << reachName(reach.reach);
        }
      }
      ++compared;
    });
  }
  EXPECT_GT(compared, 300U);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
