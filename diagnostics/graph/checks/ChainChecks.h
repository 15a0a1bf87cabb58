#pragma once

#include <vector>

#include "diagnostics/graph/GraphFinding.h"

// Internal to the checker.

namespace Tessaril::Diagnostics {

/// What flags, insert modes and chain ids say, against the previous modules. Modules whose own
/// place or whose previous modules are not known are passed over. Appends the findings in the order
/// of the modules.
void checkChains(const GraphSnapshot& snapshot, std::vector<GraphFinding>& findings);

}  // namespace Tessaril::Diagnostics
