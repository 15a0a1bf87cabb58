#include "tessaril/platform/framework_interfaces/ApplyCacheInterface.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/framework_interfaces/ModuleStateInterface.h"

namespace Tessaril {

ApplyCacheInterface::~ApplyCacheInterface() = default;
ApplyCmdFactory::~ApplyCmdFactory() = default;
ApplyUpdateMessage::~ApplyUpdateMessage() = default;
ModuleStateInterface::~ModuleStateInterface() = default;

}  // namespace Tessaril
