#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>

#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tessaril/engine/ExceptionPolicy.h"
#include "tests/diagnostics/guards/GuardedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril::Diagnostics {
namespace {

using ReferencePlatform::SteppingThreadManager;
using ReferencePlatform::WorkerPoolThreadManager;
using testing::HasSubstr;
using testing::StartsWith;
using TestSupport::GuardedDesign;
using TestSupport::ViolationLog;

class GuardedRunTest : public testing::Test {
 protected:
  GuardedRunTest() { design.needApply("A B C"); }

  /// Executes `update`, whose end is known to the guard then: an edit breaks no rule any more.
  std::string runAndEdit(GuardedDesign::Update& update) {
    const std::string events = design.run(update);
    EXPECT_EQ(violations.takeTexts(), "") << events;
    design.insertBehind("D");
    EXPECT_EQ(violations.takeTexts(), "") << events;
    return events;
  }

  ViolationLog violations;
  GuardedDesign design{std::make_shared<GraphGuard>(violations.handler()),
                       "A -> B -> C -> D; B -> S -> T; X; Y"};
};

TEST_F(GuardedRunTest, IsSilentAboutARunThatKeepsTheRules) {
  EXPECT_EQ(runAndEdit(*design.guardedUpdate("A", "D")),
            "A:apply B:apply S:auto T:auto C:apply D:auto finish(true)");
}

TEST_F(GuardedRunTest, NamesTheCommandThatEdits) {
  design["B"].apply.script->whenExecuted = [this](ApplyUpdateInfo&) { design.link("X", "Y"); };
  EXPECT_EQ(design.run(*design.guardedUpdate("A", "D")),
            "A:apply B:apply S:auto T:auto C:apply D:auto finish(true)");
  EXPECT_EQ(
      violations.takeTexts(),
      "no edit during a run: the links of /Y were edited on thread 1 (it follows /X and leads "
      "to nothing now) while the update \"Update Design up to: D:apply\", started on thread "
      "1, ran (its last command was prepared for /B)\n"
      "no edit during a run: the links of /X were edited on thread 1 (it follows nothing and "
      "leads to /Y now) while the update \"Update Design up to: D:apply\", started on thread "
      "1, ran (its last command was prepared for /B)\n");
}

TEST_F(GuardedRunTest, NamesTheThreadOfACommandThatEdits) {
  design["B"].apply.script->whenExecuted = [this](ApplyUpdateInfo&) { design.link("X", "Y"); };
  const auto update = design.guardedUpdate("A", "D");
  update->setThreadManager(std::make_shared<WorkerPoolThreadManager>(1));
  design.run(*update);
  EXPECT_THAT(
      violations.takeTexts(),
      StartsWith(
          "no edit during a run: the links of /Y were edited on thread 2 (it follows /X and "
          "leads to nothing now) while the update \"Update Design up to: D:apply\", started "
          "on thread 1, ran (its last command was prepared for /B; one is executed on thread "
          "2)\n"));
}

TEST_F(GuardedRunTest, NamesTheAutoApplyThatEdits) {
  design["T"].autoApply.script->whenExecuted = [this](ApplyUpdateInfo&) { design.link("X", "Y"); };
  design.run(*design.guardedUpdate("A", "D"));
  EXPECT_THAT(violations.takeTexts(), HasSubstr("ran (its last command was prepared for /T)"));
}

TEST_F(GuardedRunTest, NamesTheQuestionThatEdits) {
  design["C"].possible = TestSupport::Answer([this, hasEdited = false]() mutable {
    if (!std::exchange(hasEdited, true)) {
      design.link("X", "Y");
    }
    return true;
  });
  design.run(*design.guardedUpdate("A", "D"));
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].rule, GraphRule::NoEditDuringRun);
  EXPECT_THAT(found[0].text, HasSubstr(", and isApplyPossible of /C was called on thread 1"));
}

TEST_F(GuardedRunTest, NamesTheNotificationInWhichAListenerEdits) {
  design["D"].autoPossible = false;
  design["D"].whenSignalled = [this] { design.link("X", "Y"); };
  design.run(*design.guardedUpdate("A", "D"));
  EXPECT_THAT(violations.takeTexts(),
              HasSubstr(", and sendStateChangeSignal of /D was called on thread 1"));
}

TEST_F(GuardedRunTest, NamesTheMakingOfACommandThatEdits) {
  design["C"].apply.whenMade = [this] { design.link("X", "Y"); };
  design.run(*design.guardedUpdate("A", "D"));
  EXPECT_THAT(violations.takeTexts(),
              HasSubstr(", and createApplyCommand of /C was called on thread 1"));
}

