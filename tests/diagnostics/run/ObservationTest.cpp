#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <thread>

#include "reference_platform/command_pattern/InlineThreadManager.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"
#include "tessaril/platform/logging/LogMessage.h"
#include "tests/diagnostics/run/ExplainedDesign.h"
#include "tests/support/RandomGraph.h"
#include "tests/support/ScriptedMessage.h"

// Observing a run changes nothing of it, on whatever threads.

namespace Tessaril::Diagnostics {
namespace {

using ReferencePlatform::InlineThreadManager;
using ReferencePlatform::SteppingThreadManager;
using ReferencePlatform::WorkerPoolThreadManager;
using TestSupport::EventKind;
using TestSupport::ExplainedDesign;
using TestSupport::forSeeds;
using TestSupport::makeGlobalMessage;
using TestSupport::makeMessage;
using TestSupport::ModuleFactory;
using TestSupport::Random;
using TestSupport::randomGraph;
using TestSupport::ScriptedModule;
using TestSupport::ScriptedUpdate;
using TestSupport::stepOf;

enum class How { Plain, Observed, ObservedWithQuestions, Watched };

/// Everything that can be heard of a run, but for the questions that asking again adds.
const std::initializer_list<EventKind> kAll{
    EventKind::Step,    EventKind::Signal,   EventKind::Run,      EventKind::Error,
    EventKind::Trace,   EventKind::User,     EventKind::Hook,     EventKind::Creation,
    EventKind::Message, EventKind::UndoType, EventKind::Progress, EventKind::Question,
    EventKind::Rate};
const std::initializer_list<EventKind> kAllButQuestions{
    EventKind::Step,  EventKind::Signal, EventKind::Run,  EventKind::Error,
    EventKind::Trace, EventKind::User,   EventKind::Hook, EventKind::Progress};

using Story = std::function<void(ExplainedDesign&, ScriptedUpdate&)>;

void sendsMessages(ExplainedDesign& design, ScriptedModule& module) {
  module.apply.script->whenExecuted = [&design](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo(
        {makeMessage(design.design.log, "m"), makeGlobalMessage(design.design.log, "g")});
  };
}

std::vector<Story> stories() {
  return {
      [](ExplainedDesign&, ScriptedUpdate&) {},
      [](ExplainedDesign& design, ScriptedUpdate&) {
        sendsMessages(design, design["A"]);
        design["S"].always = false;
        design["S"].consistent = false;
        design["T"].message.script.emplace();
      },
      [](ExplainedDesign& design, ScriptedUpdate&) {
        design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
          throw std::runtime_error("boom");
        };
      },
      [](ExplainedDesign& design, ScriptedUpdate&) {
        design["S"].autoApply.script->whenExecuted = [](ApplyUpdateInfo&) {
          throw std::runtime_error("boom");
        };
      },
      [](ExplainedDesign& design, ScriptedUpdate&) {
        design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) { throw 7; };
      },
      [](ExplainedDesign& design, ScriptedUpdate& update) {
        design["B"].apply.script->whenExecuted = [&update](ApplyUpdateInfo&) {
          update.getProgressPtr()->requestStop();
        };
      },
      [](ExplainedDesign&, ScriptedUpdate& update) {
        update.suppresses = [](const std::string& name) { return name == "C"; };
      },
      [](ExplainedDesign&, ScriptedUpdate& update) {
        update.cancels = [](const std::string& name) { return name == "B"; };
      },
      [](ExplainedDesign& design, ScriptedUpdate&) {
        design["X"].autoApply.script.reset();
        design["C"].apply.script.reset();
        design["B"].apply.script->hasData = false;
      },
      [](ExplainedDesign& design, ScriptedUpdate&) {
        design["D"].apply.script->undoType = ApplyModuleDataInterface::StorageUndo;
        design["B"].apply.script->whenUndone = [](ApplyUpdateInfo&) {
          throw std::runtime_error("boom");
        };
      },
      [](ExplainedDesign& design, ScriptedUpdate&) {
        design.design.forEachModule([](ScriptedModule& module) {
          module.apply.script->whenRunning = [](LegacyProgress& progress) {
            for (int percent = 10; percent <= 100; percent += 10) {
              progress.setValue(percent);
            }
          };
        });
      },
  };
}

