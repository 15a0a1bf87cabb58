#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <thread>

#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "tests/diagnostics/guards/GuardedDesign.h"

// Who may touch a graph while an update of it runs. Interleavings are named: the other thread does
// what it does between two steps of the run, and has ended then.

namespace Tessaril::Diagnostics {
namespace {

using ReferencePlatform::SteppingThreadManager;
using TestSupport::GuardedDesign;
using TestSupport::ViolationLog;

void onAnotherThread(const std::function<void()>& body) { std::thread(body).join(); }

class GuardedThreadsTest : public testing::Test {
 protected:
  GuardedThreadsTest() {
    design.needApply("A B");
    update = design.guardedUpdate("A", "C");
  }

  void start() { update->startExecution(manager); }
  void finish() {
    manager->complete(1);
    update->continueExecution(manager);
    manager->complete(2);
    update->continueExecution(manager);
  }

  ViolationLog violations;
  std::shared_ptr<GraphGuard> guard = std::make_shared<GraphGuard>(violations.handler());
  GuardedDesign design{guard, "A -> B -> C; X; Y"};
  std::shared_ptr<GuardedDesign::Update> update;
  std::shared_ptr<SteppingThreadManager> manager = std::make_shared<SteppingThreadManager>();
};

TEST_F(GuardedThreadsTest, AnotherThreadMayAskWhenNothingRuns) {
  onAnotherThread([&] { design["A"].isConsistent(); });
  start();
  finish();
  onAnotherThread([&] { design["A"].isConsistent(); });
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedThreadsTest, AThreadThatAsksDuringARunIsNamed) {
  start();
  onAnotherThread([&] { design["B"].isConsistent(); });
  EXPECT_EQ(
      violations.takeTexts(),
      "one thread: isConsistent of /B was called on thread 2 while the update \"Update Design "
      "up to: C:apply\", started on thread 1, ran (its last command was prepared for /A)\n");
  finish();
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedThreadsTest, EachKindOfTouchIsNamed) {
  const std::vector<std::pair<std::string, std::function<void()>>> touches{
      {"isActive", [&] { design["B"].isActive(); }},
      {"isInputOk", [&] { design["B"].isInputOk(); }},
      {"isFrozen", [&] { design["B"].isFrozen(); }},
      {"computeIsInputOk", [&] { design["B"].computeIsInputOk(); }},
      {"isApplyNecessary", [&] { design["B"].isApplyNecessary(false); }},
      {"isApplyPossible", [&] { design["B"].isApplyPossible(); }},
      {"isAutoApplyNecessary", [&] { design["B"].isAutoApplyNecessary(); }},
      {"isAutoApplyPossible", [&] { design["B"].isAutoApplyPossible(); }},
      {"isUpdateInfoRelevant", [&] { design["B"].isUpdateInfoRelevant({}); }},
      {"updateAlways", [&] { design["B"].updateAlways(); }},
      {"usesSharedResources", [&] { design["B"].usesSharedResources(); }},
      {"enableDesignSwitch", [&] { design["B"].enableDesignSwitch(); }},
      {"getSpeedRate", [&] { design["B"].getSpeedRate(); }},
      {"connectToSigStateChanged",
       [&] { design["B"].connectToSigStateChanged(Signals::Slot<void()>([] {})).disconnect(); }},
      {"sendStateChangeSignal", [&] { design["B"].sendStateChangeSignal(); }},
      {"sendStateChangeSignalsOfFollowingModules",
       [&] { design["C"].sendStateChangeSignalsOfFollowingModules(); }},
      {"setActive", [&] { design["B"].setActive(true, false); }},
      {"setConsistent", [&] { design["B"].setConsistent(true, false); }},
      {"createApplyCommand", [&] { design["B"].createApplyCommand(design.root); }},
      {"createAutoApplyCommand", [&] { design["B"].createAutoApplyCommand(design.root, false); }},
      {"createMessageHandlingCmd",
       [&] { design["B"].createMessageHandlingCmd(design.root, nullptr, false); }},
      {"counting", [&] { const GuardedWalk walk(guard, "counting"); }},
  };
  start();
  for (const auto& [operation, touch] : touches) {
    touch();
    EXPECT_EQ(violations.takeTexts(), "") << operation << " on the thread of the run";
    onAnotherThread(touch);
    const auto found = violations.take();
    ASSERT_EQ(found.size(), 1u) << operation;
    EXPECT_EQ(found[0].rule, GraphRule::OneThread) << operation;
    EXPECT_EQ(found[0].operation, operation);
    EXPECT_EQ(found[0].ongoing.size(), 1u) << operation;
  }
  finish();
}

TEST_F(GuardedThreadsTest, WhatAHandlerThrowsKeepsTheOtherThreadOut) {
  guard = std::make_shared<GraphGuard>(throwOnViolation());
  GuardedDesign strict(guard, "A -> B");
  strict.needApply("A");
  const auto strictUpdate = strict.guardedUpdate("A", "B");
  strictUpdate->startExecution(manager);
  strict.log.alsoHear({TestSupport::EventKind::Question});
  strict.log.take();
  onAnotherThread([&] { EXPECT_THROW(strict["B"].isApplyPossible(), GuardError); });
  EXPECT_EQ(strict.log.take(), "") << "the module itself was not asked";
  onAnotherThread([&] { EXPECT_THROW(strictUpdate->execute(), GuardError); });
  onAnotherThread([&] { EXPECT_THROW(strictUpdate->startExecution(manager), GuardError); });
  onAnotherThread([&] { EXPECT_THROW(strictUpdate->continueExecution(manager), GuardError); });
  onAnotherThread([&] { EXPECT_THROW(strictUpdate->undo(), GuardError); });
  EXPECT_EQ(manager->getWaitingJobs(), std::vector<SteppingThreadManager::JobNumber>{1});
  manager->complete(1);
  strictUpdate->continueExecution(manager);
  EXPECT_NO_THROW(strict.link("B", "A"));
}

TEST_F(GuardedThreadsTest, TheCommandUnderWayMayAskItsModule) {
  for (const std::string name : {"A", "B"}) {
    design[name].apply.script->whenExecuted = [this, name](ApplyUpdateInfo&) {
      design[name].isConsistent();
      design[name].setConsistent(false, true);
    };
  }
  start();
  finish();
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedThreadsTest, AThreadOfACommandsOwnIsNamed) {
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo&) {
    onAnotherThread([this] { design["A"].isInputOk(); });
  };
  start();
  manager->complete(1);
  EXPECT_EQ(
      violations.takeTexts(),
      "one thread: isInputOk of /A was called on thread 3 while the update \"Update Design up "
      "to: C:apply\", started on thread 1, ran (its last command was prepared for /A; one is "
      "executed on thread 2)\n");
  update->continueExecution(manager);
}

TEST_F(GuardedThreadsTest, NobodyElseMayAskWhenTheCommandHasEnded) {
  start();
  manager->complete(1);
  onAnotherThread([&] { design["A"].isConsistent(); });
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].rule, GraphRule::OneThread);
  ASSERT_EQ(found[0].ongoing.size(), 1u);
  EXPECT_EQ(found[0].ongoing[0].subCommandThread, std::nullopt);
}

