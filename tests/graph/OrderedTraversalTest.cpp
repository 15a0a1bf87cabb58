#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <memory>
#include <queue>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril {
namespace {

using TestSupport::graph;
using TestSupport::ModulePtr;
using TestSupport::TestGraph;
using ModuleSet = ApplyGraph::ModuleSet;
using ModuleQueue = ApplyGraph::ModuleQueue;

static_assert(std::is_same_v<ModuleQueue, std::queue<ModulePtr>>);
static_assert(std::is_same_v<ModuleSet, std::unordered_set<ModulePtr>>);

ModulePtr find(const TestGraph& g, std::string_view name) {
  return name == "~" ? nullptr : g[name];
}

/// The module that comes next, and what is left in the queue: "B | C D".
class Step {
 public:
  explicit Step(const TestGraph& testGraph) : g(testGraph) {
    for (const auto& member : g) {
      scope.insert(member.module);
    }
  }

  Step& queued(std::initializer_list<const char*> names) {
    for (const auto* name : names) {
      queue.push(g[name]);
    }
    return *this;
  }

  Step& visitedBefore(std::initializer_list<const char*> names) {
    for (const auto* name : names) {
      visited.insert(g[name]);
    }
    return *this;
  }

  Step& outside(std::initializer_list<const char*> names) {
    for (const auto* name : names) {
      scope.erase(g[name]);
    }
    return *this;
  }

  std::string take() {
    const auto visitedWas = visited;
    const auto scopeWas = scope;
    std::string result = g.nameOf(ApplyGraph::getNextModuleInOrder(queue, visited, scope)) + " |";
    EXPECT_EQ(visited, visitedWas);
    EXPECT_EQ(scope, scopeWas);
    for (auto rest = queue; !rest.empty(); rest.pop()) {
      result += " " + g.nameOf(rest.front());
    }
    return result;
  }

