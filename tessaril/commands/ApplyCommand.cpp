#include "tessaril/commands/ApplyCommand.h"

#include <utility>

namespace Tessaril {

ApplyCommand::ApplyCommand(const std::string& commandDescription)
    : CommandBase(commandDescription) {}

// The data part has no move of its own, so it is copied.
ApplyCommand::ApplyCommand(ApplyCommand&& other) = default;
ApplyCommand& ApplyCommand::operator=(ApplyCommand&& other) = default;

ApplyCommand::~ApplyCommand() = default;

void ApplyCommand::execute() { doExecute(getUpdateInfo()); }

void ApplyCommand::undo() { doUndo(getUpdateInfo()); }

}  // namespace Tessaril
