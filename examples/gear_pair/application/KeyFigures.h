#pragma once

#include <string>

namespace GearPair {

class GearPairDesign;

/// The figures a designer looks at first, in three lines and in the design's unit system, as the
/// modules hold them at present. What the present values would change is marked as out of date.
std::string keyFigures(const GearPairDesign& design);

}  // namespace GearPair
