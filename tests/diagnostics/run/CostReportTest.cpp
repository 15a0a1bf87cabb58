#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "diagnostics/run/CostReport.h"
#include "tests/diagnostics/run/ExplainedDesign.h"
#include "tests/support/GraphText.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using std::chrono::microseconds;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Speed = LegacyProgress::Speed;
using Rate = Speed::Rate;
using TestSupport::ExplainedDesign;
using TestSupport::forSeeds;
using TestSupport::Random;

struct Apply {
  std::string name;
  Rate rate;
  double time;
};

/// A run along a chain that applied every module.
RunReport runOf(const std::vector<Apply>& applies) {
  RunReport report;
  report.outcome = RunReport::Outcome::Finished;
  for (const Apply& apply : applies) {
    ReportedModule module;
    module.name = apply.name;
    module.speedRate = static_cast<int>(apply.rate);
    if (report.modules.size() + 1 < applies.size()) {
      module.next = {report.modules.size() + 1};
    }
    report.modules.push_back(module);
    RunStep step;
    step.module = report.modules.size() - 1;
    step.deed = Deed::FullApply;
    step.begin = report.duration;
    step.duration = Microseconds(apply.time);
    report.steps.push_back(step);
    report.duration += Microseconds(apply.time);
  }
  return report;
}

std::vector<int> truthfulRates(const CostReport& report) {
  std::vector<int> rates;
  for (const ModuleCost& cost : report.modules) {
    rates.push_back(static_cast<int>(cost.truthfulRate));
  }
  return rates;
}

TEST(RateWeights, AreMeasuredThroughTheArithmeticOfTheHost) {
  std::vector<double> weights;
  for (const RateChoice& choice : defaultRates()) {
    weights.push_back(weightOf(choice, defaultRates()));
  }
  EXPECT_THAT(weights, ElementsAre(0.0, 1.0, DoubleNear(3.0, 0.03), DoubleNear(10.0, 0.1),
                                   DoubleNear(30.0, 0.3), DoubleNear(100.0, 1.0)));
}

TEST(CostReport, LeavesTrueRatesAlone) {
  const CostReport report = costReport(
      {runOf({{"A", Rate::Normal, 10.0}, {"B", Rate::Slow, 30.0}, {"C", Rate::Fast, 3.0}})});
  EXPECT_LT(report.error, 2.0);
  EXPECT_THAT(truthfulRates(report), ElementsAre(3, 4, 2));
  EXPECT_FALSE(report.modules[0].liesToProgress());
}

TEST(CostReport, FindsTheRateThatMisleads) {
  const CostReport report = costReport({runOf(
      {{"A", Rate::Normal, 10.0}, {"B", Rate::VeryFast, 100.0}, {"C", Rate::Normal, 10.0}})});
  EXPECT_THAT(truthfulRates(report), ElementsAre(3, 5, 3));
  EXPECT_TRUE(report.modules[1].liesToProgress());
  EXPECT_FALSE(report.modules[0].liesToProgress());
  EXPECT_GT(report.error, 30.0);
  EXPECT_LT(report.truthfulError, 3.0);
  EXPECT_NEAR(report.modules[1].timeShare, 83.3, 0.1);
  EXPECT_LT(report.modules[1].barShare, 10.0);
}

TEST(CostReport, CaresForRatiosOnlyNotForTheUnitOfTime) {
  for (const double unit : {1e-3, 1.0, 1e6}) {
    const CostReport report =
        costReport({runOf({{"A", Rate::Fast, 3.1 * unit}, {"B", Rate::Normal, 9.8 * unit}})});
    EXPECT_THAT(truthfulRates(report), ElementsAre(2, 3)) << unit;
  }
}

TEST(CostReport, ChangesNoRateForTheNoiseOfAMeasurement) {
  const CostReport report = costReport({runOf({{"A", Rate::Normal, 10.5},
                                               {"B", Rate::Normal, 9.6},
                                               {"C", Rate::Slow, 30.9},
                                               {"D", Rate::VerySlow, 98.0}})});
  EXPECT_THAT(truthfulRates(report), ElementsAre(3, 3, 4, 5));
}

