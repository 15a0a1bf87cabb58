#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/command_pattern/CommandStopped.h"

namespace Tessaril {
namespace {

class LoggingCommand : public CommandBase {
 public:
  using CommandBase::CommandBase;

  void execute() override { calls += "execute "; }
  void undo() override { calls += "undo "; }
  void rename(std::string text) { setDescription(std::move(text)); }

  std::string calls;
};

class TranslatedCommand : public LoggingCommand {
 public:
  std::string getDescription() const override { return "Schritt"; }
};

static_assert(std::is_nothrow_move_constructible_v<LoggingCommand>);
static_assert(std::is_nothrow_move_assignable_v<LoggingCommand>);
static_assert(!std::is_copy_constructible_v<LoggingCommand>);
static_assert(!std::is_copy_assignable_v<LoggingCommand>);

TEST(CommandBaseTest, AnswersItsDefaults) {
  const LoggingCommand command("Cut teeth");
  EXPECT_EQ(command.getDescription(), "Cut teeth");
  EXPECT_EQ(command.getLogDescription(), "Cut teeth");
  EXPECT_EQ(command.getSpeedRate(), LegacyProgress::Speed::Normal);
  EXPECT_TRUE(command.isRedoCapable());
  EXPECT_EQ(LoggingCommand().getDescription(), "");
}

TEST(CommandBaseTest, RedoExecutesAgain) {
  LoggingCommand command;
  command.execute();
  command.undo();
  command.redo();
  EXPECT_EQ(command.calls, "execute undo execute ");
}

TEST(CommandBaseTest, LogDescriptionIsWhatWasGivenElseTheDescription) {
  LoggingCommand command("Cut teeth");
  command.setLogDescription("cut #3");
  EXPECT_EQ(command.getLogDescription(), "cut #3");
  EXPECT_EQ(command.getDescription(), "Cut teeth");
  command.setLogDescription("");
  EXPECT_EQ(command.getLogDescription(), "Cut teeth");
}

TEST(CommandBaseTest, LogDescriptionFollowsAnOverriddenDescription) {
  const TranslatedCommand command;
  EXPECT_EQ(command.getLogDescription(), "Schritt");
}

TEST(CommandBaseTest, ADerivedCommandMayRenameItself) {
  LoggingCommand command("before");
  command.rename("after");
  EXPECT_EQ(command.getDescription(), "after");
  EXPECT_EQ(command.getLogDescription(), "after");
}

TEST(CommandBaseTest, EachCommandHasAProgressOfItsOwn) {
  const LoggingCommand one;
  const LoggingCommand other;
  ASSERT_NE(one.getProgressPtr(), nullptr);
  EXPECT_NE(one.getProgressPtr(), other.getProgressPtr());
  one.getProgressPtr()->setValue(30.0);
  EXPECT_EQ(other.getProgressPtr()->getValue(), 0.0);
}

TEST(CommandBaseTest, MovesTakeTextAndProgressAlong) {
  LoggingCommand source("Cut teeth");
  source.setLogDescription("cut #3");
  LegacyProgress* const progress = source.getProgressPtr();
  progress->setValue(30.0);

  LoggingCommand constructed(std::move(source));
  EXPECT_EQ(constructed.getDescription(), "Cut teeth");
  EXPECT_EQ(constructed.getLogDescription(), "cut #3");
  EXPECT_EQ(constructed.getProgressPtr(), progress);
  EXPECT_EQ(source.getProgressPtr(), nullptr);  // NOLINT(bugprone-use-after-move)

  LoggingCommand assigned("other");
  assigned = std::move(constructed);
  EXPECT_EQ(assigned.getDescription(), "Cut teeth");
  EXPECT_EQ(assigned.getProgressPtr(), progress);
  EXPECT_EQ(assigned.getProgressPtr()->getValue(), 30.0);
}

TEST(CommandBaseTest, AMovedCommandStaysAPartOfItsMacrosProgress) {
  LegacyProgress whole;
  LoggingCommand source;
  whole.setSubProgress(source.getProgressPtr(), 50, 1);
  const LoggingCommand moved(std::move(source));
  moved.getProgressPtr()->finish();
  EXPECT_EQ(whole.getValue(), 50.0);
}

TEST(CommandStoppedTest, IsATsExceptionWithMessageAndPlace) {
  const int line = __LINE__ + 2;
  try {
    throw CommandStopped("stopped");
  } catch (const TsException& stopped) {
    EXPECT_STREQ(stopped.what(), "stopped");
    EXPECT_EQ(stopped.getMessage(), "stopped");
    EXPECT_EQ(static_cast<int>(stopped.getSourceLocation().line()), line);
  }
}

}  // namespace
}  // namespace Tessaril
