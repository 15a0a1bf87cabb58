#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tests/diagnostics/guards/GuardedDesign.h"
#include "tests/engine/model/RandomScenario.h"
#include "tests/support/RandomGraph.h"

// Random stories of updates, told with and without guards: a guard changes nothing of them, is
// silent about those that keep the rules, and complains of nothing but the edits of the others.

namespace Tessaril::Diagnostics {
namespace {

using RandomRuns::Ingredients;
using RandomRuns::Scenario;
using TestSupport::EventLog;
using TestSupport::ScriptedModule;
using TestSupport::ScriptedUpdate;
using TestSupport::ViolationLog;

struct GuardedStory {
  std::string text;
  std::vector<GuardViolation> violations;
};

/// Sub-commands are executed inline, or on a worker where there are `threads`.
GuardedStory guardedStoryOf(std::uint64_t seed, const Ingredients& ingredients,
                            const std::shared_ptr<ThreadManager>& threads) {
  ViolationLog violations;
  const auto guard = std::make_shared<GraphGuard>(violations.handler());
  Scenario scenario(seed, ingredients, [&guard](EventLog& log, const std::string& name) {
    return std::make_shared<GuardedModule<ScriptedModule>>(guard, log, name);
  });
  TestSupport::ScriptedDesign& design = scenario.design;
  for (const auto& member : design.graph) {
    guard->watchLinksOf(member.module);
  }
  std::string text = RandomRuns::tellStory<UpdateApplyModulesCmd>(scenario, [&] {
    const auto update = std::make_shared<GuardedUpdate<ScriptedUpdate>>(
        guard, design.log, design.root, design.module(scenario.start), design.module(scenario.end),
        design.module(scenario.horizon));
    update->setThreadManager(threads);
    return update;
  });
  return {std::move(text), violations.take()};
}

/// What is complained of in the stories of the first seeds, each of which is told as without guard.
std::vector<GuardViolation> violationsIn(std::uint64_t seeds, const Ingredients& ingredients) {
  const auto worker = std::make_shared<ReferencePlatform::WorkerPoolThreadManager>(1);
  std::vector<GuardViolation> all;
  TestSupport::forSeeds(seeds, [&](std::uint64_t seed) {
    const std::string plain = RandomRuns::storyOf<UpdateApplyModulesCmd>(seed, ingredients);
    const auto story = guardedStoryOf(seed, ingredients, seed % 2 == 0 ? worker : nullptr);
    EXPECT_EQ(story.text, plain);
    all.insert(all.end(), story.violations.begin(), story.violations.end());
  });
  return all;
}

void expectSilence(std::uint64_t seeds, const Ingredients& ingredients) {
  for (const GuardViolation& violation : violationsIn(seeds, ingredients)) {
    ADD_FAILURE() << violation.text;
  }
}

TEST(RandomGuardedRunsTest, PlainRunsBreakNoRule) { expectSilence(300, {}); }

TEST(RandomGuardedRunsTest, RunsOverFaultyGraphsBreakNoRule) {
  expectSilence(300, {.faults = 100});
}

TEST(RandomGuardedRunsTest, FailingRunsBreakNoRule) {
  expectSilence(300, {.faults = 20, .throws = 100});
}

TEST(RandomGuardedRunsTest, StoppedRunsBreakNoRule) {
  expectSilence(300, {.faults = 20, .throws = 20, .stops = 100});
}

TEST(RandomGuardedRunsTest, RunsInWhichModulesGoBreakNoRule) {
  expectSilence(300, {.throws = 20, .stops = 20, .drops = 100});
}

TEST(RandomGuardedRunsTest, RunsOverLargeGraphsBreakNoRule) {
  expectSilence(10, {.leastModules = 50, .mostModules = 120, .faults = 50, .throws = 30});
}

TEST(RandomGuardedRunsTest, OfRunsThatEditTheEditsAreNamed) {
  const auto violations =
      violationsIn(300, {.faults = 20, .throws = 20, .stops = 20, .edits = 100});
  EXPECT_GT(violations.size(), 300u);
  for (const GuardViolation& violation : violations) {
    EXPECT_EQ(violation.rule, GraphRule::NoEditDuringRun) << violation.text;
    ASSERT_FALSE(violation.ongoing.empty()) << violation.text;
    EXPECT_EQ(violation.ongoing.front().kind, GraphWork::Kind::Run) << violation.text;
    EXPECT_FALSE(violation.module.empty()) << violation.text;
  }
}

}  // namespace
}  // namespace Tessaril::Diagnostics
