#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tessaril/platform/command_pattern/ThreadedMacroCommand.h"
#include "tests/platform/ConformanceHost.h"
#include "tests/platform/command_pattern/ScriptedCommand.h"

namespace Tessaril {
namespace {

using PlatformTests::EventLog;
using PlatformTests::ScriptedCommand;
using testing::HasSubstr;

/// A run over the commands in `pending`: it starts the next one after each report, adds what has
/// finished to its list, and lets every exception pass.
class QueueMacro : public ThreadedMacroCommand {
 public:
  explicit QueueMacro(EventLog& eventLog) : ThreadedMacroCommand("Queue"), log(&eventLog) {
    listFilledWhileRunning = true;
  }

  bool startExecution(std::shared_ptr<ThreadManager> threadManager) override {
    log->add("start");
    clearCommands();
    return startNext(threadManager);
  }

  bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override {
    log->add("continue");
    if (!finalizeSubCommand(current, threadManager)) {
      log->add("(still under way)");
      return true;
    }
    addCommand(current);
    if (onContinue) {
      onContinue();
    }
    return startNext(threadManager);
  }

  bool isRunning() const override { return !getProgressPtr()->isStopRequested(); }

  using ThreadedMacroCommand::executeSubCommand;
  using ThreadedMacroCommand::finalizeSubCommand;
  using ThreadedMacroCommand::isSubCommandUnderWay;
  using ThreadedMacroCommand::sendFinishSignal;

  std::deque<std::shared_ptr<CommandBase>> pending;
  std::shared_ptr<CommandBase> current;
  std::function<void()> onContinue;
  std::function<void()> onPrepare;
  std::function<void()> onFinalize;

 protected:
  void prepareExecute(std::shared_ptr<CommandBase> command) override {
    log->add("[" + command->getDescription());
    if (onPrepare) {
      onPrepare();
    }
  }
  void finalizeExecute(std::shared_ptr<CommandBase> command) override {
    log->add(command->getDescription() + "]");
    if (onFinalize) {
      onFinalize();
    }
  }

 private:
  bool startNext(const std::shared_ptr<ThreadManager>& threadManager) {
    if (pending.empty()) {
      log->add("end");
      getProgressPtr()->finish();
      sendFinishSignal(true);
      return true;
    }
    current = pending.front();
    pending.pop_front();
    getProgressPtr()->setSubProgress(current->getProgressPtr(),
                                     static_cast<int>(getProgressPtr()->getValue()) + 40, 1);
    return executeSubCommand(current, threadManager);
  }

  EventLog* log;
};

/// Every test runs with each kind of thread manager that the host has, and without one.
class ThreadedMacroCommandTest : public testing::TestWithParam<std::size_t> {
 protected:
  void SetUp() override { macro.setThreadManager(manager); }

  static std::shared_ptr<ThreadManager> makeManager() {
    const auto kinds = ConformanceHost::threadManagerKinds();
    return GetParam() < kinds.size() ? kinds[GetParam()].make() : nullptr;
  }

  std::shared_ptr<ScriptedCommand> add(const std::string& name) {
    auto command = std::make_shared<ScriptedCommand>(name, log);
    macro.pending.push_back(command);
    return command;
  }

  std::string executeAndCatch() {
    try {
      macro.execute();
      return "nothing thrown";
    } catch (const std::exception& failure) {
      return failure.what();
    }
  }

