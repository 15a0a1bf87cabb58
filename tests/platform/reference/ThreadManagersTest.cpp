#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "reference_platform/command_pattern/InlineThreadManager.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tessaril/platform/command_pattern/CommandStopped.h"
#include "tessaril/platform/command_pattern/ThreadedMacroCommand.h"

namespace Tessaril::ReferencePlatform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

bool never() { return false; }

// --- Inline -------------------------------------------------------------------------------------

TEST(InlineThreadManagerTest, RunsTheJobInsideStart) {
  InlineThreadManager manager;
  std::thread::id seen;
  manager.start([&] { seen = std::this_thread::get_id(); });
  EXPECT_EQ(seen, std::this_thread::get_id());
}

TEST(InlineThreadManagerTest, RefusesAWaitThatNothingCouldEnd) {
  InlineThreadManager manager;
  EXPECT_THROW(manager.waitUntil(never), std::logic_error);
}

TEST(InlineThreadManagerTest, WaitsForAJobThatRunsOnAnotherThread) {
  InlineThreadManager manager;
  std::latch running(1);
  std::latch mayEnd(1);
  std::atomic<bool> ended{false};
  std::thread other([&] {
    manager.start([&] {
      running.count_down();
      mayEnd.wait();
      ended = true;
    });
  });
  running.wait();
  bool released = false;
  manager.waitUntil([&] {
    if (!std::exchange(released, true)) {
      mayEnd.count_down();
      return false;
    }
    return ended.load();
  });
  EXPECT_TRUE(ended);
  other.join();
}

// --- Worker pool --------------------------------------------------------------------------------

TEST(WorkerPoolThreadManagerTest, NoWorkerCountsAsOne) {
  EXPECT_EQ(WorkerPoolThreadManager(0).getWorkerCount(), 1U);
  EXPECT_EQ(WorkerPoolThreadManager(3).getWorkerCount(), 3U);
}

TEST(WorkerPoolThreadManagerTest, RunsJobsOnAnotherThread) {
  WorkerPoolThreadManager manager(1);
  std::thread::id seen;
  manager.start([&] { seen = std::this_thread::get_id(); });
  manager.shutDown();
  EXPECT_NE(seen, std::thread::id());
  EXPECT_NE(seen, std::this_thread::get_id());
}

TEST(WorkerPoolThreadManagerTest, OneWorkerKeepsTheOrderOfStarting) {
  WorkerPoolThreadManager manager(1);
  std::string order;
  for (const char* name : {"a", "b", "c"}) {
    manager.start([&order, name] { order += name; });
  }
  manager.shutDown();
  EXPECT_EQ(order, "abc");
}

TEST(WorkerPoolThreadManagerTest, WorkersRunAtTheSameTime) {
  WorkerPoolThreadManager manager(2);
  std::latch bothRunning(2);
  for (int job = 0; job < 2; ++job) {
    manager.start([&] { bothRunning.arrive_and_wait(); });
  }
  bothRunning.wait();
  manager.shutDown();
}

TEST(WorkerPoolThreadManagerTest, ShutDownRunsWhatIsQueuedAndThenRefuses) {
  WorkerPoolThreadManager manager(1);
  std::latch mayEnd(1);
  std::atomic<int> ended{0};
  manager.start([&] {
    mayEnd.wait();
    ++ended;
  });
  manager.start([&] { ++ended; });
  mayEnd.count_down();
  manager.shutDown();
  EXPECT_EQ(ended, 2);
  EXPECT_THROW(manager.start([&] { ++ended; }), CommandStopped);
  manager.shutDown();
  EXPECT_EQ(ended, 2);
}

TEST(WorkerPoolThreadManagerTest, DestructionRunsWhatIsQueued) {
  int ended = 0;
  {
    WorkerPoolThreadManager manager(1);
    for (int job = 0; job < 5; ++job) {
      manager.start([&] { ++ended; });
    }
  }
  EXPECT_EQ(ended, 5);
}

