#pragma once

#include <vector>

#include "diagnostics/run/CostReport.h"
#include "diagnostics/run/ProgressModel.h"

// Internal: which rates would make a progress true.

namespace Tessaril::Diagnostics {

/// The rates for which the progress of `model` comes closest to `times`; of rates that do so within
/// two points those with the fewest changes against `present`. One of each for each module.
std::vector<LegacyProgress::Speed::Rate> truthfulRates(
    const ProgressModel& model, const std::vector<LegacyProgress::Speed::Rate>& present,
    const std::vector<double>& times, const std::vector<RateChoice>& choices);

}  // namespace Tessaril::Diagnostics
