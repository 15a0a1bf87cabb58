#include "diagnostics/run/CostReport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "diagnostics/run/ProgressModel.h"
#include "diagnostics/run/RunJson.h"
#include "diagnostics/run/TextTable.h"
#include "diagnostics/run/TruthfulRates.h"

namespace Tessaril::Diagnostics {
namespace {

using Rate = LegacyProgress::Speed::Rate;

constexpr int kLastMark = ProgressModel::kLastMark;
constexpr std::size_t kWidestName = 24;

/// Finds modules of one run among those of the runs before it: the same module by its address as
/// long as it lives, another one (of a design that was loaded again) by its name. Two modules of
/// one run are never the same.
class ModuleFinder {
 public:
  /// For each module of the report on the way its place in the order in which they were found.
  std::vector<std::optional<std::size_t>> placesOf(const RunReport& report) {
    std::vector<std::optional<std::size_t>> places(report.modules.size());
    ++runs;
    std::vector<bool> isTaken(count, false);
    for (std::size_t m = 0; m < places.size(); ++m) {
      if (report.modules[m].place == Place::OnTheWay) {
        places[m] = findLiving(report.modules[m]);
      }
      if (places[m]) {
        isTaken[*places[m]] = true;
      }
    }
    for (std::size_t m = 0; m < places.size(); ++m) {
      if (report.modules[m].place == Place::OnTheWay && !places[m]) {
        places[m] = findOrAdd(report.modules[m], isTaken);
      }
    }
    return places;
  }

 private:
  std::optional<std::size_t> findLiving(const ReportedModule& module) const {
    const auto place = byAddress.find(module.module.lock().get());
    return place == byAddress.end() ? std::nullopt : std::optional(place->second);
  }

  /// The modules of one name, and those first ones of them that the present run has taken.
  struct Namesakes {
    std::vector<std::size_t> places;
    std::size_t taken = 0;
    std::size_t run = 0;
  };

  std::size_t findOrAdd(const ReportedModule& module, std::vector<bool>& isTaken) {
    const std::size_t place = placeAmong(byName[module.name], isTaken);
    isTaken[place] = true;
    if (const auto living = module.module.lock()) {
      byAddress.emplace(living.get(), place);
    }
    return place;
  }

  std::size_t placeAmong(Namesakes& namesakes, std::vector<bool>& isTaken) {
    if (std::exchange(namesakes.run, runs) != runs) {
      namesakes.taken = 0;
    }
    const std::vector<std::size_t>& places = namesakes.places;
    while (namesakes.taken < places.size() && isTaken[places[namesakes.taken]]) {
      ++namesakes.taken;
    }
    if (namesakes.taken == places.size()) {
      isTaken.push_back(false);
      namesakes.places.push_back(count++);
    }
    return places[namesakes.taken];
  }

  std::size_t count = 0;
  std::size_t runs = 0;
  std::unordered_map<const ApplyModule*, std::size_t> byAddress;
  std::unordered_map<std::string, Namesakes> byName;
};

/// Gathers the full applies of several runs.
class Costs {
 public:
  /// Modules stand in the order of the longest run; what only others met stands behind.
  explicit Costs(std::vector<const RunReport*> theRuns) : runs(std::move(theRuns)) {
    std::vector<std::size_t> longestFirst(runs.size());
    for (std::size_t i = 0; i < runs.size(); ++i) {
      longestFirst[i] = i;
    }
    std::stable_sort(longestFirst.begin(), longestFirst.end(), [this](auto left, auto right) {
      return runs[left]->modules.size() > runs[right]->modules.size();
    });
    ModuleFinder finder;
    places.resize(runs.size());
    for (const std::size_t i : longestFirst) {
      places[i] = finder.placesOf(*runs[i]);
    }
  }

  CostReport report(const std::vector<RateChoice>& rates) {
    for (std::size_t i = 0; i < runs.size(); ++i) {
      addRun(*runs[i], places[i]);
    }
    result.runs = runs.size();
    result.rates = rates;
    result.autoApplyShare = runTime.count() > 0.0 ? 100.0 * autoTime / runTime : 0.0;
    judge();
    for (ModuleCost& cost : costs) {
      if (cost.applies == 0) {
        result.notMeasured.push_back(cost.name);
      } else {
        result.modules.push_back(std::move(cost));
      }
    }
    return std::move(result);
  }

 private:
  using Places = std::vector<std::optional<std::size_t>>;

