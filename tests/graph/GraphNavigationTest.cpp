#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/platform/exceptions/TsException.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using TestSupport::chain;
using TestSupport::graph;
using TestSupport::ModulePtr;
using TestSupport::TestGraph;
using TestSupport::text;

constexpr const char* kDisconnected =
    "Cannot compute the level of chain which is disconnected from main chain.";
constexpr const char* kNotConstructed =
    "ApplyGraph is not properly constructed. Call ApplyGraph::computeLevelOfChain(module) after "
    "setup ApplyGraph.";

std::string startOf(const TestGraph& g, const char* name) {
  return g.nameOf(ApplyGraph::getStart(g[name]));
}

std::string endOf(const TestGraph& g, const char* name) {
  return g.nameOf(ApplyGraph::getEnd(g[name]));
}

std::string firstOf(const TestGraph& g, const char* name) {
  return g.nameOf(ApplyGraph::getFirstModuleOfChain(g[name]));
}

std::string nextOf(const TestGraph& g, const char* name, const char* chainName) {
  return g.nameOf(ApplyGraph::getNextModuleWithChainId(g[name], chain(chainName)));
}

std::string previousOf(const TestGraph& g, const char* name, const char* chainName) {
  return g.nameOf(ApplyGraph::getPreviousModuleWithChainId(g[name], chain(chainName)));
}

bool inSameGraph(const TestGraph& g, const char* a, const char* b) {
  return ApplyGraph::isInSameGraph(g[a], g[b]);
}

std::uint64_t levelOf(const TestGraph& g, const char* name) {
  return ApplyGraph::computeLevelOfChain(g[name]);
}

/// What computeLevelOfChain() throws; a failure when it does not.
std::string levelErrorOf(const ModulePtr& module) {
  try {
    const auto level = ApplyGraph::computeLevelOfChain(module);
    return "no exception but level " + std::to_string(level);
  } catch (const TsException& exception) {
    return exception.getMessage();
  }
}

static_assert(std::is_same_v<decltype(ApplyGraph::getStart(ModulePtr{})), ModulePtr>);
static_assert(std::is_same_v<decltype(ApplyGraph::getStartConst(ModulePtr{})),
                             std::shared_ptr<const ApplyModule>>);
static_assert(
    std::is_same_v<decltype(ApplyGraph::computeLevelOfChain(ModulePtr{})), std::uint64_t>);
static_assert(std::is_empty_v<ApplyGraph>);

TEST(GraphNavigation, LoneModuleIsItsOwnStartEndAndFirst) {
  const auto g = graph("A");
  EXPECT_EQ(startOf(g, "A"), "A");
  EXPECT_EQ(endOf(g, "A"), "A");
  EXPECT_EQ(firstOf(g, "A"), "A");
  EXPECT_EQ(levelOf(g, "A"), 0U);
}

TEST(GraphNavigation, LoneModuleOfASideChainIsItsFirst) {
  const auto g = graph("A:cutter");
  EXPECT_EQ(startOf(g, "A"), "A");
  EXPECT_EQ(firstOf(g, "A"), "A");
}

TEST(GraphNavigation, StartIsReachedFromEveryModule) {
  const auto g = graph("A -> B -> C; B -> (S):s -> T:s; T -> (U):u");
  for (const auto& member : g) {
    EXPECT_EQ(startOf(g, member.name.c_str()), "A") << member.name;
  }
}

TEST(GraphNavigation, StartFollowsTheFirstLivePreviousModule) {
  EXPECT_EQ(startOf(graph("A -> D; B -> D"), "D"), "A");
  EXPECT_EQ(startOf(graph("B -> D; A -> D"), "D"), "B");
  EXPECT_EQ(startOf(graph("~ -> D; ~ -> D; B -> D; A -> D"), "D"), "B");
}

TEST(GraphNavigation, StartTurnsBackForNothing) {
  // The first previous module wins although it leads to another root than all the others.
  EXPECT_EQ(startOf(graph("R -> A -> D; Q -> B -> D; Q -> C -> D"), "D"), "R");
}

