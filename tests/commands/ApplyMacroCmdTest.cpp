#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tessaril/commands/ApplyMacroCmd.h"
#include "tests/support/ScriptedCommand.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::CommandScript;
using TestSupport::dataOf;
using TestSupport::EventKind;
using TestSupport::EventLog;
using TestSupport::LogRecorder;
using TestSupport::makeMessage;
using TestSupport::makeScriptedCommand;
using TestSupport::messageTexts;
using TestSupport::ScriptedApplyCommand;
using TestSupport::ScriptedCache;
using TestSupport::whatIsThrownBy;

static_assert(std::is_base_of_v<MacroCommand, ApplyMacroCmd>);
static_assert(std::is_base_of_v<ApplyModuleDataInterface, ApplyMacroCmd>);

class TestMacro : public ApplyMacroCmd {
 public:
  using ApplyMacroCmd::ApplyMacroCmd;
  using ApplyMacroCmd::finalizeExecute;
  using ApplyMacroCmd::getApplyCache;
  using ApplyMacroCmd::prepareExecute;
};

const auto kBoom = [](ApplyUpdateInfo&) { throw std::runtime_error("boom"); };
/// Not of the std::exception family.
const auto kSeven = [](ApplyUpdateInfo&) { throw 7; };

class ApplyMacroCmdTest : public testing::Test {
 protected:
  std::shared_ptr<CommandBase> add(const std::string& name, CommandScript script) {
    const auto command = makeScriptedCommand(log, name, std::move(script));
    macro.addCommand(command);
    return command;
  }
  std::shared_ptr<CommandBase> add(const std::string& name, int undoType) {
    return add(name, CommandScript{.undoType = undoType});
  }
  /// Adds "a", "b", ... with these undo types; -1 stands for a command without module data.
  void addOfTypes(const std::vector<int>& undoTypes) {
    for (const int undoType : undoTypes) {
      const std::string name(1, static_cast<char>('a' + macro.size()));
      add(name, CommandScript{.hasData = undoType >= 0, .undoType = undoType});
    }
  }
  ApplyUpdateInfo infoWith(const std::string& text) {
    return ApplyUpdateInfo({makeMessage(log, text)});
  }
  std::function<void(ApplyUpdateInfo&)> leaveBehind(const std::string& text) {
    return [this, text](ApplyUpdateInfo& info) { info = infoWith(text); };
  }
  std::string executeAndTake() {
    macro.execute();
    return log.take();
  }
  /// What an undo writes, and what it throws.
  std::string undoAndTake() {
    log.take();
    const std::string thrown = whatIsThrownBy([this] { macro.undo(); });
    return log.take() + (thrown == "nothing" ? "" : " throws{" + thrown + "}");
  }

  EventLog log;
  LogRecorder recorder{log};
  TestMacro macro{"Macro"};
};

// --- Construction -------------------------------------------------------------------------------

TEST_F(ApplyMacroCmdTest, IsAMacroInTheFirstPlaceAndDataInTheSecond) {
  EXPECT_EQ(static_cast<void*>(static_cast<MacroCommand*>(&macro)), &macro);
  EXPECT_NE(static_cast<void*>(static_cast<ApplyModuleDataInterface*>(&macro)), &macro);
}

TEST_F(ApplyMacroCmdTest, StartsEmpty) {
  TestMacro plain;
  EXPECT_EQ(plain.getDescription(), "");
  EXPECT_TRUE(plain.empty());
  EXPECT_FALSE(plain.getUseCustomUndoOrder());
  EXPECT_EQ(messageTexts(plain.getUpdateInfo()), "-");
  EXPECT_TRUE(plain.getApplyCache().expired());
  EXPECT_EQ(static_cast<int>(plain.getUndoType()), 3);

  EXPECT_EQ(macro.getDescription(), "Macro");
  EXPECT_TRUE(macro.empty());
  EXPECT_FALSE(macro.getUseCustomUndoOrder());
}

