#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "reference_platform/command_pattern/CommandHistory.h"
#include "tests/platform/command_pattern/ScriptedCommand.h"

namespace Tessaril::ReferencePlatform {
namespace {

using PlatformTests::EventLog;
using PlatformTests::ScriptedCommand;

class CommandHistoryTest : public testing::Test {
 protected:
  std::shared_ptr<ScriptedCommand> make(const std::string& name) {
    return std::make_shared<ScriptedCommand>(name, log);
  }
  std::shared_ptr<ScriptedCommand> execute(const std::string& name) {
    auto command = make(name);
    history.execute(command);
    return command;
  }
  /// "undo count|undo description|redo count|redo description"
  std::string state() const {
    EXPECT_EQ(history.canUndo(), history.getUndoCount() > 0);
    EXPECT_EQ(history.canRedo(), history.getRedoCount() > 0);
    return std::to_string(history.getUndoCount()) + "|" + history.getUndoDescription() + "|" +
           std::to_string(history.getRedoCount()) + "|" + history.getRedoDescription();
  }
  int takeChanges() { return std::exchange(changes, 0); }

  EventLog log;
  CommandHistory history;
  int changes = 0;
  Signals::ScopedConnection connection{history.connectToSigChanged([this] { ++changes; })};
};

TEST_F(CommandHistoryTest, BeginsEmptyWithoutLimit) {
  EXPECT_EQ(state(), "0||0|");
  EXPECT_EQ(history.getLimit(), CommandHistory::kNoLimit);
}

TEST_F(CommandHistoryTest, NamesTheCommandsThatUndoAndRedoWouldActOn) {
  EXPECT_EQ(history.getUndoCommand(), nullptr);
  EXPECT_EQ(history.getRedoCommand(), nullptr);
  const auto first = execute("A");
  const auto second = execute("B");
  EXPECT_EQ(history.getUndoCommand(), second);
  EXPECT_EQ(history.getRedoCommand(), nullptr);
  history.undo();
  EXPECT_EQ(history.getUndoCommand(), first);
  EXPECT_EQ(history.getRedoCommand(), second);
}

TEST_F(CommandHistoryTest, ExecutesUndoesAndRedoes) {
  execute("A");
  execute("B");
  EXPECT_EQ(state(), "2|B|0|");
  history.undo();
  EXPECT_EQ(state(), "1|A|1|B");
  history.undo();
  EXPECT_EQ(state(), "0||2|A");
  history.redo();
  EXPECT_EQ(state(), "1|A|1|B");
  history.redo();
  EXPECT_EQ(state(), "2|B|0|");
  EXPECT_EQ(log.take(), "+A +B -B -A ^A ^B");
  EXPECT_EQ(takeChanges(), 6);
}

TEST_F(CommandHistoryTest, ANewCommandDropsWhatCouldBeRedone) {
  execute("A");
  execute("B");
  history.undo();
  execute("C");
  EXPECT_EQ(state(), "2|C|0|");
}

TEST_F(CommandHistoryTest, AddRecordsWithoutExecuting) {
  execute("A");
  history.undo();
  log.take();
  history.add(make("B"));
  EXPECT_EQ(log.take(), "");
  EXPECT_EQ(state(), "1|B|0|");
  history.undo();
  EXPECT_EQ(log.take(), "-B");
}

TEST_F(CommandHistoryTest, NullIsIgnored) {
  history.execute(nullptr);
  history.add(nullptr);
  EXPECT_EQ(state(), "0||0|");
  EXPECT_EQ(takeChanges(), 0);
}

TEST_F(CommandHistoryTest, UndoAndRedoOfNothingAreRefused) {
  EXPECT_THROW(history.undo(), std::logic_error);
  EXPECT_THROW(history.redo(), std::logic_error);
  EXPECT_EQ(takeChanges(), 0);
}

TEST_F(CommandHistoryTest, AFailingExecuteIsNotRecorded) {
  execute("A");
  execute("B");
  history.undo();
  takeChanges();
  const auto failing = make("C");
  failing->onExecute = ScriptedCommand::fail;
  EXPECT_THROW(history.execute(failing), std::runtime_error);
  EXPECT_EQ(state(), "1|A|1|B");
  EXPECT_EQ(takeChanges(), 0);
}

TEST_F(CommandHistoryTest, AFailingUndoLeavesTheHistoryAsItWas) {
  execute("A");
  const auto b = execute("B");
  b->onUndo = ScriptedCommand::fail;
  takeChanges();
  EXPECT_THROW(history.undo(), std::runtime_error);
  EXPECT_EQ(state(), "2|B|0|");
  EXPECT_EQ(takeChanges(), 0);
  b->onUndo = nullptr;
  history.undo();
  EXPECT_EQ(state(), "1|A|1|B");
}

TEST_F(CommandHistoryTest, AFailingRedoLeavesTheHistoryAsItWas) {
  const auto a = execute("A");
  history.undo();
  a->onRedo = ScriptedCommand::fail;
  takeChanges();
  EXPECT_THROW(history.redo(), std::runtime_error);
  EXPECT_EQ(state(), "0||1|A");
  EXPECT_EQ(takeChanges(), 0);
}

TEST_F(CommandHistoryTest, ACommandThatCannotBeRedoneIsForgottenWithAllThatFollowed) {
  execute("A");
  execute("B")->redoCapable = false;
  execute("C");
  history.undo();
  EXPECT_EQ(state(), "2|B|1|C");
  history.undo();
  EXPECT_EQ(state(), "1|A|0|");
  history.undo();
  EXPECT_EQ(state(), "0||1|A");
}

TEST_F(CommandHistoryTest, TheLimitForgetsTheOldest) {
  history.setLimit(2);
  execute("A");
  execute("B");
  execute("C");
  EXPECT_EQ(state(), "2|C|0|");
  history.undo();
  history.undo();
  EXPECT_EQ(state(), "0||2|B");
}

TEST_F(CommandHistoryTest, ALowerLimitForgetsAtOnce) {
  for (const char* name : {"A", "B", "C", "D", "E", "F"}) {
    execute(name);
  }
  for (int step = 0; step < 3; ++step) {
    history.undo();
  }
  takeChanges();
  history.setLimit(2);
  EXPECT_EQ(state(), "2|C|2|D");
  EXPECT_EQ(takeChanges(), 1);
  history.setLimit(5);
  EXPECT_EQ(takeChanges(), 0);
  history.redo();
  history.redo();
  EXPECT_EQ(state(), "4|E|0|");
}

TEST_F(CommandHistoryTest, ALimitOfNothingKeepsNothing) {
  history.setLimit(0);
  execute("A");
  EXPECT_EQ(log.take(), "+A");
  EXPECT_EQ(state(), "0||0|");
}

TEST_F(CommandHistoryTest, ClearForgetsEverything) {
  execute("A");
  execute("B");
  history.undo();
  takeChanges();
  history.clear();
  EXPECT_EQ(state(), "0||0|");
  EXPECT_EQ(takeChanges(), 1);
  history.clear();
  EXPECT_EQ(takeChanges(), 0);
}

TEST_F(CommandHistoryTest, RefusesToRunWhileOneOfItsCommandsRuns) {
  execute("A");
  const auto nested = make("B");
  int refused = 0;
  const auto expectRefused = [&](auto operation) {
    try {
      operation();
    } catch (const std::logic_error&) {
      ++refused;
    }
  };
  nested->onExecute = [&] {
    expectRefused([&] { history.execute(make("C")); });
    expectRefused([&] { history.add(make("C")); });
    expectRefused([&] { history.undo(); });
    expectRefused([&] { history.clear(); });
    expectRefused([&] { history.setLimit(1); });
  };
  history.execute(nested);
  EXPECT_EQ(refused, 5);
  EXPECT_EQ(state(), "2|B|0|");
  EXPECT_EQ(log.take(), "+A +B");
}

TEST_F(CommandHistoryTest, RunsAgainAfterAFailure) {
  const auto failing = make("A");
  failing->onExecute = ScriptedCommand::fail;
  EXPECT_THROW(history.execute(failing), std::runtime_error);
  execute("B");
  EXPECT_EQ(state(), "1|B|0|");
}

}  // namespace
}  // namespace Tessaril::ReferencePlatform
