#pragma once

#include <memory>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class ApplyUpdateMessage;
class CommandBase;
class Object;

/// Makes the commands of one module. Each operation may answer with an empty pointer: no command.
///
/// `object` is the design object that owns the graph; it may be empty when it is gone.
class TESSARIL_PLATFORM_EXPORT ApplyCmdFactory {
 public:
  virtual ~ApplyCmdFactory();

  virtual std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> object) = 0;
  /// `mayRunAlone` is true where the command runs outside the way to the end of an update and
  /// shares no resources.
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