// The marks are what the progress of a real update goes through.
TEST(CostReport, ComputesTheProgressAsAnUpdateDoes) {
  ExplainedDesign design("A -> B -> C -> D");
  design.design.needApply("A B C D");
  design["A"].speedRate = Speed::Slow;
  design["C"].speedRate = Speed::Fast;
  for (const char* const name : {"A", "B", "C", "D"}) {
    design.lasts(name, microseconds(10));
  }
  const RunReport run = design.run("A", "D");
  const CostReport report = costReport({run});
  double mark = 0.0;
  for (std::size_t i = 0; i < 4; ++i) {
    mark += report.modules[i].barShare * 98.0 / 100.0;
    EXPECT_NEAR(mark, *run.steps[i].progressAfter, 1e-9) << i;
  }
  EXPECT_NEAR(report.observedError, report.error, 1e-9);
}

/// A design at random whose modules are all applied, with times up to a thousand and any rates.
class RandomCosts {
 public:
  explicit RandomCosts(std::uint64_t seed)
      : random(seed), design([&](const TestSupport::ModuleFactory& factory) {
          return TestSupport::randomGraph(
              seed, {.modules = 2 + random.below(9), .links = random.percent(50) ? 15U : 35U},
              factory);
        }) {
    design.design.forEachModule([this](TestSupport::ScriptedModule& module) {
      module.necessary = true;
      module.speedRate = static_cast<Rate>(random.below(6));
      design.lasts(module.getName(), microseconds(1 + random.below(1000)));
    });
  }

  RunReport run() {
    const auto& members = design.design.graph.members();
    return design.run(members.front().name, members.back().name);
  }

  void takeOver(const CostReport& report) {
    for (const ModuleCost& cost : report.modules) {
      design[cost.name].speedRate = cost.truthfulRate;
    }
  }

 private:
  Random random;
  ExplainedDesign design;
};

// Modules in branches that meet count only what follows them, not one another.
TEST(CostReport, ComputesTheProgressOfBranchesAsAnUpdateDoes) {
  forSeeds(200, [](std::uint64_t seed) {
    RandomCosts costs(seed);
    const RunReport run = costs.run();
    const CostReport report = costReport({run});
    double mark = 0.0;
    std::size_t i = 0;
    for (const RunStep& step : run.steps) {
      if (step.deed == Deed::FullApply) {
        ASSERT_EQ(run.modules[step.module].name, report.modules[i].name);
        mark += report.modules[i++].barShare * 98.0 / 100.0;
        EXPECT_NEAR(mark, *step.progressAfter, 1e-9);
      }
    }
    EXPECT_EQ(i, report.modules.size());
    EXPECT_NEAR(report.observedError, report.error, 1e-9);
  });
}

TEST(CostReport, ProposesRatesWithWhichTheProgressOfTheNextRunFollowsTheTime) {
  double before = 0.0;
  double after = 0.0;
  forSeeds(100, [&](std::uint64_t seed) {
    RandomCosts costs(seed);
    const CostReport report = costReport({costs.run()});
    costs.takeOver(report);
    const CostReport next = costReport({costs.run()});
    EXPECT_NEAR(next.observedError, report.truthfulError, 1e-9);
    EXPECT_LE(next.observedError, report.observedError + 1e-9);
    before += report.observedError;
    after += next.observedError;
  });
  EXPECT_LT(after / 100, 8.0);
  EXPECT_GT(before / 100, 25.0);
}

// One branch has the whole of what is left to divide with what follows it; the other one's time is
// not in it.
TEST(CostReport, FindsTrueRatesOfBranches) {
  ExplainedDesign design("A -> B -> D; A -> C -> D");
  design.design.needApply("A B C D");
  design.lasts("A", microseconds(100));
  design.lasts("B", microseconds(100));
  design.lasts("C", microseconds(100));
  design.lasts("D", microseconds(100));
  const CostReport report = costReport({design.run("A", "D")});
  EXPECT_NEAR(report.modules[1].barShare, 37.8, 0.1);
  EXPECT_NEAR(report.modules[2].barShare, 18.4, 0.1);
  EXPECT_LT(report.truthfulError, report.error);
}