std::shared_ptr<ScriptedUpdate> makeUpdate(ExplainedDesign& design, How how) {
  auto update = how == How::Plain ? design.design.update("A", "D", "E")
                                  : std::shared_ptr<ScriptedUpdate>(design.update("A", "D", "E"));
  update->setApplyCache(design.design.cache);
  return update;
}

/// Runs, undoes, redoes and runs again.
std::string tell(const Story& story, How how, const std::shared_ptr<ThreadManager>& threads,
                 std::initializer_list<EventKind> kinds) {
  ExplainedDesign design("A -> B -> C -> D -> E; A -> X -> D; B -> S -> T",
                         how == How::ObservedWithQuestions);
  design.design.needApply("A B C D");
  const auto watching = how == How::Watched ? design.watch() : nullptr;
  const auto update = makeUpdate(design, how);
  update->setThreadManager(threads);
  story(design, *update);
  design.design.log.hear(kinds);
  std::string all = design.design.run(*update);
  all += " | " + design.design.undo(*update);
  all += " | " + design.design.redo(*update);
  all += " | " + design.design.run(*update);
  return all;
}

struct ManagerKind {
  const char* name;
  std::function<std::shared_ptr<ThreadManager>()> make;
  bool hasWorkers;
};

std::ostream& operator<<(std::ostream& stream, const ManagerKind& kind) {
  return stream << kind.name;
}

class Observation : public testing::TestWithParam<ManagerKind> {};

TEST_P(Observation, LeavesTheRunAsItIs) {
  const auto threads = GetParam().make();
  for (const Story& story : stories()) {
    EXPECT_EQ(tell(story, How::Observed, threads, kAll), tell(story, How::Plain, threads, kAll));
  }
}

TEST_P(Observation, AddsNothingButQuestionsWhereItAsksAgain) {
  const auto threads = GetParam().make();
  for (const Story& story : stories()) {
    EXPECT_EQ(tell(story, How::ObservedWithQuestions, threads, kAllButQuestions),
              tell(story, How::Plain, threads, kAllButQuestions));
  }
}

TEST_P(Observation, LeavesTheRunAsItIsWhereCommandsAreWatched) {
  const auto threads = GetParam().make();
  for (const Story& story : stories()) {
    EXPECT_EQ(tell(story, How::Watched, threads, kAll), tell(story, How::Plain, threads, kAll));
  }
}

TEST_P(Observation, TellsWorkersAndTheThreadOfTheRunApart) {
  ExplainedDesign design("A -> B; A -> X");
  const auto watching = design.watch();
  design.design.needApply("A B");
  const auto update = design.update("A", "B");
  update->setThreadManager(GetParam().make());
  const RunReport report = design.reportOf(*update);
  EXPECT_EQ(*stepOf(report, "A").thread > 0, GetParam().hasWorkers);
  EXPECT_EQ(*stepOf(report, "B").thread > 0, GetParam().hasWorkers);
  EXPECT_EQ(stepOf(report, "X").thread, 0U);
}

TEST_P(Observation, TakesTheTimesOnTheThreadOfTheCommand) {
  ExplainedDesign design("A -> B");
  const auto watching = design.watch();
  design.design.needApply("A B");
  design.lasts("A", std::chrono::microseconds(40));
  design.lasts("B", std::chrono::microseconds(2));
  const auto update = design.update("A", "B");
  update->setThreadManager(GetParam().make());
  const RunReport report = design.reportOf(*update);
  EXPECT_EQ(stepOf(report, "A").duration, std::chrono::microseconds(40));
  EXPECT_EQ(stepOf(report, "B").begin, std::chrono::microseconds(40));
  EXPECT_EQ(stepOf(report, "B").duration, std::chrono::microseconds(2));
}

TEST_P(Observation, CanBeFollowedFromAnotherThread) {
  ExplainedDesign design("A -> B -> C -> D -> E -> F");
  const auto watching = design.watch();
  design.design.needApply("A B C D E F");
  const auto update = design.update("A", "F");
  update->setThreadManager(GetParam().make());
  std::atomic<bool> isOver = false;
  std::size_t mostSteps = 0;
  std::thread follower([&] {
    while (!isOver.load()) {
      if (const auto report = design.recorder->getPresentReport()) {
        mostSteps = std::max(mostSteps, report->steps.size());
      }
      design.recorder->getReports();
    }
  });
  for (int i = 0; i < 20; ++i) {
    update->execute();
  }
  isOver = true;
  follower.join();
  EXPECT_EQ(design.recorder->getReports().size(), 20U);
  EXPECT_LE(mostSteps, 6U);
}

