#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "tessaril/engine/ExceptionPolicy.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using ReferencePlatform::SteppingThreadManager;
using TestSupport::dataOf;
using TestSupport::EventKind;
using TestSupport::makeMessage;
using TestSupport::messageTexts;
using TestSupport::ScriptedApplyCommand;
using TestSupport::ScriptedCache;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;

std::string descriptionsOf(const MacroCommand& macro) {
  std::string texts;
  for (const auto& command : macro.getCommands()) {
    texts += (texts.empty() ? "" : " ") + command->getDescription();
  }
  return texts;
}

// --- A run by hand ------------------------------------------------------------------------------

class ByHandTest : public testing::Test {
 protected:
  ByHandTest() { design.needApply("A B"); }

  ScriptedDesign design{"A -> B -> C; A -> S"};
  std::shared_ptr<SteppingThreadManager> manager = std::make_shared<SteppingThreadManager>();
};

TEST_F(ByHandTest, EachReportStartsTheNextSubCommand) {
  const auto update = design.cachedUpdate("A", "B");
  EXPECT_TRUE(update->startExecution(manager));
  EXPECT_EQ(design.log.take(), "cache:begin");
  EXPECT_TRUE(update->isSubCommandUnderWay());

  manager->complete(1);
  EXPECT_EQ(design.log.take(), "A:apply");
  EXPECT_TRUE(update->continueExecution(manager));
  EXPECT_EQ(design.log.take(), "S:auto");
  EXPECT_TRUE(update->isSubCommandUnderWay());

  manager->complete(2);
  EXPECT_TRUE(update->continueExecution(manager));
  EXPECT_EQ(design.log.take(), "B:apply C:auto cache:end finish(true)");
  EXPECT_FALSE(update->isSubCommandUnderWay());
}

TEST_F(ByHandTest, AReportBeforeTheSubCommandHasEndedDoesNothing) {
  const auto update = design.cachedUpdate("A", "B");
  update->startExecution(manager);
  design.log.hear({EventKind::Step, EventKind::Run, EventKind::Question, EventKind::Hook,
                   EventKind::Signal, EventKind::Progress});
  design.log.take();
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(update->continueExecution(manager));
    EXPECT_EQ(design.log.take(), "");
    EXPECT_TRUE(update->empty());
    EXPECT_TRUE(update->isSubCommandUnderWay());
  }
  manager->complete(1);
  update->continueExecution(manager);
  EXPECT_EQ(update->getCommands().front(), design["A"].madeCommands[0]);
  manager->complete(2);
}

TEST_F(ByHandTest, AFinishedSubCommandJoinsTheListOnlyWhenItIsTakenIn) {
  const auto update = design.update("A", "B");
  update->startExecution(manager);
  manager->complete(1);
  EXPECT_TRUE(update->empty());
  update->continueExecution(manager);
  // The side chain's auto apply has joined it as well, in front of B.
  EXPECT_EQ(descriptionsOf(*update), "A:apply S:auto");
  manager->complete(2);
  update->continueExecution(manager);
  EXPECT_EQ(descriptionsOf(*update), "A:apply S:auto B:apply C:auto");
}

TEST_F(ByHandTest, ARunWithNothingToApplyIsOverAtOnce) {
  design["A"].necessary = false;
  design["B"].necessary = false;
  const auto update = design.cachedUpdate("A", "B");
  EXPECT_TRUE(update->startExecution(manager));
  EXPECT_EQ(design.log.take(), "cache:begin cache:end finish(true)");
  EXPECT_FALSE(update->isSubCommandUnderWay());
  EXPECT_TRUE(update->getProgressPtr()->isFinished());
  EXPECT_TRUE(manager->getWaitingJobs().empty());
}

TEST_F(ByHandTest, ARunCannotBeStartedByWhatItAsks) {
  const auto update = design.update("A", "B");
  design["A"].relevant.emplace(
      std::function<bool()>([&] { return update->startExecution(manager); }));
  EXPECT_THROW(update->startExecution(manager), std::logic_error);
  design["A"].relevant = false;
  EXPECT_TRUE(update->startExecution(manager));
  EXPECT_TRUE(update->isSubCommandUnderWay());
  manager->complete(1);
  EXPECT_TRUE(update->continueExecution(manager));
  EXPECT_EQ(design.log.take(), "A:apply S:auto");
}

