#include <string>

#include "tessaril/module/ApplyFailure.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tessaril/persistence/RecordVersions.h"

namespace Tessaril {
namespace {

void requireParent(bool registered) {
  if (!registered) {
    throw ApplyFailure("Parent not registered");
  }
}

}  // namespace

void ApplyModule::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<ApplyModule>(
      "ApplyModule", 500002,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<ApplyModule*>(target.object)->load(archiver, target.version);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const ApplyModule*>(source.object)->save(archiver, source.version);
      });
}

void ApplyModule::save(PersistenceArchiver& archiver, unsigned int /*version*/) const {
  requireParent(s_parent_registered_for_save);
  writeNested<ModuleState>(archiver, *this);
  archiver << additionalModule;
  archiver.writeEnumeration(speedRate);
  writeNested(archiver, insertInfo);
}

void ApplyModule::load(PersistenceArchiver& archiver, unsigned int version) {
  requireParent(s_parent_registered_for_load);
  readNested<ModuleState>(archiver, *this);
  archiver >> additionalModule;
  if (version < RecordVersions::kTextsDropped) {
    std::string dropped;
    archiver >> dropped >> dropped;
  }
  archiver.readEnumeration(speedRate);
  loadInsertInfo(archiver, version);
  // Old records call the start of a fork, and nothing else, the start of a side chain; the flags of
  // the graphs stored with them rely on it.
  if (version < RecordVersions::kSideChainStartStored &&
      getInsertMode() == ApplyModuleInsertInfo::StartFork) {
    setStartOfSideChain(true);
  }
}

void ApplyModule::loadInsertInfo(PersistenceArchiver& archiver, unsigned int version) {
  if (version < RecordVersions::kInsertInfoStored) {
    return;
  }
  if (version >= RecordVersions::kInsertInfoFramed) {
    readNested(archiver, insertInfo);
    return;
  }
  ApplyModuleInsertInfo::ApplyGraphInsertMode mode = ApplyModuleInsertInfo::AddToChain;
  Identifier chainId;
  std::vector<Identifier> mergeChainIds;
  archiver.readEnumeration(mode);
  archiver >> chainId;
  readContainer(archiver, mergeChainIds);
  insertInfo.setInsertMode(mode);
  insertInfo.setChainId(chainId);
  insertInfo.setMergeChainIds(mergeChainIds);
}

bool ApplyModule::registerParent() { return registerBaseClass<ModuleState, ApplyModule>(); }

const unsigned int ApplyModule::s_serialization_type_id = registeredTypeId<ApplyModule>();
const bool ApplyModule::s_force_serialization_registration = s_serialization_type_id != 0;
const bool ApplyModule::s_parent_registered_for_save = registerParent();
const bool ApplyModule::s_parent_registered_for_load = registerParent();

}  // namespace Tessaril
