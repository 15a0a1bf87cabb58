#pragma once

#include <string>
#include <vector>

#include "diagnostics/run/RunReport.h"

namespace Tessaril::Inspect {

/// The runs that an application recorded and kept as JSON: what toJson() makes of a RunReport, or a
/// list of those. Read is what the costs and the picture are made from: modules with their rates,
/// steps with what was done, when, for how long and why, and the progress. Throws InputError for a
/// file that holds anything else.
std::vector<Diagnostics::RunReport> readRuns(const std::string& file);

}  // namespace Tessaril::Inspect
