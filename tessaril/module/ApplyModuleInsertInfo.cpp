#include "tessaril/module/ApplyModuleInsertInfo.h"

namespace Tessaril {

ApplyModuleInsertInfo::ApplyModuleInsertInfo() : chainId(Identifier::getInvalidId()) {}
ApplyModuleInsertInfo::ApplyModuleInsertInfo(const ApplyModuleInsertInfo&) = default;
ApplyModuleInsertInfo& ApplyModuleInsertInfo::operator=(const ApplyModuleInsertInfo&) = default;
ApplyModuleInsertInfo::~ApplyModuleInsertInfo() = default;

ApplyModuleInsertInfo::ApplyGraphInsertMode ApplyModuleInsertInfo::getInsertMode() const {
  return insertMode;
}

void ApplyModuleInsertInfo::setInsertMode(ApplyGraphInsertMode mode) { insertMode = mode; }

const Identifier& ApplyModuleInsertInfo::getChainId() const { return chainId; }

void ApplyModuleInsertInfo::setChainId(const Identifier& id) { chainId = id; }

const std::vector<Identifier>& ApplyModuleInsertInfo::getMergeChainIds() const {
  return mergeChainIds;
}

void ApplyModuleInsertInfo::setMergeChainIds(const std::vector<Identifier>& ids) {
  mergeChainIds = ids;
}

const Identifier& ApplyModuleInsertInfo::getStartChainId() const {
  return mergeChainIds.empty() ? Identifier::getInvalidId() : mergeChainIds.front();
}

void ApplyModuleInsertInfo::setStartChainId(const Identifier& id) {
  if (id.isNull()) {
    mergeChainIds.clear();
    return;
  }
  // A copy first: `id` may refer into the list that is replaced.
  mergeChainIds = std::vector<Identifier>{id};
}

bool ApplyModuleInsertInfo::getTransferChains() const { return transferChains; }

void ApplyModuleInsertInfo::setTransferChains(bool transfer) { transferChains = transfer; }

}  // namespace Tessaril
