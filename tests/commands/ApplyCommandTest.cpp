#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "tessaril/commands/ApplyCommand.h"
#include "tests/support/ScriptedCommand.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::EventLog;
using TestSupport::makeMessage;
using TestSupport::messageTexts;
using TestSupport::ScriptedApplyCommand;
using TestSupport::ScriptedCache;

/// Remembers which info objects it was given.
class RememberingCommand : public ApplyCommand {
 public:
  using ApplyCommand::ApplyCommand;
  using ApplyCommand::getApplyCache;
  void doExecute(ApplyUpdateInfo& info) override { executedWith = &info; }
  void doUndo(ApplyUpdateInfo& info) override { undoneWith = &info; }

  ApplyUpdateInfo* executedWith = nullptr;
  ApplyUpdateInfo* undoneWith = nullptr;
};

static_assert(std::is_base_of_v<CommandBase, ApplyCommand>);
static_assert(std::is_base_of_v<ApplyModuleDataInterface, ApplyCommand>);
static_assert(std::is_abstract_v<ApplyCommand>);
static_assert(!std::is_copy_constructible_v<RememberingCommand>);

TEST(ApplyCommandTest, IsACommandInTheFirstPlaceAndDataInTheSecond) {
  RememberingCommand command("c");
  EXPECT_EQ(static_cast<void*>(static_cast<CommandBase*>(&command)), &command);
  EXPECT_NE(static_cast<void*>(static_cast<ApplyModuleDataInterface*>(&command)), &command);
}

TEST(ApplyCommandTest, HasTheDescriptionAndOtherwiseTheDefaults) {
  RememberingCommand command("Make teeth");
  EXPECT_EQ(command.getDescription(), "Make teeth");
  EXPECT_EQ(messageTexts(command.getUpdateInfo()), "-");
  EXPECT_TRUE(command.getApplyCache().expired());
  EXPECT_EQ(static_cast<int>(command.getUndoType()), 3);
  EXPECT_EQ(command.getSpeedRate(), LegacyProgress::Speed::Normal);
  EXPECT_TRUE(command.isRedoCapable());
}

TEST(ApplyCommandTest, HandsOutItsOwnInfoNotACopy) {
  RememberingCommand command("c");
  command.execute();
  EXPECT_EQ(command.executedWith, &command.getUpdateInfo());
  EXPECT_EQ(command.undoneWith, nullptr);
  command.undo();
  EXPECT_EQ(command.undoneWith, &command.getUpdateInfo());
}

TEST(ApplyCommandTest, RedoExecutesAgain) {
  RememberingCommand command("c");
  command.redo();
  EXPECT_EQ(command.executedWith, &command.getUpdateInfo());
}

TEST(ApplyCommandTest, KeepsWhatTheStepLeavesInTheInfo) {
  EventLog log;
  ScriptedApplyCommand command(
      log, "c",
      {.whenExecuted =
           [&](ApplyUpdateInfo& info) { info = ApplyUpdateInfo({makeMessage(log, "done")}); },
       .whenUndone = [](ApplyUpdateInfo& info) { info.clear(); }});
  command.execute();
  EXPECT_EQ(messageTexts(command.getUpdateInfo()), "done");
  command.undo();
  EXPECT_EQ(messageTexts(command.getUpdateInfo()), "-");
}

TEST(ApplyCommandTest, PassesOnWhatTheStepThrows) {
  EventLog log;
  const auto fail = [](ApplyUpdateInfo&) { throw std::runtime_error("no"); };
  ScriptedApplyCommand command(log, "c", {.whenExecuted = fail, .whenUndone = fail});
  EXPECT_THROW(command.execute(), std::runtime_error);
  EXPECT_THROW(command.undo(), std::runtime_error);
}

// A command that is moved away may still be asked for its messages by the run that it is part of.
TEST(ApplyCommandTest, MovesTheCommandButCopiesMessagesAndCache) {
  EventLog log;
  const auto cache = std::make_shared<ScriptedCache>(log);
  RememberingCommand source("c");
  source.setUpdateInfo(ApplyUpdateInfo({makeMessage(log, "m")}));
  source.setApplyCache(cache);
  LegacyProgress* const progress = source.getProgressPtr();

  RememberingCommand constructed(std::move(source));
  EXPECT_EQ(constructed.getDescription(), "c");
  EXPECT_EQ(constructed.getProgressPtr(), progress);
  EXPECT_EQ(messageTexts(constructed.getUpdateInfo()), "m");
  EXPECT_EQ(constructed.getApplyCache().lock(), cache);
  EXPECT_EQ(messageTexts(source.getUpdateInfo()), "m");  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(source.getApplyCache().lock(), cache);       // NOLINT(bugprone-use-after-move)

  RememberingCommand assigned("other");
  assigned = std::move(constructed);
  EXPECT_EQ(assigned.getDescription(), "c");
  EXPECT_EQ(assigned.getProgressPtr(), progress);
  EXPECT_EQ(messageTexts(assigned.getUpdateInfo()), "m");
  EXPECT_EQ(assigned.getApplyCache().lock(), cache);
  EXPECT_EQ(messageTexts(constructed.getUpdateInfo()), "m");  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(constructed.getApplyCache().lock(), cache);       // NOLINT(bugprone-use-after-move)
}

}  // namespace
}  // namespace Tessaril
