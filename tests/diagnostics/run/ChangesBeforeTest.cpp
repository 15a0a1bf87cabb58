#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "diagnostics/run/ChangesBefore.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using TestSupport::forSeeds;
using TestSupport::Random;
using Links = ChangesBefore::Links;

TEST(ChangesBefore, NamesTheLastChangeOfAllThatAModuleDependsOn) {
  ChangesBefore changes(Links{{}, {0}, {1}, {}}, {2, 1, 3, 4});
  EXPECT_EQ(changes.before(0, 9), 0U);
  EXPECT_EQ(changes.before(1, 9), 2U);
  EXPECT_EQ(changes.before(2, 9), 2U);
  EXPECT_EQ(changes.before(3, 9), 0U);
}

TEST(ChangesBefore, LooksPastWhatChangedLater) {
  ChangesBefore changes(Links{{}, {0}, {1}}, {1, 5, 0});
  EXPECT_EQ(changes.before(2, 3), 1U);
  EXPECT_EQ(changes.before(2, 5), 5U);
}

/// Everything that a module depends on, looked up one by one.
std::size_t naiveBefore(const Links& previous, const std::vector<std::size_t>& changes,
                        std::size_t module, std::size_t latest) {
  std::set<std::size_t> all(previous[module].begin(), previous[module].end());
  for (std::size_t count = 0; count != all.size();) {
    count = all.size();
    for (const std::size_t one : std::set<std::size_t>(all)) {
      all.insert(previous[one].begin(), previous[one].end());
    }
  }
  std::size_t last = 0;
  for (const std::size_t one : all) {
    last = changes[one] <= latest ? std::max(last, changes[one]) : last;
  }
  return last;
}

/// Every answer of a random graph, with links between any two modules, or only from earlier ones to
/// later ones.
void compareWithNaive(std::uint64_t seed, bool withCycles) {
  Random random(seed);
  const std::size_t count = 1 + random.below(15);
  Links previous(count);
  std::vector<std::size_t> changes(count);
  for (std::size_t module = 0; module < count; ++module) {
    for (std::size_t before = 0; before < (withCycles ? count : module); ++before) {
      if (random.percent(withCycles ? 8 : 20)) {
        previous[module].push_back(before);
      }
    }
    changes[module] = random.percent(60) ? 1 + random.below(count) : 0;
  }
  ChangesBefore found(previous, changes);
  for (std::size_t module = 0; module < count; ++module) {
    for (std::size_t latest = 0; latest <= count; ++latest) {
      EXPECT_EQ(found.before(module, latest), naiveBefore(previous, changes, module, latest));
    }
  }
}

TEST(ChangesBefore, AnswersAsALookAtEachModuleDoes) {
  forSeeds(100, [](std::uint64_t seed) { compareWithNaive(seed, false); });
}

TEST(ChangesBefore, AnswersAsALookAtEachModuleDoesOnCycles) {
  forSeeds(300, [](std::uint64_t seed) { compareWithNaive(seed, true); });
}

TEST(ChangesBefore, CountsTheChangeOfWhatDependsOnItself) {
  ChangesBefore ring(Links{{1}, {0}, {0}}, {1, 2, 0});
  EXPECT_EQ(ring.before(1, 9), 2U);
  EXPECT_EQ(ring.before(1, 1), 1U);
  EXPECT_EQ(ring.before(2, 9), 2U);
  ChangesBefore loop(Links{{0}, {}}, {3, 4});
  EXPECT_EQ(loop.before(0, 9), 3U);
  EXPECT_EQ(loop.before(1, 9), 0U);
}

/// Two chains off the way that are changed in turns, both behind something of the way that is
/// changed when they are done. Answers with how many links it takes to tell of each module what
/// changed before it.
std::size_t effortOfSideChains(std::size_t length) {
  const std::size_t count = 2 * length;
  const std::size_t late = count;
  Links previous(count + 1);
  std::vector<std::size_t> changes(count + 1);
  for (std::size_t module = 0; module < count; ++module) {
    previous[module].push_back(module < 2 ? late : module - 2);
    changes[module] = module + 1;
  }
  changes[late] = count + 1;
  ChangesBefore found(previous, changes);
  for (std::size_t module = 0; module < count; ++module) {
    EXPECT_EQ(found.before(module, module), module < 2 ? 0U : module - 1);
  }
  return found.effort();
}

TEST(ChangesBefore, LooksAtEachLinkAFewTimesHoweverLongTheChainsAre) {
  const std::size_t links = 2000;
  EXPECT_LE(effortOfSideChains(links / 2), 5 * links);
  EXPECT_LE(effortOfSideChains(10 * links / 2), 5 * 10 * links);
}

/// A chain that is changed module by module, in its order, and asked about in its order.
TEST(ChangesBefore, LooksAtEachLinkAFewTimesAlongAChain) {
  const std::size_t count = 20'000;
  Links previous(count);
  std::vector<std::size_t> changes(count);
  for (std::size_t module = 0; module < count; ++module) {
    if (module > 0) {
      previous[module].push_back(module - 1);
    }
    changes[module] = module % 3 == 0 ? 0 : module + 1;
  }
  ChangesBefore found(previous, changes);
  for (std::size_t module = 0; module < count; ++module) {
    found.before(module, module);
  }
  EXPECT_LE(found.effort(), 5 * count);
}

// Deeper than a stack of calls may be.
TEST(ChangesBefore, AnswersAtTheEndOfAChainThatNobodyAskedAbout) {
  const std::size_t count = 300'000;
  Links previous(count);
  std::vector<std::size_t> changes(count, 0);
  changes[0] = 1;
  for (std::size_t module = 1; module < count; ++module) {
    previous[module].push_back(module - 1);
  }
  EXPECT_EQ(ChangesBefore(previous, changes).before(count - 1, count), 1U);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
