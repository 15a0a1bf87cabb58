#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

// How findings speak. Internal to the checks.

namespace Tessaril::Diagnostics {

/// Fit for one line.
std::string nameOf(const GraphSnapshot& snapshot, std::size_t module);
/// "a", "a and b", "a, b and c"; of many the first ones: "a, b, c, d, e and 7 more".
std::string listed(const std::vector<std::string>& names);
std::string listed(const GraphSnapshot& snapshot, const std::vector<std::size_t>& modules);
/// "a -> b -> a"; of many modules the first and the last ones.
std::string cycleText(const GraphSnapshot& snapshot, const std::vector<std::size_t>& cycle);
/// "1 module", "2 modules".
std::string counted(std::size_t count, std::string_view noun);

}  // namespace Tessaril::Diagnostics