// A stopped run announces its end from amid the choice of the next sub-command.
TEST_F(ByHandTest, ARunCanBeStartedByWhoHearsOfAnEnd) {
  ScriptedDesign idle("A -> B");
  const auto update = idle.update("A", "B");
  update->cancels = [](const std::string&) { return true; };
  update->whenFinished = [&](bool success) {
    if (!success) {
      update->cancels = nullptr;
      EXPECT_TRUE(update->startExecution(manager));
    }
  };
  EXPECT_TRUE(update->startExecution(manager));
  EXPECT_EQ(idle.log.take(), "finish(false) finish(true) finish(true)");
}

TEST_F(ByHandTest, AFailureThatWasHandledEndsTheRunInOrder) {
  design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("no room");
  };
  const auto update = design.update("A", "B");
  EXPECT_TRUE(update->startExecution(manager));
  manager->complete(1);
  EXPECT_TRUE(update->continueExecution(manager));
  manager->complete(2);
  EXPECT_TRUE(update->continueExecution(manager));
  EXPECT_TRUE(update->hasExceptionBeenThrown());
  EXPECT_FALSE(update->isSubCommandUnderWay());
}

TEST_F(ByHandTest, ASubCommandThatCannotStartIsAFailureThatWasHandled) {
  const auto update = design.update("A", "B");
  update->getProgressPtr()->requestStop();
  EXPECT_TRUE(update->startExecution(manager));
  EXPECT_TRUE(update->hasExceptionBeenThrown());

  update->getProgressPtr()->reset();
  EXPECT_TRUE(update->startExecution(manager));
  EXPECT_FALSE(update->hasExceptionBeenThrown());
  update->getProgressPtr()->requestStop();
  manager->complete(1);
  EXPECT_TRUE(update->continueExecution(manager));
  EXPECT_TRUE(update->hasExceptionBeenThrown());
}

// --- The end of a run ---------------------------------------------------------------------------

TEST(LifecycleTest, FinishesTheProgressThenTheCacheThenAnnouncesTheEnd) {
  ScriptedDesign design("A");
  design.needApply("A");
  const auto update = design.cachedUpdate("A", "A");
  bool finishedBeforeCache = false;
  design.cache->whenEnded = [&] { finishedBeforeCache = update->getProgressPtr()->isFinished(); };
  EXPECT_EQ(design.run(*update), "cache:begin A:apply cache:end finish(true)");
  EXPECT_TRUE(finishedBeforeCache);
  EXPECT_EQ(update->getProgressPtr()->getValue(), 100.0);
}

TEST(LifecycleTest, AStoppedRunFinishesInTheSameOrder) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.cachedUpdate("A", "B");
  update->suppresses = [](const std::string& name) { return name == "B"; };
  std::string finished;
  design.cache->whenEnded = [&] {
    finished += update->getProgressPtr()->isFinished() ? "yes " : "no ";
  };
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply B:auto cache:end finish(false) cache:end finish(true)");
  EXPECT_EQ(finished, "yes yes ");
}

TEST(LifecycleTest, RunsWithoutACache) {
  ScriptedDesign design("A -> B");
  design.needApply("A");
  EXPECT_EQ(design.run("A", "B"), "A:apply B:auto finish(true)");
  const auto command = design["A"].madeCommands.back();
  EXPECT_TRUE(dynamic_cast<ScriptedApplyCommand&>(*command).getApplyCache().expired());
}

TEST(LifecycleTest, TellsTheCacheThatWasSetLast) {
  ScriptedDesign design("A");
  const auto update = design.cachedUpdate("A", "A");
  update->setApplyCache(nullptr);
  EXPECT_EQ(design.run(*update), "finish(true)");
  update->setApplyCache(design.cache);
  EXPECT_EQ(design.run(*update), "cache:begin cache:end finish(true)");
}

TEST(LifecycleTest, GathersTheRangeBeforeTheCacheIsTold) {
  ScriptedDesign design("A -> B");
  const auto update = design.cachedUpdate("A", "B");
  std::shared_ptr<ApplyModule> endSeen;
  design.cache->whenBegun = [&] { endSeen = update->getEndModule(); };
  design.log.alsoHear({EventKind::Question});
  EXPECT_EQ(design.run(*update).rfind("cache:begin A?relevant", 0), 0U);
  EXPECT_EQ(endSeen, design.module("B"));
}

