#include <gtest/gtest.h>

#include <algorithm>
#include <queue>

#include "diagnostics/run/VisitOrder.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using TestSupport::forSeeds;
using TestSupport::Random;
using Links = VisitOrder::Links;

/// The queue as it is described: what has to wait goes to the back when something else is taken.
class NaiveOrder {
 public:
  NaiveOrder(const Links& previous, const std::vector<bool>& isVisitedByIndex,
             VisitOrder::Scope theScope)
      : previousOf(previous), isVisited(isVisitedByIndex), scope(std::move(theScope)) {}

  void push(std::size_t module) { queue.push(module); }

  std::optional<std::size_t> takeNext() {
    std::vector<std::size_t> deferred;
    while (!queue.empty()) {
      const std::size_t module = queue.front();
      queue.pop();
      if (isVisited[module]) {
        continue;
      }
      if (!hasToWait(module)) {
        std::for_each(deferred.begin(), deferred.end(), [this](auto one) { queue.push(one); });
        return module;
      }
      deferred.push_back(module);
    }
    return std::nullopt;
  }

 private:
  bool hasToWait(std::size_t module) const {
    return std::any_of(previousOf[module].begin(), previousOf[module].end(),
                       [this](auto one) { return !isVisited[one] && scope.contains(one); });
  }

  const Links& previousOf;
  const std::vector<bool>& isVisited;
  VisitOrder::Scope scope;
  std::queue<std::size_t> queue;
};

struct RandomLinks {
  /// Every module but the first follows an earlier one. Now and then only one end knows of a link,
  /// or it leads back.
  RandomLinks(Random& random, std::size_t count) : next(count), previous(count) {
    for (std::size_t to = 0; to < count; ++to) {
      const std::size_t needed = to == 0 ? count : random.below(to);
      for (std::size_t from = 0; from < count; ++from) {
        if (from == needed || (from < to ? random.percent(8) : random.below(2000) == 0)) {
          next[from].push_back(to);
          if (!random.percent(3)) {
            previous[to].push_back(from);
          }
        }
      }
    }
  }

  Links next;
  Links previous;
};

TEST(VisitOrder, IsThatOfAQueueInWhichWhatHasToWaitGoesToTheBack) {
  std::size_t taken = 0;
  forSeeds(1000, [&taken](std::uint64_t seed) {
    Random random(seed);
    const std::size_t count = 1 + random.below(40);
    const RandomLinks links(random, count);
    std::vector<bool> isVisited(count, false);
    VisitOrder::Scope scope;
    for (std::size_t module = 0; module < count; ++module) {
      if (random.percent(90)) {
        scope.insert(module);
      }
    }
    NaiveOrder naive(links.previous, isVisited, scope);
    VisitOrder order(links.previous, isVisited, scope);
    const auto push = [&](std::size_t module) {
      naive.push(module);
      order.push(module);
    };
    const auto visit = [&](std::size_t module) {
      if (!isVisited[module]) {
        isVisited[module] = true;
        order.noteVisited(module);
      }
    };
    push(0);
    while (const auto module = naive.takeNext()) {
      ASSERT_EQ(order.takeNext(), module);
      ++taken;
      if (random.percent(10)) {
        visit(random.below(count));
      }
      visit(*module);
      for (const std::size_t following : links.next[*module]) {
        push(following);
      }
    }
    EXPECT_EQ(order.takeNext(), std::nullopt);
  });
  EXPECT_GT(taken, 10'000U);
}

TEST(VisitOrder, DropsWhatWasVisitedByOthers) {
  std::vector<bool> isVisited(3, false);
  const Links previous(3);
  VisitOrder order(previous, isVisited, {0, 1, 2});
  order.push(0);
  order.push(1);
  order.push(2);
  isVisited[0] = true;
  order.noteVisited(0);
  EXPECT_EQ(order.takeNext(), 1U);
}

// New entries come before what is still to be looked at in this round, behind what had to wait:
// between two entries there has to be room for any number of others.
TEST(VisitOrder, KeepsTheOrderOfAsManyAsFollowOneModule) {
  const std::size_t count = 20'000;
  const std::size_t waiting = count - 1;
  const std::size_t lastOfRound = count - 2;
  std::vector<bool> isVisited(count, false);
  Links previous(count);
  previous[waiting] = {waiting};
  VisitOrder order(previous, isVisited, {waiting});
  order.push(waiting);
  order.push(0);
  order.push(lastOfRound);
  EXPECT_EQ(order.takeNext(), 0U);
  for (std::size_t module = 1; module < lastOfRound; ++module) {
    order.push(module);
  }
  EXPECT_EQ(order.takeNext(), lastOfRound);
  for (std::size_t module = 1; module < lastOfRound; ++module) {
    ASSERT_EQ(order.takeNext(), module);
  }
  EXPECT_EQ(order.takeNext(), std::nullopt);
}

/// The last module of a long chain follows all of it, and waits once for each module.
TEST(VisitOrder, TakesLastWhatFollowsAllModulesOfALongChain) {
  const std::size_t count = 50'000;
  Links previous(count);
  VisitOrder::Scope scope;
  for (std::size_t module = 0; module < count; ++module) {
    scope.insert(module);
    if (module > 0) {
      previous[module].push_back(module - 1);
    }
    if (module + 2 < count) {
      previous[count - 1].push_back(module);
    }
  }
  std::vector<bool> isVisited(count, false);
  VisitOrder order(previous, isVisited, scope);
  order.push(0);
  for (std::size_t module = 0; module < count; ++module) {
    ASSERT_EQ(order.takeNext(), module);
    isVisited[module] = true;
    order.noteVisited(module);
    order.push(count - 1);
    if (module + 2 < count) {
      order.push(module + 1);
    }
  }
  EXPECT_EQ(order.takeNext(), std::nullopt);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
