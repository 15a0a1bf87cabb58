#pragma once

#include <string>

namespace GearPair {

class GearPairDesign;

/// The figures a designer looks at first, in one line and in the design's unit system, as the
/// modules hold them at present; "not computed" where a module has no result.
std::string keyFigures(const GearPairDesign& design);

}  // namespace GearPair
