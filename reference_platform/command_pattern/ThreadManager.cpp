#include "tessaril/platform/command_pattern/ThreadManager.h"

namespace Tessaril {

ThreadManager::~ThreadManager() = default;

}  // namespace Tessaril
