#pragma once

#include <string>

#include "examples/gear_pair/calculation/CutterRack.h"
#include "examples/gear_pair/calculation/Mesh.h"

namespace GearPair {

/// A drawing of the pair in mesh as an SVG document: gears with bores and keyways, pitch and base
/// circles, line of action, the centre distance and a title block with the main figures.
std::string drawPair(const Requirements& requirements, const ToothForm& pinion,
                     const ToothForm& wheel, const Mesh& mesh);

/// A drawing of the cutter's profile with its dimensions as an SVG document.
std::string drawCutterRack(const CutterRack& rack);

}  // namespace GearPair
