#pragma once

#include <string>

#include "examples/gear_pair/calculation/Mesh.h"
#include "examples/gear_pair/calculation/Strength.h"
#include "examples/gear_pair/calculation/Units.h"

namespace GearPair {

/// The whole design as plain text (UTF-8) with aligned columns, in the units of the system; ends
/// with a line that says whether the required safety is reached.
std::string writeReport(const Requirements& requirements, const ToothForm& pinion,
                        const ToothForm& wheel, const Mesh& mesh, const Strength& strength,
                        UnitSystem units);

}  // namespace GearPair
