#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::EventKind;
using TestSupport::makeEmptyMessage;
using TestSupport::makeMessage;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;
namespace PrivateLinks = TestSupport::PrivateLinks;

/// Makes the module's apply command leave one message behind.
void leaveMessage(ScriptedDesign& design, ScriptedModule& module, const std::string& text) {
  module.apply.script->whenExecuted = [&design, text](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, text)});
  };
}

// --- Nothing to apply ---------------------------------------------------------------------------

TEST(SchedulingTest, DoesNothingWhereNothingNeedsAFullApply) {
  ScriptedDesign design("A -> B -> C -> D; B -> S");
  const auto update = design.cachedUpdate("A", "C");
  EXPECT_EQ(design.run(*update), "cache:begin cache:end finish(true)");
  EXPECT_TRUE(update->empty());
  EXPECT_EQ(update->getLastExecutedApplyModule(), nullptr);
}

TEST(SchedulingTest, AsksEachModuleOnceBeforeTheFirstApply) {
  ScriptedDesign design("A -> B -> C; A -> S");
  design.log.alsoHear({EventKind::Question, EventKind::Hook, EventKind::Creation});
  const auto update = design.update("A", "C");
  design.log.take();
  EXPECT_EQ(design.run(*update),
            "A?relevant A?necessary A?possible cancel?A A?autoNecessary A?autoPossible "
            "B?relevant B?necessary B?possible cancel?B B?autoNecessary B?autoPossible "
            "C?relevant C?necessary(end) C?possible cancel?C C?autoNecessary C?autoPossible "
            "finish(true)");
}

// --- Full applies -------------------------------------------------------------------------------

// The questions about the full apply come a second time when the progress is divided.
TEST(SchedulingTest, AsksInThisOrderAroundFullApplies) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.cachedUpdate("A", "B");
  design.log.alsoHear({EventKind::Question, EventKind::Hook, EventKind::Creation, EventKind::Rate});
  EXPECT_EQ(design.run(*update),
            "cache:begin "
            "A?relevant A?necessary A?possible suppress?A A:makeApply "
            "A?relevant A?necessary A?possible A?rate B?rate A?rate A:apply "
            "cancel?A "
            "B?relevant B?necessary(end) B?possible suppress?B B:makeApply "
            "B?relevant B?necessary(end) B?possible B?rate B?rate B:apply "
            "cache:end finish(true)");
}

TEST(SchedulingTest, AppliesInGraphOrder) {
  ScriptedDesign design("A -> B -> E; A -> C -> D -> E");
  design.needApply("A B C D E");
  EXPECT_EQ(design.run("A", "E"), "A:apply B:apply C:apply D:apply E:apply finish(true)");
}

TEST(SchedulingTest, AppliesAMergeOnlyAfterAllThatLeadsToIt) {
  ScriptedDesign design("A -> M; A -> B -> C -> M");
  design.needApply("A B C M");
  EXPECT_EQ(design.run("A", "M"), "A:apply B:apply C:apply M:apply finish(true)");
}

TEST(SchedulingTest, DoesNotWaitForWhatLiesOutsideTheRange) {
  ScriptedDesign design("A -> M; R -> M; R -> A");
  design.needApply("A M R");
  EXPECT_EQ(design.run("A", "M"), "A:apply M:apply finish(true)");
}

TEST(SchedulingTest, RunsOverASingleModule) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B C");
  EXPECT_EQ(design.run("B", "B"), "B:apply C:auto finish(true)");
}

TEST(SchedulingTest, AppliesNothingWhereTheStartDoesNotLeadToTheEnd) {
  ScriptedDesign design("A -> B; X -> Y");
  design.needApply("A B X Y");
  EXPECT_EQ(design.run("X", "B"), "finish(true)");
  EXPECT_EQ(design.run("B", "A"), "finish(true)");
}

TEST(SchedulingTest, PassesOverDeadLinks) {
  ScriptedDesign design("A -> ~; A -> B; ~ -> B; B -> ~");
  design.needApply("A B");
  EXPECT_EQ(design.run("A", "B"), "A:apply B:apply finish(true)");
}

