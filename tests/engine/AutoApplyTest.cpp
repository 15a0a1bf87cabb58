#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "reference_platform/translation/Catalogue.h"
#include "tessaril/engine/ExceptionPolicy.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::Answer;
using TestSupport::EventKind;
using TestSupport::makeMessage;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;

const auto kBoom = [](ApplyUpdateInfo&) { throw std::runtime_error("boom"); };

/// A is applied, and S begins a side chain off the way to B.
class SideChainTest : public testing::Test {
 protected:
  SideChainTest() {
    design.needApply("A");
    design["B"].autoPossible = false;
  }

  /// What happens between the apply of A and the look at B.
  std::string runSideChain() {
    const std::string events = design.run("A", "B");
    const auto begin = events.find("A:apply ") + 8;
    return events.substr(begin, events.find(" B", begin) - begin);
  }

  ScriptedDesign design{"A -> B; A -> S -> T -> U"};
};

// --- How a sub-graph is auto-applied ------------------------------------------------------------

TEST_F(SideChainTest, AModuleThatAlwaysUpdatesIsNotAskedAnythingMore) {
  design.log.hear({EventKind::Step, EventKind::Question, EventKind::Creation});
  EXPECT_EQ(runSideChain(),
            "S?always S:makeAuto S:auto T?always T:makeAuto T:auto U?always U:makeAuto U:auto");
}

TEST_F(SideChainTest, OthersRunAloneAndAreAskedForTheirConsistencyAfterwards) {
  design["S"].always = false;
  design.log.hear({EventKind::Step, EventKind::Question, EventKind::Creation});
  EXPECT_EQ(runSideChain(),
            "S?always S?shared S?shared S:makeAuto(alone) S:auto(alone) S?consistent "
            "T?always T:makeAuto T:auto U?always U:makeAuto U:auto");
}

TEST_F(SideChainTest, AModuleWithSharedResourcesDoesNotRunAlone) {
  design["S"].always = false;
  design["S"].shared = true;
  design.log.hear({EventKind::Step, EventKind::Question, EventKind::Creation});
  EXPECT_EQ(runSideChain(),
            "S?always S?shared S:makeAuto S:auto T?always T:makeAuto T:auto "
            "U?always U:makeAuto U:auto");
}

TEST_F(SideChainTest, IsAskedForSharedResourcesAgainWhenItMayRunAlone) {
  design["S"].always = false;
  design["S"].shared = Answer{false, true};
  design["S"].consistent = false;
  EXPECT_EQ(runSideChain(), "S:auto T:signal U:signal");
}

TEST_F(SideChainTest, StopsBehindAModuleThatStaysInconsistentAndTellsItsFollowers) {
  design["S"].always = false;
  design["S"].consistent = false;
  EXPECT_EQ(runSideChain(), "S:auto(alone) T:signal U:signal");
}

TEST_F(SideChainTest, GoesOnBehindAnInconsistentModuleThatAlwaysUpdates) {
  design["S"].consistent = false;
  EXPECT_EQ(runSideChain(), "S:auto T:auto U:auto");
}

TEST_F(SideChainTest, GoesOnBehindAnInconsistentModuleWithSharedResources) {
  design["S"].always = false;
  design["S"].shared = true;
  design["S"].consistent = false;
  EXPECT_EQ(runSideChain(), "S:auto T:auto U:auto");
}

// What the auto apply makes of the module decides, not what it was before.
TEST_F(SideChainTest, AsksForTheConsistencyThatTheAutoApplyLeaves) {
  design["S"].always = false;
  bool computed = false;
  design["S"].consistent = Answer([&] { return computed; });
  design["S"].autoApply.script->whenExecuted = [&](ApplyUpdateInfo&) { computed = true; };
  EXPECT_EQ(runSideChain(), "S:auto(alone) T:auto U:auto");
}

TEST_F(SideChainTest, IsNotAskedForNecessityOrPossibility) {
  design.forEachModule([](ScriptedModule& module) {
    module.autoNecessary = false;
    module.autoPossible = false;
    module.possible = false;
  });
  design["A"].possible = true;
  EXPECT_EQ(runSideChain(), "S:auto T:auto U:auto");
}

TEST_F(SideChainTest, SubGraphsAreHandledFirstInFirstOut) {
  ScriptedDesign two("A -> S -> T; A -> V -> W; A -> B");
  two.needApply("A");
  EXPECT_EQ(two.run("A", "B"), "A:apply S:auto T:auto V:auto W:auto B:auto finish(true)");
}

TEST_F(SideChainTest, WithinASubGraphAMergeWaits) {
  ScriptedDesign fork("A -> B; A -> S; S -> M; S -> T -> U -> M");
  fork.needApply("A");
  EXPECT_EQ(fork.run("A", "B"), "A:apply S:auto T:auto U:auto M:auto B:auto finish(true)");
}

TEST_F(SideChainTest, ModulesThatWereHandledAreNotHandledAgain) {
  ScriptedDesign twice("A -> B -> C; A -> S -> T; B -> S");
  twice.needApply("A B");
  // S is reached from A already; B changes it no more in this run.
  EXPECT_EQ(twice.run("A", "C"), "A:apply S:auto T:auto B:apply C:auto finish(true)");
}