TEST_F(ApplyMacroCmdTest, RemembersTheUndoOrder) {
  macro.setUseCustomUndoOrder(true);
  EXPECT_TRUE(macro.getUseCustomUndoOrder());
  macro.setUseCustomUndoOrder(false);
  EXPECT_FALSE(macro.getUseCustomUndoOrder());
}

TEST_F(ApplyMacroCmdTest, MovesTheMacroButCopiesMessagesCacheAndOrder) {
  const auto cache = std::make_shared<ScriptedCache>(log);
  const auto command = add("a", 3);
  macro.setUpdateInfo(infoWith("m"));
  macro.setApplyCache(cache);
  macro.setUseCustomUndoOrder(true);

  TestMacro constructed(std::move(macro));
  EXPECT_EQ(constructed.getDescription(), "Macro");
  ASSERT_EQ(constructed.size(), 1U);
  EXPECT_EQ(constructed.getCommands()[0], command);
  EXPECT_EQ(messageTexts(constructed.getUpdateInfo()), "m");
  EXPECT_EQ(constructed.getApplyCache().lock(), cache);
  EXPECT_TRUE(constructed.getUseCustomUndoOrder());
  EXPECT_EQ(messageTexts(macro.getUpdateInfo()), "m");  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(macro.getApplyCache().lock(), cache);       // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(macro.getUseCustomUndoOrder());           // NOLINT(bugprone-use-after-move)

  TestMacro assigned;
  assigned = std::move(constructed);
  EXPECT_EQ(assigned.getDescription(), "Macro");
  ASSERT_EQ(assigned.size(), 1U);
  EXPECT_EQ(messageTexts(assigned.getUpdateInfo()), "m");
  EXPECT_EQ(assigned.getApplyCache().lock(), cache);
  EXPECT_TRUE(assigned.getUseCustomUndoOrder());
  EXPECT_EQ(messageTexts(constructed.getUpdateInfo()), "m");  // NOLINT(bugprone-use-after-move)
}

// --- Messages and cache on their way through the sub-commands -----------------------------------

TEST_F(ApplyMacroCmdTest, PassesMessagesFromSubCommandToSubCommand) {
  add("a", CommandScript{.whenExecuted = leaveBehind("fromA")});
  add("b", CommandScript{});
  add("c", CommandScript{.whenExecuted = leaveBehind("fromC")});
  macro.setUpdateInfo(infoWith("given"));
  EXPECT_EQ(executeAndTake(), "a(given) b(fromA) c(fromA)");
  EXPECT_EQ(messageTexts(macro.getUpdateInfo()), "fromC");
}

TEST_F(ApplyMacroCmdTest, HandsOutClonesAndTakesTheSubCommandsMessagesOverShared) {
  const auto a = add("a", 3);
  macro.setUpdateInfo(infoWith("m"));
  macro.execute();
  // b would get a clone of this clone; the message that was given in is seen by no sub-command.
  EXPECT_EQ(messageTexts(dataOf(a).getUpdateInfo()), "m'");
  EXPECT_EQ(macro.getUpdateInfo().getAllUpdateMessages(),
            dataOf(a).getUpdateInfo().getAllUpdateMessages());
}

TEST_F(ApplyMacroCmdTest, ReplacesWhatASubCommandHeldBefore) {
  const auto a = add("a", 3);
  dataOf(a).setUpdateInfo(infoWith("old"));
  EXPECT_EQ(executeAndTake(), "a");
}

TEST_F(ApplyMacroCmdTest, EndsWithTheMessagesOfItsLastSubCommandThatCarriesAny) {
  add("a", CommandScript{.whenExecuted = leaveBehind("fromA")});
  add("b", CommandScript{.hasData = false, .whenExecuted = leaveBehind("lost")});
  macro.setUpdateInfo(infoWith("given"));
  EXPECT_EQ(executeAndTake(), "a(given) b");
  EXPECT_EQ(messageTexts(macro.getUpdateInfo()), "fromA");
}