TEST(SchedulingTest, AsksTheEndOfTheRangeAsTheEnd) {
  ScriptedDesign design("A -> B -> C");
  design["C"].necessaryAsEnd = true;
  design["B"].necessaryAsEnd = true;
  EXPECT_EQ(design.run("A", "C"), "C:apply finish(true)");
}

TEST(SchedulingTest, NeedsRelevanceAndPossibilityForAFullApply) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B");
  design["B"].possible = false;
  design["C"].relevant = true;
  EXPECT_EQ(design.run("A", "C"), "A:apply B:auto C:apply finish(true)");
}

TEST(SchedulingTest, DoesNotAskForNecessityWhereTheMessagesAreRelevant) {
  ScriptedDesign design("A -> B");
  design.needApply("A");
  leaveMessage(design, design["A"], "m");
  const auto update = design.update("A", "B");
  design.log.alsoHear({EventKind::Question});
  EXPECT_EQ(design.run(*update),
            "A?relevant A?necessary A?possible A?relevant A?necessary A?possible A:apply "
            "B?relevant B?possible B?relevant B?possible B:apply(m) finish(true)");
}

TEST(SchedulingTest, AModuleMayCallMessagesIrrelevant) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A");
  leaveMessage(design, design["A"], "m");
  design["B"].relevant = false;
  EXPECT_EQ(design.run("A", "C"), "A:apply B:auto(m) C:apply(m) finish(true)");
}

TEST(SchedulingTest, EmptyMessagesMakeNothingNecessary) {
  ScriptedDesign design("A -> B");
  design.needApply("A");
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeEmptyMessage(design.log, "e")});
  };
  design["B"].autoNecessary = false;
  EXPECT_EQ(design.run("A", "B"), "A:apply B:signal finish(true)");
}

TEST(SchedulingTest, AnswersMayChangeDuringTheRun) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("B");
  // What B computes makes C necessary.
  design["B"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) { design["C"].necessary = true; };
  EXPECT_EQ(design.run("A", "C"), "B:apply C:apply finish(true)");
}

TEST(SchedulingTest, NeedsFullApplyIsNoQuestionOutsideTheWayToTheEnd) {
  ScriptedDesign design("A -> B; A -> S");
  design.needApply("S");
  const auto update = design.update("A", "B");
  design.run(*update);
  design.log.hear({EventKind::Question});
  // Relevance and necessity come first; possibility is not asked any more.
  EXPECT_FALSE(update->needsFullApply(design.module("S")));
  EXPECT_EQ(design.log.take(), "S?relevant S?necessary");
}

TEST(SchedulingTest, AsksForPossibilityEvenWhereAnApplyIsNotNecessary) {
  ScriptedDesign design("A -> B");
  const auto update = design.update("A", "B");
  design.run(*update);
  design.log.hear({EventKind::Question});
  EXPECT_FALSE(update->needsFullApply(design.module("A")));
  EXPECT_EQ(design.log.take(), "A?relevant A?necessary A?possible");
}

// --- Around the first apply ---------------------------------------------------------------------

TEST(SchedulingTest, PassesSilentlyOverWhatComesBeforeTheFirstApply) {
  ScriptedDesign design("A -> B -> C -> D");
  design.needApply("C");
  EXPECT_EQ(design.run("A", "D"), "C:apply D:auto finish(true)");
}

// Nothing has changed for modules that branch off before the first apply.
TEST(SchedulingTest, ForgetsSideChainsThatBranchOffBeforeTheFirstApply) {
  ScriptedDesign design("A -> B -> C; A -> S -> T; B -> U; C -> V");
  design.needApply("B");
  EXPECT_EQ(design.run("A", "C"), "B:apply U:auto C:auto V:auto finish(true)");
}

