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
  const ChangesBefore changes(Links{{}, {0}, {1}, {}}, {2, 1, 3, 4});
  EXPECT_EQ(changes.before(0, 9), 0U);
  EXPECT_EQ(changes.before(1, 9), 2U);
  EXPECT_EQ(changes.before(2, 9), 2U);
  EXPECT_EQ(changes.before(3, 9), 0U);
}

TEST(ChangesBefore, LooksPastWhatChangedLater) {
  const ChangesBefore changes(Links{{}, {0}, {1}}, {1, 5, 0});
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

TEST(ChangesBefore, AnswersAsALookAtEachModuleDoes) {
  forSeeds(100, [](std::uint64_t seed) {
    Random random(seed);
    const std::size_t count = 1 + random.below(15);
    Links previous(count);
    std::vector<std::size_t> changes(count);
    for (std::size_t module = 0; module < count; ++module) {
      for (std::size_t before = 0; before < module; ++before) {
        if (random.percent(20)) {
          previous[module].push_back(before);
        }
      }
      changes[module] = random.percent(60) ? 1 + random.below(count) : 0;
    }
    const ChangesBefore found(previous, changes);
    for (std::size_t module = 0; module < count; ++module) {
      for (std::size_t latest = 0; latest <= count; ++latest) {
        EXPECT_EQ(found.before(module, latest), naiveBefore(previous, changes, module, latest));
      }
    }
  });
}

}  // namespace
}  // namespace Tessaril::Diagnostics
