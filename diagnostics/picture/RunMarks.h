#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace Tessaril::Diagnostics {

/// What the last run did with one module, as a picture shows it.
struct RunMark {
  /// A word or two, such as "applied", "auto-applied" or "signalled".
  std::string outcome;
  /// Draws the module as the place where the run went wrong.
  bool failed = false;
  /// Empty where nothing was measured.
  std::optional<std::chrono::nanoseconds> duration;
  /// Why, in one sentence. May be empty.
  std::string reason;
};

/// By the module's index in its snapshot. A module without a mark was not concerned by the run.
using RunMarks = std::map<std::size_t, RunMark>;

}  // namespace Tessaril::Diagnostics
