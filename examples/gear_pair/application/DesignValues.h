#pragma once

#include "examples/gear_pair/application/archive/MemberCount.h"
#include "examples/gear_pair/calculation/DesignInput.h"
#include "examples/gear_pair/calculation/Units.h"

namespace GearPair {

/// What the designer sets: the values of the design, and the units in which its texts are written.
///
/// Changed by commands only, and never while an update runs: the modules read it on the update's
/// own thread and hand copies to the steps that run on worker threads.
struct DesignValues {
  DesignInput input;
  UnitSystem units = UnitSystem::kMetric;
};

template <typename Visitor, Of<DesignValues> T>
void fields(Visitor& visitor, T& values) {
  visitor(values, values.input, values.units);
}

}  // namespace GearPair
