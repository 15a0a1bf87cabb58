#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>

#include "diagnostics/run/CostReport.h"
#include "diagnostics/run/ObservedUpdate.h"
#include "diagnostics/run/RunEstimate.h"
#include "diagnostics/run/WatchedFactories.h"
#include "examples/gear_pair/application/DesignSession.h"
#include "examples/gear_pair/application/commands/StepCmdFactory.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
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

/// The fenced block of the document that begins with `line`.
std::string blockOfDocument(const std::string& line) {
  std::ifstream file(TESSARIL_DIAGNOSTICS_DOCUMENT);
  std::stringstream text;
  text << file.rdbuf();
  const std::string document = text.str();
  const std::size_t begin = document.find("```\n" + line);
  if (begin == std::string::npos) {
    return "no block begins with: " + line;
  }
  return document.substr(begin + 4, document.find("\n```", begin + 4) - begin - 3);
}

TEST_F(GearPairExplained, TheTableOfAChangedTorqueStandsInTheDocument) {
  session.update();
  session.set("torque=300Nm");
  const std::string estimate = tableOf(explainBefore(range()));
  const std::string table = tableOf(update());
  std::cout << estimate << "\n" << table;
  EXPECT_EQ(blockOfDocument("First estimate"), estimate);
  EXPECT_EQ(withoutTimes(blockOfDocument("Update Design up to: Report")), withoutTimes(table));
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
  std::cout << tableOf(report);
}

TEST_F(GearPairExplained, TheTableOfAFailureNamesWhatIsLeft) {
  session.set("pinion_teeth=8");
  const RunReport report = update();
  EXPECT_EQ(report.outcome, RunReport::Outcome::Failed);
  std::cout << tableOf(report);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
