#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <source_location>
#include <string>
#include <vector>

#include "tessaril/commands/ApplyModuleDataInterface.h"

// The two passes in which commands that apply modules are undone. Internal to the library.

namespace Tessaril {

class CommandBase;

/// What the command answers if it is an ApplyModuleDataInterface, else DependentUndo.
ApplyModuleDataInterface::UndoType undoTypeOf(const std::shared_ptr<CommandBase>& command);

/// One undo of the sub-commands of a macro, and what a failure in it does.
struct UndoPasses {
  using Command = std::shared_ptr<CommandBase>;

  /// What is executed again when the second pass fails.
  enum class RollForward {
    /// Only what the second pass has undone.
    SecondPass,
    /// What both passes have undone, so that the macro is in its executed state again.
    BothPasses,
  };

  const std::vector<Command>& commands;
  std::function<void(const Command&)> undo;
  std::function<void(const Command&)> execute;
  /// The source file that log records name.
  std::string file;
  RollForward rollForward;

  /// First pass: storage undos from the last command to the first. A std::exception is logged in
  /// the name of `operation`, what the pass has undone is executed again, and it goes on; a failure
  /// of that ends it and takes its place.
  void undoStorageCommands(const std::source_location& operation) const;
  /// Second pass: all others from the first command to the last; a failure in the same way.
  void undoDependentCommands(const std::source_location& operation) const;

 private:
  void logFailure(const Command& failed, const std::exception& failure,
                  const std::source_location& operation) const;
  void rollStorageForward(std::size_t firstIndex) const;
  void rollDependentForward(std::size_t failedIndex) const;
};

}  // namespace Tessaril
