#include "tessaril/commands/ApplyModuleDataInterface.h"

#include <utility>

namespace Tessaril {

ApplyModuleDataInterface::ApplyModuleDataInterface() = default;
ApplyModuleDataInterface::ApplyModuleDataInterface(const ApplyModuleDataInterface&) = default;
ApplyModuleDataInterface& ApplyModuleDataInterface::operator=(const ApplyModuleDataInterface&) =
    default;
ApplyModuleDataInterface::~ApplyModuleDataInterface() = default;

ApplyModuleDataInterface::UndoType ApplyModuleDataInterface::getUndoType() { return DependentUndo; }

ApplyUpdateInfo& ApplyModuleDataInterface::getUpdateInfo() { return updateInfo; }

void ApplyModuleDataInterface::setUpdateInfo(const ApplyUpdateInfo& info) { updateInfo = info; }

void ApplyModuleDataInterface::setApplyCache(std::weak_ptr<ApplyCacheInterface> cache) {
  applyCache = std::move(cache);
}

const std::weak_ptr<ApplyCacheInterface>& ApplyModuleDataInterface::getApplyCache() const {
  return applyCache;
}

}  // namespace Tessaril
