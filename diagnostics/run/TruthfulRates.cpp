#include "diagnostics/run/TruthfulRates.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

// How the rates are found:
//
// 1. With weights of any size the progress could be the time itself (ProgressModel::trueWeights).
//    Only their ratios count, and rates weigh no more than a few sizes, the steps of a ladder.
// 2. Whatever scale turns true weights into those of the ladder, each module gets the rate whose
//    weight is nearest; so the rates change only at the scales where some true weight crosses the
//    middle between two steps, and one scale between each two of those is tried.
// 3. The best rates that this gives are improved module by module, since rounding errors add up.
// 4. Of all that is good enough, what changes the fewest rates is taken, and changes that it does
//    well without are taken back.
//
// In large graphs fewer scales are tried, and the last two steps are left out.

namespace Tessaril::Diagnostics {
namespace {

using Rate = LegacyProgress::Speed::Rate;
using Rates = std::vector<Rate>;

/// Points of progress that are not worth a change of a rate.
constexpr double kTolerance = 2.0;
constexpr std::size_t kMostScales = 4000;
/// So many modules are counted for one search.
constexpr std::size_t kMostEffort = 20'000'000;
constexpr std::size_t kMostRounds = 4;

class RateSearch {
 public:
  RateSearch(const ProgressModel& progressModel, const Rates& presentRates,
             const std::vector<double>& meanTimes, const std::vector<RateChoice>& choices)
      : model(progressModel),
        present(presentRates),
        times(meanTimes),
        weights(progressModel.trueWeights(meanTimes)) {
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

  Rates find() const {
    const std::vector<double> tried = scales();
    Rates closest = present;
    double least = errorOf(present);
    std::vector<double> errors;
    errors.reserve(tried.size());
    for (const double scale : tried) {
      Rates rates = ratesFor(scale);
      errors.push_back(errorOf(rates));
      if (errors.back() < least) {
        least = errors.back();
        closest = std::move(rates);
      }
    }
    improve(closest, least);
    const double bound = least + kTolerance;
    Rates best = errorOf(present) <= bound ? present : closest;
    for (std::size_t i = 0; i < tried.size(); ++i) {
      if (errors[i] <= bound) {
        Rates rates = ratesFor(tried[i]);
        if (changes(rates) < changes(best)) {
          best = std::move(rates);
        }
      }
    }
    takeBackNeedlessChanges(best, bound);
    return best;
  }

 private:
  double errorOf(const Rates& rates) const { return model.error(rates, times); }

  bool isAffordable(std::size_t trials) const { return trials * model.effort() <= kMostEffort; }

  std::vector<double> scales() const {
    std::vector<double> turns;
    for (const double weight : weights) {
      for (const double middle : middles) {
        if (weight > 0.0 && middle > 0.0) {
          turns.push_back(middle / weight);
        }
      }
    }
    std::sort(turns.begin(), turns.end());
    turns.erase(std::unique(turns.begin(), turns.end()), turns.end());
    const std::size_t affordable = kMostEffort / std::max<std::size_t>(model.effort(), 1);
    const std::size_t most = std::clamp<std::size_t>(affordable, 1, kMostScales);
    const std::size_t stride = turns.size() / most + 1;
    std::vector<double> result;
    for (std::size_t i = 0; i + 1 < turns.size(); i += stride) {
      result.push_back(std::sqrt(turns[i] * turns[i + 1]));
    }
    return result;
  }

  Rates ratesFor(double scale) const {
    Rates rates;
    rates.reserve(weights.size());
    for (const double weight : weights) {
      const auto above = std::upper_bound(middles.begin(), middles.end(), weight * scale);
      rates.push_back(ladder[static_cast<std::size_t>(above - middles.begin())].second);
    }
    return rates;
  }

  std::size_t changes(const Rates& rates) const {
    std::size_t count = 0;
    for (std::size_t i = 0; i < rates.size(); ++i) {
      count += rates[i] == present[i] ? 0U : 1U;
    }
    return count;
  }

  void improve(Rates& rates, double& error) const {
    if (!isAffordable(kMostRounds * rates.size() * ladder.size())) {
      return;
    }
    bool isImproved = true;
    for (std::size_t round = 0; round < kMostRounds && isImproved; ++round) {
      isImproved = false;
      for (Rate& rate : rates) {
        isImproved = improveOne(rates, rate, error) || isImproved;
      }
    }
  }

  bool improveOne(const Rates& rates, Rate& rate, double& error) const {
    const double before = error;
    Rate best = rate;
    for (const auto& [weight, other] : ladder) {
      rate = other;
      if (const double tried = errorOf(rates); tried < error) {
        error = tried;
        best = other;
      }
    }
    rate = best;
    return error < before;
  }

  void takeBackNeedlessChanges(Rates& rates, double bound) const {
    if (!isAffordable(rates.size())) {
      return;
    }
    for (std::size_t i = 0; i < rates.size(); ++i) {
      const Rate changed = std::exchange(rates[i], present[i]);
      if (changed != present[i] && errorOf(rates) > bound) {
        rates[i] = changed;
      }
    }
  }

  const ProgressModel& model;
  const Rates& present;
  const std::vector<double>& times;
  /// What the modules ought to weigh.
  std::vector<double> weights;
  /// From light to heavy, and where one turns into the next.
  std::vector<std::pair<double, Rate>> ladder;
  std::vector<double> middles;
};

}  // namespace

std::vector<Rate> truthfulRates(const ProgressModel& model, const std::vector<Rate>& present,
                                const std::vector<double>& times,
                                const std::vector<RateChoice>& choices) {
  return RateSearch(model, present, times, choices).find();
}

}  // namespace Tessaril::Diagnostics