TEST_F(SideChainTest, DeadLinksArePassedOver) {
  ScriptedDesign dead("A -> ~; A -> B; A -> S -> ~; S -> T");
  dead.needApply("A");
  EXPECT_EQ(dead.run("A", "B"), "A:apply S:auto T:auto B:auto finish(true)");
  dead["S"].always = false;
  dead["S"].consistent = false;
  EXPECT_EQ(dead.run("A", "B"), "A:apply S:auto(alone) T:signal B:auto finish(true)");
}

// --- No auto apply command ----------------------------------------------------------------------

TEST_F(SideChainTest, AModuleWithoutACommandCountsAsVisited) {
  ScriptedDesign twice("A -> B -> C; A -> S -> T; B -> S");
  twice.needApply("A B");
  twice["S"].autoApply.script.reset();
  twice.log.alsoHear({EventKind::Creation, EventKind::Trace});
  EXPECT_EQ(twice.run("A", "B"),
            "A:makeApply A:apply S:makeAuto T:makeAuto "
            "trace{Executing auto apply command: T:auto} T:auto "
            "trace{Finished auto apply command} "
            "B:makeApply B:apply C:makeAuto trace{Executing auto apply command: C:auto} C:auto "
            "trace{Finished auto apply command} finish(true)");
}

TEST_F(SideChainTest, AModuleWithoutACommandInTheRangeIsPassedOver) {
  ScriptedDesign chain("A -> B -> C");
  chain.needApply("A C");
  chain["B"].autoApply.script.reset();
  EXPECT_EQ(chain.run("A", "C"), "A:apply C:apply finish(true)");
}

// --- In the range -------------------------------------------------------------------------------

TEST(AutoApplyInRangeTest, IsNeverAloneAndAsksNoMore) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A");
  design["B"].always = false;
  const auto update = design.update("A", "C");
  design.log.hear({EventKind::Question, EventKind::Creation, EventKind::Step});
  const std::string events = design.run(*update);
  EXPECT_NE(events.find("A:apply B?relevant B?necessary B?possible B?autoNecessary B?autoPossible "
                        "B:makeAuto B:auto C?relevant C?necessary(end) C?possible C?autoNecessary "
                        "C?autoPossible C:makeAuto C:auto"),
            std::string::npos)
      << events;
}

TEST(AutoApplyInRangeTest, GetsTheDesignObject) {
  ScriptedDesign design("A -> B");
  design.needApply("A");
  const auto update = design.update("A", "B");
  design["B"].objectGiven.reset();
  design.run(*update);
  EXPECT_EQ(design["B"].objectGiven.lock(), design.root);
}

TEST(AutoApplyInRangeTest, ItsMessagesGoOn) {
  ScriptedDesign design("A -> B -> C -> D");
  design.needApply("A");
  design["B"].autoApply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "b")});
  };
  design["C"].possible = false;
  design["C"].autoApply.script->hasData = false;
  EXPECT_EQ(design.run("A", "D"), "A:apply B:auto C:auto D:apply(b) finish(true)");
}

TEST(AutoApplyInRangeTest, JoinsTheListAndIsUndoneWithTheRun) {
  ScriptedDesign design("A -> B -> C; A -> S");
  design.needApply("A C");
  const auto update = design.update("A", "C");
  design.run(*update);
  EXPECT_EQ(update->size(), 4U);
  EXPECT_EQ(design.undo(*update), "A:apply~ S:auto~ B:auto~ C:apply~");
}

// --- What is logged -----------------------------------------------------------------------------

TEST(AutoApplyLogTest, TracesBeginningAndEndInTheNameOfTheOperation) {
  ScriptedDesign design("A -> B");
  design.needApply("A");
  design["B"].autoApply.script->logDescription = "For the log";
  std::vector<ReferencePlatform::LogRecord> records;
  const auto sink =
      ReferencePlatform::addLogSink([&](const auto& record) { records.push_back(record); });
  design.run("A", "B");
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].text, "Executing auto apply command: For the log");
  EXPECT_EQ(records[1].text, "Finished auto apply command");
  for (const auto& record : records) {
    EXPECT_EQ(record.level, ReferencePlatform::LogLevel::Trace);
    EXPECT_EQ(record.file, "UpdateApplyModulesCmd");
    EXPECT_NE(record.function.find("Tessaril::UpdateApplyModulesCmd::executeAutoApply("),
              std::string::npos)
        << record.function;
    EXPECT_EQ(record.function.find("lambda"), std::string::npos) << record.function;
    EXPECT_GT(record.line, 0);
  }
}

// --- Failing auto applies -----------------------------------------------------------------------

class FailingAutoApplyTest : public testing::Test {
 protected:
  FailingAutoApplyTest() {
    design.needApply("A C");
    design["B"].autoApply.script->whenExecuted = kBoom;
    design["B"].autoApply.script->description = "Draw";
    design["B"].autoApply.script->logDescription = "Draw for the log";
  }

  ScriptedDesign design{"A -> B -> C -> D"};
};

