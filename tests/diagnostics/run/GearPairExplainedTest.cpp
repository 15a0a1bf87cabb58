#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "diagnostics/run/CostReport.h"
#include "diagnostics/run/ObservedUpdate.h"
#include "diagnostics/run/RunEstimate.h"
#include "diagnostics/run/WatchedFactories.h"
#include "examples/gear_pair/application/DesignSession.h"
#include "examples/gear_pair/application/commands/StepCmdFactory.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tests/diagnostics/DocumentBlocks.h"
#include "tests/diagnostics/run/DocumentedUse.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

// The example application, explained: why does strength run and mesh does not?

namespace Tessaril::Diagnostics {
namespace {

using GearPair::DesignModule;
using GearPair::DesignSession;
using GearPair::StepCmdFactory;
using GearPair::ToothCmdFactory;
using testing::ElementsAre;

class GearPairExplained : public testing::Test {
 protected:
  using Update = ObservedUpdate<GearPair::UpdateDesignCmd>;

  /// What the design gives its modules; how they undo does not matter here.
  static std::shared_ptr<ApplyCmdFactory> factoryOf(const std::shared_ptr<ApplyModule>& module) {
    if (const auto tooth = std::dynamic_pointer_cast<GearPair::ToothModule>(module)) {
      return std::make_shared<ToothCmdFactory>(tooth);
    }
    return std::make_shared<StepCmdFactory>(std::dynamic_pointer_cast<DesignModule>(module),
                                            StepCmdFactory::UndoBy::kStoredResult);
  }

  std::vector<std::shared_ptr<ApplyModule>> modules() const {
    const auto designModules = session.design()->getModules();
    return {designModules.begin(), designModules.end()};
  }

  RunRange range() const {
    return {session.design(), session.design()->start(), session.design()->report(), {}};
  }

  RunReport update() {
    const WatchedFactories watching(recorder, modules(), &factoryOf);
    const auto command = std::make_shared<Update>(recorder, range(), session.design(),
                                                  session.design()->report(), nullptr);
    command->setThreadManager(threads);
    session.run(command);
    return recorder->getLastReport();
  }

  std::shared_ptr<ThreadManager> threads =
      std::make_shared<ReferencePlatform::WorkerPoolThreadManager>(1);
  std::shared_ptr<RunRecorder> recorder = std::make_shared<RunRecorder>();
  DesignSession session{GearPair::soundDesign(), threads};
};

/// The text with every time replaced by marks of the same width, and every width of a time column
/// by one.
std::string withoutTimes(const std::string& text) {
  static const std::regex time(R"( *[0-9.]+ (ns|µs|ms|s)\b)");
  return std::regex_replace(text, time, " # s");
}

TEST_F(GearPairExplained, TheTableOfAChangedTorqueStandsInTheDocument) {
  session.update();
  session.set("torque=300Nm");
  const std::string estimate = tableOf(explainBefore(range()));
  const std::string table = tableOf(update());
  EXPECT_EQ(TestSupport::blockOfDocument("First estimate"), estimate);
  EXPECT_EQ(withoutTimes(TestSupport::blockOfDocument("Update Design up to: Report")),
            withoutTimes(table))
      << table;
}

TEST_F(GearPairExplained, ShowsWhyStrengthRanAndMeshDidNot) {
  session.update();
  session.set("torque=300Nm");
  const RunReport report = update();
  const auto stepOf = [&report](const std::string& name) {
    return *std::find_if(report.steps.begin(), report.steps.end(), [&](const RunStep& step) {
      return report.modules[step.module].name == name;
    });
  };
  EXPECT_EQ(stepOf("strength").deed, Deed::FullApply);
  EXPECT_EQ(stepOf("strength").reason, "out of date; nothing it depends on was applied");
  EXPECT_EQ(stepOf("mesh").deed, Deed::PassedOver);
  EXPECT_EQ(stepOf("mesh").reason, "up to date");
  EXPECT_EQ(stepOf("report").reason, "out of date; strength was applied before it");
}

TEST_F(GearPairExplained, TheUseInTheDocumentIsCompiledAndRuns) {
  const std::string source = TestSupport::contentsOf(TESSARIL_DOCUMENTED_USE);
  const std::string mark = "stands in docs/diagnostics.md.\n";
  EXPECT_EQ(TestSupport::blockOfDocument("#include \"diagnostics/run/CostReport.h\"", "cpp"),
            source.substr(source.find(mark) + mark.size()));
  std::ostringstream out;
  explainUpdate(session.design(), session.design()->start(), session.design()->report(), modules(),
                &factoryOf, out);
  EXPECT_THAT(out.str(), testing::HasSubstr("First estimate of an update from requirements"));
  EXPECT_THAT(out.str(), testing::HasSubstr("\"traceEvents\""));
  EXPECT_THAT(out.str(), testing::HasSubstr("Full applies in 1 run"));
}

TEST_F(GearPairExplained, TheCostsOfAWholeUpdateAreReported) {
  for (int i = 0; i < 3; ++i) {
    session.set("pinion_teeth=" + std::to_string(20 + i));
    update();
  }
  const CostReport report = costReport(recorder->getReports());
  EXPECT_EQ(report.runs, 3U);
  std::vector<std::string> names;
  for (const ModuleCost& cost : report.modules) {
    names.push_back(cost.name);
    EXPECT_GT(cost.mean.count(), 0.0) << cost.name;
  }
  EXPECT_THAT(names, ElementsAre("requirements", "pinion", "wheel", "mesh", "strength", "report"));
}

TEST_F(GearPairExplained, AFailureIsNamedWithWhatItLeaves) {
  session.set("pinion_teeth=8");
  const RunReport report = update();
  EXPECT_EQ(report.outcome, RunReport::Outcome::Failed);
  EXPECT_THAT(tableOf(report), testing::HasSubstr("FAILED: The pinion with 8 teeth is undercut"));
  EXPECT_THAT(stillInconsistent(report), testing::Contains("pinion"));
  EXPECT_THAT(stillInconsistent(report), testing::Not(testing::Contains("requirements")));
}

// The application's own account of the run is not disturbed, and undo brings everything back.
TEST_F(GearPairExplained, TheObservedUpdateCanBeUndone) {
  session.update();
  session.set("torque=300Nm");
  update();
  EXPECT_TRUE(session.design()->strength()->isUpToDate());
  session.undo();
  EXPECT_FALSE(session.design()->strength()->isUpToDate());
  const RunReport undo = recorder->getLastReport();
  EXPECT_EQ(undo.kind, RunReport::Kind::Undo);
  EXPECT_EQ(undo.steps.size(), 2U);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