TEST(SchedulingTest, AutoAppliesASideChainBeforeTheNextModuleIsLookedAt) {
  ScriptedDesign design("A -> B -> C; A -> S -> T");
  design.needApply("A B C");
  const auto update = design.update("A", "C");
  design.log.alsoHear({EventKind::Question});
  const std::string events = design.run(*update);
  EXPECT_LT(events.find("T:auto"), events.find("B?relevant"));
  design.log.hear({EventKind::Step});
  EXPECT_EQ(design.run(*update), "A:apply S:auto T:auto B:apply C:apply");
}

TEST(SchedulingTest, AutoAppliesOrSignalsWhatNeedsNoFullApplyAfterTheFirstApply) {
  ScriptedDesign design("A -> B -> C -> D -> E");
  design.needApply("A");
  design["B"].autoNecessary = false;
  design["C"].autoPossible = false;
  EXPECT_EQ(design.run("A", "E"), "A:apply B:signal C:signal D:auto E:auto finish(true)");
}

TEST(SchedulingTest, MessagesMakeAnAutoApplyNecessaryWithoutAsking) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A");
  leaveMessage(design, design["A"], "m");
  design["B"].possible = false;
  design["B"].autoNecessary = false;
  design["C"].possible = false;
  design["C"].autoPossible = false;
  const auto update = design.update("A", "C");
  design.log.alsoHear({EventKind::Question});
  const std::string events = design.run(*update);
  EXPECT_NE(events.find("A:apply B?relevant B?possible B?autoPossible B:auto(m) "
                        "C?relevant C?possible C?autoPossible C:signal finish(true)"),
            std::string::npos)
      << events;
}

// --- The end of the range -----------------------------------------------------------------------

TEST(SchedulingTest, NothingBehindTheEndGetsAFullApply) {
  ScriptedDesign design("A -> B -> C -> D");
  design.needApply("A B C D");
  EXPECT_EQ(design.run("A", "B"), "A:apply B:apply C:auto D:auto finish(true)");
}

TEST(SchedulingTest, TheEndIsReachedWhereItIsOnlyAutoApplied) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A C");
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "A:apply B:auto C:auto finish(true)");
  design["B"].necessary = true;
  EXPECT_FALSE(update->needsFullApply(design.module("B")));
}

TEST(SchedulingTest, TheEndIsReachedWhereItIsOnlySignalled) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A C");
  design["B"].autoPossible = false;
  EXPECT_EQ(design.run("A", "B"), "A:apply B:signal C:auto finish(true)");
}

TEST(SchedulingTest, ASideChainMayRunIntoWhatFollowsTheEnd) {
  ScriptedDesign design("A -> B -> E; A -> S -> E");
  design.needApply("A B");
  // The side chain is computed as soon as it is reached, E with it, and only once.
  EXPECT_EQ(design.run("A", "B"), "A:apply S:auto E:auto B:apply finish(true)");
}

TEST(SchedulingTest, KnowsTheLastModuleThatWasApplied) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B");
  const auto update = design.update("A", "C");
  design.run(*update);
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("B"));
  EXPECT_EQ(update->getEndModule(), design.module("C"));
}

// --- Horizon ------------------------------------------------------------------------------------

TEST(HorizonTest, AutoAppliesWhatFollowsTheEndOnce) {
  ScriptedDesign design("A -> B -> C -> D; B -> S");
  design.needApply("A B");
  EXPECT_EQ(design.run("A", "B", "D"), "A:apply B:apply C:auto D:auto S:auto finish(true)");
}

TEST(HorizonTest, AutoAppliesWhatFollowsTheEndEvenWhereNothingWasApplied) {
  ScriptedDesign design("A -> B -> C -> D; B -> S");
  EXPECT_EQ(design.run("A", "B", "D"), "C:auto D:auto S:auto finish(true)");
  EXPECT_EQ(design.run("A", "B"), "finish(true)");
}

TEST(HorizonTest, AsksNoPolicyOfWhatFollowsTheEnd) {
  ScriptedDesign design("A -> B -> C");
  design["C"].autoNecessary = false;
  design["C"].autoPossible = false;
  EXPECT_EQ(design.run("A", "B", "C"), "C:auto finish(true)");
}

