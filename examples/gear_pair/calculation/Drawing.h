#pragma once

#include <string>

#include "examples/gear_pair/calculation/CutterRack.h"
#include "examples/gear_pair/calculation/Mesh.h"
#include "examples/gear_pair/calculation/Units.h"

namespace GearPair {

/// A drawing of the pair in mesh as an SVG document: gears with bores and keyways, pitch and base
/// circles, line of action, the centre distance and a title block with the main figures, all of
/// them independent of the load. The geometry of the sheet is the same in every unit system.
std::string drawPair(const Requirements& requirements, const ToothForm& pinion,
                     const ToothForm& wheel, const Mesh& mesh,
                     UnitSystem units = UnitSystem::kMetric);

/// A drawing of the cutter's profile with its dimensions as an SVG document.
std::string drawCutterRack(const CutterRack& rack);

}  // namespace GearPair
