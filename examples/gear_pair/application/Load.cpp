#include "examples/gear_pair/application/Load.h"

namespace GearPair {

Load loadOf(const DesignInput& input) {
  return {input.torque, input.applicationFactor, input.requiredSafety};
}

DesignInput withLoad(DesignInput input, const Load& load) {
  input.torque = load.torque;
  input.applicationFactor = load.applicationFactor;
  input.requiredSafety = load.requiredSafety;
  return input;
}

}  // namespace GearPair