TEST(HorizonTest, AutoAppliesWhatLiesBeforeTheHorizonInTheRestrictedWay) {
  ScriptedDesign design("A -> B -> C -> D -> E; B -> S; D -> T");
  design.needApply("A B");
  design.forEachModule([](ScriptedModule& module) { module.always = false; });
  EXPECT_EQ(design.run("A", "B", "D"),
            "A:apply B:apply C:auto D:auto(alone) E:auto(alone) T:auto(alone) S:auto(alone) "
            "finish(true)");
}

TEST(HorizonTest, AsksWhatLiesBeforeTheHorizonAllTheSame) {
  ScriptedDesign design("A -> B -> C -> D");
  design.forEachModule([](ScriptedModule& module) { module.always = false; });
  const auto update = design.update("A", "B", "D");
  design.log.hear({EventKind::Question, EventKind::Step});
  const std::string events = design.run(*update);
  EXPECT_NE(events.find(" C?always C?shared C:auto "
                        "D?always D?shared D?shared D:auto(alone) D?consistent"),
            std::string::npos)
      << events;
}

TEST(HorizonTest, GoesOnToTheHorizonThroughInconsistentModules) {
  ScriptedDesign design("A -> B -> C -> D");
  design.forEachModule([](ScriptedModule& module) {
    module.always = false;
    module.consistent = false;
  });
  EXPECT_EQ(design.run("A", "B", "D"), "C:auto D:auto(alone) finish(true)");
}

// Sub-graphs that wait after the range take the place of what follows the end.
TEST(HorizonTest, AddsNothingWhereSubGraphsStillWait) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A");
  design["A"].apply.script->whenExecuted = [](ApplyUpdateInfo&) { throw std::runtime_error("no"); };
  design["A"].autoApply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("no");
  };
  design.log.hear({EventKind::Step, EventKind::Run});
  // A's own sub-graph waits when the run is stopped; it cannot get past A.
  EXPECT_EQ(design.run("A", "B", "C"), "A:apply A:auto finish(false)");
}

// --- A module without an apply command ----------------------------------------------------------

TEST(MissingCommandTest, EndsTheRunAsFinished) {
  ScriptedDesign design("A -> B -> C; A -> S");
  design.needApply("A B C");
  design["B"].apply.script.reset();
  const auto update = design.cachedUpdate("A", "C");
  EXPECT_EQ(design.run(*update), "cache:begin A:apply S:auto cache:end finish(true)");
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("A"));
}

TEST(MissingCommandTest, LeavesTheRunAsNotStartedWhereItIsTheFirst) {
  ScriptedDesign design("A -> B; A -> S");
  design.needApply("A");
  design["A"].apply.script.reset();
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "finish(true)");
  EXPECT_EQ(update->getLastExecutedApplyModule(), nullptr);
  EXPECT_TRUE(update->needsFullApply(design.module("A")));
}

TEST(MissingCommandTest, CountsAsReachingTheEnd) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B");
  design["B"].apply.script.reset();
  const auto update = design.update("A", "B");
  // What follows the end waits, and the run ends.
  EXPECT_EQ(design.run(*update), "A:apply finish(true)");
  EXPECT_FALSE(update->needsFullApply(design.module("A")));
}

// --- Suppressed runs ----------------------------------------------------------------------------

TEST(SuppressedTest, StopsAtTheModuleAndAutoAppliesItsSubGraph) {
  ScriptedDesign design("A -> B -> C -> D; B -> S");
  design.needApply("A B C D");
  const auto update = design.cachedUpdate("A", "C");
  update->suppresses = [](const std::string& name) { return name == "B"; };
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply B:auto C:auto S:auto D:auto cache:end finish(false) "
            "cache:end finish(true)");
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("B"));
  EXPECT_FALSE(update->hasExceptionBeenThrown());
}

TEST(SuppressedTest, MakesNoCommandForTheModule) {
  ScriptedDesign design("A");
  design.needApply("A");
  const auto update = design.update("A", "A");
  update->suppresses = [](const std::string&) { return true; };
  design.log.alsoHear({EventKind::Creation, EventKind::Hook});
  EXPECT_EQ(design.run(*update), "suppress?A A:makeAuto A:auto finish(false) finish(true)");
}

