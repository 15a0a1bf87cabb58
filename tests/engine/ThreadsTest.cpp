#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "reference_platform/command_pattern/InlineThreadManager.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tessaril/engine/ExceptionPolicy.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using ReferencePlatform::InlineThreadManager;
using ReferencePlatform::SteppingThreadManager;
using ReferencePlatform::WorkerPoolThreadManager;
using TestSupport::EventKind;
using TestSupport::makeGlobalMessage;
using TestSupport::makeMessage;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;
using TestSupport::ScriptedUpdate;

struct ManagerKind {
  const char* name;
  std::function<std::shared_ptr<ThreadManager>()> make;
  bool hasWorkers;
};

std::ostream& operator<<(std::ostream& stream, const ManagerKind& kind) {
  return stream << kind.name;
}

std::vector<ManagerKind> managerKinds() {
  return {
      {"Inline", [] { return std::make_shared<InlineThreadManager>(); }, false},
      {"OneWorker", [] { return std::make_shared<WorkerPoolThreadManager>(1); }, true},
      {"ThreeWorkers", [] { return std::make_shared<WorkerPoolThreadManager>(3); }, true},
      {"SteppingInline",
       [] { return std::make_shared<SteppingThreadManager>(SteppingThreadManager::Where::Inline); },
       false},
      {"SteppingOnThreads", [] { return std::make_shared<SteppingThreadManager>(); }, true},
  };
}

/// Does to a design and its update what makes a run interesting.
using Story = std::function<void(ScriptedDesign&, ScriptedUpdate&)>;

std::vector<Story> stories() {
  return {
      [](ScriptedDesign&, ScriptedUpdate&) {},
      [](ScriptedDesign& design, ScriptedUpdate&) {
        design["A"].apply.script->whenExecuted = [&design](ApplyUpdateInfo& info) {
          info =
              ApplyUpdateInfo({makeMessage(design.log, "m"), makeGlobalMessage(design.log, "g")});
        };
        design["S"].always = false;
        design["S"].consistent = false;
        design["T"].message.script.emplace();
      },
      [](ScriptedDesign& design, ScriptedUpdate&) {
        design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
          throw std::runtime_error("boom");
        };
      },
      [](ScriptedDesign& design, ScriptedUpdate&) {
        design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) { throw 7; };
      },
      [](ScriptedDesign& design, ScriptedUpdate& update) {
        design["B"].apply.script->whenExecuted = [&update](ApplyUpdateInfo&) {
          update.getProgressPtr()->requestStop();
        };
      },
      [](ScriptedDesign&, ScriptedUpdate& update) {
        update.suppresses = [](const std::string& name) { return name == "C"; };
      },
      [](ScriptedDesign&, ScriptedUpdate& update) {
        update.cancels = [](const std::string& name) { return name == "B"; };
      },
      [](ScriptedDesign& design, ScriptedUpdate&) {
        design.forEachModule([](ScriptedModule& module) {
          module.apply.script->whenRunning = [](LegacyProgress& progress) {
            for (int percent = 10; percent <= 100; percent += 10) {
              progress.setValue(percent);
            }
          };
        });
      },
  };
}

class ThreadsTest : public testing::TestWithParam<ManagerKind> {
 protected:
  /// Runs one story and tells everything that happened, undo and redo included.
  static std::string tell(const Story& story, const std::shared_ptr<ThreadManager>& manager) {
    ScriptedDesign design("A -> B -> C -> D -> E; A -> X -> D; B -> S -> T");
    design.needApply("A B C D");
    const auto update = design.cachedUpdate("A", "D", "E");
    update->setThreadManager(manager);
    story(design, *update);
    design.log.alsoHear({EventKind::Question, EventKind::Hook, EventKind::Creation, EventKind::Rate,
                         EventKind::Progress, EventKind::User, EventKind::Trace,
                         EventKind::Message});
    std::string all = design.run(*update);
    all += " | " + design.undo(*update);
    all += " | " + design.redo(*update);
    all += " | " + design.run(*update);
    return all;
  }
};

TEST_P(ThreadsTest, EveryRunHappensAsItDoesWithoutThreads) {
  const auto manager = GetParam().make();
  for (const Story& story : stories()) {
    EXPECT_EQ(tell(story, manager), tell(story, nullptr));
  }
}

