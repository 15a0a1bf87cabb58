#pragma once

#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "diagnostics/run/RunReport.h"
#include "tessaril/platform/progress/LegacyProgress.h"

namespace Tessaril::Diagnostics {

/// A speed rate that a module may have.
struct RateChoice {
  LegacyProgress::Speed::Rate rate;
  std::string name;
};

/// The six rates that our declaration of LegacyProgress names, 0 to 5. A host that names its rates
/// otherwise hands its own to costReport().
std::vector<RateChoice> defaultRates();

/// What a rate weighs, measured through Speed's public arithmetic: 1 for the lightest that weighs
/// anything, to within one percent for the others.
double weightOf(const RateChoice& rate, const std::vector<RateChoice>& rates);

/// What full applies of one module took.
struct ModuleCost {
  std::string name;
  std::weak_ptr<const ApplyModule> module;
  std::size_t applies = 0;
  Microseconds mean{0.0};
  Microseconds shortest{0.0};
  Microseconds longest{0.0};
  /// Percent of the sum of all means.
  double timeShare = 0.0;
  /// Percent of the way to the last mark of the progress, if all these modules are applied.
  double barShare = 0.0;
  double truthfulBarShare = 0.0;
  LegacyProgress::Speed::Rate rate = LegacyProgress::Speed::Rate{};
  /// With which the progress would be true.
  LegacyProgress::Speed::Rate truthfulRate = LegacyProgress::Speed::Rate{};

  bool liesToProgress() const { return rate != truthfulRate; }
};

struct CostReport {
  std::size_t runs = 0;
  /// In the order of the run that might have met the most modules, and behind them those of others.
  std::vector<ModuleCost> modules;
  /// On the way to the end, but without a full apply that succeeded in any of the runs.
  std::vector<std::string> notMeasured;
  /// The greatest distance between progress and time at the end of an apply, in percent points of
  /// the progress, for a run that applies all measured modules in their mean times.
  double error = 0.0;
  double truthfulError = 0.0;
  /// The greatest distance that the progress of an observed run had at the end of an apply from
  /// that run's own time.
  double observedError = 0.0;
  /// Percent of the runs' time that auto applies took, during which the progress stands still.
  double autoApplyShare = 0.0;
  std::vector<RateChoice> rates;
};

/// Compares what full applies took in the runs among `reports` (failed applies, undos and redos are
/// left out) with what the progress of an update makes of the modules' speed rates.
///
/// The progress is computed as an update computes it, with the host's own weights: each apply gets
/// its module's share, in whole percent, among the module and those that follow it on the way to
/// the end, of what is left up to 98. The truthful rates are those for which the marks come closest
/// to the times; of rates that do so within two points those with the fewest changes, so that a
/// measurement's noise changes no rate. With more than a hundred modules of like weight no rates
/// are truthful: a share below one percent counts as none. Modules that were not measured are left
/// out of all this, as nobody knows their times.
///
/// A module is recognised in several runs while it lives, and by its name when it has gone.
///
/// The more runs, the better: times of one run hold what else the machine did. A progress also
/// jumps at the end of a run where modules of the range needed no apply, whatever the rates are;
/// that shows in observedError only. Throws std::invalid_argument for a run that was recorded
/// without asking modules, as it does not know their rates.
CostReport costReport(const std::vector<RunReport>& reports,
                      const std::vector<RateChoice>& rates = defaultRates());

/// For people: what is wrong first, then one row a module.
std::string tableOf(const CostReport& report, std::size_t width = 100);
/// The same facts as data; docs/diagnostics.md lists the keys.
nlohmann::ordered_json toJson(const CostReport& report);

}  // namespace Tessaril::Diagnostics