  EventLog log;
  std::shared_ptr<ThreadManager> manager = makeManager();
  QueueMacro macro{log};
};

std::string managerName(const testing::TestParamInfo<std::size_t>& info) {
  const auto kinds = ConformanceHost::threadManagerKinds();
  return info.param < kinds.size() ? kinds[info.param].name : "NoManager";
}

INSTANTIATE_TEST_SUITE_P(
    Managers, ThreadedMacroCommandTest,
    testing::Range<std::size_t>(0, ConformanceHost::threadManagerKinds().size() + 1), managerName);

// --- A run --------------------------------------------------------------------------------------

TEST_P(ThreadedMacroCommandTest, RunsSubCommandsOneAtATime) {
  add("A");
  add("B");
  macro.execute();
  EXPECT_EQ(log.take(), "start [A +A continue A] [B +B continue B] end");
  EXPECT_EQ(macro.size(), 2U);
  EXPECT_FALSE(macro.isSubCommandUnderWay());
}

TEST_P(ThreadedMacroCommandTest, ARunWithoutSubCommandsEndsAtOnce) {
  macro.execute();
  EXPECT_EQ(log.take(), "start end");
}

TEST_P(ThreadedMacroCommandTest, EverythingButTheSubCommandHappensOnTheRunsOwnThread) {
  std::vector<std::thread::id> seen;
  const auto note = [&] { seen.push_back(std::this_thread::get_id()); };
  macro.onPrepare = macro.onFinalize = macro.onContinue = note;
  const Signals::ScopedConnection connection = macro.connectToSigFinished([&](bool) { note(); });
  add("A");
  add("B");
  macro.execute();
  EXPECT_EQ(seen, std::vector<std::thread::id>(7, std::this_thread::get_id()));
}

TEST_P(ThreadedMacroCommandTest, WhatTheWorkerWroteIsVisibleAfterTheRun) {
  int plain = 0;
  add("A")->onExecute = [&] { plain += 1; };
  add("B")->onExecute = [&] { plain += 10; };
  macro.onContinue = [&] { plain += 100; };
  macro.execute();
  EXPECT_EQ(plain, 211);
}

TEST_P(ThreadedMacroCommandTest, CanRunAgain) {
  const auto a = add("A");
  macro.execute();
  macro.pending.push_back(a);
  log.take();
  double begin = -1.0;
  a->onExecute = [&] { begin = a->getProgressPtr()->getValue(); };
  macro.execute();
  EXPECT_EQ(log.take(), "start [A +A continue A] end");
  EXPECT_EQ(macro.size(), 1U);
  EXPECT_EQ(begin, 0.0) << "the sub-command's progress begins anew";
}

TEST_P(ThreadedMacroCommandTest, UndoAndRedoAreTheMacros) {
  add("A");
  add("B");
  macro.execute();
  log.take();
  macro.undo();
  macro.redo();
  EXPECT_EQ(log.take(), "-B -A ^A ^B");
}

TEST_P(ThreadedMacroCommandTest, RunsNestOnOneManager) {
  const auto inner = std::make_shared<QueueMacro>(log);
  inner->setThreadManager(manager);
  inner->pending.push_back(std::make_shared<ScriptedCommand>("B", log));
  add("A");
  macro.pending.push_back(inner);
  macro.execute();
  EXPECT_EQ(log.take(),
            "start [A +A continue A] [Queue start [B +B continue B] end continue Queue] end");
}

// --- Failure ------------------------------------------------------------------------------------

TEST_P(ThreadedMacroCommandTest, WhatASubCommandThrowsIsRethrownOnTheRunsThread) {
  add("A");
  add("B")->onExecute = ScriptedCommand::fail;
  add("C");
  EXPECT_EQ(executeAndCatch(), "scripted failure");
  EXPECT_EQ(log.take(), "start [A +A continue A] [B +B continue");
  EXPECT_EQ(macro.size(), 1U);
  EXPECT_FALSE(macro.isSubCommandUnderWay());
}

TEST_P(ThreadedMacroCommandTest, ExceptionsOfAnyTypeKeepTheirType) {
  add("A")->onExecute = [] { throw 42; };
  try {
    macro.execute();
    FAIL() << "nothing thrown";
  } catch (int thrown) {
    EXPECT_EQ(thrown, 42);
  }
}

TEST_P(ThreadedMacroCommandTest, AFailingPrepareHookStartsNothing) {
  add("A");
  macro.onPrepare = [] { throw std::runtime_error("prepare"); };
  EXPECT_EQ(executeAndCatch(), "prepare");
  EXPECT_EQ(log.take(), "start [A");
  EXPECT_FALSE(macro.isSubCommandUnderWay());
}

TEST_P(ThreadedMacroCommandTest, AFailingFinalizeHookEndsTheRun) {
  add("A");
  macro.onFinalize = [] { throw std::runtime_error("finalize"); };
  EXPECT_EQ(executeAndCatch(), "finalize");
  EXPECT_EQ(log.take(), "start [A +A continue A]");
  EXPECT_FALSE(macro.isSubCommandUnderWay());
}

TEST_P(ThreadedMacroCommandTest, CanRunAgainAfterAFailure) {
  add("A")->onExecute = ScriptedCommand::fail;
  EXPECT_EQ(executeAndCatch(), "scripted failure");
  log.take();
  add("B");
  macro.execute();
  EXPECT_EQ(log.take(), "start [B +B continue B] end");
}

/// Throws from startExecution or continueExecution although it has started a sub-command.
class ThrowingMacro : public QueueMacro {
 public:
  using QueueMacro::QueueMacro;

