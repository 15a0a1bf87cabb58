#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tessaril/commands/ApplyCommand.h"
#include "tests/support/EventLog.h"

namespace Tessaril::TestSupport {

/// What commands change: named texts.
using Document = std::map<std::string, std::string>;

/// What a scripted command does. Callbacks may throw; they are called after the event was written.
struct CommandScript {
  /// Empty: the event name.
  std::string description{};
  std::string logDescription{};
  /// False: a plain CommandBase, without update messages, cache and undo type.
  bool hasData = true;
  int undoType = ApplyModuleDataInterface::DependentUndo;
  LegacyProgress::Speed::Rate speedRate = LegacyProgress::Speed::Normal;
  bool redoCapable = true;

  /// Gets the command's own messages; a plain command's are empty and lost.
  std::function<void(ApplyUpdateInfo&)> whenExecuted{};
  std::function<void(ApplyUpdateInfo&)> whenUndone{};
  std::function<void()> whenRedone{};
  std::function<void()> whenAskedForUndoType{};
  std::function<void()> whenDescribed{};
  std::function<void(LegacyProgress&)> whenRunning{};

  /// Where execute writes `name` := `value`, and from where undo takes it away again.
  Document* document = nullptr;
  std::string name{};
  std::string value{};
};

/// Makes a command that writes "<event>" when it is executed, or "<event>(m,n)" when it carries
/// messages, "<event>~" when it is undone and "<event>+" when it is redone.
std::shared_ptr<CommandBase> makeScriptedCommand(EventLog& log, const std::string& event,
                                                 CommandScript script);

/// The messages and the cache reference of a command that has them.
ApplyModuleDataInterface& dataOf(const std::shared_ptr<CommandBase>& command);

/// A command with data, whose cache reference a test may see.
class ScriptedApplyCommand : public ApplyCommand {
 public:
  ScriptedApplyCommand(EventLog& log, std::string event, CommandScript script);
  ScriptedApplyCommand(ScriptedApplyCommand&&) = default;
  ScriptedApplyCommand& operator=(ScriptedApplyCommand&&) = default;

  void redo() override;
  std::string getDescription() const override;
  LegacyProgress::Speed::Rate getSpeedRate() const override;
  bool isRedoCapable() const override;
  UndoType getUndoType() override;
  void doExecute(ApplyUpdateInfo& info) override;
  void doUndo(ApplyUpdateInfo& info) override;

  using ApplyModuleDataInterface::getApplyCache;

  CommandScript script;

 private:
  EventLog* eventLog;
  std::string event;
  std::optional<std::string> valueBefore;
};

}  // namespace Tessaril::TestSupport
