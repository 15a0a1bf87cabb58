#pragma once

namespace GearPair {

/// The argument between low and high at which a function changes its sign, to the resolution of a
/// double. The function has to have different signs at both ends; otherwise one of the ends
/// results.
template <typename Function>
double signChange(Function function, double low, double high) {
  const bool lowIsPositive = function(low) > 0.0;
  for (;;) {
    const double middle = low + (high - low) / 2;
    if (middle == low || middle == high) {
      return middle;
    }
    ((function(middle) > 0.0) == lowIsPositive ? low : high) = middle;
  }
}

}  // namespace GearPair