TEST_F(ApplyMacroCmdTest, KeepsItsMessagesWithoutASubCommandThatCarriesAny) {
  add("a", CommandScript{.hasData = false});
  macro.setUpdateInfo(infoWith("given"));
  macro.execute();
  EXPECT_EQ(messageTexts(macro.getUpdateInfo()), "given");
}

TEST_F(ApplyMacroCmdTest, HandsTheCacheToEverySubCommand) {
  const auto cache = std::make_shared<ScriptedCache>(log);
  const auto earlier = std::make_shared<ScriptedCache>(log);
  const auto a = add("a", 3);
  const auto b = add("b", 0);
  dataOf(b).setApplyCache(earlier);
  macro.setApplyCache(cache);
  macro.execute();
  EXPECT_EQ(dynamic_cast<ScriptedApplyCommand&>(*a).getApplyCache().lock(), cache);
  EXPECT_EQ(dynamic_cast<ScriptedApplyCommand&>(*b).getApplyCache().lock(), cache);

  macro.setApplyCache({});
  macro.execute();
  EXPECT_TRUE(dynamic_cast<ScriptedApplyCommand&>(*a).getApplyCache().expired());
}

TEST_F(ApplyMacroCmdTest, LeavesASubCommandWithoutMessagesAlone) {
  const auto plain = makeScriptedCommand(log, "p", {.hasData = false});
  macro.setUpdateInfo(infoWith("given"));
  macro.prepareExecute(plain);
  macro.finalizeExecute(plain);
  EXPECT_EQ(messageTexts(macro.getUpdateInfo()), "given");
}

TEST_F(ApplyMacroCmdTest, KeepsItsMessagesWhenItFinalizesItself) {
  const auto self = std::make_shared<TestMacro>();
  self->setUpdateInfo(infoWith("mine"));
  const auto before = self->getUpdateInfo().getAllUpdateMessages();
  self->finalizeExecute(self);
  EXPECT_EQ(self->getUpdateInfo().getAllUpdateMessages(), before);
}

TEST_F(ApplyMacroCmdTest, PassesMessagesThroughAMacroInAMacro) {
  const auto inner = std::make_shared<ApplyMacroCmd>("Inner");
  inner->addCommand(makeScriptedCommand(log, "a", {.whenExecuted = leaveBehind("fromA")}));
  macro.addCommand(inner);
  add("b", 3);
  macro.setUpdateInfo(infoWith("given"));
  EXPECT_EQ(executeAndTake(), "a(given) b(fromA)");
}

TEST_F(ApplyMacroCmdTest, KeepsTheMessagesOfTheSubCommandsThatRanWhenOneFails) {
  add("a", CommandScript{.whenExecuted = leaveBehind("fromA")});
  add("b", CommandScript{.whenExecuted = kBoom});
  EXPECT_EQ(whatIsThrownBy([this] { macro.execute(); }), "std: boom");
  EXPECT_EQ(log.take(), "a b(fromA) a~");
  EXPECT_EQ(messageTexts(macro.getUpdateInfo()), "fromA");
}

// --- Undo ---------------------------------------------------------------------------------------

TEST_F(ApplyMacroCmdTest, UndoesBackwardsWithoutTheCustomOrder) {
  addOfTypes({0, 3, 0, 3});
  macro.execute();
  log.alsoHear({EventKind::UndoType});
  EXPECT_EQ(undoAndTake(), "d~ c~ b~ a~");
}

TEST_F(ApplyMacroCmdTest, FailsAsAPlainMacroWithoutTheCustomOrder) {
  addOfTypes({0, 3});
  add("c", CommandScript{.whenUndone = kBoom});
  addOfTypes({3});
  macro.execute();
  EXPECT_EQ(undoAndTake(), "d~ c~ d throws{std: boom}");
  EXPECT_TRUE(recorder.errors().empty());
}

