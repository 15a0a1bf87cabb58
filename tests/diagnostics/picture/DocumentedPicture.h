#pragma once

#include <iosfwd>

#include "diagnostics/graph/GraphSnapshot.h"
#include "diagnostics/run/RunReport.h"

namespace Tessaril::Diagnostics {

void drawGraph(const GraphSnapshot& snapshot, const RunReport& lastRun, std::ostream& out);

}  // namespace Tessaril::Diagnostics