TEST_F(FailingAutoApplyTest, IsReportedTwiceAndTheRunGoesOn) {
  const auto update = design.cachedUpdate("A", "C");
  design.log.alsoHear({EventKind::User, EventKind::Trace});
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply trace{Executing auto apply command: Draw for the log} B:auto "
            "error{Auto apply failed with exception: boom} user{Draw failed with: boom} "
            "C:apply trace{Executing auto apply command: D:auto} D:auto "
            "trace{Finished auto apply command} cache:end finish(true)");
  EXPECT_FALSE(update->hasExceptionBeenThrown());
  EXPECT_EQ(update->size(), 3U);
}

TEST_F(FailingAutoApplyTest, TellsTheUserAnError) {
  const auto update = design.update("A", "C");
  design.run(*update);
  const auto messages = update->getProgressPtr()->getLogMessages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0], LogMessage("Draw failed with: boom", LogMessage::Error, ""));
}

TEST_F(FailingAutoApplyTest, TellsTheUserInTheUsersLanguage) {
  ReferencePlatform::Catalogue catalogue;
  catalogue.add("UpdateApplyModulesCmd", "%1 failed with: %2", "%2: bei %1");
  const auto installed = ReferencePlatform::installCatalogue(catalogue);
  design["B"].autoApply.script->description = "Draw %2";
  design.log.hear({EventKind::User, EventKind::Error});
  // The log is for the developers.
  EXPECT_EQ(design.run("A", "C"),
            "error{Auto apply failed with exception: boom} user{boom: bei Draw %2}");
}

TEST_F(FailingAutoApplyTest, LogsInTheNameOfTheOperation) {
  design.run("A", "C");
  ASSERT_EQ(design.recorder.errors().size(), 1U);
  const auto record = design.recorder.errors()[0];
  EXPECT_EQ(record.text, "Auto apply failed with exception: boom");
  EXPECT_EQ(record.file, "UpdateApplyModulesCmd");
  EXPECT_NE(record.function.find("Tessaril::UpdateApplyModulesCmd::executeAutoApply("),
            std::string::npos)
      << record.function;
}

TEST_F(FailingAutoApplyTest, LeavesTheMessagesOfTheRunAsTheyWere) {
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "a")});
  };
  design["B"].possible = false;
  design["B"].autoApply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "b")});
    throw std::runtime_error("boom");
  };
  design.log.hear({EventKind::Step});
  EXPECT_EQ(design.run("A", "C"), "A:apply B:auto(a) C:apply(a) D:auto(a)");
}

// In the range the scheduling marks the module and goes on; off the way nobody does.
TEST_F(FailingAutoApplyTest, OffTheWayTheModuleIsNotVisitedAndKeepsItsFollowersFromBeingReady) {
  ScriptedDesign side("A -> B -> C; A -> S -> T; B -> S");
  side.needApply("A B");
  side["S"].autoApply.script->whenExecuted = kBoom;
  side.log.hear({EventKind::Step, EventKind::Run});
  EXPECT_EQ(side.run("A", "B"), "A:apply S:auto B:apply C:auto S:auto finish(true)");
}

TEST_F(FailingAutoApplyTest, OffTheWayTheFollowersOfAnInconsistentModuleHearOfIt) {
  ScriptedDesign side("A -> B; A -> S -> T -> U");
  side.needApply("A B");
  side["S"].autoApply.script->whenExecuted = kBoom;
  side["S"].always = false;
  side["S"].consistent = false;
  side.log.hear({EventKind::Step, EventKind::Signal, EventKind::Run});
  EXPECT_EQ(side.run("A", "B"), "A:apply S:auto(alone) T:signal U:signal B:apply finish(true)");
}

TEST_F(FailingAutoApplyTest, IsTriedAgainFromAnotherBranch) {
  ScriptedDesign side("A -> B -> C; A -> S -> T; B -> S");
  side.needApply("A B");
  int tries = 0;
  side["S"].autoApply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    if (++tries == 1) {
      throw std::runtime_error("boom");
    }
  };
  side.log.hear({EventKind::Step, EventKind::Run});
  EXPECT_EQ(side.run("A", "B"), "A:apply S:auto B:apply C:auto S:auto T:auto finish(true)");
}

TEST_F(FailingAutoApplyTest, IsPassedOnUnchangedWhereFailuresAre) {
  const ExceptionPolicy policy(false);
  const auto update = design.cachedUpdate("A", "C");
  design.log.alsoHear({EventKind::User});
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply B:auto error{Auto apply failed with exception: boom} "
            "throws{std: boom}");
  EXPECT_EQ(update->size(), 1U);
  EXPECT_FALSE(update->hasExceptionBeenThrown());
  EXPECT_THROW(update->execute(), std::runtime_error);
}

TEST_F(FailingAutoApplyTest, AnythingThatIsNoStandardExceptionPasses) {
  design["B"].autoApply.script->whenExecuted = [](ApplyUpdateInfo&) { throw 7; };
  EXPECT_EQ(design.run("A", "C"), "A:apply B:auto throws{int: 7}");
}

}  // namespace
}  // namespace Tessaril
