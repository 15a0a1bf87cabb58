#include "tessaril/commands/UndoPasses.h"

#include <exception>

#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/logging/Logging.h"

namespace Tessaril {

namespace {

bool isStorageUndo(const std::shared_ptr<CommandBase>& command) {
  return undoTypeOf(command) == ApplyModuleDataInterface::StorageUndo;
}

}  // namespace

ApplyModuleDataInterface::UndoType undoTypeOf(const std::shared_ptr<CommandBase>& command) {
  auto* data = dynamic_cast<ApplyModuleDataInterface*>(command.get());
  return data == nullptr ? ApplyModuleDataInterface::DependentUndo : data->getUndoType();
}

void UndoPasses::undoStorageCommands(const std::source_location& operation) const {
  for (std::size_t i = commands.size(); i-- > 0;) {
    try {
      if (isStorageUndo(commands[i])) {
        undo(commands[i]);
      }
    } catch (const std::exception& failure) {
      logFailure(commands[i], failure, operation);
      rollStorageForward(i + 1);
      throw;
    }
  }
}

// Forwards: a dependent command computes its old result anew, and for that needs the old results of
// the commands before it.
void UndoPasses::undoDependentCommands(const std::source_location& operation) const {
  for (std::size_t i = 0; i < commands.size(); ++i) {
    try {
      if (!isStorageUndo(commands[i])) {
        undo(commands[i]);
      }
    } catch (const std::exception& failure) {
      logFailure(commands[i], failure, operation);
      rollDependentForward(i);
      throw;
    }
  }
}

void UndoPasses::logFailure(const Command& failed, const std::exception& failure,
                            const std::source_location& operation) const {
  Logging::logERROR("Undo of MacroCommand '" + failed->getLogDescription() +
                        "' failed with exception: " + failure.what(),
                    file, operation.function_name(), static_cast<int>(operation.line()));
}

void UndoPasses::rollStorageForward(std::size_t firstIndex) const {
  for (std::size_t i = firstIndex; i < commands.size(); ++i) {
    if (isStorageUndo(commands[i])) {
      execute(commands[i]);
    }
  }
}

void UndoPasses::rollDependentForward(std::size_t failedIndex) const {
  for (std::size_t i = 0; i < failedIndex; ++i) {
    if (rollForward == RollForward::BothPasses || !isStorageUndo(commands[i])) {
      execute(commands[i]);
    }
  }
  if (rollForward == RollForward::BothPasses) {
    rollStorageForward(failedIndex);
  }
}

}  // namespace Tessaril
