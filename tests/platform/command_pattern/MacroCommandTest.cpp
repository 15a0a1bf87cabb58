#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/platform/command_pattern/MacroCommand.h"
#include "tests/platform/ConformanceHost.h"
#include "tests/platform/command_pattern/ScriptedCommand.h"

namespace Tessaril {
namespace {

using PlatformTests::EventLog;
using PlatformTests::ScriptedCommand;
using Speed = LegacyProgress::Speed;
using testing::ElementsAre;
using testing::HasSubstr;

/// Writes "[name" and "name]" for the two hooks, and opens what derived classes may call.
class HookedMacro : public MacroCommand {
 public:
  explicit HookedMacro(EventLog& eventLog, std::string description = {})
      : MacroCommand(std::move(description)), log(&eventLog) {}

  using MacroCommand::clearCommands;
  using MacroCommand::executeCommand;
  using MacroCommand::listFilledWhileRunning;
  using MacroCommand::prepareProgress;
  using MacroCommand::resetPosition;
  using MacroCommand::undoCommand;

  std::string failPrepareOf;
  std::string failFinalizeOf;

 protected:
  void prepareExecute(std::shared_ptr<CommandBase> command) override {
    log->add("[" + command->getDescription());
    failIf(command->getDescription() == failPrepareOf);
  }
  void finalizeExecute(std::shared_ptr<CommandBase> command) override {
    log->add(command->getDescription() + "]");
    failIf(command->getDescription() == failFinalizeOf);
  }

 private:
  static void failIf(bool condition) {
    if (condition) {
      throw std::runtime_error("hook failure");
    }
  }

  EventLog* log;
};

class MacroCommandTest : public testing::Test {
 protected:
  std::shared_ptr<ScriptedCommand> add(const std::string& name, Speed::Rate rate = Speed::Normal) {
    auto command = std::make_shared<ScriptedCommand>(name, log);
    command->rate = rate;
    macro.addCommand(command);
    return command;
  }

  double value() const { return macro.getProgressPtr()->getValue(); }

