#include "tests/support/ScriptedCommand.h"

#include <utility>

#include "tests/support/ScriptedMessage.h"

namespace Tessaril::TestSupport {

namespace {

template <typename Callback, typename... Args>
void callIfSet(const Callback& callback, Args&... args) {
  if (callback) {
    callback(args...);
  }
}

std::string withMessages(const std::string& event, ApplyUpdateInfo& info) {
  const std::string names = messageNames(info);
  return names == "-" ? event : event + "(" + names + ")";
}

std::optional<std::string> valueIn(const Document& document, const std::string& name) {
  const auto entry = document.find(name);
  return entry == document.end() ? std::nullopt : std::optional(entry->second);
}

void write(Document& document, const std::string& name, const std::optional<std::string>& value) {
  if (value) {
    document[name] = *value;
  } else {
    document.erase(name);
  }
}

/// A command without module data.
class ScriptedPlainCommand : public CommandBase {
 public:
  ScriptedPlainCommand(EventLog& log, const std::string& event, CommandScript script)
      : CommandBase(event), behaviour(log, event, std::move(script)) {}

  void execute() override { behaviour.execute(); }
  void undo() override { behaviour.undo(); }
  void redo() override { behaviour.redo(); }
  std::string getDescription() const override { return behaviour.getDescription(); }
  LegacyProgress::Speed::Rate getSpeedRate() const override { return behaviour.getSpeedRate(); }
  bool isRedoCapable() const override { return behaviour.isRedoCapable(); }

 private:
  /// Its messages never leave it.
  ScriptedApplyCommand behaviour;
};

}  // namespace

ScriptedApplyCommand::ScriptedApplyCommand(EventLog& log, std::string eventText,
                                           CommandScript commandScript)
    : ApplyCommand(eventText),
      script(std::move(commandScript)),
      eventLog(&log),
      event(std::move(eventText)) {
  setLogDescription(script.logDescription);
}

void ScriptedApplyCommand::redo() {
  eventLog->add(EventKind::Step, event + "+");
  callIfSet(script.whenRedone);
  if (script.document != nullptr) {
    valueBefore = valueIn(*script.document, script.name);
    write(*script.document, script.name, script.value);
  }
}

std::string ScriptedApplyCommand::getDescription() const {
  callIfSet(script.whenDescribed);
  return script.description.empty() ? ApplyCommand::getDescription() : script.description;
}

LegacyProgress::Speed::Rate ScriptedApplyCommand::getSpeedRate() const { return script.speedRate; }

bool ScriptedApplyCommand::isRedoCapable() const { return script.redoCapable; }

ApplyModuleDataInterface::UndoType ScriptedApplyCommand::getUndoType() {
  eventLog->add(EventKind::UndoType, event + "?undoType");
  callIfSet(script.whenAskedForUndoType);
  return static_cast<UndoType>(script.undoType);
}

void ScriptedApplyCommand::doExecute(ApplyUpdateInfo& info) {
  eventLog->add(EventKind::Step, withMessages(event, info));
  callIfSet(script.whenRunning, *getProgressPtr());
  callIfSet(script.whenExecuted, info);
  if (script.document != nullptr) {
    valueBefore = valueIn(*script.document, script.name);
    write(*script.document, script.name, script.value);
  }
}

void ScriptedApplyCommand::doUndo(ApplyUpdateInfo& info) {
  eventLog->add(EventKind::Step, event + "~");
  callIfSet(script.whenUndone, info);
  if (script.document != nullptr) {
    write(*script.document, script.name, valueBefore);
  }
}

std::shared_ptr<CommandBase> makeScriptedCommand(EventLog& log, const std::string& event,
                                                 CommandScript script) {
  if (script.hasData) {
    return std::make_shared<ScriptedApplyCommand>(log, event, std::move(script));
  }
  const std::string logDescription = script.logDescription;
  auto command = std::make_shared<ScriptedPlainCommand>(log, event, std::move(script));
  command->setLogDescription(logDescription);
  return command;
}

ApplyModuleDataInterface& dataOf(const std::shared_ptr<CommandBase>& command) {
  return dynamic_cast<ApplyModuleDataInterface&>(*command);
}

}  // namespace Tessaril::TestSupport
