#include "examples/gear_pair/application/GearPairDesign.h"
#include "tessaril/persistence/ClassRegistration.h"

namespace GearPair {
namespace {

// At the load of this library. Programs that know nothing of a gear pair read a saved design as
// what every design is: an object of the parameter tree.
[[maybe_unused]] const bool kClassesAreKnown =
    Tessaril::registerBaseClass<Tessaril::Object, GearPairDesign>() &&
    Tessaril::registeredTypeId<DesignModule>() != 0;

}  // namespace
}  // namespace GearPair