  EventLog log;
  HookedMacro macro{log, "Macro"};
};

// --- The list -----------------------------------------------------------------------------------

TEST_F(MacroCommandTest, KeepsSubCommandsInTheOrderOfAdding) {
  EXPECT_TRUE(macro.empty());
  EXPECT_EQ(macro.size(), 0U);
  const auto a = add("A");
  const auto b = add("B");
  macro.addCommand(nullptr);
  EXPECT_FALSE(macro.empty());
  EXPECT_EQ(macro.size(), 2U);
  EXPECT_THAT(macro.getCommands(), ElementsAre(a, b));
  macro.clearCommands();
  EXPECT_TRUE(macro.empty());
}

TEST_F(MacroCommandTest, DescribesItselfElseItsFirstSubCommand) {
  add("A");
  add("B");
  EXPECT_EQ(macro.getDescription(), "Macro");

  MacroCommand unnamed;
  EXPECT_EQ(unnamed.getDescription(), "");
  unnamed.addCommand(macro.getCommands().front());
  EXPECT_EQ(unnamed.getDescription(), "A");
}

TEST_F(MacroCommandTest, IsAsSlowAsItsSlowestSubCommand) {
  EXPECT_EQ(macro.getSpeedRate(), Speed::Normal) << "empty";
  add("A", Speed::Fast);
  EXPECT_EQ(macro.getSpeedRate(), Speed::Fast);
  add("B", Speed::VerySlow);
  add("C", Speed::Instant);
  EXPECT_EQ(macro.getSpeedRate(), Speed::VerySlow);
}

TEST_F(MacroCommandTest, IsRedoCapableWhenEverySubCommandIs) {
  EXPECT_TRUE(macro.isRedoCapable());
  add("A");
  const auto b = add("B");
  EXPECT_TRUE(macro.isRedoCapable());
  b->redoCapable = false;
  EXPECT_FALSE(macro.isRedoCapable());
}

TEST_F(MacroCommandTest, MovesItsListAlong) {
  const auto a = add("A");
  HookedMacro moved(std::move(macro));
  EXPECT_THAT(moved.getCommands(), ElementsAre(a));
  EXPECT_EQ(moved.getDescription(), "Macro");
  HookedMacro assigned(log);
  assigned = std::move(moved);
  assigned.execute();
  EXPECT_EQ(log.take(), "[A +A A]");
  EXPECT_TRUE(assigned.getProgressPtr()->isFinished());
}

// --- Order --------------------------------------------------------------------------------------

TEST_F(MacroCommandTest, ExecutesForwardsBetweenTheHooks) {
  add("A");
  add("B");
  macro.execute();
  EXPECT_EQ(log.take(), "[A +A A] [B +B B]");
}

TEST_F(MacroCommandTest, UndoesBackwardsAndRedoesForwardsWithoutHooks) {
  add("A");
  add("B");
  add("C");
  macro.execute();
  log.take();
  macro.undo();
  EXPECT_EQ(log.take(), "-C -B -A");
  macro.redo();
  EXPECT_EQ(log.take(), "^A ^B ^C");
}

TEST_F(MacroCommandTest, AnEmptyMacroDoesNothingAndFinishes) {
  macro.execute();
  EXPECT_TRUE(macro.getProgressPtr()->isFinished());
  macro.undo();
  macro.redo();
  EXPECT_TRUE(macro.getProgressPtr()->isFinished());
  EXPECT_EQ(log.take(), "");
}

TEST_F(MacroCommandTest, MacrosNest) {
  const auto inner = std::make_shared<HookedMacro>(log, "inner");
  inner->addCommand(std::make_shared<ScriptedCommand>("B", log));
  add("A");
  macro.addCommand(inner);
  macro.execute();
  EXPECT_EQ(log.take(), "[A +A A] [inner [B +B B] inner]");
  macro.undo();
  EXPECT_EQ(log.take(), "-B -A");
}

TEST_F(MacroCommandTest, ASubCommandAddedDuringTheRunCountsAsExecuted) {
  const auto a = add("A");
  const auto late = std::make_shared<ScriptedCommand>("late", log);
  a->onExecute = [&] { macro.addCommand(late); };
  macro.execute();
  EXPECT_EQ(log.take(), "[A +A A]");
  macro.undo();
  EXPECT_EQ(log.take(), "-late -A");
}

TEST_F(MacroCommandTest, SingleStepsSkipTheHooksAndIgnoreNull) {
  const auto a = add("A");
  macro.executeCommand(a);
  macro.undoCommand(a);
  macro.executeCommand(nullptr);
  macro.undoCommand(nullptr);
  EXPECT_EQ(log.take(), "+A -A");
}

// --- Failure ------------------------------------------------------------------------------------

TEST_F(MacroCommandTest, AFailingExecuteUndoesWhatWasExecuted) {
  add("A");
  add("B");
  add("C")->onExecute = ScriptedCommand::fail;
  add("D");
  EXPECT_THROW(macro.execute(), std::runtime_error);
  EXPECT_EQ(log.take(), "[A +A A] [B +B B] [C +C -B -A");
}

TEST_F(MacroCommandTest, AFailingPrepareHookUndoesWhatWasExecuted) {
  add("A");
  add("B");
  macro.failPrepareOf = "B";
  EXPECT_THROW(macro.execute(), std::runtime_error);
  EXPECT_EQ(log.take(), "[A +A A] [B -A");
}

TEST_F(MacroCommandTest, AFailingFinalizeHookUndoesItsSubCommandToo) {
  add("A");
  add("B");
  macro.failFinalizeOf = "B";
  EXPECT_THROW(macro.execute(), std::runtime_error);
  EXPECT_EQ(log.take(), "[A +A A] [B +B B] -B -A");
}

TEST_F(MacroCommandTest, AFailingUndoExecutesAgainWhatWasUndone) {
  add("A");
  add("B")->onUndo = ScriptedCommand::fail;
  add("C");
  add("D");
  macro.execute();
  log.take();
  EXPECT_THROW(macro.undo(), std::runtime_error);
  EXPECT_EQ(log.take(), "-D -C -B +C +D");
}

TEST_F(MacroCommandTest, AFailingRedoUndoesWhatWasRedone) {
  add("A");
  add("B");
  add("C")->onRedo = ScriptedCommand::fail;
  macro.execute();
  macro.undo();
  log.take();
  EXPECT_THROW(macro.redo(), std::runtime_error);
  EXPECT_EQ(log.take(), "^A ^B ^C -B -A");
}

TEST_F(MacroCommandTest, ExceptionsOfAnyTypeGoOnUnchanged) {
  add("A");
  add("B")->onExecute = [] { throw 42; };
  try {
    macro.execute();
    FAIL() << "nothing thrown";
  } catch (int thrown) {
    EXPECT_EQ(thrown, 42);
  }
  EXPECT_EQ(log.take(), "[A +A A] [B +B -A");
}

TEST_F(MacroCommandTest, AFailingRollBackEndsIsLoggedAndLetsTheFirstExceptionGoOn) {
  add("A");
  add("B")->onUndo = [] { throw std::runtime_error("undo of B"); };
  add("C")->onExecute = [] { throw std::runtime_error("execute of C"); };
  const auto logged = ConformanceHost::captureLog();
  try {
    macro.execute();
    FAIL() << "nothing thrown";
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), "execute of C");
  }
  EXPECT_EQ(log.take(), "[A +A A] [B +B B] [C +C -B");
  const auto records = logged->getRecords();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].level, ConformanceHost::LoggedRecord::Level::Error);
  EXPECT_THAT(records[0].text, HasSubstr("undo of B"));
}

