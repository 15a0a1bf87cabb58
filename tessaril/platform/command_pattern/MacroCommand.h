#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/platform/command_pattern/CommandBase.h"

namespace Tessaril {

/// A command made of sub-commands, executed in list order and undone backwards.
///
/// execute: for each sub-command prepareExecute, executeCommand, finalizeExecute; when one of these
/// throws, the sub-commands executed so far (with the one whose finalizeExecute threw) are undone
/// backwards and the exception goes on. undo: undoCommand from last to first; when one throws,
/// those already undone are executed again forwards, without the hooks, and the exception goes on.
/// redo: each sub-command's redo in list order; when one throws, those already redone are undone
/// backwards. A step of such a roll-back that throws ends the roll-back and is logged at error
/// level; the first exception is the one that goes on.
///
/// Sub-commands' progress moves this command's progress by their speed rates; a sub-command that
/// ends without an exception covers its whole part, also when it never reports. Success finishes
/// this command's progress; after a failure it stays where it was. A sub-command that is added
/// while execute, undo or redo runs takes no part in that run: it counts as executed already.
class TESSARIL_PLATFORM_EXPORT MacroCommand : public CommandBase {
 public:
  /// What the progress is divided for.
  enum Prepare { Execute = 0, Undo = 1 };

  MacroCommand();
  explicit MacroCommand(std::string description);
  MacroCommand(MacroCommand&&) noexcept;
  MacroCommand& operator=(MacroCommand&&) noexcept;
  ~MacroCommand() override;

  void execute() override;
  void undo() override;
  void redo() override;
  /// The macro's own description; without one, that of its first sub-command.
  std::string getDescription() const override;
  /// The slowest rate among the sub-commands; the base's answer for an empty macro.
  LegacyProgress::Speed::Rate getSpeedRate() const override;
  /// True when every sub-command can be redone.
  bool isRedoCapable() const override;

  /// Appends a sub-command, which may have been executed already. Null is ignored.
  void addCommand(std::shared_ptr<CommandBase> command);
  bool empty() const noexcept;
  std::size_t size() const noexcept;
  /// The sub-commands in list order.
  const std::vector<std::shared_ptr<CommandBase>>& getCommands() const noexcept;

 protected:
  /// Called before and after each sub-command that execute runs. They do nothing here.
  virtual void prepareExecute(std::shared_ptr<CommandBase> command);
  virtual void finalizeExecute(std::shared_ptr<CommandBase> command);

  /// Sets this progress back to 0 and weighs the sub-commands by their speed rates, so that each
  /// executeCommand or undoCommand that follows gets its part. A macro whose list is filled while
  /// it runs keeps its progress as it is for Execute: whoever fills the list divides it.
  void prepareProgress(Prepare prepare);
  /// Executes one sub-command now, without the two hooks, its progress fitted into this one's. The
  /// sub-command's progress begins at 0. Null is ignored.
  void executeCommand(const std::shared_ptr<CommandBase>& command);
  /// Undoes one sub-command now, its progress fitted into this one's in the same way.
  void undoCommand(const std::shared_ptr<CommandBase>& command);

  void clearCommands() noexcept;
  /// Forgets how far execute, undo or redo has come in the list.
  void resetPosition() noexcept;

  /// True for a macro whose sub-commands are decided during the run; false after construction.
  bool listFilledWhileRunning = false;

 private:
  void divideProgress();
  void runFitted(CommandBase& command, void (CommandBase::*operation)());
  int progressMarkAfter(const CommandBase& command) const;

  std::vector<std::shared_ptr<CommandBase>> subCommands;
  LegacyProgress::Speed preparedSpeed;
  /// How many sub-commands have been started since prepareProgress or resetPosition.
  std::size_t startedSteps = 0;
};

}  // namespace Tessaril