TEST(CostReport, FindsTheModulesOfAnotherRange) {
  ExplainedDesign design("A -> B -> C -> D");
  design.design.needApply("A B C D");
  const RunReport last = design.run("C", "D");
  const RunReport whole = design.run("A", "D");
  const CostReport report = costReport({last, whole});
  std::string names;
  for (const ModuleCost& cost : report.modules) {
    names += cost.name + std::to_string(cost.applies);
  }
  EXPECT_EQ(names, "A1B1C2D2");
}

TEST(CostReport, TellsModulesOfOneNameApart) {
  RunReport run = runOf({{"A", Rate::Normal, 10.0}, {"A", Rate::Slow, 30.0}});
  const CostReport report = costReport({run, run});
  ASSERT_EQ(report.modules.size(), 2U);
  EXPECT_EQ(report.modules[0].mean, Microseconds(10));
  EXPECT_EQ(report.modules[1].mean, Microseconds(30));
  EXPECT_EQ(report.modules[1].applies, 2U);
}

// Modules that are no objects are numbered by their places in the range, so their names change.
TEST(CostReport, KnowsLivingModulesUnderAnotherName) {
  const auto first = TestSupport::graph("A -> B");
  RunReport whole = runOf({{"module 1", Rate::Normal, 10.0}, {"module 2", Rate::Normal, 20.0}});
  whole.modules[0].module = first["A"];
  whole.modules[1].module = first["B"];
  RunReport part = runOf({{"module 1", Rate::Normal, 40.0}});
  part.modules[0].module = first["B"];
  const CostReport report = costReport({whole, part});
  ASSERT_EQ(report.modules.size(), 2U);
  EXPECT_EQ(report.modules[0].mean, Microseconds(10));
  EXPECT_EQ(report.modules[1].mean, Microseconds(30));
}