TEST_F(MacroCommandTest, CanBeExecutedAgainAfterAFailure) {
  const auto a = add("A");
  const auto b = add("B");
  b->onExecute = [&] {
    b->getProgressPtr()->setValue(70.0);
    ScriptedCommand::fail();
  };
  EXPECT_THROW(macro.execute(), std::runtime_error);
  EXPECT_FALSE(macro.getProgressPtr()->isFinished());
  log.take();
  b->onExecute = nullptr;
  macro.execute();
  EXPECT_EQ(log.take(), "[A +A A] [B +B B]");
  EXPECT_TRUE(macro.getProgressPtr()->isFinished());
}

// --- Progress -----------------------------------------------------------------------------------

TEST_F(MacroCommandTest, SubCommandsShareTheProgressByTheirRates) {
  std::vector<double> seen;
  const auto note = [&] { seen.push_back(value()); };
  const auto a = add("A");
  const auto b = add("B");
  a->onExecute = [&] {
    note();
    a->getProgressPtr()->setValue(50.0);
    note();
  };
  b->onExecute = [&] {
    note();
    b->getProgressPtr()->setValue(50.0);
    note();
  };
  macro.execute();
  EXPECT_THAT(seen, ElementsAre(0.0, 25.0, 50.0, 75.0));
  EXPECT_EQ(value(), 100.0);
}

TEST_F(MacroCommandTest, ASlowSubCommandHasTheLargerPart) {
  add("A", Speed::Fast);
  double before = 0.0;
  add("B", Speed::Slow)->onExecute = [&] { before = value(); };
  macro.execute();
  EXPECT_GT(before, 0.0);
  EXPECT_LT(before, 50.0);
}

TEST_F(MacroCommandTest, TheLastSubCommandCoversWhatRoundingLeft) {
  add("A");
  add("B");
  const auto c = add("C");
  double after = 0.0;
  c->onExecute = [&] {
    c->getProgressPtr()->setValue(100.0);
    after = value();
  };
  macro.execute();
  EXPECT_EQ(after, 100.0);
}