  void addRun(const RunReport& run, const Places& placesOfRun) {
    for (std::size_t m = 0; m < run.modules.size(); ++m) {
      if (placesOfRun[m]) {
        addModule(run.modules[m], *placesOfRun[m]);
        addLinks(run.modules[m], *placesOfRun[m], placesOfRun);
      }
    }
    for (const RunStep& step : run.steps) {
      addStep(step, placesOfRun[step.module]);
    }
    runTime += run.duration;
    observe(run);
  }

  void addModule(const ReportedModule& module, std::size_t place) {
    if (!module.speedRate) {
      throw std::invalid_argument("the cost of \"" + module.name +
                                  "\" cannot be judged: its speed rate was not recorded");
    }
    costs.resize(std::max(costs.size(), place + 1));
    next.resize(costs.size());
    costs[place].name = module.name;
    costs[place].rate = static_cast<Rate>(*module.speedRate);
    costs[place].module = module.module;
  }

  void addLinks(const ReportedModule& module, std::size_t place, const Places& placesOfRun) {
    for (const std::size_t following : module.next) {
      if (const auto& other = placesOfRun[following]) {
        next[place].push_back(*other);
      }
    }
  }

  /// Several runs tell of the same links.
  void dropRepeatedLinks() {
    for (std::vector<std::size_t>& following : next) {
      std::sort(following.begin(), following.end());
      following.erase(std::unique(following.begin(), following.end()), following.end());
    }
  }

  void addStep(const RunStep& step, const std::optional<std::size_t>& place) {
    if (!step.duration || !step.failure.empty()) {
      return;
    }
    if (step.deed == Deed::AutoApply) {
      autoTime += *step.duration;
    } else if (step.deed == Deed::FullApply && place) {
      ModuleCost& cost = costs[*place];
      cost.shortest = cost.applies == 0 ? *step.duration : std::min(cost.shortest, *step.duration);
      cost.longest = std::max(cost.longest, *step.duration);
      ++cost.applies;
      cost.mean += (*step.duration - cost.mean) / static_cast<double>(cost.applies);
    }
  }

  void observe(const RunReport& run) {
    Microseconds total{0.0};
    for (const RunStep& step : run.steps) {
      total += isMeasured(step) ? *step.duration : Microseconds(0.0);
    }
    Microseconds passed{0.0};
    for (const RunStep& step : run.steps) {
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
    std::vector<bool> isApplied;
    std::vector<ModuleCost*> measured;
    std::vector<Rate> present;
    std::vector<double> times;
    double total = 0.0;
    for (ModuleCost& cost : costs) {
      isApplied.push_back(cost.applies > 0);
      if (isApplied.back()) {
        measured.push_back(&cost);
        present.push_back(cost.rate);
        times.push_back(cost.mean.count());
        total += times.back();
      }
    }
    dropRepeatedLinks();
    const ProgressModel model(next, isApplied);
    const std::vector<Rate> truthful = truthfulRates(model, present, times, result.rates);
    const std::vector<int> marks = model.marks(present);
    const std::vector<int> truthfulMarks = model.marks(truthful);
    for (std::size_t i = 0; i < measured.size(); ++i) {
      ModuleCost& cost = *measured[i];
      cost.timeShare = total > 0.0 ? 100.0 * times[i] / total : 0.0;
      cost.barShare = stretch(marks, i);
      cost.truthfulBarShare = stretch(truthfulMarks, i);
      cost.truthfulRate = truthful[i];
    }
    result.error = model.error(present, times);
    result.truthfulError = model.error(truthful, times);
  }

  static double stretch(const std::vector<int>& marks, std::size_t i) {
    return 100.0 * (marks[i] - (i == 0 ? 0 : marks[i - 1])) / kLastMark;
  }

  std::vector<const RunReport*> runs;
  /// For each run the places of its modules in `costs`.
  std::vector<Places> places;
  CostReport result;
  std::vector<ModuleCost> costs;
  ProgressModel::Links next;
  Microseconds autoTime{0.0};
  Microseconds runTime{0.0};
};

}  // namespace

CostReport costReport(const std::vector<RunReport>& reports, const std::vector<RateChoice>& rates) {
  std::vector<const RunReport*> runs;
  for (const RunReport& report : reports) {
    if (report.kind == RunReport::Kind::Run) {
      runs.push_back(&report);
    }
  }
  return Costs(std::move(runs)).report(rates);
}

namespace {

std::string inDigits(const char* format, double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

std::string percent(double value) { return inDigits("%.0f %%", value); }
std::string points(double value) {
  const std::string number = inDigits("%.0f", value);
  return number + (number == "1" ? " point" : " points");
}

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
