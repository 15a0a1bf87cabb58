#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include "tests/support/GraphInvariants.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::TestSupport {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

// How many of the graphs of the first seeds have `feature` somewhere in their text.
int countOf(const RandomGraphParameters& parameters, std::string_view feature) {
  int count = 0;
  for (std::uint64_t seed = 1; seed <= 100; ++seed) {
    count += text(randomGraph(seed, parameters)).find(feature) != std::string::npos ? 1 : 0;
  }
  return count;
}

bool hasCycle(const TestGraph& g) {
  for (const auto& member : g) {
    const auto* start = member.module.get();
    if (!start->forAllFollowingModules([=](const ModulePtr& m) { return m.get() != start; })) {
      return true;
    }
  }
  return false;
}

TEST(RandomGraphTest, ASeedGivesAlwaysTheSameGraph) {
  EXPECT_EQ(text(randomGraph(7, faultyGraphs())), text(randomGraph(7, faultyGraphs())));
  EXPECT_NE(text(randomGraph(7, faultyGraphs())), text(randomGraph(8, faultyGraphs())));
  Random random(1);
  // The engine's sequence is fixed by the language's standard.
  EXPECT_EQ(random.below(1000), std::mt19937_64(1)() % 1000);
}

TEST(RandomGraphTest, ByDefaultSoundConnectedAndWithoutCycles) {
  forSeeds(200, [](std::uint64_t seed) {
    const auto g = randomGraph(seed);
    ASSERT_EQ(g.size(), 8U);
    ASSERT_THAT(linkViolations(g), IsEmpty());
    ASSERT_FALSE(hasCycle(g));
    std::size_t reached = 1;
    g["A"]->forAllFollowingModules([&](const ModulePtr&) { return ++reached != 0; });
    ASSERT_EQ(reached, 8U) << text(g);
  });
}

TEST(RandomGraphTest, RootsFollowNothing) {
  RandomGraphParameters parameters;
  parameters.roots = 3;
  forSeeds(100, [&](std::uint64_t seed) {
    const auto g = randomGraph(seed, parameters);
    std::size_t roots = 0;
    for (const auto& member : g) {
      roots += member.module->getPreviousApplyModules().empty() ? 1U : 0U;
    }
    ASSERT_EQ(roots, 3U) << text(g);
  });
}

TEST(RandomGraphTest, EachFaultAppearsWhenAskedForAndOnlyThen) {
  const RandomGraphParameters sound;
  auto faulty = sound;
  faulty.dead = 20;
  EXPECT_EQ(countOf(sound, "~"), 0);
  EXPECT_GT(countOf(faulty, "~"), 50);

  faulty = sound;
  faulty.oneSided = 20;
  EXPECT_GT(countOf(faulty, ".->"), 20);
  EXPECT_GT(countOf(faulty, "->."), 20);

  faulty = sound;
  faulty.flags = 20;
  EXPECT_EQ(countOf(sound, "["), 0);
  for (const auto* flag :
       {"active", "inconsistent", "badinput", "frozen", "skipped", "additional", "("}) {
    EXPECT_GT(countOf(faulty, flag), 20) << flag;
  }

  faulty = sound;
  faulty.chains = 2;
  for (const auto* place : {":c1", ":c2", "side", "fork", "merge", "transfer", "<main", "+"}) {
    EXPECT_GT(countOf(faulty, place), 20) << place;
  }
}

TEST(RandomGraphTest, CyclesSelfLinksAndDuplicates) {
  const auto violated = [](const RandomGraphParameters& parameters, std::string_view sentence) {
    int count = 0;
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
      for (const auto& violation : linkViolations(randomGraph(seed, parameters))) {
        count += violation.find(sentence) != std::string::npos ? 1 : 0;
      }
    }
    return count;
  };
  RandomGraphParameters parameters;
  parameters.selfLinks = 20;
  EXPECT_GT(violated(parameters, "itself"), 20);
  parameters = {};
  parameters.duplicates = 20;
  EXPECT_GT(violated(parameters, "stands twice"), 20);
  parameters = {};
  parameters.backLinks = 20;
  int cycles = 0;
  for (std::uint64_t seed = 1; seed <= 100; ++seed) {
    cycles += hasCycle(randomGraph(seed, parameters)) ? 1 : 0;
  }
  EXPECT_GT(cycles, 50);
}

TEST(RandomGraphTest, LargeGraphsHaveDistinctNames) {
  RandomGraphParameters parameters;
  parameters.modules = 60;
  EXPECT_EQ(randomGraph(1, parameters).size(), 60U);
}

TEST(RandomGraphTest, AFailingSeedIsNamed) {
  ::testing::TestPartResultArray failures;
  {
    const ::testing::ScopedFakeTestPartResultReporter reporter(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    forSeeds(3, [](std::uint64_t seed) { EXPECT_NE(seed, 2U); });
  }
  ASSERT_EQ(failures.size(), 1);
  EXPECT_THAT(failures.GetTestPartResult(0).message(), HasSubstr("seed 2"));
}

}  // namespace
}  // namespace Tessaril::TestSupport
