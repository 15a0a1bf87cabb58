#include "diagnostics/run/ProgressModel.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace Tessaril::Diagnostics {
namespace {

using Speed = LegacyProgress::Speed;

constexpr std::size_t kMostListed = 4'000'000;
/// So many links are followed to find what is to be listed.
constexpr std::size_t kMostFollowed = 16'000'000;

}  // namespace

ProgressModel::ProgressModel(const Links& next, const std::vector<bool>& isApplied)
    : nodes(next.size()) {
  for (std::size_t node = 0; node < nodes.size(); ++node) {
    if (isApplied[node]) {
      nodes[node].number = applied.size();
      applied.push_back(node);
    }
  }
  findFollowers(next);
}

void ProgressModel::findFollowers(const Links& next) {
  for (std::size_t i = nodes.size(); i-- > 0;) {
    const bool leadsOnlyOn = next[i].size() == 1 && next[i].front() > i;
    if (leadsOnlyOn) {
      nodes[i].heir = next[i].front();
    } else if ((listed > kMostListed || followed > kMostFollowed) && i + 1 < nodes.size()) {
      nodes[i].heir = i + 1;
    } else {
      nodes[i].followers = listFollowers(next, i);
      listed += nodes[i].followers.size();
    }
  }
}

std::vector<std::size_t> ProgressModel::listFollowers(const Links& next, std::size_t node) {
  std::vector<std::size_t> followers;
  std::vector<bool> isMet(nodes.size(), false);
  isMet[node] = true;
  std::vector<std::size_t> pending = next[node];
  while (!pending.empty()) {
    const std::size_t met = pending.back();
    pending.pop_back();
    ++followed;
    if (isMet[met]) {
      continue;
    }
    isMet[met] = true;
    if (nodes[met].number) {
      followers.push_back(*nodes[met].number);
    }
    pending.insert(pending.end(), next[met].begin(), next[met].end());
  }
  return followers;
}

/// From the last module to the first: hands `settle` the number of each applied module and the sum
/// of those that follow it; `add` adds a module to a sum.
template <typename Sum, typename Settle, typename Add>
void ProgressModel::foldFromEnd(const Settle& settle, const Add& add) const {
  std::vector<Sum> sums(nodes.size());
  for (std::size_t i = nodes.size(); i-- > 0;) {
    const Node& node = nodes[i];
    if (node.heir) {
      sums[i] = sums[*node.heir];
    }
    for (const std::size_t follower : node.followers) {
      add(sums[i], follower);
    }
    if (node.number) {
      settle(*node.number, sums[i]);
      add(sums[i], *node.number);
    }
  }
}

std::vector<int> ProgressModel::marks(const std::vector<Rate>& rates) const {
  const auto add = [&rates](Speed& speed, std::size_t module) { speed.add(rates[module]); };
  std::vector<int> shares(size());
  foldFromEnd<Speed>(
      [&](std::size_t module, Speed speed) {
        add(speed, module);
        shares[module] = speed.getPartitionFromRate(rates[module]);
      },
      add);
  std::vector<int> marks;
  marks.reserve(size());
  int mark = 0;
  for (const int share : shares) {
    mark += (kLastMark - mark) * share / 100;
    marks.push_back(mark);
  }
  return marks;
}

double ProgressModel::error(const std::vector<Rate>& rates,
                            const std::vector<double>& times) const {
  const double total = std::accumulate(times.begin(), times.end(), 0.0);
  const std::vector<int> reached = marks(rates);
  double error = 0.0;
  double passed = 0.0;
  for (std::size_t i = 0; i < size() && total > 0.0; ++i) {
    passed += times[i];
    error = std::max(error, std::abs(reached[i] - kLastMark * passed / total));
  }
  return error;
}

// A share is true if it is the module's part of the time that is left. What is left of the time is
// that of all applies to come, also those of other branches; what a share is taken of are the
// weights of what follows the module. In a chain both are the same, and times are weights.
std::vector<double> ProgressModel::trueWeights(const std::vector<double>& times) const {
  std::vector<double> left(size(), 0.0);
  for (std::size_t i = size(); i-- > 1;) {
    left[i - 1] = left[i] + times[i];
  }
  std::vector<double> weights(size(), 0.0);
  foldFromEnd<double>(
      [&](std::size_t module, double behind) {
        const bool countsAlone = behind <= 0.0 || left[module] <= 0.0;
        weights[module] = countsAlone ? times[module] : behind * times[module] / left[module];
      },
      [&weights](double& sum, std::size_t module) { sum += weights[module]; });
  return weights;
}

}  // namespace Tessaril::Diagnostics