TEST_F(GuardedRunTest, NamesTheMessageHandlerThatEdits) {
  design["S"].always = false;
  design["S"].consistent = false;
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({TestSupport::makeGlobalMessage(design.log, "g")});
  };
  design["T"].message.whenMade = [this] { design.link("X", "Y"); };
  design["T"].message.script.emplace();
  design.run(*design.guardedUpdate("A", "D"));
  EXPECT_THAT(violations.takeTexts(), HasSubstr(", and createMessageHandlingCmd of /T was called"));
}

TEST_F(GuardedRunTest, AnEditBetweenTwoStepsOfARunIsSeen) {
  const auto manager = std::make_shared<SteppingThreadManager>();
  const auto update = design.guardedUpdate("A", "D");
  update->startExecution(manager);
  design.link("X", "Y");
  EXPECT_THAT(violations.takeTexts(), HasSubstr("ran (its last command was prepared for /A)\n"));
  manager->complete(1);
  update->continueExecution(manager);
  manager->complete(2);
  update->continueExecution(manager);
  manager->complete(3);
  update->continueExecution(manager);
  EXPECT_EQ(violations.takeTexts(), "");
  design.link("Y", "X");
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedRunTest, AHandlerThatThrowsMakesTheCommandFail) {
  const auto strict = std::make_shared<GraphGuard>(throwOnViolation());
  GuardedDesign strictDesign(strict, "A -> B; X; Y");
  strictDesign.needApply("A");
  strictDesign["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    strictDesign.link("X", "Y");
  };
  const auto update = strictDesign.guardedUpdate("A", "B");
  EXPECT_THAT(strictDesign.run(*update),
              StartsWith("A:apply error{A:apply failed with: no edit during a run: the links of /Y "
                         "were edited"));
  EXPECT_TRUE(update->hasExceptionBeenThrown());
}

// --- When a run is over -------------------------------------------------------------------------

TEST_F(GuardedRunTest, ARunWithNothingToDoIsOver) {
  design.forEachModule([](auto& module) { module.necessary = false; });
  EXPECT_EQ(runAndEdit(*design.guardedUpdate("A", "D")), "finish(true)");
}

TEST_F(GuardedRunTest, AFailedRunIsOver) {
  design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("boom");
  };
  EXPECT_THAT(runAndEdit(*design.guardedUpdate("A", "D")), HasSubstr("finish(false)"));
}

TEST_F(GuardedRunTest, ARunThatAFailureLeavesIsOver) {
  const ExceptionPolicy policy(false);
  design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("boom");
  };
  EXPECT_THAT(runAndEdit(*design.guardedUpdate("A", "D")), HasSubstr("throws{std: boom}"));
}

TEST_F(GuardedRunTest, ARunThatAQuestionLeavesIsOver) {
  design["C"].possible =
      std::function<bool()>([]() -> bool { throw std::runtime_error("no answer"); });
  EXPECT_THAT(runAndEdit(*design.guardedUpdate("A", "D")), HasSubstr("no answer"));
}

TEST_F(GuardedRunTest, ARunThatCannotBeginIsOver) {
  const auto update = design.guardedUpdate("A", "D");
  design.root->removeChild(design["D"]);
  EXPECT_THAT(design.run(*update), HasSubstr("throws{"));
  design.insertBehind("C");
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedRunTest, AStoppedRunIsOver) {
  const auto update = design.guardedUpdate("A", "D");
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    update->getProgressPtr()->requestStop();
  };
  EXPECT_THAT(runAndEdit(*update), HasSubstr("finish(false)"));
}

TEST_F(GuardedRunTest, ACancelledRunIsOver) {
  const auto update = design.guardedUpdate("A", "D");
  update->cancels = [](const std::string& name) { return name == "B"; };
  EXPECT_THAT(runAndEdit(*update), HasSubstr("finish(false) finish(true)"));
}

TEST_F(GuardedRunTest, ARunIsOverWithTheUpdate) {
  const auto manager = std::make_shared<SteppingThreadManager>();
  {
    const auto update = design.guardedUpdate("A", "D");
    update->startExecution(manager);
  }
  design.insertBehind("D");
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedRunTest, WhoHearsOfTheEndMayEdit) {
  const auto update = design.guardedUpdate("A", "D");
  update->whenFinished = nullptr;
  const auto connection = update->connectToSigFinished(
      Signals::Slot<void(bool)>([this](bool) { design.link("X", "Y"); }));
  EXPECT_THAT(design.run(*update), HasSubstr("finish(true)"));
  EXPECT_EQ(violations.takeTexts(), "");
  EXPECT_EQ(design["Y"].getPreviousApplyModules().size(), 1u);
}

