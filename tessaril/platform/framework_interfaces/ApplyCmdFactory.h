#pragma once

#include <memory>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class ApplyUpdateMessage;
class CommandBase;
class Object;

/// Makes the commands of one module, on the thread that asks for them. Each operation may answer
/// with an empty pointer: no command.
///
/// `object` is the design object that owns the graph; it may be empty when it is gone.
class TESSARIL_PLATFORM_EXPORT ApplyCmdFactory {
 public:
  virtual ~ApplyCmdFactory();

  /// Also asked for the sake of its description, and dropped then. Without a command for a module
  /// that needs one, an update ends.
  virtual std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> object) = 0;
  /// `mayRunAlone` is true off the way to the end of an update, where the module neither always
  /// updates nor shares resources nor leads to the horizon. An update executes the command at once
  /// either way.
  virtual std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> object,
                                                              bool mayRunAlone) = 0;
  virtual std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message, bool flag) = 0;

 protected:
  ApplyCmdFactory() = default;
  ApplyCmdFactory(const ApplyCmdFactory&) = default;
  ApplyCmdFactory& operator=(const ApplyCmdFactory&) = default;
};

}  // namespace Tessaril
