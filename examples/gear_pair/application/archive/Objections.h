#pragma once

#include <string>

#include "examples/gear_pair/calculation/ToothForm.h"

namespace GearPair {

// Why a value of a file cannot be one of a design, in half a sentence; empty when it can be. The
// checksum of a file says that it is what somebody has written, not that it makes sense. Asked for
// each value when it has been read.

/// A value that a designer could not have set either. The load may be missing as a whole: the
/// requirements are kept without theirs.
std::string objectionTo(const DesignInput& input);
/// The same, and the load must be there.
std::string objectionToLoaded(const DesignInput& input);
/// Requirements that do not follow from the values of their designer, up to rounding.
std::string objectionTo(const Requirements& requirements);
/// Teeth that have no flank or no place on their gear.
std::string objectionTo(const ToothForm& form);

/// There is nothing to object to the other values: only the steps behind them read their numbers.
template <typename T>
std::string objectionTo(const T& /*value*/) {
  return {};
}

}  // namespace GearPair
