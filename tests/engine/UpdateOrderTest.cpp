#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/ScriptedDesign.h"

// The update command beside its literal form, on graphs made for one way of being wrong each.

namespace Tessaril {
namespace {

using TestSupport::EventKind;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedLiteralUpdate;
using TestSupport::ScriptedUpdate;

// --- How long modules are held ------------------------------------------------------------------

/// A module of the range A to E is given up by all its owners after a run; is it there after each
/// of the next runs?
template <typename Update>
std::string livesOn(const std::string& graph, const std::string& needingApply,
                    const std::string& dropped) {
  ScriptedDesign design(graph);
  design.needApply(needingApply);
  Update update(design.log, design.root, design.module("A"), design.module("E"), nullptr);
  design.run(update);
  const std::weak_ptr<ApplyModule> module = design.module(dropped);
  design.root->removeChild(design[dropped]);
  design[dropped].madeCommands.clear();
  design.graph.drop(dropped);
  std::string story = module.expired() ? "gone" : "there";
  for (int run = 0; run < 3; ++run) {
    design.run(update);
    story += module.expired() ? " gone" : " there";
  }
  return story;
}

void expectSameLife(const std::string& graph, const std::string& needingApply,
                    const std::string& expected) {
  EXPECT_EQ(livesOn<ScriptedLiteralUpdate>(graph, needingApply, "B"), expected);
  EXPECT_EQ(livesOn<ScriptedUpdate>(graph, needingApply, "B"), expected);
}

TEST(UpdateHoldsModulesTest, OfItsRangeWhileALinkFromTheEndLeadsBack) {
  expectSameLife("A -> B -> E", "A", "there there there there");
}

TEST(UpdateHoldsModulesTest, OnTheWayOnlyUntilTheNextRun) {
  expectSameLife("A -> E; B -> E", "A", "there gone gone gone");
}

TEST(UpdateHoldsModulesTest, OffTheWayUntilTheNextRun) {
  expectSameLife("A -> B; A -> E", "A", "there gone gone gone");
  expectSameLife("A -> B; A -> E", "", "there gone gone gone");
}

TEST(UpdateHoldsModulesTest, BehindTheEndOnceVisited) {
  expectSameLife("A -> E -> B", "A", "there gone gone gone");
  expectSameLife("A -> E -> B", "", "gone gone gone gone");
}

TEST(UpdateHoldsModulesTest, NoneBeforeTheStart) {
  expectSameLife("B -> A -> E", "A", "gone gone gone gone");
}

// --- Which modules count for the progress -------------------------------------------------------

template <typename Update>
std::string ratesAsked(const std::string& graph, const std::string& end) {
  ScriptedDesign design(graph);
  design.log.hear({EventKind::Rate, EventKind::Progress, EventKind::Step});
  design.forEachModule([](auto& module) { module.necessary = true; });
  Update update(design.log, design.root, design.module("A"), design.module(end), nullptr);
  return design.run(update);
}

void expectSameRates(const std::string& graph, const std::string& end) {
  const std::string expected = ratesAsked<ScriptedLiteralUpdate>(graph, end);
  EXPECT_NE(expected.find("?rate"), std::string::npos) << expected;
  EXPECT_EQ(ratesAsked<ScriptedUpdate>(graph, end), expected) << graph;
}

TEST(ProgressRangeTest, OfAChain) { expectSameRates("A -> B -> C -> D", "D"); }

TEST(ProgressRangeTest, OfAChainWithSideChains) {
  expectSameRates("A -> B -> C -> D; A -> X; B -> Y -> C", "D");
}

// From B on the scope holds A again, for which B waits.
TEST(ProgressRangeTest, WhereALinkLeadsBackIntoTheChain) {
  expectSameRates("A -> B -> C -> D; C ->. A", "D");
}

// From C on the ways back from the end lead through B, and behind it to N.
TEST(ProgressRangeTest, WhereTheEndKnowsAnotherWayBackThroughTheChain) {
  expectSameRates("A -> B -> C -> D; P .-> B; N .-> P; B .-> D; C ->. N", "D");
}

TEST(ProgressRangeTest, WhereTheRangeGoesOnBehindItsEnd) {
  expectSameRates("A -> B -> C -> D; D ->. B", "C");
}

}  // namespace
}  // namespace Tessaril