// The walk goes back to where the last apply command was issued: what was queued since is lost.
TEST(SuppressedTest, ForgetsWhatWasQueuedSinceTheLastApply) {
  ScriptedDesign design("A -> B -> D; A -> C -> D");
  design.needApply("A B C D");
  const auto update = design.update("A", "D");
  update->suppresses = [](const std::string& name) { return name == "B"; };
  EXPECT_EQ(design.run(*update), "A:apply B:auto D:auto finish(false) finish(true)");
}

TEST(SuppressedTest, GoesOnWithWhatWaitedWhenTheLastApplyWasIssued) {
  ScriptedDesign design("A -> B -> E; A -> C -> E; A -> D -> E");
  design.needApply("B D");
  const auto update = design.update("A", "E");
  update->suppresses = [](const std::string& name) { return name == "D"; };
  design["C"].autoPossible = false;
  // C and D waited when B was issued. D's sub-graph comes before C is looked at again, and by then
  // C has been visited.
  EXPECT_EQ(design.run(*update), "B:apply C:signal D:auto E:auto finish(false) finish(true)");
}

// Before the first apply of a run, that moment lies in the run before.
TEST(SuppressedTest, RestoresWhatWasSavedLastEvenInTheRunBefore) {
  ScriptedDesign design("A -> B -> E; A -> X -> E; A -> Y -> E");
  design.needApply("X");
  const auto update = design.update("A", "E");
  EXPECT_EQ(design.run(*update), "X:apply Y:auto E:auto finish(true)");

  design.needApply("B");
  update->suppresses = [](const std::string&) { return true; };
  design.log.alsoHear({EventKind::Question});
  // When X was issued, Y and E waited; X itself, which waits now, is forgotten.
  EXPECT_EQ(design.run(*update),
            "A?relevant A?necessary A?possible A?autoNecessary A?autoPossible "
            "B?relevant B?necessary B?possible "
            "B?always B:auto E?always E:auto "
            "Y?relevant Y?necessary Y?possible Y?autoNecessary Y?autoPossible "
            "finish(false) finish(true)");
}

TEST(SuppressedTest, IsNotAskedAboutModulesThatNeedNoFullApply) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("B");
  const auto update = design.update("A", "C");
  design.log.hear({EventKind::Hook});
  EXPECT_EQ(design.run(*update), "cancel?A suppress?B cancel?B");
}

// --- Cancelled runs -----------------------------------------------------------------------------

TEST(CancelledTest, StopsAfterAnApplyAndAutoAppliesTheRest) {
  ScriptedDesign design("A -> B -> C -> D");
  design.needApply("A B C");
  const auto update = design.cachedUpdate("A", "C");
  update->cancels = [](const std::string& name) { return name == "A"; };
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply B:auto C:auto D:auto cache:end finish(false) "
            "cache:end finish(true)");
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("A"));
}

TEST(CancelledTest, SignalsWhatIsNotAutoApplied) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B C");
  design["B"].autoPossible = false;
  const auto update = design.update("A", "C");
  update->cancels = [](const std::string& name) { return name == "A"; };
  EXPECT_EQ(design.run(*update), "A:apply B:signal C:auto finish(false) finish(true)");
}

TEST(CancelledTest, BeforeTheFirstApplyItEndsAtTheModule) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("C");
  const auto update = design.cachedUpdate("A", "C");
  update->cancels = [](const std::string& name) { return name == "B"; };
  EXPECT_EQ(design.run(*update), "cache:begin cache:end finish(false) cache:end finish(true)");
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("B"));
}

// Neither a module that needs a full apply, nor any module between two applies, is asked.
TEST(CancelledTest, IsAskedBeforeTheFirstApplyAndAfterEachApplyOnly) {
  ScriptedDesign design("A -> B -> C -> D -> E; D -> S");
  design.needApply("B D");
  const auto update = design.update("A", "E");
  design.log.alsoHear({EventKind::Hook});
  EXPECT_EQ(design.run(*update),
            "cancel?A suppress?B B:apply cancel?B C:auto suppress?D D:apply cancel?D "
            "S:auto E:auto finish(true)");
}

