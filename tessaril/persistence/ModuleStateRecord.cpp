#include "tessaril/module/ModuleState.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/RecordVersions.h"

namespace Tessaril {

void ModuleState::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<ModuleState>(
      "ModuleState", 500001,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<ModuleState*>(target.object)->load(archiver, target.version);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const ModuleState*>(source.object)->save(archiver, source.version);
      });
}

void ModuleState::save(PersistenceArchiver& archiver, unsigned int /*version*/) const {
  archiver << consistent << active << inputOk << frozen << skipped;
}

void ModuleState::load(PersistenceArchiver& archiver, unsigned int version) {
  const auto loadFlag = [&](bool& flag, bool stored) {
    if (stored) {
      archiver >> flag;
    } else {
      flag = false;
    }
  };
  archiver >> consistent >> active >> inputOk;
  loadFlag(frozen, version >= RecordVersions::kFrozenStored);
  loadFlag(skipped, version >= RecordVersions::kSkippedStored);
}

const unsigned int ModuleState::s_serialization_type_id = registeredTypeId<ModuleState>();
const bool ModuleState::s_force_serialization_registration = s_serialization_type_id != 0;

}  // namespace Tessaril
