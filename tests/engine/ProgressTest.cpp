#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/ScriptedDesign.h"

namespace Tessaril {
namespace {

using TestSupport::Answer;
using TestSupport::EventKind;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;
using Speed = LegacyProgress::Speed;

/// Hears the values of the update's progress only. A sub-command that has ended moves it to the
/// mark that it was given; the end of the run moves it to 100.
class ProgressTest : public testing::Test {
 protected:
  static void hearProgress(ScriptedDesign& design) { design.log.hear({EventKind::Progress}); }
};

TEST_F(ProgressTest, GivesHalfOfTheWayToTheFirstOfTwo) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  hearProgress(design);
  EXPECT_EQ(design.run("A", "B"), "49% 98% 100%");
}

// A third is 33 whole percent: 32 of 98, then 33 of the 66 that are left, then the rest.
TEST_F(ProgressTest, RoundsSharesDownAndGivesTheRestToTheLast) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B C");
  hearProgress(design);
  EXPECT_EQ(design.run("A", "C"), "32% 65% 98% 100%");
}

TEST_F(ProgressTest, WeighsModulesByTheirSpeedRates) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  design["A"].speedRate = Speed::Slow;
  design["B"].speedRate = Speed::Normal;
  Speed speed;
  speed.add(Speed::Slow);
  speed.add(Speed::Normal);
  const int mark = static_cast<int>(98 * speed.getPartitionFromRate(Speed::Slow) / 100.0);
  EXPECT_GT(mark, 49);
  hearProgress(design);
  EXPECT_EQ(design.run("A", "B"), std::to_string(mark) + "% 98% 100%");
}

// The rate is the module's, not that of its command.
TEST_F(ProgressTest, AsksTheModulesNotTheCommandsForTheRate) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  design["A"].apply.script->speedRate = Speed::VerySlow;
  hearProgress(design);
  EXPECT_EQ(design.run("A", "B"), "49% 98% 100%");
}

TEST_F(ProgressTest, CountsEveryModuleFromTheFirstThatNeedsAFullApplyOn) {
  ScriptedDesign design("A -> B -> C -> D");
  design.needApply("A C");
  hearProgress(design);
  // A quarter of 98 for A, a half of the other 74 for C; the way of D is left for the end.
  EXPECT_EQ(design.run("A", "D"), "24% 61% 100%");
}

TEST_F(ProgressTest, CountsOnlyModulesOnTheWayToTheEnd) {
  ScriptedDesign design("A -> B -> C; A -> S -> T; B -> U");
  design.needApply("A B");
  hearProgress(design);
  EXPECT_EQ(design.run("A", "B"), "49% 98% 100%");
}

TEST_F(ProgressTest, BeginsCountingAtTheCommandsModule) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("B C");
  hearProgress(design);
  EXPECT_EQ(design.run("A", "C"), "49% 98% 100%");
}

// The command's own module may have changed its mind by then.
TEST_F(ProgressTest, SkipsModulesUpToTheFirstThatNeedsAFullApply) {
  ScriptedDesign design("A -> B -> C");
  design["A"].necessary = Answer{true, false};
  design.needApply("B C");
  design.log.hear({EventKind::Progress, EventKind::Rate});
  const std::string events = design.run("A", "C");
  // B and C share the way, and what A is given is B's half of it.
  EXPECT_EQ(events.rfind("B?rate C?rate B?rate 49%", 0), 0U) << events;
}

TEST_F(ProgressTest, GivesTheWholeWayWhereNobodyNeedsAFullApplyAnyMore) {
  ScriptedDesign design("A -> B");
  design["A"].necessary = Answer{true, false};
  design.log.hear({EventKind::Progress, EventKind::Rate});
  EXPECT_EQ(design.run("A", "B"), "98% 100%");
}

TEST_F(ProgressTest, TruncatesThePresentValueForTheMarkButNotForTheShare) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  hearProgress(design);
  const auto update = design.update("A", "B");
  update->getProgressPtr()->setValue(10.75);
  // 87.25 are left, half of them is 43.625; the mark stands at 10 + 43.
  EXPECT_EQ(design.run(*update), "53% 98% 100%");
}

TEST_F(ProgressTest, TruncatesThePresentValueWhereNobodyNeedsAFullApplyAnyMore) {
  ScriptedDesign design("A -> B");
  design["A"].necessary = Answer{true, false};
  hearProgress(design);
  const auto update = design.update("A", "B");
  update->getProgressPtr()->setValue(10.75);
  EXPECT_EQ(design.run(*update), "98% 100%");
}

TEST_F(ProgressTest, FollowsTheSubCommandWithinItsStretch) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  design["A"].apply.script->whenRunning = [](LegacyProgress& progress) {
    progress.setValue(50.0);
    progress.setValue(100.0);
  };
  hearProgress(design);
  EXPECT_EQ(design.run("A", "B"), "24.5% 49% 98% 100%");
}

TEST_F(ProgressTest, IsSetUpBeforeTheSubCommandStarts) {
  ScriptedDesign design("A");
  design.needApply("A");
  design["A"].apply.script->whenRunning = [](LegacyProgress& progress) { progress.setValue(50.0); };
  design.log.hear({EventKind::Progress, EventKind::Step});
  EXPECT_EQ(design.run("A", "A"), "A:apply 49% 98% 100%");
}

TEST_F(ProgressTest, OfAutoAppliesMovesNothing) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A");
  for (const char* name : {"B", "C"}) {
    design[name].autoApply.script->whenRunning = [](LegacyProgress& progress) {
      progress.setValue(50.0);
    };
  }
  hearProgress(design);
  EXPECT_EQ(design.run("A", "C"), "32% 100%");
}

/// Divides its progress as a macro does before it executes its list.
class DividingUpdate : public UpdateApplyModulesCmd {
 public:
  using UpdateApplyModulesCmd::prepareProgress;
  using UpdateApplyModulesCmd::UpdateApplyModulesCmd;
};

TEST_F(ProgressTest, IsNotDividedByTheListSinceTheListIsFilledWhileItRuns) {
  ScriptedDesign design("A -> B");
  DividingUpdate update(design.root, design.module("A"), design.module("B"), nullptr);
  update.getProgressPtr()->setValue(10.0);
  update.prepareProgress(MacroCommand::Execute);
  EXPECT_EQ(update.getProgressPtr()->getValue(), 10.0);
}

TEST_F(ProgressTest, BeginsAnewInTheNextRun) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  hearProgress(design);
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "49% 98% 100%");
  EXPECT_EQ(design.run(*update), "0% 49% 98% 100%");
}

}  // namespace
}  // namespace Tessaril
