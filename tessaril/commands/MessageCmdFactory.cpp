#include "tessaril/commands/MessageCmdFactory.h"

#include "tessaril/commands/ApplyMacroCmd.h"
#include "tessaril/commands/ApplyModuleDataInterface.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/command_pattern/MacroCommand.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {

std::shared_ptr<MacroCommand> MessageCmdFactory::createUpdateMessageCommands(
    std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message,
    std::shared_ptr<ApplyModule> first, std::shared_ptr<ApplyModule> second) {
  auto macro = std::make_shared<MacroCommand>();
  addUpdateMessageCommands(object, message, *macro, first, second);
  return macro;
}

void MessageCmdFactory::addUpdateMessageCommands(std::shared_ptr<Object> object,
                                                 std::shared_ptr<ApplyUpdateMessage> message,
                                                 MacroCommand& macro,
                                                 std::shared_ptr<ApplyModule> first,
                                                 std::shared_ptr<ApplyModule> second) {
  const auto addCommandOf = [&](const std::shared_ptr<ApplyModule>& module, bool /*outside*/) {
    // Clones of clones: the caller's message object is never handed out.
    message = message->clone();
    const auto command = module->createMessageHandlingCmd(object, message, false);
    setUpdateInfo(message, command);
    if (command != nullptr) {
      macro.addCommand(command);
    }
    return true;
  };
  ApplyGraph::forSemanticOrderedModuleFullRange(addCommandOf, first, second);
}

std::shared_ptr<MacroCommand> MessageCmdFactory::createAndExecuteUpdateMessageCommands(
    std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message,
    std::shared_ptr<ApplyModule> first, std::shared_ptr<ApplyModule> second) {
  auto macro = std::make_shared<ApplyMacroCmd>();
  macro->setUseCustomUndoOrder(true);
  const auto executeCommandOf = [&](const std::shared_ptr<ApplyModule>& module, bool /*outside*/) {
    const auto command = module->createMessageHandlingCmd(object, message->clone(), false);
    // The caller's message, not the module's: whatever the module did to its copy while it made the
    // command, every command starts from the message as it was sent.
    setUpdateInfo(message, command);
    if (command != nullptr) {
      command->execute();
      macro->addCommand(command);
    }
    return true;
  };
  ApplyGraph::forSemanticOrderedModuleFullRange(executeCommandOf, first, second);
  return macro;
}

void MessageCmdFactory::setUpdateInfo(std::shared_ptr<ApplyUpdateMessage> message,
                                      std::shared_ptr<CommandBase> command) {
  if (auto* data = dynamic_cast<ApplyModuleDataInterface*>(command.get())) {
    data->setUpdateInfo(ApplyUpdateInfo({message->clone()}));
  }
}

}  // namespace Tessaril
