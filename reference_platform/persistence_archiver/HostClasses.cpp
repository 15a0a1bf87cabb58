#include "tessaril/platform/identifiers/Identifier.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/parameterization/Path.h"
#include "tessaril/platform/persistence_archiver/BaseClassRegister.h"

namespace Tessaril {
namespace {

template <typename T>
bool isRegistered() {
  BaseClassRegister descriptor;
  T::serialization_register(&descriptor);
  return descriptor.typeId != BaseClassRegister::kNoType;
}

/// The services' own classes are known from the load of their library on, and not only when one of
/// their objects is first written or read.
[[maybe_unused]] const bool hostClassesAreRegistered =
    isRegistered<Identifier>() && isRegistered<Path>() && isRegistered<Object>();

}  // namespace
}  // namespace Tessaril
