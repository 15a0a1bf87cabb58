#pragma once

#include <memory>

#include "tessaril/Export.h"

namespace Tessaril {

class ApplyModule;
class ApplyUpdateMessage;
class CommandBase;
class MacroCommand;
class Object;

/// Turns an update message into commands: every module of a range is asked, in graph order, for a
/// command that handles the message.
///
/// `first` and `second` bound the range as in ApplyGraph::forSemanticOrderedModuleFullRange.
/// `object` is the design object that owns the graph; it is only handed on. Each module is given a
/// message object of its own. A command that carries update messages holds exactly one afterwards,
/// whatever it held before. What a message, module or command throws ends the walk and goes on to
/// the caller. Runs on the caller's thread. Requires: `message` is not null.
class TESSARIL_APPLY_EXPORT MessageCmdFactory {
 public:
  MessageCmdFactory& operator=(const MessageCmdFactory&) = default;
  MessageCmdFactory& operator=(MessageCmdFactory&&) = default;

  /// The commands in a new macro, none of them executed. Never null; empty when no module has a
  /// command for the message.
  static std::shared_ptr<MacroCommand> createUpdateMessageCommands(
      std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message,
      std::shared_ptr<ApplyModule> first, std::shared_ptr<ApplyModule> second);
  /// Executes each command as soon as it has been made, before the next module is asked, and
  /// answers with the executed commands in an ApplyMacroCmd with custom undo order. Each command
  /// carries a clone of `message` itself. When something throws, what was executed stays executed.
  static std::shared_ptr<MacroCommand> createAndExecuteUpdateMessageCommands(
      std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message,
      std::shared_ptr<ApplyModule> first, std::shared_ptr<ApplyModule> second);
  /// Appends the commands to `macro`. Each module gets a clone of the message that the module
  /// before it got, and its command carries a clone of that same message. When something throws,
  /// the commands added so far stay.
  static void addUpdateMessageCommands(std::shared_ptr<Object> object,
                                       std::shared_ptr<ApplyUpdateMessage> message,
                                       MacroCommand& macro, std::shared_ptr<ApplyModule> first,
                                       std::shared_ptr<ApplyModule> second);

 private:
  static void setUpdateInfo(std::shared_ptr<ApplyUpdateMessage> message,
                            std::shared_ptr<CommandBase> command);
};

}  // namespace Tessaril
