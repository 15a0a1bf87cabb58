#include "diagnostics/run/CostReport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "diagnostics/run/RunJson.h"
#include "diagnostics/run/TextTable.h"

// How the truthful rates are found. The weights of the rates are steps of a ladder, and only their
// ratios count. Whatever scale turns times into weights, each module gets the rate whose weight is
// nearest to its scaled time; so the rates change only at the scales where some module's time
// crosses the middle between two weights, and one scale between each two of those is tried.

namespace Tessaril::Diagnostics {
namespace {

using Speed = LegacyProgress::Speed;
using Rate = Speed::Rate;

/// An update leaves the last percents of its progress to its end.
constexpr int kLastMark = 98;
/// Points of progress that are not worth a change of a rate.
constexpr double kTolerance = 2.0;
constexpr std::size_t kMostScales = 4000;
constexpr std::size_t kMostCopies = 1'000'000;
constexpr std::size_t kWidestName = 24;

int partition(const std::vector<Rate>& added, Rate rate) {
  Speed speed;
  for (const Rate one : added) {
    speed.add(one);
  }
  return speed.getPartitionFromRate(rate);
}

bool weighsNothing(Rate rate, const std::vector<RateChoice>& rates) {
  return std::all_of(rates.begin(), rates.end(), [rate](const RateChoice& other) {
    return other.rate == rate || partition({other.rate, rate}, other.rate) == 100;
  });
}

/// How many times `light` goes into `heavy`: as many copies as push it below one percent, in units
/// of the 99 that an equal weight would take.
double ratio(Rate heavy, Rate light) {
  Speed speed;
  speed.add(heavy);
  std::size_t copies = 0;
  while (copies < kMostCopies) {
    speed.add(light);
    if (speed.getPartitionFromRate(heavy) < 1) {
      break;
    }
    ++copies;
  }
  return static_cast<double>(copies) / 99.0;
}

std::optional<Rate> lightestOf(const std::vector<RateChoice>& rates) {
  std::optional<Rate> lightest;
  for (const RateChoice& choice : rates) {
    if (!weighsNothing(choice.rate, rates) &&
        (!lightest || partition({choice.rate, *lightest}, choice.rate) <
                          partition({choice.rate, *lightest}, *lightest))) {
      lightest = choice.rate;
    }
  }
  return lightest;
}

/// The progress at the end of each apply, as an update computes it.
std::vector<int> marksOf(const std::vector<Rate>& rates) {
  std::vector<int> shares(rates.size());
  Speed speed;
  for (std::size_t i = rates.size(); i-- > 0;) {
    speed.add(rates[i]);
    shares[i] = speed.getPartitionFromRate(rates[i]);
  }
  std::vector<int> marks;
  int mark = 0;
  for (const int share : shares) {
    mark += (kLastMark - mark) * share / 100;
    marks.push_back(mark);
  }
  return marks;
}

double errorOf(const std::vector<Rate>& rates, const std::vector<double>& times) {
  double total = 0.0;
  for (const double time : times) {
    total += time;
  }
  double error = 0.0;
  double passed = 0.0;
  const std::vector<int> marks = marksOf(rates);
  for (std::size_t i = 0; i < times.size() && total > 0.0; ++i) {
    passed += times[i];
    error = std::max(error, std::abs(marks[i] - kLastMark * passed / total));
  }
  return error;
}

class RateSearch {
 public:
  RateSearch(std::vector<Rate> presentRates, std::vector<double> meanTimes,
             const std::vector<RateChoice>& choices)
      : present(std::move(presentRates)), times(std::move(meanTimes)) {
    for (const RateChoice& choice : choices) {
      ladder.emplace_back(weightOf(choice, choices), choice.rate);
    }
    std::stable_sort(ladder.begin(), ladder.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    for (std::size_t i = 0; i + 1 < ladder.size(); ++i) {
      const double low = ladder[i].first;
      const double high = ladder[i + 1].first;
      middles.push_back(low > 0.0 ? std::sqrt(low * high) : high / 2.0);
    }
  }

  std::vector<Rate> find() const {
    std::vector<std::vector<Rate>> candidates{present};
    for (const double scale : scales()) {
      candidates.push_back(ratesFor(scale));
    }
    std::vector<double> errors;
    errors.reserve(candidates.size());
    for (const auto& candidate : candidates) {
      errors.push_back(errorOf(candidate, times));
    }
    const double bound = *std::min_element(errors.begin(), errors.end()) + kTolerance;
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
      if (errors[i] <= bound && (!best || changes(candidates[i]) < changes(candidates[*best]))) {
        best = i;
      }
    }
    return withoutNeedlessChanges(candidates[*best], bound);
  }

