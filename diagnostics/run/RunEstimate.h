#pragma once

#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "diagnostics/run/RunRange.h"

namespace Tessaril::Diagnostics {

/// What an update would do with a module, as its answers stand now.
enum class Prospect {
  FullApply,
  AutoApply,
  /// Told that its state may have changed.
  SignalOnly,
  /// Looked at before the first full apply, and left as it is.
  PassedOver,
  NotReached,
};

/// "full apply", "auto apply", "signal only", "passed over", "not reached".
std::string prospectName(Prospect prospect);

/// One module of the range, in the order in which the update would look at it.
struct EstimatedStep {
  std::string name;
  /// Not kept alive by the estimate.
  std::weak_ptr<const ApplyModule> module;
  Place place = Place::OnTheWay;
  Prospect prospect = Prospect::NotReached;
  std::string reason;
  /// Something that the module depends on would be applied before it: by then it may answer
  /// otherwise. Index into RunEstimate::steps of the last of those.
  std::optional<std::size_t> mayChangeBy;
  PolicyAnswers answers;
  SnapshotFlags flags;
};

/// What an update would do, estimated from answers that were given before it.
struct RunEstimate {
  std::string start;
  std::string end;
  /// Empty for none.
  std::string horizon;
  /// Behind those that would be looked at, in the order of modulesOf(), those that would not.
  std::vector<EstimatedStep> steps;
};

struct EstimateOptions {
  /// See modulesOf().
  ModuleNaming nameModule{};
};

/// Asks every module of the range each question of an update, and goes through the update's
/// decisions with the answers.
///
/// A first estimate, no promise. It assumes that no messages travel, that every command is made,
/// succeeds and leaves its module consistent, that nobody stops the run, and that no answer changes
/// while it goes on. The last is where runs differ most: see EstimatedStep::mayChangeBy.
///
/// Changes nothing: no command is made, no signal sent, no flag set. Each module is asked each
/// question once, whatever the update would ask, and what a module throws goes to the caller. On
/// the graph's thread, as any walk. Throws std::invalid_argument when start or end is missing.
RunEstimate explainBefore(const RunRange& range, const EstimateOptions& options = {});
RunEstimate explainBefore(const std::shared_ptr<ApplyModule>& start,
                          const std::shared_ptr<ApplyModule>& end,
                          const std::shared_ptr<Object>& object = nullptr);

/// For people: a heading, one row a module.
std::string tableOf(const RunEstimate& estimate, std::size_t width = 100);
/// The same facts as data; docs/diagnostics.md lists the keys.
nlohmann::ordered_json toJson(const RunEstimate& estimate);

}  // namespace Tessaril::Diagnostics
