#pragma once

#include <optional>
#include <string>
#include <vector>

#include "diagnostics/run/RunReport.h"

// Internal: why something was done, in words. Used by the estimate and by the report.

namespace Tessaril::Diagnostics {

/// "inactive, frozen" and so on: what usually keeps a module from being applied; empty for nothing.
std::string hindrances(const SnapshotFlags& flags);

/// "its result does not match its inputs", "messages concern it: Units", and so on.
std::string needOf(const PolicyAnswers& answers, const SnapshotFlags& flags,
                   const std::vector<MessageNote>& messages);

/// Why a module is not auto-applied: "no auto apply is needed".
std::string noAutoApplyReason(const PolicyAnswers& answers, const SnapshotFlags& flags,
                              bool messagesTravel);

/// The last part of a module's class name or of a message's: "Units" for "Gears::Units".
std::string shortName(const std::string& qualified);
std::string joinedNames(const std::vector<MessageNote>& messages);

/// Fills in the reason of each step. Requires: the steps are complete, the modules answer for the
/// end of the run.
void explainSteps(RunReport& report);

}  // namespace Tessaril::Diagnostics