 private:
  std::vector<double> scales() const {
    std::vector<double> turns;
    for (const double time : times) {
      for (const double middle : middles) {
        if (time > 0.0 && middle > 0.0) {
          turns.push_back(middle / time);
        }
      }
    }
    std::sort(turns.begin(), turns.end());
    std::vector<double> result;
    const std::size_t stride = turns.size() / kMostScales + 1;
    for (std::size_t i = 0; i + 1 < turns.size(); i += stride) {
      result.push_back(std::sqrt(turns[i] * turns[i + 1]));
    }
    return result;
  }

  std::vector<Rate> ratesFor(double scale) const {
    std::vector<Rate> rates;
    for (const double time : times) {
      const auto above = std::upper_bound(middles.begin(), middles.end(), time * scale);
      rates.push_back(ladder[static_cast<std::size_t>(above - middles.begin())].second);
    }
    return rates;
  }

  std::size_t changes(const std::vector<Rate>& rates) const {
    std::size_t count = 0;
    for (std::size_t i = 0; i < rates.size(); ++i) {
      count += rates[i] == present[i] ? 0U : 1U;
    }
    return count;
  }

  std::vector<Rate> withoutNeedlessChanges(std::vector<Rate> rates, double bound) const {
    for (std::size_t i = 0; i < rates.size() && rates.size() <= kMostScales; ++i) {
      const Rate changed = std::exchange(rates[i], present[i]);
      if (changed != present[i] && errorOf(rates, times) > bound) {
        rates[i] = changed;
      }
    }
    return rates;
  }

  std::vector<Rate> present;
  std::vector<double> times;
  /// From light to heavy, and where one turns into the next.
  std::vector<std::pair<double, Rate>> ladder;
  std::vector<double> middles;
};

/// Gathers the full applies of several runs by the names of their modules.
class Costs {
 public:
  void add(const RunReport& report) {
    ++result.runs;
    for (const ReportedModule& module : report.modules) {
      if (module.place != Place::OnTheWay) {
        continue;
      }
      if (!module.speedRate) {
        throw std::invalid_argument("the cost of \"" + module.name +
                                    "\" cannot be judged: its speed rate was not recorded");
      }
      ModuleCost& cost = costOf(module.name);
      cost.rate = static_cast<Rate>(*module.speedRate);
      cost.module = module.module;
    }
    for (const RunStep& step : report.steps) {
      addStep(report, step);
    }
    runTime += report.duration;
    observe(report);
  }

  CostReport finish(const std::vector<RateChoice>& rates) {
    result.rates = rates;
    for (ModuleCost& cost : costs) {
      if (cost.applies == 0) {
        result.notMeasured.push_back(cost.name);
      } else {
        cost.mean /= static_cast<double>(cost.applies);
        result.modules.push_back(cost);
      }
    }
    result.autoApplyShare = runTime.count() > 0.0 ? 100.0 * autoTime / runTime : 0.0;
    judge();
    return std::move(result);
  }

 private:
  ModuleCost& costOf(const std::string& name) {
    const auto [place, isNew] = indices.emplace(name, costs.size());
    if (isNew) {
      costs.emplace_back().name = name;
    }
    return costs[place->second];
  }