TEST(GraphNavigation, StartIgnoresChainsAndFlags) {
  EXPECT_EQ(startOf(graph("(S):s[side] -> M; A -> M"), "M"), "S");
  EXPECT_EQ(startOf(graph("A -> (S):s[side] -> T:s"), "S"), "A");
}

TEST(GraphNavigation, ReorderedMergeLeadsToTheSameStart) {
  EXPECT_EQ(startOf(graph("A -> B -> M; A -> F:f[fork] -> M"), "M"), "A");
  EXPECT_EQ(startOf(graph("A -> F:f[fork] -> M; A -> B -> M"), "M"), "A");
}

TEST(GraphNavigation, ModuleWhosePreviousModulesHaveGoneIsAStart) {
  const auto g = graph("~ -> A; ~ -> A -> B");
  ASSERT_FALSE(g["A"]->getPreviousApplyModules().empty());
  EXPECT_EQ(startOf(g, "A"), "A");
  EXPECT_EQ(startOf(g, "B"), "A");
}

TEST(GraphNavigation, StartLooksAtPreviousListsOnly) {
  const auto g = graph("A ->. B; C .-> D");
  EXPECT_EQ(startOf(g, "B"), "B");
  EXPECT_EQ(startOf(g, "D"), "C");
}

TEST(GraphNavigation, StartConstIsTheStart) {
  const auto g = graph("A -> B; A -> (S):s");
  EXPECT_EQ(ApplyGraph::getStartConst(g["S"]), g["A"]);
  const std::shared_ptr<const ApplyModule> readOnly = g["B"];
  EXPECT_EQ(ApplyGraph::getStartConst(readOnly), g["A"]);
}

TEST(GraphNavigation, EndFollowsTheFirstLiveNextModule) {
  EXPECT_EQ(endOf(graph("A -> B; A -> C"), "A"), "B");
  EXPECT_EQ(endOf(graph("A -> ~; A -> C; A -> B"), "A"), "C");
  EXPECT_EQ(endOf(graph("A -> B -> C -> ~"), "A"), "C");
}

TEST(GraphNavigation, EndPassesOverSideChainStarts) {
  EXPECT_EQ(endOf(graph("A -> (S):s -> T:s; A -> ~; A -> B -> C"), "A"), "C");
}

TEST(GraphNavigation, ModuleThatOnlyStartsSideChainsIsAnEnd) {
  EXPECT_EQ(endOf(graph("A -> B -> (S):s; B -> (T):t"), "A"), "B");
}

TEST(GraphNavigation, EndPassesOverTheFlagWhateverTheMode) {
  EXPECT_EQ(endOf(graph("A -> (F):f[fork] -> M; A -> B"), "A"), "B");
  EXPECT_EQ(endOf(graph("A -> S:s[side]; A -> B"), "A"), "S");
}

TEST(GraphNavigation, EndWithinASideChainStaysOnIt) {
  const auto g = graph("A -> (S):s -> T:s; A -> B");
  EXPECT_EQ(endOf(g, "S"), "T");
  EXPECT_EQ(endOf(g, "T"), "T");
}

TEST(GraphNavigation, EndOfAForkIsThatOfTheLineJoined) {
  const auto g = graph("A -> (F):f[fork] -> G:f; A -> M; G -> M -> Z");
  EXPECT_EQ(endOf(g, "F"), "Z");
}

TEST(GraphNavigation, EndLooksAtNextListsOnly) {
  const auto g = graph("A ->. B; C .-> D");
  EXPECT_EQ(endOf(g, "A"), "B");
  EXPECT_EQ(endOf(g, "C"), "C");
}

TEST(GraphNavigation, FirstOfMainChainIsTheStartOfTheGraph) {
  const auto g = graph("A -> B -> C");
  EXPECT_EQ(firstOf(g, "C"), "A");
  // By first previous modules, not by chain id.
  EXPECT_EQ(firstOf(graph("S:s -> M; A -> M"), "M"), "S");
}

TEST(GraphNavigation, FirstOfASideChainIsNotTheStartOfTheGraph) {
  const auto g = graph("A -> (S):s -> T:s -> U:s; A -> B");
  for (const auto* name : {"S", "T", "U"}) {
    EXPECT_EQ(firstOf(g, name), "S") << name;
  }
}

