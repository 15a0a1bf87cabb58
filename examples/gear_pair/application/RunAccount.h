#pragma once

#include <map>
#include <string>

namespace Tessaril {
class CommandBase;
}

namespace GearPair {

class UpdateDesignCmd;

/// What the last command of a session did with each module, in words, by the name of the module. A
/// module that is not in it was left as it is.
using RunAccount = std::map<std::string, std::string>;

/// After an update: applied and where, auto-applied, failed and why, or signalled.
RunAccount accountOfUpdate(const UpdateDesignCmd& update);
/// After the undo or the redo of any command. Empty for a command that applies no module.
RunAccount accountOfUndo(const Tessaril::CommandBase& command);
RunAccount accountOfRedo(const Tessaril::CommandBase& command);
/// After a change: which modules answered the message of it.
RunAccount accountOfChange(const Tessaril::CommandBase& command);

}  // namespace GearPair