TEST(WorkerPoolThreadManagerTest, AnIdlePoolEnds) { WorkerPoolThreadManager manager(4); }

// --- Stepping -----------------------------------------------------------------------------------

class SteppingThreadManagerTest : public testing::Test {
 protected:
  void startJobs(int count) {
    for (int job = 1; job <= count; ++job) {
      manager.start([this, job] {
        order += std::to_string(job);
        ++ended;
      });
    }
  }

  SteppingThreadManager manager;
  std::string order;
  int ended = 0;
};

TEST_F(SteppingThreadManagerTest, StartOnlyNumbersTheJobs) {
  startJobs(3);
  EXPECT_EQ(order, "");
  EXPECT_THAT(manager.getWaitingJobs(), ElementsAre(1U, 2U, 3U));
}

TEST_F(SteppingThreadManagerTest, CompleteRunsTheNamedJob) {
  startJobs(3);
  manager.complete(2);
  EXPECT_EQ(order, "2");
  EXPECT_THAT(manager.getWaitingJobs(), ElementsAre(1U, 3U));
  EXPECT_THROW(manager.complete(2), std::out_of_range);
  EXPECT_THROW(manager.complete(9), std::out_of_range);
  EXPECT_EQ(order, "2");
}

TEST_F(SteppingThreadManagerTest, WaitUntilRunsJobsInTheOrderOfStarting) {
  startJobs(3);
  manager.waitUntil([&] { return ended == 2; });
  EXPECT_EQ(order, "12");
  EXPECT_THAT(manager.getWaitingJobs(), ElementsAre(3U));
}

TEST_F(SteppingThreadManagerTest, WaitUntilPrefersTheNamedOrder) {
  startJobs(4);
  manager.completeInOrder({3, 7, 1});
  manager.waitUntil([&] { return ended == 4; });
  EXPECT_EQ(order, "3124");
}

TEST_F(SteppingThreadManagerTest, WaitUntilRunsNothingWhenAlreadyDone) {
  startJobs(1);
  manager.waitUntil([] { return true; });
  EXPECT_EQ(order, "");
}

TEST_F(SteppingThreadManagerTest, RefusesAWaitThatNoJobCouldEnd) {
  startJobs(1);
  EXPECT_THROW(manager.waitUntil(never), std::logic_error);
  EXPECT_EQ(order, "1");
}

TEST_F(SteppingThreadManagerTest, AsksAgainAfterAJobThatTheQuestionItselfCompleted) {
  startJobs(1);
  bool completed = false;
  manager.waitUntil([&] {
    const bool before = std::exchange(completed, true);
    if (!before) {
      manager.complete(1);
    }
    return before;
  });
  EXPECT_EQ(order, "1");
}

TEST_F(SteppingThreadManagerTest, CallsTheActionBeforeEachStepOfAWait) {
  startJobs(2);
  std::thread::id seen;
  manager.setBeforeStep([&](SteppingThreadManager::JobNumber number) {
    order += "<" + std::to_string(number);
    seen = std::this_thread::get_id();
  });
  manager.waitUntil([&] { return ended == 2; });
  EXPECT_EQ(order, "<11<22");
  EXPECT_EQ(seen, std::this_thread::get_id());
}

TEST_F(SteppingThreadManagerTest, RefusesJobsOnceToldTo) {
  startJobs(1);
  manager.refuseJobs();
  EXPECT_THROW(startJobs(1), CommandStopped);
  manager.complete(1);
  EXPECT_EQ(order, "1");
}

TEST_F(SteppingThreadManagerTest, WaitsForAJobThatAnotherThreadCompletes) {
  std::latch running(1);
  std::latch mayEnd(1);
  std::atomic<bool> jobEnded{false};
  manager.start([&] {
    running.count_down();
    mayEnd.wait();
    jobEnded = true;
  });
  std::thread other([&] { manager.complete(1); });
  running.wait();
  bool released = false;
  manager.waitUntil([&] {
    if (!std::exchange(released, true)) {
      mayEnd.count_down();
      return false;
    }
    return jobEnded.load();
  });
  EXPECT_TRUE(jobEnded);
  other.join();
}