  void addStep(const RunReport& report, const RunStep& step) {
    if (!step.duration || !step.failure.empty()) {
      return;
    }
    if (step.deed == Deed::AutoApply) {
      autoTime += *step.duration;
    } else if (step.deed == Deed::FullApply) {
      ModuleCost& cost = costOf(report.modules[step.module].name);
      cost.shortest = cost.applies == 0 ? *step.duration : std::min(cost.shortest, *step.duration);
      cost.longest = std::max(cost.longest, *step.duration);
      cost.mean += *step.duration;
      ++cost.applies;
    }
  }

  void observe(const RunReport& report) {
    Microseconds total{0.0};
    for (const RunStep& step : report.steps) {
      total += isMeasured(step) ? *step.duration : Microseconds(0.0);
    }
    Microseconds passed{0.0};
    for (const RunStep& step : report.steps) {
      if (isMeasured(step) && total.count() > 0.0) {
        passed += *step.duration;
        result.observedError = std::max(
            result.observedError, std::abs(*step.progressAfter - kLastMark * (passed / total)));
      }
    }
  }

  static bool isMeasured(const RunStep& step) {
    return step.deed == Deed::FullApply && step.duration && step.progressAfter &&
           step.failure.empty();
  }

  void judge() {
    std::vector<Rate> present;
    std::vector<double> times;
    double total = 0.0;
    for (const ModuleCost& cost : result.modules) {
      present.push_back(cost.rate);
      times.push_back(cost.mean.count());
      total += cost.mean.count();
    }
    const std::vector<Rate> truthful = RateSearch(present, times, result.rates).find();
    const std::vector<int> marks = marksOf(present);
    const std::vector<int> truthfulMarks = marksOf(truthful);
    for (std::size_t i = 0; i < result.modules.size(); ++i) {
      ModuleCost& cost = result.modules[i];
      cost.timeShare = total > 0.0 ? 100.0 * times[i] / total : 0.0;
      cost.barShare = stretch(marks, i);
      cost.truthfulBarShare = stretch(truthfulMarks, i);
      cost.truthfulRate = truthful[i];
    }
    result.error = errorOf(present, times);
    result.truthfulError = errorOf(truthful, times);
  }

  static double stretch(const std::vector<int>& marks, std::size_t i) {
    return 100.0 * (marks[i] - (i == 0 ? 0 : marks[i - 1])) / kLastMark;
  }