TEST_F(ApplyMacroCmdTest, UndoesStorageBackwardsThenTheRestForwardsInTheCustomOrder) {
  macro.setUseCustomUndoOrder(true);
  addOfTypes({0, 3, 0, 3});
  macro.execute();
  EXPECT_EQ(undoAndTake(), "c~ a~ b~ d~");
}

TEST_F(ApplyMacroCmdTest, CountsEveryTypeButStorageAsTheSecondPass) {
  macro.setUseCustomUndoOrder(true);
  addOfTypes({1, 0, 2, -1, 3, 0});
  macro.execute();
  EXPECT_EQ(undoAndTake(), "f~ b~ a~ c~ d~ e~");
}

TEST_F(ApplyMacroCmdTest, AsksEverySubCommandForItsTypeInEachPass) {
  macro.setUseCustomUndoOrder(true);
  addOfTypes({0, 3});
  macro.execute();
  log.alsoHear({EventKind::UndoType});
  EXPECT_EQ(undoAndTake(), "b?undoType a?undoType a~ a?undoType b?undoType b~");
}

TEST_F(ApplyMacroCmdTest, CustomOrderOfAnEmptyMacroUndoesNothingAndFinishes) {
  macro.setUseCustomUndoOrder(true);
  EXPECT_EQ(undoAndTake(), "");
  EXPECT_TRUE(macro.getProgressPtr()->isFinished());
}

// Each of the four moves the progress on by its share, and the undo finishes it.
TEST_F(ApplyMacroCmdTest, CustomOrderPreparesAndFinishesTheProgress) {
  macro.setUseCustomUndoOrder(true);
  std::vector<double> seen;
  for (const char* name : {"a", "b", "c", "d"}) {
    add(name, CommandScript{.whenUndone = [&](ApplyUpdateInfo&) {
          seen.push_back(macro.getProgressPtr()->getValue());
        }});
  }
  macro.execute();
  EXPECT_EQ(macro.getProgressPtr()->getValue(), 100.0);
  macro.undo();
  EXPECT_EQ(seen, (std::vector<double>{0.0, 25.0, 50.0, 75.0}));
  EXPECT_TRUE(macro.getProgressPtr()->isFinished());
}

TEST_F(ApplyMacroCmdTest, CustomOrderDoesNotFinishTheProgressOfAFailedUndo) {
  macro.setUseCustomUndoOrder(true);
  add("a", CommandScript{.whenUndone = kBoom});
  macro.execute();
  undoAndTake();
  EXPECT_FALSE(macro.getProgressPtr()->isFinished());
}

// --- A failing undo in the custom order ---------------------------------------------------------

TEST_F(ApplyMacroCmdTest, RollsTheFirstPassForwardWhenItFails) {
  macro.setUseCustomUndoOrder(true);
  addOfTypes({0});
  add("b", CommandScript{.undoType = 0, .whenUndone = kBoom});
  addOfTypes({3, 0, 0});
  macro.execute();
  EXPECT_EQ(undoAndTake(),
            "e~ d~ b~ error{Undo of MacroCommand 'b' failed with exception: boom} d e "
            "throws{std: boom}");
}

// The update around the macro decides about stored data, so the storage undos stay.
TEST_F(ApplyMacroCmdTest, LeavesStorageUndoneWhenTheSecondPassFails) {
  macro.setUseCustomUndoOrder(true);
  addOfTypes({0, 3, 0});
  add("d", CommandScript{.whenUndone = kBoom});
  macro.execute();
  EXPECT_EQ(undoAndTake(),
            "c~ a~ b~ d~ error{Undo of MacroCommand 'd' failed with exception: boom} b "
            "throws{std: boom}");
}