TEST_F(SteppingThreadManagerTest, RunsAJobOnceThatTwoWaitsHaveChosen) {
  std::atomic<int> runs{0};
  std::atomic<int> failures{0};
  std::latch bothHaveChosen(2);
  manager.start([&] { ++runs; });
  manager.setBeforeStep(
      [&](SteppingThreadManager::JobNumber) { bothHaveChosen.arrive_and_wait(); });
  const auto wait = [&] {
    try {
      manager.waitUntil([&] { return runs > 0; });
    } catch (...) {
      ++failures;
    }
  };
  std::thread other(wait);
  wait();
  other.join();
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(failures, 0);
}

TEST(SteppingThreadsTest, AJobRunsOnAThreadOfItsOwnOrInline) {
  for (const auto where :
       {SteppingThreadManager::Where::OwnThread, SteppingThreadManager::Where::Inline}) {
    SteppingThreadManager manager(where);
    std::thread::id seen;
    manager.start([&] { seen = std::this_thread::get_id(); });
    manager.complete(1);
    EXPECT_NE(seen, std::thread::id());
    EXPECT_EQ(seen == std::this_thread::get_id(), where == SteppingThreadManager::Where::Inline);
  }
}

// --- The run's own thread -----------------------------------------------------------------------

class NamedCommand : public CommandBase {
 public:
  void execute() override {}
  void undo() override {}
};

class BareMacro : public ThreadedMacroCommand {
 public:
  bool startExecution(std::shared_ptr<ThreadManager> /*threadManager*/) override { return true; }
  bool continueExecution(std::shared_ptr<ThreadManager> /*threadManager*/) override { return true; }
  bool isRunning() const override { return true; }

  using ThreadedMacroCommand::executeSubCommand;
  using ThreadedMacroCommand::finalizeSubCommand;
};

void finalizeOnAnotherThread() {
  BareMacro macro;
  const auto command = std::make_shared<NamedCommand>();
  macro.executeSubCommand(command, nullptr);
  std::thread([&] { macro.finalizeSubCommand(command, nullptr); }).join();
}

TEST(RunThreadDeathTest, DebugBuildsRefuseToFinalizeOnAnotherThread) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEBUG_DEATH(finalizeOnAnotherThread(), "run's own thread");
}

// A report may come at any moment of the run; the names say which one.

TEST(NamedInterleavingTest, AStopBetweenTwoSubCommandsLetsTheOneUnderWayEnd) {
  class TwoSteps : public BareMacro {
   public:
    bool startExecution(std::shared_ptr<ThreadManager> threadManager) override {
      return executeSubCommand(steps[0], threadManager);
    }
    bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override {
      finalizeSubCommand(steps[finished], threadManager);
      ++finished;
      return finished == steps.size() || executeSubCommand(steps[finished], threadManager);
    }
    bool isRunning() const override { return !getProgressPtr()->isStopRequested(); }

    std::vector<std::shared_ptr<CommandBase>> steps{std::make_shared<NamedCommand>(),
                                                    std::make_shared<NamedCommand>()};
    std::size_t finished = 0;
  };
  const auto manager = std::make_shared<SteppingThreadManager>();
  TwoSteps macro;
  macro.setThreadManager(manager);
  manager->setBeforeStep([&](SteppingThreadManager::JobNumber number) {
    if (number == 1) {
      macro.getProgressPtr()->requestStop();
    }
  });
  EXPECT_THROW(macro.execute(), CommandStopped);
  EXPECT_EQ(macro.finished, 1U);
  EXPECT_THAT(manager->getWaitingJobs(), IsEmpty());
}

}  // namespace
}  // namespace Tessaril::ReferencePlatform
