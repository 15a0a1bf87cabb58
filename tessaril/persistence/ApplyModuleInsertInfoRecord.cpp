#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril {

void ApplyModuleInsertInfo::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<ApplyModuleInsertInfo>(
      "ApplyModuleInsertInfo", 500000,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<ApplyModuleInsertInfo*>(target.object)->load(archiver, target.version);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const ApplyModuleInsertInfo*>(source.object)->save(archiver, source.version);
      });
}

void ApplyModuleInsertInfo::save(PersistenceArchiver& archiver, unsigned int /*version*/) const {
  archiver.writeEnumeration(insertMode);
  archiver << chainId;
  writeContainer(archiver, mergeChainIds);
}

void ApplyModuleInsertInfo::load(PersistenceArchiver& archiver, unsigned int /*version*/) {
  archiver.readEnumeration(insertMode);
  archiver >> chainId;
  readContainer(archiver, mergeChainIds);
}

const unsigned int ApplyModuleInsertInfo::s_serialization_type_id =
    registeredTypeId<ApplyModuleInsertInfo>();
const bool ApplyModuleInsertInfo::s_force_serialization_registration = s_serialization_type_id != 0;

}  // namespace Tessaril
