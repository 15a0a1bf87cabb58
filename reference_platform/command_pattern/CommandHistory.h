#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril::ReferencePlatform {

/// The executed commands of a session, which can be undone backwards and redone forwards.
///
/// Relies on the laws of commands: an operation that throws has changed nothing, so the history
/// stays as it was and the exception goes on. While one of its commands is running the history
/// refuses to be changed: execute, add, undo, redo, clear and setLimit then throw std::logic_error.
/// One thread at a time.
class TESSARIL_PLATFORM_EXPORT CommandHistory {
 public:
  static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

  /// `limit`: how many executed commands are kept at most; the oldest are forgotten first.
  explicit CommandHistory(std::size_t limit = kNoLimit);
  CommandHistory(const CommandHistory&) = delete;
  CommandHistory& operator=(const CommandHistory&) = delete;

  /// Executes and records a command; what could have been redone is forgotten. A command whose
  /// execute throws is not recorded. Null is ignored.
  void execute(std::shared_ptr<CommandBase> command);
  /// Records a command that has been executed already; otherwise as execute.
  void add(std::shared_ptr<CommandBase> command);
  /// Undoes the last executed command. One that is not redo-capable is forgotten thereby, and so is
  /// all that could have been redone after it. Throws std::logic_error when there is none.
  void undo();
  /// Redoes the command that was undone last. Throws std::logic_error when there is none.
  void redo();
  void clear();

  bool canUndo() const noexcept;
  bool canRedo() const noexcept;
  std::size_t getUndoCount() const noexcept;
  std::size_t getRedoCount() const noexcept;
  /// What undo and redo would act on; null when there is nothing.
  std::shared_ptr<CommandBase> getUndoCommand() const;
  std::shared_ptr<CommandBase> getRedoCommand() const;
  /// The descriptions of those commands; empty when there is nothing.
  std::string getUndoDescription() const;
  std::string getRedoDescription() const;

  std::size_t getLimit() const noexcept;
  /// Forgets the oldest executed commands beyond the limit at once, and, of those that could be
  /// redone, the ones furthest from being redone. A limit of 0 keeps nothing.
  void setLimit(std::size_t limit);

  /// Emitted after every change of what can be undone or redone.
  Signals::Connection connectToSigChanged(const Signals::Slot<void()>& slot) const;

 private:
  using Commands = std::vector<std::shared_ptr<CommandBase>>;

  void run(CommandBase& command, void (CommandBase::*operation)());
  void requireIdle() const;
  void record(std::shared_ptr<CommandBase> command);
  static void keepNewest(Commands& commands, std::size_t count);

  /// In the order of execution; the last is undone next.
  Commands executed;
  /// In the order of undoing; the last is redone next.
  Commands undone;
  std::size_t keptCommands;
  bool running = false;
  Signals::Signal<void()> sigChanged;
};

}  // namespace Tessaril::ReferencePlatform