TEST(CostReport, JudgesVeryLongChains) {
  std::vector<Apply> applies;
  for (int i = 0; i < 20'000; ++i) {
    applies.push_back({"M" + std::to_string(i), Rate::Normal, 10.0});
  }
  applies[500] = {"slow one", Rate::Instant, 200'000.0};
  const CostReport report = costReport({runOf(applies)});
  ASSERT_EQ(report.modules.size(), 20'000U);
  EXPECT_NEAR(report.modules[500].timeShare, 50.0, 0.1);
  EXPECT_GT(report.error, 40.0);
}

TEST(CostReport, TakesTheMeanOfSeveralRuns) {
  const CostReport report =
      costReport({runOf({{"A", Rate::Normal, 10.0}, {"B", Rate::Normal, 10.0}}),
                  runOf({{"A", Rate::Normal, 30.0}})});
  EXPECT_EQ(report.runs, 2U);
  EXPECT_EQ(report.modules[0].applies, 2U);
  EXPECT_EQ(report.modules[0].mean, Microseconds(20));
  EXPECT_EQ(report.modules[0].shortest, Microseconds(10));
  EXPECT_EQ(report.modules[0].longest, Microseconds(30));
  EXPECT_EQ(report.modules[1].applies, 1U);
}

TEST(CostReport, LeavesOutFailuresAndUndosAndWhatWasNotApplied) {
  RunReport run = runOf({{"A", Rate::Normal, 10.0}, {"B", Rate::Normal, 10.0}});
  run.steps[1].failure = "no load";
  RunReport undo = runOf({{"A", Rate::Normal, 1000.0}});
  undo.kind = RunReport::Kind::Undo;
  const CostReport report = costReport({run, undo});
  EXPECT_EQ(report.runs, 1U);
  ASSERT_EQ(report.modules.size(), 1U);
  EXPECT_EQ(report.modules[0].mean, Microseconds(10));
  EXPECT_THAT(report.notMeasured, ElementsAre("B"));
}

TEST(CostReport, TellsHowLongTheProgressStoodStill) {
  RunReport run = runOf({{"A", Rate::Normal, 60.0}, {"X", Rate::Normal, 40.0}});
  run.steps[1].deed = Deed::AutoApply;
  run.modules[1].place = Place::OffTheWay;
  const CostReport report = costReport({run});
  EXPECT_NEAR(report.autoApplyShare, 40.0, 1e-9);
  EXPECT_EQ(report.modules.size(), 1U);
  EXPECT_THAT(report.notMeasured, IsEmpty());
}

TEST(CostReport, SaysThatNothingWasMeasured) {
  EXPECT_THAT(tableOf(costReport({})), HasSubstr("Full applies in 0 runs: none was measured."));
}

TEST(CostReport, RefusesRunsWithoutRates) {
  ExplainedDesign design("A -> B", false);
  design.design.needApply("A");
  EXPECT_THROW(costReport({design.run("A", "B")}), std::invalid_argument);
}

TEST(CostReport, NeverMakesTheProgressWorse) {
  forSeeds(100, [](std::uint64_t seed) {
    Random random(seed);
    std::vector<Apply> applies;
    const std::size_t count = 1 + random.below(12);
    for (std::size_t i = 0; i < count; ++i) {
      applies.push_back({"M" + std::to_string(i), static_cast<Rate>(random.below(6)),
                         static_cast<double>(1 + random.below(2000))});
    }
    const CostReport report = costReport({runOf(applies)});
    EXPECT_LE(report.truthfulError, report.error + 1e-9);
    double time = 0.0;
    for (const ModuleCost& cost : report.modules) {
      time += cost.timeShare;
    }
    EXPECT_NEAR(time, 100.0, 1e-6);
  });
}

// With times that are weights, whatever the rates say now, the true rates make a true progress.
TEST(CostReport, FindsTrueRatesWhereThereAreAny) {
  const double weights[] = {0.0, 1.0, 3.0, 10.0, 30.0, 100.0};
  forSeeds(100, [&weights](std::uint64_t seed) {
    Random random(seed);
    std::vector<Apply> hidden;
    std::vector<Apply> shown;
    const std::size_t count = 2 + random.below(6);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t rate = 1 + random.below(5);
      const std::string name = "M" + std::to_string(i);
      hidden.push_back({name, static_cast<Rate>(rate), 7.0 * weights[rate]});
      shown.push_back({name, static_cast<Rate>(random.below(6)), 7.0 * weights[rate]});
    }
    EXPECT_LE(costReport({runOf(shown)}).truthfulError, costReport({runOf(hidden)}).error + 2.0);
  });
}

TEST(CostTable, NamesWhatIsWrongFirst) {
  EXPECT_EQ(
      tableOf(costReport({runOf(
          {{"A", Rate::Normal, 10.0}, {"B", Rate::VeryFast, 100.0}, {"C", Rate::Normal, 10.0}})})),
      "Full applies in 1 run: the progress is off by up to 40 points; with the true rates by up "
      "to 2\n"
      "points.\n"
      "\n"
      "module  applied  mean time  of time  of bar  rate       true rate  verdict\n"
      "A             1    10.0 µs      8 %    47 %  normal\n"
      "B             1     100 µs     83 %     4 %  very fast  very slow  counts too little\n"
      "C             1    10.0 µs      8 %    49 %  normal\n"
      "\n"
      "Rates count in relation to one another: change all of them, or none.\n");
}

TEST(CostJson, HoldsTheSameFacts) {
  const nlohmann::ordered_json json = toJson(costReport({runOf(
      {{"A", Rate::Normal, 10.0}, {"B", Rate::VeryFast, 100.0}, {"C", Rate::Normal, 10.0}})}));
  EXPECT_EQ(json["runs"], 1);
  EXPECT_EQ(json["modules"][1]["module"], "B");
  EXPECT_EQ(json["modules"][1]["meanMicroseconds"], 100.0);
  EXPECT_EQ(json["modules"][1]["rate"], 1);
  EXPECT_EQ(json["modules"][1]["truthfulRate"], 5);
  EXPECT_EQ(json["modules"][1]["lies"], true);
  EXPECT_EQ(json["rates"][3]["name"], "normal");
  EXPECT_EQ(json["notMeasured"], nlohmann::ordered_json::array());
}

}  // namespace
}  // namespace Tessaril::Diagnostics
