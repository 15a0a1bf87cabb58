#pragma once

#include <string>

namespace GearPair {

class GearPairDesign;

/// Why a design that was read from a file cannot be one that was saved, in one phrase; empty when
/// it can be: its modules stand in the graph where those of every design stand, with nothing below
/// them, and their flags follow from what they hold.
std::string objectionToDesign(const GearPairDesign& design);

}  // namespace GearPair