TEST_P(ThreadsTest, OnlyFullAppliesRunOnWorkers) {
  ScriptedDesign design("A -> B -> C -> D; B -> S -> T; D -> E");
  design.needApply("A B D");
  design["C"].autoPossible = false;
  design["S"].always = false;
  design["S"].consistent = false;
  design["T"].message.script.emplace();
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeGlobalMessage(design.log, "g")});
  };
  design["C"].relevant = false;
  const auto update = design.cachedUpdate("A", "D");
  update->setThreadManager(GetParam().make());
  design.log.alsoHear({EventKind::Question, EventKind::Hook, EventKind::Creation, EventKind::Rate});
  design.log.take();
  update->execute();
  std::string onWorkers;
  const auto events = design.log.takeEvents();
  for (const auto& event : events) {
    if (event.thread != std::this_thread::get_id()) {
      onWorkers += event.text + " ";
    }
  }
  EXPECT_EQ(onWorkers, GetParam().hasWorkers ? "A:apply B:apply(g) D:apply(g) " : "");
  std::string steps;
  for (const auto& event : events) {
    if (event.kind == EventKind::Step || event.kind == EventKind::Signal) {
      steps += event.text + " ";
    }
  }
  EXPECT_EQ(steps,
            "A:apply B:apply(g) S:auto(alone)(g) T:message(g) T:signal C:signal D:apply(g) "
            "E:auto(g) ");
}

TEST_P(ThreadsTest, UndoAndRedoRunOnTheCallersThread) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.update("A", "B");
  update->setThreadManager(GetParam().make());
  update->execute();
  design.log.take();
  update->undo();
  update->redo();
  for (const auto& event : design.log.takeEvents()) {
    EXPECT_EQ(event.thread, std::this_thread::get_id()) << event.text;
  }
}

TEST_P(ThreadsTest, FailuresReachTheCallersThreadWhereTheyArePassedOn) {
  const ExceptionPolicy policy(false);
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("boom");
  };
  const auto update = design.update("A", "B");
  update->setThreadManager(GetParam().make());
  EXPECT_EQ(design.run(*update), "A:apply B:apply throws{std: boom}");
}

// What one sub-command writes on its worker, the next one reads on another.
TEST_P(ThreadsTest, SubCommandsSeeWhatTheOnesBeforeWrote) {
  ScriptedDesign design("A -> B -> C -> D");
  design.needApply("A B C D");
  int sum = 0;
  design.forEachModule([&](ScriptedModule& module) {
    module.apply.script->whenExecuted = [&sum](ApplyUpdateInfo&) { ++sum; };
  });
  const auto update = design.update("A", "D");
  update->setThreadManager(GetParam().make());
  update->execute();
  EXPECT_EQ(sum, 4);
}

INSTANTIATE_TEST_SUITE_P(Managers, ThreadsTest, testing::ValuesIn(managerKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

// --- Named interleavings ------------------------------------------------------------------------

TEST(InterleavingTest, AStopThatIsRequestedBetweenTwoSubCommandsKeepsTheSecondFromStarting) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B C");
  const auto manager = std::make_shared<SteppingThreadManager>();
  const auto update = design.update("A", "C");
  manager->setBeforeStep([&](SteppingThreadManager::JobNumber number) {
    if (number == 2) {
      update->getProgressPtr()->requestStop();
    }
  });
  update->setThreadManager(manager);
  design.log.hear({EventKind::Step, EventKind::Run});
  // B is under way when the stop is requested, and ends; C is not started.
  EXPECT_EQ(design.run(*update), "A:apply B:apply C:auto finish(false)");
  EXPECT_TRUE(manager->getWaitingJobs().empty());
}

TEST(InterleavingTest, TwoUpdatesOfDifferentDesignsMayShareAManager) {
  ScriptedDesign first("A -> B");
  ScriptedDesign second("A -> B");
  first.needApply("A B");
  second.needApply("A B");
  const auto manager = std::make_shared<SteppingThreadManager>();
  const auto one = first.update("A", "B");
  const auto two = second.update("A", "B");
  one->startExecution(manager);
  two->startExecution(manager);
  manager->complete(2);
  manager->complete(1);
  two->continueExecution(manager);
  one->continueExecution(manager);
  manager->complete(3);
  two->continueExecution(manager);
  EXPECT_EQ(second.log.take(), "A:apply B:apply finish(true)");
  EXPECT_EQ(first.log.take(), "A:apply");
  manager->complete(4);
  one->continueExecution(manager);
  EXPECT_EQ(first.log.take(), "B:apply finish(true)");
}

TEST(InterleavingTest, AnUpdateMayBeAnUpdatesSubCommand) {
  ScriptedDesign inner("A -> B");
  inner.needApply("A B");
  ScriptedDesign outer("X -> Y");
  outer.needApply("X Y");
  const auto manager = std::make_shared<WorkerPoolThreadManager>(1);
  outer["X"].apply.make = [&]() -> std::shared_ptr<CommandBase> {
    const auto update = inner.update("A", "B");
    update->setThreadManager(manager);
    return update;
  };
  const auto update = outer.update("X", "Y");
  update->setThreadManager(manager);
  EXPECT_EQ(outer.run(*update), "Y:apply finish(true)");
  EXPECT_EQ(inner.log.take(), "A:apply B:apply finish(true)");
  EXPECT_EQ(outer.undo(*update), "Y:apply~");
  EXPECT_EQ(inner.log.take(), "A:apply~ B:apply~");
}

}  // namespace
}  // namespace Tessaril
