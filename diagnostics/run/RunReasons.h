#pragma once

#include <optional>
#include <string>
#include <vector>

#include "diagnostics/run/RunReport.h"

// Internal: what was done and why, in words that several outputs use.

namespace Tessaril::Diagnostics {

/// What is reported: "Update Design up to: Report", "Undo of Update Design up to: Report".
std::string titleOf(const RunReport& report);

/// "inactive, frozen" and so on: what usually keeps a module from being applied; empty for nothing.
std::string hindrances(const SnapshotFlags& flags);

/// "out of date", "up to date", "messages concern it: Units", and so on.
std::string needOf(const PolicyAnswers& answers, const SnapshotFlags& flags,
                   const std::vector<MessageNote>& messages);

/// Why a module is not auto-applied: "no auto apply is needed".
std::string noAutoApplyReason(const PolicyAnswers& answers, const SnapshotFlags& flags,
                              bool messagesTravel);

/// The last part of a module's class name or of a message's: "Units" for "Gears::Units".
std::string shortName(const std::string& qualified);
/// "Units, Loads (global)"; of many messages the first ones.
std::string joinedNames(const std::vector<MessageNote>& messages);

/// Fills in the reason of each step, and tells what was not reached from what cannot be known.
/// Requires: the steps are complete, the modules answer for the end of the run.
void explainSteps(RunReport& report);

}  // namespace Tessaril::Diagnostics