/// The text of what a guard throws on another thread.
std::string thrownOnAnotherThread(const std::function<void()>& body) {
  std::string text = "nothing";
  onAnotherThread([&] {
    try {
      body();
    } catch (const GuardError& error) {
      text = error.what();
    }
  });
  return text;
}

TEST_F(GuardedThreadsTest, ARunThatIsToGoOnOnAnotherThreadIsNamed) {
  GuardedDesign strict(std::make_shared<GraphGuard>(throwOnViolation()), "A -> B");
  strict.needApply("A");
  const auto strictUpdate = strict.guardedUpdate("A", "B");
  strictUpdate->startExecution(manager);
  EXPECT_EQ(thrownOnAnotherThread([&] { strictUpdate->continueExecution(manager); }),
            "one thread: continueExecution of the update \"Update Design up to: B:apply\" was "
            "called on thread 2 while the update \"Update Design up to: B:apply\", started on "
            "thread 1, ran (its last command was prepared for /A)");
}

TEST_F(GuardedThreadsTest, ASecondStartOnAnotherThreadIsNamed) {
  GuardedDesign strict(std::make_shared<GraphGuard>(throwOnViolation()), "A -> B");
  strict.needApply("A");
  const auto first = strict.guardedUpdate("A", "B");
  const auto second = strict.guardedUpdate("A", "A");
  first->startExecution(manager);
  EXPECT_EQ(thrownOnAnotherThread([&] { second->execute(); }),
            "no start during a run: startExecution of the update \"Update Design up to: A:apply\" "
            "was called on thread 2 while the update \"Update Design up to: B:apply\", started on "
            "thread 1, ran (its last command was prepared for /A)");
  manager->complete(1);
  first->continueExecution(manager);
  EXPECT_EQ(thrownOnAnotherThread([&] { second->execute(); }), "nothing")
      << "a graph may go from one thread to another between two runs";
}

}  // namespace
}  // namespace Tessaril::Diagnostics