INSTANTIATE_TEST_SUITE_P(
    All, Observation,
    testing::Values(
        ManagerKind{"NoManager", [] { return nullptr; }, false},
        ManagerKind{"Inline", [] { return std::make_shared<InlineThreadManager>(); }, false},
        ManagerKind{"OneWorker", [] { return std::make_shared<WorkerPoolThreadManager>(1); }, true},
        ManagerKind{"ThreeWorkers", [] { return std::make_shared<WorkerPoolThreadManager>(3); },
                    true},
        ManagerKind{"SteppingOnThreads", [] { return std::make_shared<SteppingThreadManager>(); },
                    true}),
    [](const auto& instance) { return instance.param.name; });

TEST(ObservationOfRandomDesigns, LeavesRunsAsTheyAre) {
  forSeeds(200, [](std::uint64_t seed) {
    const auto tellOf = [seed](How how, std::initializer_list<EventKind> kinds) {
      Random random(seed);
      ExplainedDesign design(
          [&](const ModuleFactory& factory) {
            return randomGraph(seed, {.modules = 2 + random.below(9), .backLinks = 2}, factory);
          },
          how == How::ObservedWithQuestions);
      design.design.forEachModule([&](ScriptedModule& module) {
        module.necessary = random.percent(50);
        module.possible = random.percent(80);
        module.autoNecessary = random.percent(50);
        module.consistent = random.percent(70);
        module.always = random.percent(50);
        if (random.percent(20)) {
          sendsMessages(design, module);
        }
        if (random.percent(15)) {
          module.autoApply.script.reset();
        }
        if (random.percent(40)) {
          module.message.script.emplace();
        }
      });
      const auto watching = how == How::Watched ? design.watch() : nullptr;
      const std::string start = design.design.graph.members().front().name;
      const std::string end = design.design.graph.members().back().name;
      const auto update = how == How::Plain
                              ? design.design.update(start, end)
                              : std::shared_ptr<ScriptedUpdate>(design.update(start, end));
      design.design.log.hear(kinds);
      return design.design.run(*update) + " | " + design.design.undo(*update);
    };
    const std::string plain = tellOf(How::Plain, kAll);
    EXPECT_EQ(tellOf(How::Observed, kAll), plain);
    EXPECT_EQ(tellOf(How::Watched, kAll), plain);
    EXPECT_EQ(tellOf(How::ObservedWithQuestions, kAllButQuestions),
              tellOf(How::Plain, kAllButQuestions));
  });
}

TEST(WatchedFactories, PutBackWhatTheModulesHad) {
  ExplainedDesign design("A -> B");
  const std::weak_ptr<ApplyCmdFactory> before = design.factories[0];
  const long owners = before.use_count();
  {
    const auto watching = design.watch();
    EXPECT_NE(design["A"].createApplyCommand(nullptr), nullptr);
  }
  EXPECT_EQ(before.use_count(), owners);
  const auto command = design["A"].createApplyCommand(nullptr);
  EXPECT_NE(dynamic_cast<TestSupport::ScriptedApplyCommand*>(command.get()), nullptr);
}

TEST(WatchedFactories, PutThemBackWhenTheRunThrows) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A");
  design["A"].apply.script->whenExecuted = [](ApplyUpdateInfo&) { throw 7; };
  EXPECT_THROW(
      {
        const auto watching = design.watch();
        design.update("A", "B")->execute();
      },
      int);
  const auto command = design["A"].createApplyCommand(nullptr);
  EXPECT_NE(dynamic_cast<TestSupport::ScriptedApplyCommand*>(command.get()), nullptr);
}