TEST(CancelledTest, IsNotAskedOnceTheEndIsReached) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.update("A", "B");
  design.log.hear({EventKind::Hook});
  EXPECT_EQ(design.run(*update), "suppress?A cancel?A suppress?B");
}

// D was queued by B and by C; its failed auto apply is not tried again for the second entry.
TEST(CancelledTest, LooksAtEachWaitingModuleOnce) {
  ScriptedDesign design("A -> B -> D -> E; A -> C -> D");
  design.needApply("A B C D");
  design["D"].autoApply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("boom");
  };
  const auto update = design.update("A", "D");
  update->cancels = [](const std::string& name) { return name == "C"; };
  design.log.hear({EventKind::Step, EventKind::Run});
  EXPECT_EQ(design.run(*update), "A:apply B:apply C:apply D:auto finish(false) finish(true)");
}

TEST(CancelledTest, StillAutoAppliesTowardsTheHorizon) {
  ScriptedDesign design("A -> B -> C");
  const auto update = design.update("A", "B", "C");
  update->cancels = [](const std::string&) { return true; };
  EXPECT_EQ(design.run(*update), "C:auto finish(false) finish(true)");
}

// --- What a new run starts from -----------------------------------------------------------------

TEST(SecondRunTest, AppliesAgain) {
  ScriptedDesign design("A -> B; A -> S");
  design.needApply("A B");
  const auto update = design.cachedUpdate("A", "B");
  const std::string once = "cache:begin A:apply S:auto B:apply cache:end finish(true)";
  EXPECT_EQ(design.run(*update), once);
  EXPECT_EQ(design.run(*update), once);
  EXPECT_EQ(update->size(), 3U);
}

TEST(SecondRunTest, StartsWithoutMessages) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  leaveMessage(design, design["B"], "m");
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "A:apply B:apply finish(true)");
  EXPECT_EQ(design.run(*update), "A:apply B:apply finish(true)");
}

TEST(SecondRunTest, StartsAsNotStarted) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B");
  const auto update = design.update("A", "C");
  design.run(*update);
  design["A"].necessary = false;
  design["B"].necessary = false;
  EXPECT_EQ(design.run(*update), "finish(true)");
}

TEST(SecondRunTest, SeesTheGraphAsItIsNow) {
  ScriptedDesign design("A -> B; X");
  design.needApply("A B X");
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "A:apply B:apply finish(true)");
  ApplyGraph::insert(design.module("X"), design.module("A"), design.module("B"), false);
  EXPECT_EQ(design.run(*update), "A:apply X:apply B:apply finish(true)");
}

// The last module that was applied is remembered, and asked about before anything else.
TEST(SecondRunTest, MayBeCancelledForTheLastModuleOfTheRunBefore) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("B");
  const auto update = design.update("A", "C");
  design.run(*update);
  design.log.alsoHear({EventKind::Hook});
  update->cancels = [](const std::string& name) { return name == "B"; };
  // Nothing has been applied in this run, so nothing is auto-applied either.
  EXPECT_EQ(design.run(*update), "cancel?B finish(false) finish(true)");
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("B"));
}

TEST(SecondRunTest, FindsTheSubGraphsThatTheRunBeforeLeftWaiting) {
  ScriptedDesign design("A -> B -> C; B -> S");
  design.needApply("A B");
  design["B"].apply.script.reset();
  const auto update = design.update("A", "C");
  EXPECT_EQ(design.run(*update), "A:apply finish(true)");
  design["A"].necessary = false;
  design["B"].necessary = false;
  EXPECT_EQ(design.run(*update), "S:auto finish(true)");
  EXPECT_EQ(design.run(*update), "finish(true)");
}