  CostReport result;
  std::vector<ModuleCost> costs;
  std::unordered_map<std::string, std::size_t> indices;
  Microseconds autoTime{0.0};
  Microseconds runTime{0.0};
};

}  // namespace

std::vector<RateChoice> defaultRates() {
  std::vector<RateChoice> rates;
  for (const char* const name : {"instant", "very fast", "fast", "normal", "slow", "very slow"}) {
    rates.push_back({static_cast<Rate>(rates.size()), name});
  }
  return rates;
}

double weightOf(const RateChoice& rate, const std::vector<RateChoice>& rates) {
  const std::optional<Rate> lightest = lightestOf(rates);
  if (!lightest || weighsNothing(rate.rate, rates)) {
    return 0.0;
  }
  return ratio(rate.rate, *lightest);
}

CostReport costReport(const std::vector<RunReport>& reports, const std::vector<RateChoice>& rates) {
  Costs costs;
  for (const RunReport& report : reports) {
    if (report.kind == RunReport::Kind::Run) {
      costs.add(report);
    }
  }
  return costs.finish(rates);
}

namespace {

std::string inDigits(const char* format, double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

std::string percent(double value) { return inDigits("%.0f %%", value); }
std::string points(double value) { return inDigits("%.0f", value) + " points"; }

std::string nameOf(Rate rate, const std::vector<RateChoice>& rates) {
  const auto found = std::find_if(rates.begin(), rates.end(),
                                  [rate](const RateChoice& choice) { return choice.rate == rate; });
  return found == rates.end() ? "rate " + std::to_string(static_cast<int>(rate)) : found->name;
}

std::string verdict(const ModuleCost& cost) {
  if (!cost.liesToProgress()) {
    return {};
  }
  return cost.barShare < cost.timeShare ? "counts too little" : "counts too much";
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

bool hasLiars(const CostReport& report) {
  return std::any_of(report.modules.begin(), report.modules.end(),
                     [](const ModuleCost& cost) { return cost.liesToProgress(); });
}

std::string summary(const CostReport& report) {
  std::string text =
      "Full applies in " + std::to_string(report.runs) + (report.runs == 1 ? " run: " : " runs: ");
  if (report.modules.empty()) {
    return text + "none was measured.";
  }
  text += "the progress is off by up to " + points(report.error);
  if (!hasLiars(report)) {
    return text + "; the rates are as true as rates can be.";
  }
  return text + "; with the true rates by up to " + points(report.truthfulError) + ".";
}

}  // namespace

std::string tableOf(const CostReport& report, std::size_t width) {
  using Align = TextTable::Align;
  TextTable table({{"module", Align::Left, kWidestName},
                   {"applied", Align::Right, 0},
                   {"mean time", Align::Right, 0},
                   {"of time", Align::Right, 0},
                   {"of bar", Align::Right, 0},
                   {"rate", Align::Left, 0},
                   {"true rate", Align::Left, 0},
                   {"verdict", Align::Left, 0}},
                  width);
  for (const ModuleCost& cost : report.modules) {
    table.addRow({cost.name, std::to_string(cost.applies), durationText(cost.mean),
                  percent(cost.timeShare), percent(cost.barShare), nameOf(cost.rate, report.rates),
                  cost.liesToProgress() ? nameOf(cost.truthfulRate, report.rates) : "",
                  verdict(cost)});
  }
  std::string text;
  const auto addLines = [&text, width](const std::string& words) {
    for (const std::string& line : brokenInto(width, words)) {
      text += line + "\n";
    }
  };
  addLines(summary(report));
  text += report.modules.empty() ? "" : "\n" + table.text();
  if (hasLiars(report)) {
    text += "\n";
    addLines("Rates count in relation to one another: change all of them, or none.");
  }
  if (report.autoApplyShare > 0.0) {
    text += "\n";
    addLines("Auto applies took " + percent(report.autoApplyShare) +
             " of the runs, during which the progress stands still.");
  }
  if (!report.notMeasured.empty()) {
    text += "\n";
    addLines("Not measured: " + joined(report.notMeasured));
  }
  return text;
}

nlohmann::ordered_json toJson(const CostReport& report) {
  using Json = nlohmann::ordered_json;
  Json modules = Json::array();
  for (const ModuleCost& cost : report.modules) {
    modules.push_back({{"module", cost.name},
                       {"applies", cost.applies},
                       {"meanMicroseconds", cost.mean.count()},
                       {"shortestMicroseconds", cost.shortest.count()},
                       {"longestMicroseconds", cost.longest.count()},
                       {"timeShare", cost.timeShare},
                       {"barShare", cost.barShare},
                       {"truthfulBarShare", cost.truthfulBarShare},
                       {"rate", static_cast<int>(cost.rate)},
                       {"truthfulRate", static_cast<int>(cost.truthfulRate)},
                       {"lies", cost.liesToProgress()}});
  }
  Json rates = Json::array();
  for (const RateChoice& choice : report.rates) {
    rates.push_back({{"rate", static_cast<int>(choice.rate)},
                     {"name", choice.name},
                     {"weight", weightOf(choice, report.rates)}});
  }
  return inUtf8({{"runs", report.runs},
                 {"error", report.error},
                 {"truthfulError", report.truthfulError},
                 {"observedError", report.observedError},
                 {"autoApplyShare", report.autoApplyShare},
                 {"modules", std::move(modules)},
                 {"notMeasured", report.notMeasured},
                 {"rates", std::move(rates)}});
}

}  // namespace Tessaril::Diagnostics
