#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/platform/command_pattern/CommandBase.h"

namespace Tessaril::PlatformTests {

/// What happened to several commands, in one line.
class EventLog {
 public:
  void add(const std::string& event) { text += (text.empty() ? "" : " ") + event; }
  std::string take() { return std::exchange(text, {}); }

 private:
  std::string text;
};

/// Writes "+name" when executed, "-name" when undone, "^name" when redone, and then does what the
/// test has put into the operation's script.
class ScriptedCommand : public CommandBase {
 public:
  using Script = std::function<void()>;

  ScriptedCommand(std::string commandName, EventLog& eventLog)
      : CommandBase(commandName), name(std::move(commandName)), log(eventLog) {}

  void execute() override { perform("+", onExecute); }
  void undo() override { perform("-", onUndo); }
  void redo() override { perform("^", onRedo); }
  LegacyProgress::Speed::Rate getSpeedRate() const override { return rate; }
  bool isRedoCapable() const override { return redoCapable; }

  static void fail() { throw std::runtime_error("scripted failure"); }

  Script onExecute;
  Script onUndo;
  Script onRedo;
  LegacyProgress::Speed::Rate rate = LegacyProgress::Speed::Normal;
  bool redoCapable = true;

 private:
  void perform(const char* sign, const Script& script) {
    log.add(sign + name);
    if (script) {
      script();
    }
  }

  std::string name;
  EventLog& log;
};

}  // namespace Tessaril::PlatformTests
