#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "tessaril/platform/progress/LegacyProgress.h"

// Internal: what the progress of an update goes through, computed without one.

namespace Tessaril::Diagnostics {

/// The progress of an update that applies some modules of its way, one after the other. Each apply
/// gets its module's share, in whole percent, among the module and those of them that follow it, of
/// what is left up to the last mark.
class ProgressModel {
 public:
  using Rate = LegacyProgress::Speed::Rate;
  using Links = std::vector<std::vector<std::size_t>>;

  /// An update leaves the last percents of its progress to its end.
  static constexpr int kLastMark = 98;

  /// `next`: for each module on the way, in the order in which an update visits them, those that
  /// follow it at once, by index. Only the applied ones are counted, and from here on numbered
  /// among themselves.
  ///
  /// What follows a fork is listed once for each fork. Where that would be many millions of
  /// modules, or take many millions of links to find, the forks left over are taken to be followed
  /// by everything behind them.
  ProgressModel(const Links& next, const std::vector<bool>& isApplied);

  std::size_t size() const { return applied.size(); }
  /// How many modules marks() counts.
  std::size_t effort() const { return nodes.size() + listed; }

  /// The progress at the end of each apply.
  std::vector<int> marks(const std::vector<Rate>& rates) const;
  /// The greatest distance, at the end of an apply, between the progress and the time that has
  /// passed by then.
  double error(const std::vector<Rate>& rates, const std::vector<double>& times) const;
  /// The weights with which the progress would be the time, if weights could be any numbers.
  std::vector<double> trueWeights(const std::vector<double>& times) const;

 private:
  /// What follows a module: what `heir` stands for, and that itself; or a list.
  struct Node {
    std::optional<std::size_t> number;
    std::optional<std::size_t> heir;
    std::vector<std::size_t> followers;
  };

  void findFollowers(const Links& next);
  std::vector<std::size_t> listFollowers(const Links& next, std::size_t node);
  template <typename Sum, typename Settle, typename Add>
  void foldFromEnd(const Settle& settle, const Add& add) const;

  std::vector<Node> nodes;
  /// The nodes that are applied, in order.
  std::vector<std::size_t> applied;
  std::size_t listed = 0;
  std::size_t followed = 0;
};

}  // namespace Tessaril::Diagnostics