 private:
  const TestGraph& g;
  ModuleQueue queue;
  ModuleSet visited;
  ModuleSet scope;
};

std::string range(const TestGraph& g, std::string_view start, std::string_view end) {
  std::vector<ModulePtr> order;
  ApplyGraph::forSemanticOrderedModuleRange(
      [&](const ModulePtr& module) { order.push_back(module); }, find(g, start), find(g, end));
  return g.names(order);
}

bool holds(std::initializer_list<const char*> names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// Modules off the way in parentheses: "A (S) B".
std::string fullRange(const TestGraph& g, std::string_view start, std::string_view end,
                      std::initializer_list<const char*> stopAt = {}) {
  std::string order;
  ApplyGraph::forSemanticOrderedModuleFullRange(
      [&](const ModulePtr& module, bool outside) {
        const auto name = g.nameOf(module);
        order += (order.empty() ? "" : " ") + (outside ? "(" + name + ")" : name);
        return !holds(stopAt, name);
      },
      find(g, start), find(g, end));
  return order;
}

std::string previousModules(const TestGraph& g, std::string_view module,
                            std::initializer_list<const char*> stopAt = {}) {
  std::vector<ModulePtr> order;
  ApplyGraph::forSemanticOrderedPreviousModules(
      [&](const ModulePtr& previous) {
        order.push_back(previous);
        return !holds(stopAt, g.nameOf(previous));
      },
      find(g, module));
  return g.names(order);
}

TEST(NextModuleInOrder, OfAnEmptyQueueIsNone) {
  const auto g = graph("A");
  EXPECT_EQ(Step(g).take(), "~ |");
}

TEST(NextModuleInOrder, TakesTheFrontThatIsReady) {
  const auto g = graph("A -> C; B");
  EXPECT_EQ(Step(g).queued({"A", "B"}).take(), "A | B");
}

TEST(NextModuleInOrder, DropsWhatHasBeenVisited) {
  const auto g = graph("A -> B; A -> C");
  EXPECT_EQ(Step(g).visitedBefore({"A", "B"}).queued({"A", "B", "C", "B"}).take(), "C | B");
  EXPECT_EQ(Step(g).visitedBefore({"A", "B"}).queued({"A", "B"}).take(), "~ |");
}

TEST(NextModuleInOrder, DropsNull) {
  const auto g = graph("A -> B");
  ModuleQueue queue({nullptr, g["A"], nullptr});
  EXPECT_EQ(ApplyGraph::getNextModuleInOrder(queue, {}, {}), g["A"]);
  EXPECT_EQ(queue.size(), 1U);
  EXPECT_EQ(ApplyGraph::getNextModuleInOrder(queue, {}, {}), nullptr);
  EXPECT_TRUE(queue.empty());
}

TEST(NextModuleInOrder, PutsWhatWaitsToTheBack) {
  const auto g = graph("A -> W -> V; B; C");
  EXPECT_EQ(Step(g).queued({"W", "V", "B", "C"}).take(), "B | C W V");
}

TEST(NextModuleInOrder, KeepsTheOrderAndNumberOfWhatWaits) {
  const auto g = graph("A -> W -> V; B");
  EXPECT_EQ(Step(g).queued({"V", "W", "V", "B"}).take(), "B | V W V");
}

TEST(NextModuleInOrder, DropsWhatWaitsWhereNothingIsReady) {
  const auto g = graph("A -> W -> V; B");
  EXPECT_EQ(Step(g).visitedBefore({"B"}).queued({"W", "B", "V"}).take(), "~ |");
}

TEST(NextModuleInOrder, WaitsForEachPreviousModule) {
  const auto g = graph("A -> M; B -> M; C");
  EXPECT_EQ(Step(g).queued({"M", "C"}).take(), "C | M");
  EXPECT_EQ(Step(g).visitedBefore({"A"}).queued({"M", "C"}).take(), "C | M");
  EXPECT_EQ(Step(g).visitedBefore({"B"}).queued({"M", "C"}).take(), "C | M");
  EXPECT_EQ(Step(g).visitedBefore({"A", "B"}).queued({"M", "C"}).take(), "M | C");
}

TEST(NextModuleInOrder, DoesNotWaitForWhatIsOutOfScope) {
  const auto g = graph("A -> M; B -> M; C");
  EXPECT_EQ(Step(g).outside({"A", "B"}).queued({"M", "C"}).take(), "M | C");
  EXPECT_EQ(Step(g).outside({"B"}).visitedBefore({"A"}).queued({"M", "C"}).take(), "M | C");
  EXPECT_EQ(Step(g).outside({"B"}).queued({"M", "C"}).take(), "C | M");
}

TEST(NextModuleInOrder, TakesModulesThatAreOutOfScopeThemselves) {
  const auto g = graph("A -> M");
  EXPECT_EQ(Step(g).outside({"A", "M"}).queued({"M"}).take(), "M |");
}

TEST(NextModuleInOrder, DoesNotWaitForWhatHasGone) {
  const auto g = graph("~ -> M; A -> M; ~ -> M");
  EXPECT_EQ(Step(g).visitedBefore({"A"}).queued({"M"}).take(), "M |");
}

TEST(NextModuleInOrder, LooksAtPreviousListsOnly) {
  const auto g = graph("A ->. M; M -> N; B .-> W");
  EXPECT_EQ(Step(g).queued({"W", "M"}).take(), "M | W");
}

TEST(NextModuleInOrder, AModuleThatFollowsItselfIsNeverReady) {
  const auto g = graph("A -> A");
  EXPECT_EQ(Step(g).queued({"A"}).take(), "~ |");
  EXPECT_EQ(Step(g).outside({"A"}).queued({"A"}).take(), "A |");
}

TEST(ModuleRange, OfALoneModuleIsThatModule) {
  EXPECT_EQ(range(graph("A"), "A", "~"), "A");
  EXPECT_EQ(range(graph("A"), "A", "A"), "A");
}

TEST(ModuleRange, WithoutStartIsEmpty) {
  EXPECT_EQ(range(graph("A -> B"), "~", "B"), "");
  EXPECT_EQ(range(graph("A -> B"), "~", "~"), "");
}

TEST(ModuleRange, GoesBreadthFirstInTheOrderOfTheNextLists) {
  EXPECT_EQ(range(graph("A -> C -> E; A -> B -> D; C -> F"), "A", "~"), "A C B E F D");
}

TEST(ModuleRange, VisitsAMergeAfterAllThatLeadsIntoIt) {
  EXPECT_EQ(range(graph("A -> M; A -> F -> G -> M; M -> Z"), "A", "~"), "A F G M Z");
  EXPECT_EQ(range(graph("A -> M; A -> F -> G -> M; M -> Z"), "A", "Z"), "A F G M Z");
}

TEST(ModuleRange, PutsWhatWaitsBehindWhatIsQueued) {
  // M waits from the start on; it comes behind C, which was queued before its last dependency.
  EXPECT_EQ(range(graph("A -> M; A -> B -> M; A -> C -> D; M -> E"), "A", "~"), "A B C M D E");
}

TEST(ModuleRange, DoesNotWaitForWhatTheStartDoesNotReach) {
  EXPECT_EQ(range(graph("A -> M -> Z; X -> M; X -> Z"), "A", "Z"), "A M Z");
}

TEST(ModuleRange, VisitsOnlyWhatLiesBetween) {
  const auto g = graph("P -> A -> B -> C -> D; A -> (S) -> T; B -> F -> C; C -> G; X -> C");
  EXPECT_EQ(range(g, "A", "C"), "A B F C");
  EXPECT_EQ(range(g, "B", "~"), "B F C D G");
}

TEST(ModuleRange, StopsBehindTheEnd) {
  EXPECT_EQ(range(graph("A -> B -> C -> D"), "A", "B"), "A B");
  EXPECT_EQ(range(graph("A -> B -> C"), "B", "B"), "B");
}

TEST(ModuleRange, WhoseEndIsNotReachedVisitsTheStartOnly) {
  EXPECT_EQ(range(graph("A -> B -> C; X -> Y"), "A", "Y"), "A");
  EXPECT_EQ(range(graph("A -> B -> C"), "C", "A"), "C");
}

TEST(ModuleRange, DoesNotWaitForWhatLiesBehindTheEnd) {
  // The end closes a circle. What is reached only through it is out of scope; but it lies before
  // the end as well, and so is visited in its turn.
  EXPECT_EQ(range(graph("A -> B -> C -> D -> B"), "A", "C"), "A B C D");
  EXPECT_EQ(range(graph("A -> B -> C -> D .-> B"), "A", "C"), "A B C D");
}

TEST(ModuleRange, EndsEarlyAtACircle) {
  EXPECT_EQ(range(graph("A -> B -> C -> B; A -> D; C -> E"), "A", "~"), "A D");
  EXPECT_EQ(range(graph("A -> B -> A"), "A", "~"), "");
  EXPECT_EQ(range(graph("A .-> A; A -> B"), "A", "~"), "");
}

// X is a dependency of the end by way of the start only: what lies behind the start does not count.
TEST(ModuleRange, LeavesOutDependenciesOfTheStart) {
  EXPECT_EQ(range(graph("A -> E; A -> X .-> P .-> A"), "A", "E"), "A E");
}

TEST(ModuleRange, VisitsWhatIsLinkedTwiceOnce) {
  EXPECT_EQ(range(graph("A -> B; A -> B; B -> C"), "A", "~"), "A B C");
}

TEST(ModuleRange, PassesOverDeadEntries) {
  EXPECT_EQ(range(graph("A -> ~; A -> B; ~ -> B -> ~; B -> C"), "A", "C"), "A B C");
}

// As where a module was made in the memory of one that is gone.
TEST(ModuleRange, PassesOverADeadEntryAtTheAddressOfALiveModule) {
  for (const std::string waiting : {"B", "C"}) {
    const auto g = graph("A -> B -> C -> D");
    auto gone = std::make_shared<int>();
    TestSupport::PrivateLinks::previousList(*g[waiting]).add(ModulePtr(gone, g["D"].get()));
    TestSupport::PrivateLinks::nextList(*g["A"]).add(ModulePtr(gone, g["D"].get()));
    gone.reset();
    EXPECT_EQ(range(g, "A", "~"), "A B C D");
    EXPECT_EQ(range(g, "A", "D"), "A B C D");
  }
  const auto g = graph("A -> B; Z");
  auto gone = std::make_shared<int>();
  TestSupport::PrivateLinks::nextList(*g["A"]).add(ModulePtr(gone, g["Z"].get()));
  gone.reset();
  EXPECT_EQ(range(g, "A", "Z"), "A");
}

TEST(ModuleRange, FollowsNextListsAndWaitsByPreviousLists) {
  EXPECT_EQ(range(graph("A ->. B; A -> C; C .-> D"), "A", "~"), "A B C");
  EXPECT_EQ(range(graph("A -> B; A -> C .-> B; C -> D"), "A", "~"), "A C B D");
}

TEST(ModuleRange, HoldsTheModulesThatAreQueued) {
  auto g = graph("A -> B; A -> C");
  std::vector<std::string> order;
  ApplyGraph::forSemanticOrderedModuleRange(
      [&](const ModulePtr& module) {
        order.push_back(g.nameOf(module));
        if (order.back() == "B") {
          g.drop("C");
        }
      },
      ModulePtr(g["A"]), nullptr);
  EXPECT_THAT(order, testing::ElementsAre("A", "B", "?"));
}

TEST(ModuleRange, EmptyCallbackFailsAtItsFirstCall) {
  const auto g = graph("A -> B");
  EXPECT_THROW(ApplyGraph::forSemanticOrderedModuleRange(nullptr, g["A"], nullptr),
               std::bad_function_call);
  EXPECT_NO_THROW(ApplyGraph::forSemanticOrderedModuleRange(nullptr, nullptr, g["A"]));
  const auto circle = graph("A -> A");
  EXPECT_NO_THROW(ApplyGraph::forSemanticOrderedModuleRange(nullptr, circle["A"], nullptr));
}

TEST(ModuleRange, ExceptionsOfTheCallbackPassThrough) {
  const auto g = graph("A -> B -> C");
  std::string order;
  EXPECT_THROW(ApplyGraph::forSemanticOrderedModuleRange(
                   [&](const ModulePtr& module) {
                     order += g.nameOf(module);
                     if (order == "AB") {
                       throw std::runtime_error("enough");
                     }
                   },
                   g["A"], nullptr),
               std::runtime_error);
  EXPECT_EQ(order, "AB");
  EXPECT_EQ(g["C"].use_count(), 1);
}

TEST(ModuleFullRange, OfALoneModuleIsThatModule) {
  EXPECT_EQ(fullRange(graph("A"), "A", "~"), "A");
  EXPECT_EQ(fullRange(graph("A"), "A", "A"), "A");
}

TEST(ModuleFullRange, WithoutStartIsEmpty) { EXPECT_EQ(fullRange(graph("A"), "~", "A"), ""); }

TEST(ModuleFullRange, WithoutEndIsNeverOffTheWay) {
  EXPECT_EQ(fullRange(graph("A -> B -> C; A -> (S) -> T; B -> F -> C"), "A", "~"), "A B S F T C");
}

TEST(ModuleFullRange, MarksWhatTheEndDoesNotDependOn) {
  EXPECT_EQ(fullRange(graph("A -> (S) -> T; A -> B -> C"), "A", "B"), "A (S) B (T)");
  EXPECT_EQ(fullRange(graph("A -> (S) -> T; A -> B -> C"), "A", "C"), "A (S) B (T) C");
}

TEST(ModuleFullRange, VisitsNothingBehindTheEnd) {
  EXPECT_EQ(fullRange(graph("A -> B -> C -> D; B -> (S)"), "A", "B"), "A B");
  // Whichever way leads there.
  EXPECT_EQ(fullRange(graph("A -> B -> C; A -> F -> C"), "A", "B"), "A B (F)");
}

TEST(ModuleFullRange, DoesNotMarkWhatLeadsBackIntoTheWay) {
  EXPECT_EQ(fullRange(graph("A -> B -> C; A -> F -> G -> C; G -> (S)"), "A", "C"), "A B F G C (S)");
}

TEST(ModuleFullRange, MarksEverythingBehindAMarkedModule) {
  // T lies before the end, but the mark travels along the way on which it is reached.
  EXPECT_EQ(fullRange(graph("A -> B -> E; A -> S ->. T .-> B"), "A", "E"), "A (S) (T) B E");
  EXPECT_EQ(fullRange(graph("A -> (S) -> T -> U; A -> B"), "A", "B"), "A (S) B (T) (U)");
}

// Reachable along next lists, but no dependency by previous lists: the flag of the copy that is
// taken first decides.
TEST(ModuleFullRange, TheCopyTakenFirstDecides) {
  EXPECT_EQ(fullRange(graph("A -> S ->. M; A -> B -> M -> E"), "A", "E"), "A (S) B (M) (E)");
  EXPECT_EQ(fullRange(graph("A -> B -> M -> E; A -> S ->. M"), "A", "E"), "A B (S) M E");
}

TEST(ModuleFullRange, FlagsTravelWithWhatWaits) {
  EXPECT_EQ(fullRange(graph("A -> T; A -> B -> C; A -> S -> T"), "A", "C"), "A B (S) (T) C");
}

TEST(ModuleFullRange, WhoseEndIsNotReachedIsAllOffTheWay) {
  EXPECT_EQ(fullRange(graph("A -> B -> C; X"), "A", "X"), "A (B) (C)");
}

TEST(ModuleFullRange, MarksDependenciesOfTheStart) {
  EXPECT_EQ(fullRange(graph("A -> E; A -> X .-> P .-> A"), "A", "E"), "A E (X)");
}

TEST(ModuleFullRange, DoesNotWaitForWhatLiesBehindTheEnd) {
  EXPECT_EQ(fullRange(graph("A -> B -> C -> D .-> B"), "A", "C"), "A B C");
}

TEST(ModuleFullRange, WhoseStartLiesBehindTheEndKeepsTheStart) {
  EXPECT_EQ(fullRange(graph("E -> A -> B; A -> C"), "A", "E"), "A");
}

TEST(ModuleFullRange, DoesNotWaitForWhatTheStartDoesNotReach) {
  EXPECT_EQ(fullRange(graph("A -> M -> Z; X -> M"), "A", "Z"), "A M Z");
}

TEST(ModuleFullRange, DoesNotGoOnFromWhereTheCallbackSaysNo) {
  const auto g = graph("A -> B -> C -> D; A -> F -> G -> H");
  EXPECT_EQ(fullRange(g, "A", "~", {"C", "F"}), "A B F C");
  EXPECT_EQ(fullRange(g, "A", "~", {"A"}), "A");
}

TEST(ModuleFullRange, OtherWaysMayLeadOn) {
  EXPECT_EQ(fullRange(graph("A -> B -> M; A -> C -> M"), "A", "~", {"B"}), "A B C M");
}

TEST(ModuleFullRange, WaitsForWhatIsNeverReached) {
  // C is in scope, and nothing is queued behind B: the merge waits for C until the end.
  EXPECT_EQ(fullRange(graph("A -> B -> C -> M; A -> M"), "A", "~", {"B"}), "A B");
}

TEST(ModuleFullRange, EndsEarlyAtACircle) {
  EXPECT_EQ(fullRange(graph("A -> B -> C -> B; A -> D"), "A", "~"), "A D");
}

TEST(ModuleFullRange, PassesOverDeadEntriesAndDuplicates) {
  EXPECT_EQ(fullRange(graph("A -> ~; A -> B; A -> B; ~ -> B; B -> C"), "A", "C"), "A B C");
}

TEST(ModuleFullRange, EmptyCallbackFailsAtItsFirstCall) {
  const auto g = graph("A -> B");
  EXPECT_THROW(ApplyGraph::forSemanticOrderedModuleFullRange(nullptr, g["A"], nullptr),
               std::bad_function_call);
  EXPECT_NO_THROW(ApplyGraph::forSemanticOrderedModuleFullRange(nullptr, nullptr, g["A"]));
}

TEST(ModuleFullRange, ExceptionsOfTheCallbackPassThrough) {
  const auto g = graph("A -> B -> C");
  std::string order;
  EXPECT_THROW(ApplyGraph::forSemanticOrderedModuleFullRange(
                   [&](const ModulePtr& module, bool) -> bool {
                     order += g.nameOf(module);
                     if (order == "AB") {
                       throw std::runtime_error("enough");
                     }
                     return true;
                   },
                   g["A"], g["C"]),
               std::runtime_error);
  EXPECT_EQ(order, "AB");
  EXPECT_EQ(g["C"].use_count(), 1);
}

TEST(PreviousModules, OfALoneModuleAreNone) {
  EXPECT_EQ(previousModules(graph("A -> B"), "A"), "");
}

TEST(PreviousModules, OfNullAreNone) { EXPECT_EQ(previousModules(graph("A"), "~"), ""); }

TEST(PreviousModules, ComeNearestFirstInTheOrderOfThePreviousLists) {
  EXPECT_EQ(previousModules(graph("E -> C -> A; D -> B -> A; F -> C"), "A"), "C B E F D");
}

TEST(PreviousModules, ComeAfterAllTheirNextModulesOnTheWay) {
  EXPECT_EQ(previousModules(graph("A -> M; A -> F -> G -> M -> Z"), "Z"), "M G F A");
}

TEST(PreviousModules, DoNotWaitForModulesOffTheWay) {
  EXPECT_EQ(previousModules(graph("A -> B -> C; A -> (S) -> T; C -> D; A -> D"), "C"), "B A");
}

TEST(PreviousModules, OfAMergeAreAllItsChains) {
  EXPECT_EQ(previousModules(graph("A -> B -> M; A -> F -> M; X -> F"), "M"), "B F A X");
}

TEST(PreviousModules, DoNotGoFurtherBackFromWhereTheCallbackSaysNo) {
  EXPECT_EQ(previousModules(graph("A -> B -> C -> D; E -> D"), "D", {"C"}), "C E");
  // A waits for B, which is never reached.
  EXPECT_EQ(previousModules(graph("A -> B -> C -> D; A -> D"), "D", {"C"}), "C");
  EXPECT_EQ(previousModules(graph("A -> B -> D; A -> C -> D"), "D", {"B"}), "B C A");
}

TEST(PreviousModules, EndEarlyAtACircle) {
  EXPECT_EQ(previousModules(graph("A -> B -> A; B -> C; D -> C"), "C"), "D");
  EXPECT_EQ(previousModules(graph("A -> B -> A"), "A"), "");
  EXPECT_EQ(previousModules(graph("P -> A ->. A"), "A"), "");
}

TEST(PreviousModules, PassOverDeadEntriesAndDuplicates) {
  EXPECT_EQ(previousModules(graph("~ -> C; B -> C; B -> C; ~ -> B -> ~; A -> B"), "C"), "B A");
}

TEST(PreviousModules, FollowPreviousListsAndWaitByNextLists) {
  EXPECT_EQ(previousModules(graph("B .-> C; A ->. C; D -> C"), "C"), "B D");
  EXPECT_EQ(previousModules(graph("B -> C; D -> C; B ->. D"), "C"), "D B");
}

TEST(PreviousModules, EmptyCallbackFailsAtItsFirstCall) {
  const auto g = graph("A -> B");
  EXPECT_THROW(ApplyGraph::forSemanticOrderedPreviousModules(nullptr, g["B"]),
               std::bad_function_call);
  EXPECT_NO_THROW(ApplyGraph::forSemanticOrderedPreviousModules(nullptr, g["A"]));
  EXPECT_NO_THROW(ApplyGraph::forSemanticOrderedPreviousModules(nullptr, nullptr));
}

TEST(PreviousModules, ExceptionsOfTheCallbackPassThrough) {
  const auto g = graph("A -> B -> C");
  std::string order;
  EXPECT_THROW(ApplyGraph::forSemanticOrderedPreviousModules(
                   [&](const ModulePtr& module) -> bool {
                     order += g.nameOf(module);
                     throw std::runtime_error("enough");
                   },
                   g["C"]),
               std::runtime_error);
  EXPECT_EQ(order, "B");
  EXPECT_EQ(g["A"].use_count(), 1);
}

}  // namespace
}  // namespace Tessaril
