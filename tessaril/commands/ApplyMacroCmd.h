#pragma once

#include <memory>
#include <string>

#include "tessaril/Export.h"
#include "tessaril/commands/ApplyModuleDataInterface.h"
#include "tessaril/platform/command_pattern/MacroCommand.h"

namespace Tessaril {

/// A command that applies one module in several sub-commands.
///
/// The update messages go from one sub-command to the next, as they go from module to module in an
/// update; the macro's own messages are those of its last sub-command that carries any. Each
/// sub-command gets the macro's reference to the apply cache. Undo goes backwards through the
/// sub-commands, or, in the custom undo order, in the two passes of an update: storage undos from
/// last to first, then all others from first to last. Undo and redo hand no messages out. execute
/// may run on a worker thread.
class TESSARIL_APPLY_EXPORT ApplyMacroCmd : public MacroCommand, public ApplyModuleDataInterface {
 public:
  ApplyMacroCmd();
  explicit ApplyMacroCmd(std::string commandDescription);
  /// Moves the macro with its sub-commands, but copies messages and cache reference.
  ApplyMacroCmd(ApplyMacroCmd&& other);
  ApplyMacroCmd& operator=(ApplyMacroCmd&& other);
  ~ApplyMacroCmd() override;

  /// Undoes the sub-commands, as MacroCommand::undo() unless the custom undo order is set. When one
  /// of them throws a std::exception in the custom undo order, it is logged, those of the same pass
  /// that were undone are executed again, and the exception goes on; when that fails as well, the
  /// rest stays undone and the later exception goes on. After a failure in the second pass the
  /// storage undos of the first pass stay undone.
  void undo() override;

  /// False after construction.
  void setUseCustomUndoOrder(bool custom);
  bool getUseCustomUndoOrder() const;

 protected:
  /// Hands the sub-command a clone of this command's messages, and the cache. A sub-command without
  /// module data is left alone.
  void prepareExecute(std::shared_ptr<CommandBase> cmd) override;
  /// Takes the sub-command's messages over, if it carries any.
  void finalizeExecute(std::shared_ptr<CommandBase> cmd) override;

 private:
  bool useCustomUndoOrder = false;
};

}  // namespace Tessaril
