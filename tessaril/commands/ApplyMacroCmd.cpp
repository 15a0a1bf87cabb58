#include "tessaril/commands/ApplyMacroCmd.h"

#include <source_location>
#include <utility>

#include "tessaril/commands/UndoPasses.h"

namespace Tessaril {

ApplyMacroCmd::ApplyMacroCmd() = default;

ApplyMacroCmd::ApplyMacroCmd(std::string commandDescription)
    : MacroCommand(std::move(commandDescription)) {}

// The data part has no move of its own, so it is copied.
ApplyMacroCmd::ApplyMacroCmd(ApplyMacroCmd&& other) = default;
ApplyMacroCmd& ApplyMacroCmd::operator=(ApplyMacroCmd&& other) = default;

ApplyMacroCmd::~ApplyMacroCmd() = default;

void ApplyMacroCmd::setUseCustomUndoOrder(bool custom) { useCustomUndoOrder = custom; }

bool ApplyMacroCmd::getUseCustomUndoOrder() const { return useCustomUndoOrder; }

void ApplyMacroCmd::prepareExecute(std::shared_ptr<CommandBase> cmd) {
  if (auto* data = dynamic_cast<ApplyModuleDataInterface*>(cmd.get())) {
    data->setUpdateInfo(getUpdateInfo().clone());
    data->setApplyCache(getApplyCache());
  }
}

void ApplyMacroCmd::finalizeExecute(std::shared_ptr<CommandBase> cmd) {
  if (auto* data = dynamic_cast<ApplyModuleDataInterface*>(cmd.get())) {
    setUpdateInfo(data->getUpdateInfo());
  }
}

// Unlike in an update, a failure of the second pass leaves the storage undos of the first pass as
// they are: the update that this macro is a part of decides about stored data.
void ApplyMacroCmd::undo() {
  if (!useCustomUndoOrder) {
    MacroCommand::undo();
    return;
  }
  const auto operation = std::source_location::current();
  const UndoPasses passes{getCommands(), [this](const auto& command) { undoCommand(command); },
                          [this](const auto& command) { executeCommand(command); }, "ApplyMacroCmd",
                          UndoPasses::RollForward::SecondPass};
  prepareProgress(MacroCommand::Undo);
  passes.undoStorageCommands(operation);
  passes.undoDependentCommands(operation);
  getProgressPtr()->finish();
}

}  // namespace Tessaril