TEST_F(GuardedRunTest, UndoAndRedoMayEdit) {
  design["B"].apply.script->whenUndone = [this](ApplyUpdateInfo&) { design.insertBehind("X"); };
  const auto update = design.guardedUpdate("A", "D");
  design.run(*update);
  design.undo(*update);
  design.redo(*update);
  EXPECT_EQ(violations.takeTexts(), "");
}

// --- A second start -----------------------------------------------------------------------------

TEST_F(GuardedRunTest, ASecondUpdateOfTheGraphIsNamed) {
  const auto second = design.guardedUpdate("A", "D");
  design["B"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    design["B"].necessary = false;
    design["C"].necessary = false;
    design["A"].necessary = false;
    second->execute();
  };
  design.run(*design.guardedUpdate("A", "C"));
  EXPECT_EQ(violations.takeTexts(),
            "no start during a run: startExecution of the update \"Update Design up to: D:apply\" "
            "was called on thread 1 while the update \"Update Design up to: C:apply\", started on "
            "thread 1, ran (its last command was prepared for /B)\n");
}

TEST_F(GuardedRunTest, AnUpdateThatIsStartedByItsOwnQuestionIsNamedBeforeItIsRefused) {
  const auto update = design.guardedUpdate("A", "D");
  std::string thrown;
  design["B"].possible = TestSupport::Answer([&] {
    if (!thrown.empty()) {
      return true;
    }
    try {
      update->startExecution(nullptr);
    } catch (const std::logic_error&) {
      thrown = "logic_error";
    }
    design.link("X", "Y");
    return true;
  });
  design.run(*update);
  EXPECT_EQ(thrown, "logic_error") << "as without guard";
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[0].rule, GraphRule::NoStartDuringRun);
  EXPECT_EQ(found[0].operation, "startExecution");
  EXPECT_EQ(found[0].update, "Update Design up to: D:apply");
  EXPECT_EQ(found[1].rule, GraphRule::NoEditDuringRun) << "the first run goes on";
  EXPECT_EQ(found[1].ongoing.size(), 2u) << "the run and the question; the second run never began";
}

TEST_F(GuardedRunTest, AnUpdateThatIsExecutedByItsOwnCommandIsNamedBeforeItIsRefused) {
  const auto update = design.guardedUpdate("A", "D");
  design["B"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    EXPECT_THROW(update->execute(), std::logic_error);
    design.link("X", "Y");
  };
  design.run(*update);
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[0].rule, GraphRule::NoStartDuringRun);
  EXPECT_EQ(found[0].operation, "execute");
  EXPECT_EQ(found[1].rule, GraphRule::NoEditDuringRun) << "the first run goes on";
}

TEST_F(GuardedRunTest, UndoAndRedoDuringARunAreNamed) {
  const auto before = design.guardedUpdate("A", "D");
  const auto manager = std::make_shared<SteppingThreadManager>();
  const auto update = design.guardedUpdate("A", "D");
  design.run(*before);
  update->startExecution(manager);
  before->undo();
  before->redo();
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].rule, GraphRule::NoStartDuringRun);
  EXPECT_EQ(found[0].operation, "undo");
  EXPECT_EQ(found[1].operation, "redo");
}

TEST_F(GuardedRunTest, WhoHearsOfTheEndMayStartTheNextRun) {
  const auto update = design.guardedUpdate("A", "D");
  const auto next = design.guardedUpdate("A", "D");
  const auto connection =
      update->connectToSigFinished(Signals::Slot<void(bool)>([&](bool) { next->execute(); }));
  design.run(*update);
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedRunTest, WhoHearsOfTheEndOfACancelledRunMayStartTheNextOne) {
  const auto update = design.guardedUpdate("A", "D");
  const auto next = design.guardedUpdate("A", "D");
  update->cancels = [](const std::string& name) { return name == "B"; };
  const auto connection = update->connectToSigFinished(Signals::Slot<void(bool)>([&](bool success) {
    if (!success) {
      next->execute();
    }
  }));
  design.run(*update);
  EXPECT_EQ(violations.takeTexts(), "");
  design.insertBehind("D");
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GuardedRunTest, AnUpdateOfAnotherGraphMayBeAnUpdatesSubCommand) {
  GuardedDesign inner(std::make_shared<GraphGuard>(violations.handler()), "A -> B");
  inner.needApply("A B");
  design["B"].apply.make = [&]() -> std::shared_ptr<CommandBase> {
    return inner.guardedUpdate("A", "B");
  };
  design.run(*design.guardedUpdate("A", "D"));
  EXPECT_EQ(violations.takeTexts(), "");
  EXPECT_EQ(inner.log.take(), "A:apply B:apply finish(true)");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
