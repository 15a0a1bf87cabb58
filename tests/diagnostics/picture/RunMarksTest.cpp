#include <gmock/gmock.h>

#include "diagnostics/picture/RunMarks.h"
#include "diagnostics/run/RunReport.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"

namespace Tessaril::Diagnostics {
namespace {

using std::chrono::milliseconds;

/// A graph and a report of a run over it, step by step.
struct ReportedRun {
  explicit ReportedRun(std::string_view text)
      : modules(TestSupport::graph(text)), snapshot(snapshotOf(modules)) {
    for (const auto& member : modules) {
      ReportedModule& module = report.modules.emplace_back();
      module.name = member.name;
      module.module = member.module;
    }
  }

  RunStep& step(std::string_view module, Deed deed, std::string reason) {
    RunStep& added = report.steps.emplace_back();
    added.module = indexOf(snapshot, module);
    added.deed = deed;
    added.reason = std::move(reason);
    return added;
  }

  RunStep& executed(std::string_view module, Deed deed, std::string reason, Microseconds duration) {
    RunStep& added = step(module, deed, std::move(reason));
    added.begin = Microseconds{0.0};
    added.duration = duration;
    return added;
  }

  RunMark markOf(std::string_view module) const {
    return runMarksOf(report, snapshot).at(indexOf(snapshot, module));
  }

  TestSupport::TestGraph modules;
  GraphSnapshot snapshot;
  RunReport report;
};

TEST(RunMarks, SayWhatWasDoneWhyAndHowLongItTook) {
  ReportedRun run("A -> B -> C");
  run.executed("A", Deed::FullApply, "its input has changed", milliseconds(12));
  run.step("B", Deed::Signalled, "A was applied");

  EXPECT_EQ(run.markOf("A").outcome, "full apply");
  EXPECT_EQ(run.markOf("A").reason, "its input has changed");
  EXPECT_EQ(run.markOf("A").duration, Microseconds(milliseconds(12)));
  EXPECT_EQ(run.markOf("A").effect, RunEffect::kExecuted);
  EXPECT_EQ(run.markOf("B").outcome, "signalled");
  EXPECT_EQ(run.markOf("B").effect, RunEffect::kNone);
  EXPECT_EQ(run.markOf("B").duration, std::nullopt);
  EXPECT_EQ(runMarksOf(run.report, run.snapshot).count(2), 0U);
}

TEST(RunMarks, NameTheApplyBeforeMessagesAndSignalsAndSumTheirDurations) {
  ReportedRun run("A");
  run.step("A", Deed::Signalled, "told");
  run.executed("A", Deed::MessageHandled, "units", milliseconds(1));
  run.executed("A", Deed::FullApply, "changed", milliseconds(5));
  run.step("A", Deed::PassedOver, "looked at");

  EXPECT_EQ(run.markOf("A").outcome, "full apply");
  EXPECT_EQ(run.markOf("A").reason, "changed");
  EXPECT_EQ(run.markOf("A").duration, Microseconds(milliseconds(6)));
}

TEST(RunMarks, NameWhatWasExecutedBeforeWhatWasOnlyDecided) {
  ReportedRun run("A");
  run.step("A", Deed::FullApply, "due");
  run.executed("A", Deed::MessageHandled, "units", milliseconds(1));

  EXPECT_EQ(run.markOf("A").outcome, "message");
  EXPECT_EQ(run.markOf("A").effect, RunEffect::kExecuted);
}

TEST(RunMarks, NameAFailureBeforeAllElse) {
  ReportedRun run("A");
  run.executed("A", Deed::FullApply, "changed", milliseconds(5));
  run.executed("A", Deed::AutoApply, "due", milliseconds(1)).failure = "undercut";

  EXPECT_EQ(run.markOf("A").effect, RunEffect::kFailed);
  EXPECT_EQ(run.markOf("A").outcome, "auto apply failed");
  EXPECT_EQ(run.markOf("A").reason, "undercut");
}

TEST(RunMarks, FindAModuleThatIsCalledOtherwiseInTheSnapshot) {
  ReportedRun run("A -> B");
  run.report.modules[0].name = "another name";
  run.step("A", Deed::Signalled, "told");

  EXPECT_EQ(run.markOf("A").outcome, "signalled");
}

TEST(RunMarks, FindAModuleThatHasGoneByItsName) {
  ReportedRun run("A -> B");
  run.report.modules[0].module.reset();
  run.step("A", Deed::Signalled, "told");

  EXPECT_EQ(run.markOf("A").outcome, "signalled");
}

TEST(RunMarks, AreNotGivenToAnotherModuleOfThatName) {
  ReportedRun run("A -> B");
  const TestSupport::TestGraph others = TestSupport::graph("A");
  run.report.modules[0].module = others["A"];
  run.step("A", Deed::Signalled, "told");

  EXPECT_EQ(runMarksOf(run.report, run.snapshot).size(), 0U);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
