#pragma once

#include <memory>

namespace Tessaril {

class ApplyUpdateMessage;
class CommandBase;
class Object;

class ApplyCmdFactory {
 public:
  virtual ~ApplyCmdFactory() = default;

  virtual std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> object) = 0;
  virtual std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> object,
                                                              bool mayRunAlone) = 0;
  virtual std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message, bool flag) = 0;
};

}  // namespace Tessaril
