#include "tessaril/persistence/ApplyModuleData.h"

#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril {

ApplyModuleData::ApplyModuleData() = default;
ApplyModuleData::ApplyModuleData(const ApplyModuleData&) = default;
ApplyModuleData::ApplyModuleData(ApplyModuleData&&) noexcept = default;
ApplyModuleData& ApplyModuleData::operator=(const ApplyModuleData&) = default;
ApplyModuleData& ApplyModuleData::operator=(ApplyModuleData&&) noexcept = default;
ApplyModuleData::~ApplyModuleData() = default;

void ApplyModuleData::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<ApplyModuleData>(
      "ApplyModuleData", 500000,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<ApplyModuleData*>(target.object)->load(archiver, target.version);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const ApplyModuleData*>(source.object)->save(archiver, source.version);
      });
}

void ApplyModuleData::save(PersistenceArchiver& archiver, unsigned int /*version*/) const {
  writeNested(archiver, path);
  writeContainer(archiver, previousPaths);
  writeContainer(archiver, nextPaths);
  archiver << startOfSideChain;
}

void ApplyModuleData::load(PersistenceArchiver& archiver, unsigned int /*version*/) {
  readNested(archiver, path);
  readContainer(archiver, previousPaths);
  readContainer(archiver, nextPaths);
  archiver >> startOfSideChain;
}

const unsigned int ApplyModuleData::s_serialization_type_id = registeredTypeId<ApplyModuleData>();
const bool ApplyModuleData::s_force_serialization_registration = s_serialization_type_id != 0;

}  // namespace Tessaril
