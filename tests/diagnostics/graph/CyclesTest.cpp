#include <gmock/gmock.h>

#include <limits>

#include "diagnostics/graph/links/Cycles.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::Random;

constexpr std::size_t kFar = std::numeric_limits<std::size_t>::max() / 4;
using Distances = std::vector<std::vector<std::size_t>>;

/// How many links lead from each module to each other one and, around a cycle, to itself.
Distances distancesOf(const Adjacency& successors) {
  const std::size_t count = successors.size();
  Distances distance(count, std::vector<std::size_t>(count, kFar));
  for (std::size_t from = 0; from < count; ++from) {
    for (const std::size_t to : successors[from]) {
      distance[from][to] = 1;
    }
  }
  for (std::size_t by = 0; by < count; ++by) {
    for (std::size_t from = 0; from < count; ++from) {
      for (std::size_t to = 0; to < count; ++to) {
        distance[from][to] = std::min(distance[from][to], distance[from][by] + distance[by][to]);
      }
    }
  }
  return distance;
}

std::vector<std::vector<std::size_t>> literalParts(const Distances& distance) {
  std::vector<std::vector<std::size_t>> parts;
  std::vector<bool> isTaken(distance.size(), false);
  for (std::size_t first = 0; first < distance.size(); ++first) {
    std::vector<std::size_t> part;
    for (std::size_t other = first; other < distance.size(); ++other) {
      if (!isTaken[other] && distance[first][other] < kFar && distance[other][first] < kFar) {
        part.push_back(other);
        isTaken[other] = true;
      }
    }
    if (!part.empty()) {
      parts.push_back(part);
    }
  }
  return parts;
}

Adjacency randomLinks(Random& random, std::size_t count, unsigned percent) {
  Adjacency successors(count);
  for (std::size_t from = 0; from < count; ++from) {
    for (std::size_t to = 0; to < count; ++to) {
      if (from != to && random.percent(percent)) {
        successors[from].push_back(to);
      }
    }
  }
  return successors;
}

std::size_t shortestLength(const std::vector<std::size_t>& part, const Distances& distance) {
  std::size_t length = kFar;
  for (const std::size_t module : part) {
    length = std::min(length, distance[module][module]);
  }
  return length;
}

void expectCycle(const std::vector<std::size_t>& cycle, const std::vector<std::size_t>& part,
                 const Adjacency& successors) {
  EXPECT_EQ(cycle.front(), *std::min_element(cycle.begin(), cycle.end()));
  for (std::size_t place = 0; place < cycle.size(); ++place) {
    EXPECT_THAT(part, ::testing::Contains(cycle[place]));
    EXPECT_THAT(successors[cycle[place]], ::testing::Contains(cycle[(place + 1) % cycle.size()]));
  }
}

TEST(CyclesTest, agreeWithDistancesBetweenAllModules) {
  std::size_t cyclesFound = 0;
  TestSupport::forSeeds(3000, [&](std::uint64_t seed) {
    Random random(seed);
    const std::size_t count = 1 + random.below(14);
    const Adjacency successors =
        randomLinks(random, count, static_cast<unsigned>(3 + random.below(20)));
    const Distances distance = distancesOf(successors);
    const auto parts = cyclicParts(successors);
    ASSERT_EQ(parts, literalParts(distance));
    for (const auto& part : parts) {
      const auto cycle = shortCycleIn(part, successors);
      ASSERT_EQ(cycle.size(), shortestLength(part, distance));
      expectCycle(cycle, part, successors);
      ++cyclesFound;
    }
  });
  EXPECT_GT(cyclesFound, 1000U);
}

TEST(CyclesTest, twoModulesThatLeadToEachOtherAreTheShortest) {
  const Adjacency successors{{1}, {2}, {3, 1}, {0}};
  EXPECT_THAT(cyclicParts(successors), ElementsAre(ElementsAre(0U, 1U, 2U, 3U)));
  EXPECT_THAT(shortCycleIn({0, 1, 2, 3}, successors), ElementsAre(1U, 2U));
}

TEST(CyclesTest, aModuleAloneIsNoCycle) { EXPECT_THAT(cyclicParts({{0}, {0}}), IsEmpty()); }

constexpr std::size_t kMany = 200'000;

TEST(CyclesTest, aLongRingIsFoundWithoutRecursion) {
  Adjacency successors(kMany);
  for (std::size_t module = 0; module < kMany; ++module) {
    successors[module].push_back((module + 1) % kMany);
  }
  const auto parts = cyclicParts(successors);
  ASSERT_EQ(parts.size(), 1U);
  EXPECT_EQ(shortCycleIn(parts.front(), successors).size(), kMany);
}

// Every ladder step can be gone on either side, so that no single module breaks all cycles but the
// steps' own.
TEST(CyclesTest, aLongRingOfDiamondsIsSearchedInLittleTime) {
  const std::size_t diamonds = kMany / 4;
  Adjacency successors(3 * diamonds);
  for (std::size_t diamond = 0; diamond < diamonds; ++diamond) {
    const std::size_t first = 3 * diamond;
    const std::size_t nextFirst = 3 * ((diamond + 1) % diamonds);
    successors[first] = {first + 1, first + 2};
    successors[first + 1] = {nextFirst};
    successors[first + 2] = {nextFirst};
  }
  const auto parts = cyclicParts(successors);
  ASSERT_EQ(parts.size(), 1U);
  EXPECT_EQ(shortCycleIn(parts.front(), successors).size(), 2 * diamonds);
}

// Two rungs lead on from each rung: whichever module is left out, others take its place. Looking
// for the shortest of all cycles would take a walk around for each module.
TEST(CyclesTest, inAnEntangledPartAShortCycleIsEnough) {
  const std::size_t rungs = kMany / 2;
  Adjacency successors(2 * rungs);
  for (std::size_t rung = 0; rung < rungs; ++rung) {
    const std::size_t next = 2 * ((rung + 1) % rungs);
    for (const std::size_t side : {2 * rung, 2 * rung + 1}) {
      successors[side] = {next, next + 1};
    }
  }
  const auto parts = cyclicParts(successors);
  ASSERT_EQ(parts.size(), 1U);
  const auto cycle = shortCycleIn(parts.front(), successors);
  EXPECT_EQ(cycle.size(), rungs);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
