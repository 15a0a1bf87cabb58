#include <algorithm>
#include <optional>

#include "diagnostics/run/CostReport.h"

// What rates weigh, found out through the arithmetic of the host.

namespace Tessaril::Diagnostics {
namespace {

using Speed = LegacyProgress::Speed;
using Rate = Speed::Rate;

constexpr std::size_t kMostCopies = 1'000'000;

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

}  // namespace Tessaril::Diagnostics