  bool startExecution(std::shared_ptr<ThreadManager> threadManager) override {
    const bool started = QueueMacro::startExecution(std::move(threadManager));
    if (throwInStart) {
      throw std::runtime_error("start");
    }
    return started;
  }
  bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override {
    QueueMacro::continueExecution(std::move(threadManager));
    throw std::runtime_error("continue");
  }

  bool throwInStart = false;
};

TEST_P(ThreadedMacroCommandTest, ARunThatThrowsWaitsForTheSubCommandUnderWay) {
  for (const bool inStart : {true, false}) {
    ThrowingMacro throwing(log);
    throwing.setThreadManager(manager);
    throwing.throwInStart = inStart;
    bool lastEnded = false;
    throwing.pending.push_back(std::make_shared<ScriptedCommand>("A", log));
    throwing.pending.push_back(std::make_shared<ScriptedCommand>("B", log));
    const auto last = std::static_pointer_cast<ScriptedCommand>(throwing.pending[inStart ? 0 : 1]);
    last->onExecute = [&] { lastEnded = true; };
    EXPECT_THROW(throwing.execute(), std::runtime_error);
    EXPECT_TRUE(lastEnded);
    EXPECT_FALSE(throwing.isSubCommandUnderWay());
  }
}

TEST_P(ThreadedMacroCommandTest, RefusesARunInsideARun) {
  add("A");
  std::string inner = "not tried";
  macro.onContinue = [&] { inner = executeAndCatch(); };
  macro.execute();
  EXPECT_THAT(inner, HasSubstr("under way"));
  EXPECT_EQ(log.take(), "start [A +A continue A] end");
}

TEST_P(ThreadedMacroCommandTest, RefusesARunFromItsOwnSubCommand) {
  bool refused = false;
  add("A")->onExecute = [&] {
    try {
      macro.execute();
    } catch (const std::logic_error&) {
      refused = true;
    }
  };
  macro.execute();
  EXPECT_TRUE(refused);
}

// --- Stop request -------------------------------------------------------------------------------

TEST_P(ThreadedMacroCommandTest, AStopRequestKeepsTheNextSubCommandFromStarting) {
  add("A")->onExecute = [&] { macro.getProgressPtr()->requestStop(); };
  add("B");
  EXPECT_THROW(macro.execute(), CommandStopped);
  EXPECT_EQ(log.take(), "start [A +A continue A]");
  EXPECT_FALSE(macro.isSubCommandUnderWay());
}

TEST_P(ThreadedMacroCommandTest, TheRefusalNamesTheSubCommand) {
  macro.getProgressPtr()->requestStop();
  add("Cut teeth");
  EXPECT_THAT(executeAndCatch(), HasSubstr("Cut teeth"));
}

TEST_P(ThreadedMacroCommandTest, AStopRequestedBeforeTheFirstRunCounts) {
  macro.getProgressPtr()->requestStop();
  add("A");
  EXPECT_THROW(macro.execute(), CommandStopped);
  EXPECT_EQ(log.take(), "start");
}

TEST_P(ThreadedMacroCommandTest, AStopRequestIsGoodForOneRun) {
  add("A");
  macro.getProgressPtr()->requestStop();
  EXPECT_THROW(macro.execute(), CommandStopped);
  add("B");
  macro.execute();
  EXPECT_FALSE(macro.getProgressPtr()->isStopRequested());
  macro.getProgressPtr()->requestStop();
  add("C");
  macro.execute();
  EXPECT_EQ(macro.size(), 1U);
}

TEST_P(ThreadedMacroCommandTest, TheSubCommandUnderWaySeesTheStopRequest) {
  bool seen = false;
  const auto a = add("A");
  a->onExecute = [&, progress = a->getProgressPtr()] {
    macro.getProgressPtr()->requestStop();
    seen = progress->isStopRequested();
  };
  macro.execute();
  EXPECT_TRUE(seen);
}

// --- Progress and end ---------------------------------------------------------------------------

TEST_P(ThreadedMacroCommandTest, ASubCommandCoversItsStretchEvenIfItNeverReports) {
  double after = 0.0;
  add("A");
  macro.onFinalize = [&] { after = macro.getProgressPtr()->getValue(); };
  macro.execute();
  EXPECT_EQ(after, 40.0);
  EXPECT_EQ(macro.getProgressPtr()->getValue(), 100.0);
}

TEST_P(ThreadedMacroCommandTest, ReportsFromTheWorkerMoveTheMacrosProgress) {
  double during = 0.0;
  const auto a = add("A");
  a->onExecute = [&, progress = a->getProgressPtr()] {
    progress->setValue(50.0);
    during = macro.getProgressPtr()->getValue();
  };
  macro.execute();
  EXPECT_EQ(during, 20.0);
}

TEST_P(ThreadedMacroCommandTest, AFailedSubCommandLeavesTheProgressWhereItWas) {
  const auto a = add("A");
  a->onExecute = [progress = a->getProgressPtr()] {
    progress->setValue(50.0);
    ScriptedCommand::fail();
  };
  EXPECT_EQ(executeAndCatch(), "scripted failure");
  EXPECT_EQ(macro.getProgressPtr()->getValue(), 20.0);
}

TEST_P(ThreadedMacroCommandTest, AnnouncesTheEndWithWhatItIsGiven) {
  std::string heard;
  const Signals::ScopedConnection connection =
      macro.connectToSigFinished([&](bool success) { heard += success ? "true " : "false "; });
  macro.sendFinishSignal(false);
  macro.execute();
  EXPECT_EQ(heard, "false true ");
}

// --- A run by hand ------------------------------------------------------------------------------

/// A manager that starts a job only when the test says so.
class HeldManager : public ThreadManager {
 public:
  void start(std::function<void()> job) override {
    if (full) {
      throw CommandStopped("full");
    }
    held.push_back(std::move(job));
  }
  void waitUntil(const std::function<bool()>& done) override {
    while (!done()) {
      runNext();
    }
  }
  void runNext() {
    ended.push_back(std::move(held.front()));
    held.pop_front();
    std::thread(std::ref(ended.back())).join();
  }