TEST(WatchedFactories, LeaveModulesWithoutAFactoryAlone) {
  ExplainedDesign design("A -> B");
  const WatchedFactories watching(design.recorder, {design.design.module("A")},
                                  [](const auto&) { return nullptr; });
  const auto command = design["A"].createApplyCommand(nullptr);
  EXPECT_NE(dynamic_cast<TestSupport::ScriptedApplyCommand*>(command.get()), nullptr);
  EXPECT_EQ(watched(nullptr, design.design.module("A"), design.recorder), nullptr);
}

TEST(WatchedCommands, AreWhatTheyWrap) {
  ExplainedDesign design("A -> B");
  TestSupport::CommandScript& script = *design["A"].apply.script;
  script.description = "Apply roof";
  script.logDescription = "apply(roof)";
  script.speedRate = LegacyProgress::Speed::Slow;
  script.redoCapable = false;
  script.undoType = ApplyModuleDataInterface::StorageUndo;
  const auto watching = design.watch();
  const auto command = design["A"].createApplyCommand(nullptr);
  EXPECT_EQ(command->getDescription(), "Apply roof");
  EXPECT_EQ(command->getLogDescription(), "apply(roof)");
  EXPECT_EQ(command->getSpeedRate(), LegacyProgress::Speed::Slow);
  EXPECT_FALSE(command->isRedoCapable());
  EXPECT_EQ(TestSupport::dataOf(command).getUndoType(), ApplyModuleDataInterface::StorageUndo);
}

TEST(WatchedCommands, HaveDataOnlyWhereTheWrappedOneHas) {
  ExplainedDesign design("A -> B");
  design["A"].apply.script->hasData = false;
  const auto watching = design.watch();
  const auto command = design["A"].createApplyCommand(nullptr);
  EXPECT_EQ(dynamic_cast<ApplyModuleDataInterface*>(command.get()), nullptr);
}

TEST(WatchedCommands, HandOnMessagesToTheUser) {
  ExplainedDesign design("A -> B");
  design["A"].apply.script->whenRunning = [](LegacyProgress& progress) {
    progress.addLogMessage(LogMessage("thin wall", LogMessage::Warning, ""));
  };
  const auto watching = design.watch();
  const auto command = design["A"].createApplyCommand(nullptr);
  command->execute();
  ASSERT_EQ(command->getProgressPtr()->getLogMessages().size(), 1U);
  EXPECT_EQ(command->getProgressPtr()->getLogMessages()[0].getText(), "thin wall");
}

/// Makes apply commands and remembers the last one.
class RememberingFactory : public ApplyCmdFactory {
 public:
  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> /*object*/) override {
    last = TestSupport::makeScriptedCommand(*log, "A:apply", {});
    return last;
  }
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> /*object*/,
                                                      bool /*mayRunAlone*/) override {
    return nullptr;
  }
  std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> /*object*/, std::shared_ptr<ApplyUpdateMessage> /*message*/,
      bool /*flag*/) override {
    return nullptr;
  }

  std::shared_ptr<TestSupport::EventLog> log = std::make_shared<TestSupport::EventLog>();
  std::shared_ptr<CommandBase> last;
};

TEST(WatchedCommands, GiveMessagesAndCacheToTheWrappedOne) {
  ExplainedDesign design("A -> B");
  const auto factory = std::make_shared<RememberingFactory>();
  const auto command =
      watched(factory, design.design.module("A"), design.recorder)->createApplyCommand(nullptr);
  TestSupport::dataOf(command).setApplyCache(design.design.cache);
  TestSupport::dataOf(command).setUpdateInfo(
      ApplyUpdateInfo({makeMessage(design.design.log, "m")}));
  command->execute();
  auto& wrapped = dynamic_cast<TestSupport::ScriptedApplyCommand&>(*factory->last);
  EXPECT_EQ(wrapped.getApplyCache().lock(), design.design.cache);
  EXPECT_EQ(factory->log->take(), "A:apply(m)");
}

TEST(WatchedCommands, OutliveRecorderAndDesign) {
  std::shared_ptr<CommandBase> command;
  const auto factory = std::make_shared<RememberingFactory>();
  {
    ExplainedDesign design("A -> B");
    design["A"].setApplyCmdFactory(watched(factory, design.design.module("A"), design.recorder));
    command = design["A"].createApplyCommand(nullptr);
  }
  command->execute();
  command->undo();
  EXPECT_EQ(factory->log->take(), "A:apply A:apply~");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