// What the cache does to the graph when it is told comes too late for this run.
TEST(LifecycleTest, DoesNotGatherTheRangeAgainAfterTheCacheWasTold) {
  ScriptedDesign design("A -> B; X");
  design.needApply("A B X");
  const auto update = design.cachedUpdate("A", "B");
  design.cache->whenBegun = [&] {
    ApplyGraph::insert(design.module("X"), design.module("A"), design.module("B"), false);
    design.cache->whenBegun = {};
  };
  EXPECT_EQ(design.run(*update), "cache:begin A:apply X:auto B:auto cache:end finish(true)");
  EXPECT_EQ(design.run(*update), "cache:begin A:apply X:apply B:apply cache:end finish(true)");
}

/// Fails where a hook is asked that only applications ask.
class UnaskedUpdate : public UpdateApplyModulesCmd {
 public:
  using UpdateApplyModulesCmd::UpdateApplyModulesCmd;
  bool isApplyCommandMultiThreaded(std::shared_ptr<ApplyModule> /*module*/) override {
    ADD_FAILURE();
    return true;
  }
  bool isDesignSwitchEnabled() override {
    ADD_FAILURE();
    return true;
  }
};

TEST(LifecycleTest, DoesNotAskWhatOnlyApplicationsAsk) {
  ScriptedDesign design("A -> B; A -> S");
  design.needApply("A");
  UnaskedUpdate update(design.root, design.module("A"), design.module("B"), nullptr);
  update.execute();
  update.undo();
  EXPECT_EQ(design.log.take(), "A:apply S:auto B:auto A:apply~ S:auto~ B:auto~");
}

// --- Messages from command to command -----------------------------------------------------------

TEST(MessagesTest, EachCommandSeesTheMessagesOfTheOneBefore) {
  ScriptedDesign design("A -> B -> C -> D; A -> S");
  design.needApply("A B C D");
  const auto leave = [&](const std::string& text) {
    return [&design, text](ApplyUpdateInfo& info) {
      info = ApplyUpdateInfo({makeMessage(design.log, text)});
    };
  };
  design["A"].apply.script->whenExecuted = leave("a");
  design["S"].autoApply.script->whenExecuted = leave("s");
  design["B"].apply.script->whenExecuted = leave("b");
  // A command without module data neither sees messages nor changes those of the run.
  design["C"].apply.script->hasData = false;
  EXPECT_EQ(design.run("A", "D"), "A:apply S:auto(a) B:apply(s) C:apply D:apply(b) finish(true)");
}

TEST(MessagesTest, CommandsGetClonesAndTheRunTakesTheirsOver) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B C");
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "m"), makeMessage(design.log, "n")});
  };
  design.run("A", "C");
  const auto infoOf = [&](const char* name) -> ApplyUpdateInfo& {
    return dataOf(design[name].madeCommands.back()).getUpdateInfo();
  };
  EXPECT_EQ(messageTexts(infoOf("A")), "m,n");
  EXPECT_EQ(messageTexts(infoOf("B")), "m',n'");
  EXPECT_EQ(messageTexts(infoOf("C")), "m'',n''");
}

TEST(MessagesTest, WhatACommandHeldBeforeIsReplaced) {
  ScriptedDesign design("A");
  design.needApply("A");
  const auto made = TestSupport::makeScriptedCommand(design.log, "made", {});
  dataOf(made).setUpdateInfo(ApplyUpdateInfo({makeMessage(design.log, "old")}));
  design["A"].apply.make = [made] { return made; };
  EXPECT_EQ(design.run("A", "A"), "made finish(true)");
}

TEST(MessagesTest, ACommandMayClearTheMessages) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B C");
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "m")});
  };
  design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo& info) { info.clear(); };
  EXPECT_EQ(design.run("A", "C"), "A:apply B:apply(m) C:apply finish(true)");
}

TEST(MessagesTest, EveryCommandGetsAWeakReferenceToTheCache) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B");
  const auto update = design.cachedUpdate("A", "C");
  design.run(*update);
  for (const char* name : {"A", "B", "C"}) {
    auto& command = dynamic_cast<ScriptedApplyCommand&>(*design[name].madeCommands.back());
    EXPECT_EQ(command.getApplyCache().lock(), design.cache) << name;
  }
  // The update holds it, and the design of the test does; nobody else.
  EXPECT_EQ(design.cache.use_count(), 2);
}

TEST(MessagesTest, PreparingLeavesACommandWithoutModuleDataAlone) {
  ScriptedDesign design("A");
  const auto update = design.cachedUpdate("A", "A");
  const auto plain = TestSupport::makeScriptedCommand(design.log, "plain", {.hasData = false});
  update->prepareApplyCommandAndModule(plain, design.module("A"));
  plain->execute();
  EXPECT_EQ(design.log.take(), "plain");
}