TEST_F(ApplyMacroCmdTest, RollsNothingForwardWhenTheFirstOfAPassFails) {
  macro.setUseCustomUndoOrder(true);
  add("a", CommandScript{.whenUndone = kBoom});
  addOfTypes({3, 0});
  macro.execute();
  EXPECT_EQ(undoAndTake(),
            "c~ a~ error{Undo of MacroCommand 'a' failed with exception: boom} "
            "throws{std: boom}");
}

TEST_F(ApplyMacroCmdTest, FailsWhereTheUndoTypeCannotBeAsked) {
  macro.setUseCustomUndoOrder(true);
  add("a", CommandScript{.undoType = 0,
                         .whenAskedForUndoType = [] { throw std::runtime_error("what type"); }});
  addOfTypes({0});
  macro.execute();
  EXPECT_EQ(undoAndTake(),
            "b~ error{Undo of MacroCommand 'a' failed with exception: what type} b "
            "throws{std: what type}");
}

TEST_F(ApplyMacroCmdTest, FailsWhereTheUndoTypeCannotBeAskedInTheSecondPass) {
  macro.setUseCustomUndoOrder(true);
  addOfTypes({3});
  int asked = 0;
  add("b", CommandScript{.undoType = 3, .whenAskedForUndoType = [&] {
                           if (++asked == 2) {
                             throw std::runtime_error("what type");
                           }
                         }});
  macro.execute();
  EXPECT_EQ(undoAndTake(),
            "a~ error{Undo of MacroCommand 'b' failed with exception: what type} a "
            "throws{std: what type}");
}

// The failure that is passed on is then the latest one: it says what could not be put right.
TEST_F(ApplyMacroCmdTest, AFailingRollForwardEndsThereAndItsFailureGoesOn) {
  macro.setUseCustomUndoOrder(true);
  bool executedBefore = false;
  addOfTypes({3});
  add("b", CommandScript{.whenExecuted = [&](ApplyUpdateInfo&) {
        if (std::exchange(executedBefore, true)) {
          throw std::out_of_range("not again");
        }
      }});
  addOfTypes({3});
  add("d", CommandScript{.whenUndone = kBoom});
  macro.execute();
  EXPECT_EQ(undoAndTake(),
            "a~ b~ c~ d~ error{Undo of MacroCommand 'd' failed with exception: boom} a b "
            "throws{std: not again}");
}

TEST_F(ApplyMacroCmdTest, LogsTheLogDescriptionInTheNameOfUndo) {
  macro.setUseCustomUndoOrder(true);
  add("a",
      CommandScript{
          .description = "For the user", .logDescription = "For the log", .whenUndone = kBoom});
  macro.execute();
  undoAndTake();
  ASSERT_EQ(recorder.errors().size(), 1U);
  const auto record = recorder.errors().front();
  EXPECT_EQ(record.level, ReferencePlatform::LogLevel::Error);
  EXPECT_EQ(record.text, "Undo of MacroCommand 'For the log' failed with exception: boom");
  EXPECT_EQ(record.file, "ApplyMacroCmd");
  EXPECT_EQ(record.function, "virtual void Tessaril::ApplyMacroCmd::undo()");
  EXPECT_GT(record.line, 0);
}

TEST_F(ApplyMacroCmdTest, RethrowsTheVeryException) {
  macro.setUseCustomUndoOrder(true);
  add("a", CommandScript{.whenUndone = [](ApplyUpdateInfo&) { throw std::out_of_range("far"); }});
  macro.execute();
  EXPECT_THROW(macro.undo(), std::out_of_range);
}

// Only the std::exception family is a failure that the macro knows how to treat.
TEST_F(ApplyMacroCmdTest, LetsAnythingElsePassUntouched) {
  macro.setUseCustomUndoOrder(true);
  addOfTypes({0, 3});
  add("c", CommandScript{.whenUndone = kSeven});
  macro.execute();
  EXPECT_EQ(undoAndTake(), "a~ b~ c~ throws{int: 7}");
}

}  // namespace
}  // namespace Tessaril