TEST(GraphNavigation, FirstOfASideChainIsFoundAmongOtherPreviousModules) {
  const auto g = graph("A -> (S):s -> T:s; ~ -> M:s; A -> M; T -> M");
  EXPECT_EQ(firstOf(g, "M"), "S");
}

TEST(GraphNavigation, FirstOfAnInterruptedChainLiesBehindTheInterruption) {
  const auto g = graph("A -> (S):s -> X:x -> T:s -> U:s");
  EXPECT_EQ(firstOf(g, "U"), "T");
}

TEST(GraphNavigation, FirstOfASideChainNeedsNoFlag) {
  EXPECT_EQ(firstOf(graph("A -> S:s -> (T):s"), "T"), "S");
}

TEST(GraphNavigation, NextInChainIsTheFirstLiveMatch) {
  const auto g = graph("A -> ~; A -> B:b; A -> S:s; A -> T:s; A -> C");
  EXPECT_EQ(nextOf(g, "A", "s"), "S");
  EXPECT_EQ(nextOf(g, "A", "b"), "B");
  EXPECT_EQ(nextOf(g, "A", "main"), "C");
  EXPECT_EQ(nextOf(g, "A", "x"), "~");
  EXPECT_EQ(nextOf(g, "C", "main"), "~");
}

TEST(GraphNavigation, NextInChainPaysNoAttentionToFlags) {
  EXPECT_EQ(nextOf(graph("A -> (S):s; A -> T:s"), "A", "s"), "S");
}

TEST(GraphNavigation, PreviousInChainIsTheFirstLiveMatch) {
  const auto g = graph("~ -> M; B:b -> M; S:s -> M; T:s -> M; C -> M");
  EXPECT_EQ(previousOf(g, "M", "s"), "S");
  EXPECT_EQ(previousOf(g, "M", "b"), "B");
  EXPECT_EQ(previousOf(g, "M", "main"), "C");
  EXPECT_EQ(previousOf(g, "M", "x"), "~");
  EXPECT_EQ(previousOf(g, "C", "main"), "~");
}

TEST(GraphNavigation, NullHasNoNeighbours) {
  EXPECT_EQ(ApplyGraph::getNextModuleWithChainId(nullptr, chain("main")), nullptr);
  EXPECT_EQ(ApplyGraph::getPreviousModuleWithChainId(nullptr, chain("s")), nullptr);
}

TEST(GraphNavigation, NullLeadsToNull) {
  EXPECT_EQ(ApplyGraph::getStart(nullptr), nullptr);
  EXPECT_EQ(ApplyGraph::getStartConst(nullptr), nullptr);
  EXPECT_EQ(ApplyGraph::getEnd(nullptr), nullptr);
  EXPECT_EQ(ApplyGraph::getFirstModuleOfChain(nullptr), nullptr);
}

TEST(GraphNavigation, ModulesWithOneStartAreInTheSameGraph) {
  const auto g = graph("A -> B; A -> (S):s; B -> (T):t; X -> Y");
  EXPECT_TRUE(inSameGraph(g, "S", "T"));
  EXPECT_TRUE(inSameGraph(g, "A", "A"));
  EXPECT_TRUE(inSameGraph(g, "A", "T"));
  EXPECT_FALSE(inSameGraph(g, "S", "Y"));
  EXPECT_FALSE(inSameGraph(g, "X", "A"));
}

TEST(GraphNavigation, LinkedModulesWithDifferentStartsAreInDifferentGraphs) {
  const auto g = graph("A -> M; B -> M");
  EXPECT_TRUE(inSameGraph(g, "A", "M"));
  EXPECT_FALSE(inSameGraph(g, "B", "M"));
}

TEST(GraphNavigation, LevelCountsTheChainsAbove) {
  const auto g = graph(
      "A -> B; A -> (S):s[side] -> S2:s; S2 -> (T):t[side<s] -> T2:t;"
      "T -> (U):u[side<t] -> U2:u -> (V):v[side<u]");
  EXPECT_EQ(levelOf(g, "B"), 0U);
  EXPECT_EQ(levelOf(g, "S"), 1U);
  EXPECT_EQ(levelOf(g, "S2"), 1U);
  EXPECT_EQ(levelOf(g, "T"), 2U);
  EXPECT_EQ(levelOf(g, "T2"), 2U);
  EXPECT_EQ(levelOf(g, "U2"), 3U);
  EXPECT_EQ(levelOf(g, "V"), 4U);
}