TEST_F(MacroCommandTest, UndoAndRedoRunTheProgressAgain) {
  std::vector<double> seen;
  const auto a = add("A");
  const auto b = add("B");
  macro.execute();
  a->onUndo = [&] {
    EXPECT_EQ(a->getProgressPtr()->getValue(), 0.0) << "a sub-command's progress begins at 0";
    seen.push_back(value());
  };
  b->onUndo = [&] { seen.push_back(value()); };
  macro.undo();
  EXPECT_THAT(seen, ElementsAre(0.0, 50.0));
  EXPECT_TRUE(macro.getProgressPtr()->isFinished());

  seen.clear();
  a->onRedo = b->onRedo = [&] { seen.push_back(value()); };
  macro.redo();
  EXPECT_THAT(seen, ElementsAre(0.0, 50.0));
  EXPECT_TRUE(macro.getProgressPtr()->isFinished());
}

TEST_F(MacroCommandTest, PrepareProgressBeginsAnewRun) {
  add("A");
  macro.execute();
  macro.prepareProgress(MacroCommand::Undo);
  EXPECT_EQ(value(), 0.0);
  EXPECT_FALSE(macro.getProgressPtr()->isFinished());
}

TEST_F(MacroCommandTest, AMacroFilledWhileItRunsKeepsItsProgressForExecuteOnly) {
  macro.listFilledWhileRunning = true;
  add("A");
  add("B");
  macro.getProgressPtr()->setValue(30.0);
  macro.prepareProgress(MacroCommand::Execute);
  EXPECT_EQ(value(), 30.0);
  macro.prepareProgress(MacroCommand::Undo);
  EXPECT_EQ(value(), 0.0);
  std::vector<double> seen;
  for (const auto& command : macro.getCommands()) {
    macro.undoCommand(command);
    seen.push_back(value());
  }
  EXPECT_THAT(seen, ElementsAre(50.0, 100.0));
}

TEST_F(MacroCommandTest, RedoDividesTheProgressAlsoOfAMacroThatWasFilledWhileItRan) {
  macro.listFilledWhileRunning = true;
  std::vector<double> seen;
  for (const char* name : {"A", "B"}) {
    add(name)->onRedo = [&] { seen.push_back(value()); };
  }
  macro.getProgressPtr()->finish();
  macro.redo();
  EXPECT_THAT(seen, ElementsAre(0.0, 50.0));
}

TEST_F(MacroCommandTest, ResetPositionForgetsHowFarTheListHasCome) {
  const auto a = add("A");
  add("B");
  add("C");
  macro.prepareProgress(MacroCommand::Undo);
  for (int step = 0; step < 3; ++step) {
    macro.resetPosition();
    macro.undoCommand(a);
  }
  EXPECT_EQ(value(), 99.0) << "three parts of 33; only the last step of a list gets the rest";
}

TEST_F(MacroCommandTest, IsNotListFilledWhileRunningFromTheStart) {
  EXPECT_FALSE(macro.listFilledWhileRunning);
}

TEST_F(MacroCommandTest, AStopRequestIsVisibleToTheSubCommandUnderWay) {
  const auto a = add("A");
  bool seen = false;
  a->onExecute = [&] {
    macro.getProgressPtr()->requestStop();
    seen = a->getProgressPtr()->isStopRequested();
  };
  macro.execute();
  EXPECT_TRUE(seen);
  EXPECT_FALSE(a->getProgressPtr()->isStopRequested()) << "no part of the macro any more";
}

TEST_F(MacroCommandTest, AFailedSubCommandIsNoPartOfTheProgressAnyMore) {
  const auto a = add("A");
  a->onExecute = ScriptedCommand::fail;
  EXPECT_THROW(macro.execute(), std::runtime_error);
  a->getProgressPtr()->setValue(80.0);
  EXPECT_EQ(value(), 0.0);
}

}  // namespace
}  // namespace Tessaril