/// Counts what it prepares, and leaves the messages out.
class PreparingUpdate : public UpdateApplyModulesCmd {
 public:
  using UpdateApplyModulesCmd::UpdateApplyModulesCmd;
  std::string prepared;

 protected:
  void prepareApplyCommandAndModule(std::shared_ptr<CommandBase> cmd,
                                    std::shared_ptr<ApplyModule> module) override {
    prepared += dynamic_cast<Object&>(*module).getName() + "=" + cmd->getDescription() + " ";
  }
};

TEST(MessagesTest, ADerivedUpdateMayPrepareApplyAndAutoApplyCommandsItself) {
  ScriptedDesign design("A -> B -> C; A -> S");
  design.needApply("A B");
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "m")});
  };
  PreparingUpdate update(design.root, design.module("A"), design.module("C"), nullptr);
  update.execute();
  EXPECT_EQ(update.prepared, "A=A:apply S=S:auto B=B:apply C=C:auto ");
  EXPECT_EQ(design.log.take(), "A:apply S:auto B:apply C:auto");
}

// --- Stopping -----------------------------------------------------------------------------------

TEST(StopRequestTest, IsRunningUntilAStopIsRequested) {
  ScriptedDesign design("A");
  const auto update = design.update("A", "A");
  EXPECT_TRUE(update->isRunning());
  update->getProgressPtr()->requestStop();
  EXPECT_FALSE(update->isRunning());
}

TEST(StopRequestTest, EndsTheRunAsAFailureOfTheNextSubCommand) {
  ScriptedDesign design("A -> B -> C -> D");
  design.needApply("A B C");
  const auto update = design.cachedUpdate("A", "C");
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    update->getProgressPtr()->requestStop();
  };
  design.log.alsoHear({EventKind::User});
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply "
            "error{B:apply failed with: 'B:apply' was not started because a stop was requested} "
            "user{B:apply failed with: 'B:apply' was not started because a stop was requested} "
            "B:auto C:auto D:auto cache:end finish(false)");
  EXPECT_TRUE(update->hasExceptionBeenThrown());
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("B"));
}

TEST(StopRequestTest, BeforeTheRunKeepsTheFirstSubCommandFromStarting) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.cachedUpdate("A", "B");
  update->getProgressPtr()->requestStop();
  design.log.hear({EventKind::Step, EventKind::Run});
  EXPECT_EQ(design.run(*update), "cache:begin A:auto B:auto cache:end finish(false)");
  EXPECT_FALSE(update->empty());
  // The request was good for that run.
  EXPECT_EQ(design.run(*update), "cache:begin A:apply B:apply cache:end finish(true)");
}

TEST(StopRequestTest, IsARefusalOfTheNextSubCommandWhereFailuresArePassedOn) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const ExceptionPolicy policy(false);
  const auto update = design.cachedUpdate("A", "B");
  update->getProgressPtr()->requestStop();
  EXPECT_EQ(design.run(*update),
            "cache:begin throws{std: 'A:apply' was not started because a stop was requested}");
}

// --- Stopping by a derived update ---------------------------------------------------------------

TEST(StopApplyTest, EndsFullAppliesAndAnnouncesTheEndAsFailed) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B C");
  const auto manager = std::make_shared<SteppingThreadManager>();
  const auto update = design.cachedUpdate("A", "C");
  update->startExecution(manager);
  manager->complete(1);
  design.log.take();
  update->stopApply(false);
  // B waited; its sub-graph is auto-applied in place of the full applies.
  EXPECT_EQ(design.log.take(), "B:auto C:auto cache:end finish(false)");
  EXPECT_FALSE(update->needsFullApply(design.module("B")));
}

TEST(StopApplyTest, WithRestoredQueuesBeginsWithTheModuleThatWasAppliedLast) {
  ScriptedDesign design("A -> B -> C; A -> S");
  design.needApply("A B C");
  const auto manager = std::make_shared<SteppingThreadManager>();
  const auto update = design.update("A", "C");
  update->startExecution(manager);
  manager->complete(1);
  design.log.take();
  update->stopApply(true);
  // A counts as visited, so that its sub-graph holds nothing more to do.
  EXPECT_EQ(design.log.take(), "finish(false)");
}

TEST(StopApplyTest, DoesNothingToAutoApplyBeforeAnyRun) {
  ScriptedDesign design("A -> B");
  const auto update = design.update("A", "B");
  update->stopApply(true);
  EXPECT_EQ(design.log.take(), "finish(false)");
}

}  // namespace
}  // namespace Tessaril