TEST(GraphNavigation, MainChainHasLevelZeroWhereverItStands) {
  EXPECT_EQ(levelOf(graph("A -> S:s[side] -> B[add<s]"), "B"), 0U);
}

TEST(GraphNavigation, LevelFindsTheParentAmongAllPreviousModules) {
  EXPECT_EQ(levelOf(graph("A -> S:s[side]; ~ -> T:t[side<s]; A -> T; S -> T"), "T"), 2U);
}

TEST(GraphNavigation, LevelReadsTheStartChainWhateverTheMode) {
  EXPECT_EQ(levelOf(graph("A -> S:s -> T:t[fork<s]"), "T"), 2U);
  EXPECT_EQ(levelOf(graph("A -> S:s -> T:t[add<s]"), "T"), 2U);
  EXPECT_EQ(levelOf(graph("A -> S:s -> T:t[merge<s+main]; A -> T"), "T"), 2U);
}

TEST(GraphNavigation, LevelOfAChainOffTheMainChainNeedsNoLink) {
  EXPECT_EQ(levelOf(graph("S:s[side] -> T:s; A"), "T"), 1U);
  EXPECT_EQ(levelOf(graph("~ -> S:s[side]"), "S"), 1U);
}

TEST(GraphNavigation, LevelOfAChainWithoutItsParentIsAnError) {
  EXPECT_EQ(levelErrorOf(graph("A -> S:s; T:t[side<s] -> U:t")["U"]), kNotConstructed);
  EXPECT_EQ(levelErrorOf(graph("~ -> T:t[side<s]")["T"]), kNotConstructed);
  EXPECT_EQ(levelErrorOf(graph("A -> T:t[side<s]")["T"]), kNotConstructed);
}

TEST(GraphNavigation, LevelNeedsEveryParentOnTheWay) {
  const auto g = graph("S:s[side<r] -> T:t[side<s] -> U:u[side<t]");
  for (const auto* name : {"S", "T", "U"}) {
    EXPECT_EQ(levelErrorOf(g[name]), kNotConstructed) << name;
  }
}

TEST(GraphNavigation, LevelOfNullIsThatOfADisconnectedChain) {
  EXPECT_EQ(levelErrorOf(nullptr), kDisconnected);
}

TEST(GraphNavigation, LevelErrorsNameThePlace) {
  const auto lost = graph("T:t[side<s]");
  for (const auto& module : {ModulePtr{}, lost["T"]}) {
    try {
      ApplyGraph::computeLevelOfChain(module);
      FAIL() << "did not throw";
    } catch (const TsException& exception) {
      const auto& place = exception.getSourceLocation();
      EXPECT_THAT(place.file_name(), EndsWith("ApplyGraph.cpp"));
      EXPECT_THAT(place.function_name(), HasSubstr("Tessaril::ApplyGraph::computeLevelOfChain("));
      EXPECT_GT(place.line(), 0U);
    }
  }
}

TEST(GraphNavigation, QuestionsChangeNothing) {
  const auto g =
      graph("A -> ~; A -> B; ~ -> C; A -> C; A -> (S):s[side] -> T:t[side<s]; X:x[side<y]");
  const auto before = text(g);
  for (const auto& [name, module] : g) {
    ApplyGraph::getStart(module);
    ApplyGraph::getEnd(module);
    ApplyGraph::getFirstModuleOfChain(module);
    ApplyGraph::getNextModuleWithChainId(module, chain("s"));
    ApplyGraph::getPreviousModuleWithChainId(module, chain("s"));
    ApplyGraph::isInSameGraph(module, g["A"]);
    if (name != "X") {
      ApplyGraph::computeLevelOfChain(module);
    }
    EXPECT_EQ(g.as<TestSupport::TestModule>(name)->graphChanges, 0);
  }
  EXPECT_THROW(ApplyGraph::computeLevelOfChain(g["X"]), TsException);
  EXPECT_EQ(text(g), before);
}

}  // namespace
}  // namespace Tessaril
