#pragma once

#include <string>

#include "examples/gear_pair/application/RunAccount.h"

namespace GearPair {

class GearPairDesign;

/// All modules in graph order: name, chain, the five flags, and what the last command did with
/// each. Long sentences are broken so that lines stay within `width` characters where possible.
std::string moduleTable(const GearPairDesign& design, const RunAccount& account, int width);

}  // namespace GearPair
