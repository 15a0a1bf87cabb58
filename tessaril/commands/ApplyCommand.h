#pragma once

#include <string>

#include "tessaril/Export.h"
#include "tessaril/commands/ApplyModuleDataInterface.h"
#include "tessaril/platform/command_pattern/CommandBase.h"

namespace Tessaril {

/// A command that applies one module in one step. Derived commands do the step in doExecute and
/// take it back in doUndo.
///
/// An update hands the command a clone of its messages and its cache just before execute, and takes
/// the command's messages over when it has run. execute may run on a worker thread, while the
/// thread of the design waits; undo and redo run on the caller's. redo executes again.
class TESSARIL_APPLY_EXPORT ApplyCommand : public CommandBase, public ApplyModuleDataInterface {
 public:
  explicit ApplyCommand(const std::string& commandDescription);
  /// Moves the command, but copies messages and cache reference: `other` keeps them.
  ApplyCommand(ApplyCommand&& other);
  ApplyCommand& operator=(ApplyCommand&& other);
  ~ApplyCommand() override;

  /// doExecute(getUpdateInfo()).
  void execute() override;
  /// doUndo(getUpdateInfo()).
  void undo() override;

  /// Does the module's step, or throws a std::exception and leaves everything as it was. `info` is
  /// this command's own; what it holds afterwards goes on to the next command. Executed again, in a
  /// redo or after an undo that failed, the command finds what it left in `info` itself.
  virtual void doExecute(ApplyUpdateInfo& info) = 0;
  /// Takes the module's step back, or throws a std::exception and leaves it done. `info` is as
  /// doExecute left it.
  virtual void doUndo(ApplyUpdateInfo& info) = 0;
};

}  // namespace Tessaril
