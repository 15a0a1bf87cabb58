#include "tests/persistence/Step.h"

#include <utility>

#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril::TestSupport {

Step::Step(std::string name) : Object(std::move(name)) {}
Step::~Step() = default;

void Step::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<Step>(
      "Test.Step", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<Step*>(target.object)->load(archiver, target.version);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const Step*>(source.object)->save(archiver, source.version);
      });
}

void Step::save(PersistenceArchiver& archiver, unsigned int /*version*/) const {
  writeNested<Object>(archiver, *this);
  writeNested<ApplyModule>(archiver, *this);
}

void Step::load(PersistenceArchiver& archiver, unsigned int /*version*/) {
  readNested<Object>(archiver, *this);
  readNested<ApplyModule>(archiver, *this);
}

const bool Step::s_force_serialization_registration =
    registerBaseClass<Object, Step>() && registerBaseClass<ApplyModule, Step>();

}  // namespace Tessaril::TestSupport
