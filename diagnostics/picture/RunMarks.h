#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace Tessaril::Diagnostics {

struct GraphSnapshot;
struct RunReport;

/// What a run meant for a module.
enum class RunEffect {
  /// Nothing of the module was executed: it was told, looked at, or not reached.
  kNone,
  kExecuted,
  /// This is where the run went wrong.
  kFailed,
};

/// What the last run did with one module, as a picture shows it.
struct RunMark {
  /// A word or two, such as "applied", "auto-applied" or "signalled".
  std::string outcome;
  RunEffect effect = RunEffect::kNone;
  /// Empty where nothing was measured.
  std::optional<std::chrono::duration<double, std::micro>> duration;
  /// Why, in one sentence. May be empty.
  std::string reason;
};

/// By the module's index in its snapshot. A module without a mark was not concerned by the run.
using RunMarks = std::map<std::size_t, RunMark>;

/// What a report tells of the modules of a snapshot. A module counts as the one of the snapshot
/// that it is or, where one of the two has no module any more, that is called the same. Where
/// several things were done with a module, the mark names what was executed before what was only
/// decided, and an apply before a message; the duration is the sum of all.
RunMarks runMarksOf(const RunReport& report, const GraphSnapshot& snapshot);

}  // namespace Tessaril::Diagnostics
