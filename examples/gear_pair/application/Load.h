#pragma once

#include "examples/gear_pair/application/archive/MemberCount.h"
#include "examples/gear_pair/calculation/DesignInput.h"

namespace GearPair {

/// The values that only the strength of the pair depends on. They are kept apart from the others,
/// so that a changed torque leaves the requirements, and all that is cut from them, as they are.
struct Load {
  /// Nominal torque on the pinion, Nm.
  double torque = 0.0;
  double applicationFactor = 1.0;
  double requiredSafety = 1.0;

  bool operator==(const Load&) const = default;
};

template <typename Visitor, Of<Load> T>
void fields(Visitor& visitor, T& load) {
  visitor(load, load.torque, load.applicationFactor, load.requiredSafety);
}

/// The load that a design input states.
Load loadOf(const DesignInput& input);

/// The input with that load in place of its own.
DesignInput withLoad(DesignInput input, const Load& load);

}  // namespace GearPair