TEST(SecondRunTest, FindsTheModulesThatTheRunBeforeLeftWaiting) {
  ScriptedDesign design("A -> B -> D; A -> C -> D");
  design.needApply("A B");
  design["B"].apply.script.reset();
  const auto update = design.update("A", "D");
  EXPECT_EQ(design.run(*update), "A:apply finish(true)");
  // C and D wait in front of A now, so that C comes before B this time.
  design.needApply("C D");
  design["B"].apply.script.emplace();
  EXPECT_EQ(design.run(*update), "A:apply C:apply B:apply D:apply finish(true)");
}

TEST(SecondRunTest, DoesNotFindWhatAModuleWithoutACommandWouldHaveBroughtInBeforeTheFirstApply) {
  ScriptedDesign design("A -> B; A -> S");
  design.needApply("A");
  design["A"].apply.script.reset();
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "finish(true)");
  design["A"].necessary = false;
  EXPECT_EQ(design.run(*update), "finish(true)");
}

TEST(SecondRunTest, GathersTheWayToTheEndAnew) {
  ScriptedDesign design("A -> M -> B; X");
  design.needApply("A M B X");
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "A:apply M:apply B:apply finish(true)");
  ApplyGraph::insert(design.module("X"), design.module("A"), design.module("M"), false);
  EXPECT_EQ(design.run(*update), "A:apply X:apply M:apply B:apply finish(true)");
  // Off the way again, X gets no full apply.
  ApplyGraph::remove(design.module("X"));
  ApplyGraph::insert(design.module("X"), design.module("A"), nullptr, true);
  EXPECT_EQ(design.run(*update), "A:apply X:auto M:apply B:apply finish(true)");
}

TEST(SecondRunTest, DoesNotWaitForWhatDoesNotFollowTheStartAnyMore) {
  ScriptedDesign design("A -> M -> B; A -> R -> M");
  design.needApply("A M B R");
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "A:apply R:apply M:apply B:apply finish(true)");
  PrivateLinks::removeNext(*design.module("A"), design.module("R"));
  PrivateLinks::removePrevious(*design.module("R"), design.module("A"));
  EXPECT_EQ(design.run(*update), "A:apply M:apply B:apply finish(true)");
}

// A start that leads nowhere near the end any more is off the way itself.
TEST(SecondRunTest, TakesAStartOffTheWayAsASubGraph) {
  ScriptedDesign design("A -> B -> D -> E; A -> C -> D");
  design.needApply("A B");
  design["B"].apply.script.reset();
  const auto update = design.update("A", "E");
  EXPECT_EQ(design.run(*update), "A:apply finish(true)");
  // C and D still wait. They do not follow A any more, so they come before it.
  for (const char* name : {"B", "C"}) {
    PrivateLinks::removeNext(*design.module("A"), design.module(name));
    PrivateLinks::removePrevious(*design.module(name), design.module("A"));
  }
  design.needApply("C");
  design["A"].always = false;
  EXPECT_EQ(design.run(*update), "C:apply D:auto A:auto(alone) E:auto finish(true)");
}

TEST(SecondRunTest, LooksForTheHorizonAnew) {
  ScriptedDesign design("A -> B -> C");
  const auto update = design.update("A", "B", "C");
  EXPECT_EQ(design.run(*update), "C:auto finish(true)");
  design.root->removeChild(design["C"]);
  EXPECT_EQ(design.run(*update), "finish(true)");
}

// --- Circles ------------------------------------------------------------------------------------

// Only what lies between start and end belongs to the range, even where both follow one another.
TEST(CircleTest, WhatLeadsBackToTheStartIsOffTheWay) {
  ScriptedDesign design("A -> B -> P -> A");
  design.needApply("A B");
  design["P"].autoPossible = false;
  EXPECT_EQ(design.run("A", "B"), "A:apply B:apply P:auto finish(true)");
}

TEST(CircleTest, NothingWaitsForWhatFollowsTheEnd) {
  ScriptedDesign design("A -> M -> B -> E -> M");
  design.needApply("A M B");
  EXPECT_EQ(design.run("A", "B"), "A:apply M:apply B:apply E:auto finish(true)");
}

}  // namespace
}  // namespace Tessaril