  std::deque<std::function<void()>> held;
  /// Kept, as a worker does that is slow to let go of its last job.
  std::deque<std::function<void()>> ended;
  bool full = false;
};

class RunByHandTest : public testing::Test {
 protected:
  std::shared_ptr<ScriptedCommand> add(const std::string& name) {
    auto command = std::make_shared<ScriptedCommand>(name, log);
    macro->pending.push_back(command);
    return command;
  }

  EventLog log;
  std::shared_ptr<HeldManager> manager = std::make_shared<HeldManager>();
  std::unique_ptr<QueueMacro> macro = std::make_unique<QueueMacro>(log);
};

TEST_F(RunByHandTest, FinalizeAnswersFalseWhileTheSubCommandIsUnderWay) {
  add("A");
  EXPECT_TRUE(macro->startExecution(manager));
  EXPECT_TRUE(macro->isSubCommandUnderWay());
  EXPECT_TRUE(macro->continueExecution(manager));
  EXPECT_EQ(log.take(), "start [A continue (still under way)");
  EXPECT_EQ(macro->size(), 0U);

  manager->runNext();
  EXPECT_TRUE(macro->isSubCommandUnderWay());
  EXPECT_TRUE(macro->continueExecution(manager));
  EXPECT_EQ(log.take(), "+A continue A] end");
  EXPECT_FALSE(macro->isSubCommandUnderWay());
}

TEST_F(RunByHandTest, FinalizeAnswersTrueForACommandThatIsNotUnderWay) {
  const auto a = add("A");
  const auto other = std::make_shared<ScriptedCommand>("other", log);
  EXPECT_TRUE(macro->finalizeSubCommand(other, manager));
  macro->startExecution(manager);
  EXPECT_TRUE(macro->finalizeSubCommand(other, manager));
  EXPECT_TRUE(macro->isSubCommandUnderWay());
  manager->runNext();
  EXPECT_TRUE(macro->finalizeSubCommand(a, manager));
  EXPECT_TRUE(macro->finalizeSubCommand(a, manager));
  EXPECT_EQ(log.take(), "start [A +A A]");
}

TEST_F(RunByHandTest, ASecondSubCommandAtTheSameTimeIsRefused) {
  const auto a = add("A");
  macro->startExecution(manager);
  const auto b = std::make_shared<ScriptedCommand>("B", log);
  EXPECT_THROW(macro->executeSubCommand(b, manager), std::logic_error);
  EXPECT_THROW(macro->execute(), std::logic_error);
  EXPECT_EQ(manager->held.size(), 1U);
  manager->runNext();
  EXPECT_TRUE(macro->finalizeSubCommand(a, manager));
  EXPECT_TRUE(macro->executeSubCommand(b, nullptr));
}

TEST_F(RunByHandTest, AnEmptySubCommandIsRefused) {
  EXPECT_THROW(macro->executeSubCommand(nullptr, manager), std::logic_error);
  EXPECT_FALSE(macro->isSubCommandUnderWay());
}

TEST_F(RunByHandTest, WhatTheManagerThrowsGoesOnAndNothingIsUnderWay) {
  add("A");
  manager->full = true;
  EXPECT_THROW(macro->startExecution(manager), CommandStopped);
  EXPECT_FALSE(macro->isSubCommandUnderWay());
  EXPECT_EQ(log.take(), "start [A");
}

TEST_F(RunByHandTest, WithoutAManagerTheSubCommandRunsInline) {
  std::thread::id seen;
  add("A")->onExecute = [&] { seen = std::this_thread::get_id(); };
  macro->startExecution(nullptr);
  EXPECT_EQ(seen, std::this_thread::get_id());
  EXPECT_TRUE(macro->isSubCommandUnderWay()) << "until it is finalized";
}

TEST_F(RunByHandTest, AFinalizedSubCommandIsNotHeldByItsJob) {
  const std::weak_ptr<CommandBase> watched = add("A");
  macro->startExecution(manager);
  manager->runNext();
  macro->continueExecution(manager);
  macro.reset();
  ASSERT_EQ(manager->ended.size(), 1U);
  EXPECT_TRUE(watched.expired()) << "a command goes where the run's own thread lets it go";
}

TEST_F(RunByHandTest, DestroyingTheMacroWaitsForTheSubCommandUnderWay) {
  bool ended = false;
  add("A")->onExecute = [&] {
    ended = true;
    ScriptedCommand::fail();
  };
  macro->startExecution(manager);
  macro.reset();
  EXPECT_TRUE(ended);
}

TEST_F(RunByHandTest, AMovedMacroGoesOnWithItsRun) {
  add("A");
  macro->startExecution(manager);
  QueueMacro moved(std::move(*macro));
  EXPECT_TRUE(moved.isSubCommandUnderWay());
  EXPECT_FALSE(macro->isSubCommandUnderWay());
  manager->runNext();
  moved.continueExecution(manager);
  EXPECT_EQ(log.take(), "start [A +A continue A] end");
}

TEST_F(RunByHandTest, AssigningOverAMacroWaitsForItsSubCommand) {
  bool ended = false;
  add("A")->onExecute = [&] { ended = true; };
  macro->startExecution(manager);
  *macro = QueueMacro(log);
  EXPECT_TRUE(ended);
  EXPECT_FALSE(macro->isSubCommandUnderWay());
}

TEST_F(RunByHandTest, TheThreadManagerIsKeptForExecute) {
  EXPECT_EQ(macro->getThreadManager(), nullptr);
  macro->setThreadManager(manager);
  EXPECT_EQ(macro->getThreadManager(), manager);
  std::thread::id seen;
  add("A")->onExecute = [&] { seen = std::this_thread::get_id(); };
  macro->execute();
  EXPECT_NE(seen, std::thread::id());
  EXPECT_NE(seen, std::this_thread::get_id());
}

}  // namespace
}  // namespace Tessaril
