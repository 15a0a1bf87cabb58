#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "diagnostics/run/RunRecorder.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "tessaril/engine/ExceptionPolicy.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"
#include "tests/diagnostics/run/ExplainedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril::Diagnostics {
namespace {

using std::chrono::microseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::Answer;
using TestSupport::deeds;
using TestSupport::EventKind;
using TestSupport::ExplainedDesign;
using TestSupport::makeGlobalMessage;
using TestSupport::makeMessage;
using TestSupport::reasonOf;
using TestSupport::ScriptedModule;
using TestSupport::stepOf;
using Outcome = RunReport::Outcome;

void failsWith(TestSupport::CommandMaking& making, const std::string& text) {
  making.script->whenExecuted = [text](ApplyUpdateInfo&) { throw std::runtime_error(text); };
}

/// Makes nothing, and complains.
class UnwillingFactory : public ApplyCmdFactory {
 public:
  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> /*object*/) override {
    throw std::runtime_error("no licence");
  }
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> /*object*/,
                                                      bool /*mayRunAlone*/) override {
    throw std::runtime_error("no licence");
  }
  std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> /*object*/, std::shared_ptr<ApplyUpdateMessage> /*message*/,
      bool /*flag*/) override {
    throw std::runtime_error("no licence");
  }
};

// What was done, and why

TEST(RunRecorder, TellsWhatWasDoneInOrder) {
  ExplainedDesign design("A -> B -> C -> D -> E; A -> W; B -> X -> Y; C -> Z");
  const auto watching = design.watch();
  design.design.needApply("B");
  design["C"].autoNecessary = false;
  const RunReport report = design.run("A", "D");
  EXPECT_EQ(deeds(report),
            "A:passed over B:full apply X:auto apply Y:auto apply C:signalled Z:auto apply "
            "D:auto apply E:auto apply W:not reached");
  EXPECT_EQ(report.outcome, Outcome::Finished);
  EXPECT_THAT(report.announced, ElementsAre(true));
  EXPECT_EQ(report.description, "Update Design up to: D:apply");
}

TEST(RunRecorder, SaysWhyOneModuleWasAppliedAndAnotherWasNot) {
  ExplainedDesign design("A -> B -> C; A -> W; B -> X");
  const auto watching = design.watch();
  design["B"].necessary = true;
  design["B"].consistent = false;
  design["C"].necessary = true;
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(reasonOf(report, "A"), "up to date");
  EXPECT_EQ(reasonOf(report, "B"), "out of date; nothing it depends on was applied");
  EXPECT_EQ(reasonOf(report, "C"), "it asks for an apply; B was applied before it");
  EXPECT_EQ(reasonOf(report, "X"), "off the way to C; B was applied before it");
  EXPECT_EQ(reasonOf(report, "W"), "off the way to C; nothing it depends on was applied");
  EXPECT_THAT(stillInconsistent(report), ElementsAre("B"));
}

TEST(RunRecorder, SaysWhatKeptAModuleFromItsApply) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A B C");
  design["B"].possible = false;
  design["B"].setActive(true, false);
  design["B"].setSkipped(true, false);
  design["B"].autoPossible = false;
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:signalled C:full apply");
  EXPECT_EQ(reasonOf(report, "B"), "it asks for an apply; but it cannot be applied now (skipped)");
  EXPECT_EQ(reasonOf(report, "C"), "it asks for an apply; A was applied before it");
}

TEST(RunRecorder, TellsWhichMessagesMadeAModuleNeedItsApply) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A");
  design["A"].apply.script->whenExecuted = [&design](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeGlobalMessage(design.design.log, "g")});
  };
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(reasonOf(report, "B"),
            "messages concern it: ScriptedMessage (global); A was applied before it");
  const MessageNote note{"Tessaril::TestSupport::ScriptedMessage", false, true};
  EXPECT_THAT(stepOf(report, "A").received, IsEmpty());
  EXPECT_THAT(stepOf(report, "A").left, ElementsAre(note));
  EXPECT_THAT(stepOf(report, "B").received, ElementsAre(note));
}

TEST(RunRecorder, TellsOfGlobalMessagesBehindAnInconsistentModule) {
  ExplainedDesign design("A -> B; A -> S -> T -> U");
  const auto watching = design.watch();
  design.design.needApply("A");
  design["S"].always = false;
  design["S"].consistent = false;
  design["T"].message.script.emplace();
  design.lasts("T", microseconds(30));
  design["A"].apply.script->whenExecuted = [&design](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeGlobalMessage(design.design.log, "g")});
  };
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(deeds(report),
            "A:full apply S:auto apply T:message T:signalled U:signalled B:full apply");
  EXPECT_EQ(reasonOf(report, "T"), "handles a global message: ScriptedMessage (global)");
  EXPECT_EQ(stepOf(report, "T").duration, microseconds(30));
  EXPECT_EQ(reasonOf(report, "U"), "S before it stayed inconsistent");
}

TEST(RunRecorder, TellsWhereAnAutoApplyMadeNoCommand) {
  ExplainedDesign design("A -> B -> C");
  const auto watching = design.watch();
  design.design.needApply("A C");
  design["B"].autoApply.script.reset();
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:no command C:full apply");
  EXPECT_EQ(reasonOf(report, "B"), "an auto apply was due, but it made no command");
}

TEST(RunRecorder, SaysThatItCannotKnowWhatItDoesNotWatch) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A C");
  design["B"].autoApply.script.reset();
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply C:full apply B:not seen");
  EXPECT_EQ(reasonOf(report, "B"), "it made no command, or was not reached");
  EXPECT_FALSE(report.modules[0].commandsWatched);
}

TEST(RunRecorder, TellsWhereTheRunEndedForWantOfACommand) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A B C");
  design["B"].apply.script.reset();
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:no command C:not reached");
  EXPECT_EQ(reasonOf(report, "B"),
            "a full apply was due, but it made no command: the run ends here");
  EXPECT_EQ(reasonOf(report, "C"), "the run ended before it");
  EXPECT_EQ(report.outcome, Outcome::Finished);
}

TEST(RunRecorder, SaysWhatLiesBehindTheEnd) {
  ExplainedDesign design("A -> B -> C");
  const auto watching = design.watch();
  EXPECT_EQ(reasonOf(design.run("A", "B"), "C"), "behind B; nothing it depends on was applied");
  const RunReport report = design.run("A", "B", "C");
  EXPECT_EQ(deeds(report), "A:passed over B:passed over C:auto apply");
  EXPECT_EQ(reasonOf(report, "C"), "behind B; nothing it depends on was applied");
}

TEST(RunRecorder, AsksOfTheLastRunsModuleOnlyWhatTheUpdateAsks) {
  ExplainedDesign design("A -> B");
  design["A"].necessary = {true, true, true, true, false};
  const auto update = design.update("A", "B");
  design.reportOf(*update);
  design["A"].necessary = false;
  EXPECT_EQ(deeds(design.reportOf(*update)), "A:passed over B:passed over");
}

// A sub-graph off the way does not wait for modules of another one.
TEST(RunRecorder, NamesOnlyWhatWasAppliedBeforeTheModule) {
  ExplainedDesign design("A -> B -> C; A -> R -> X; B -> Y -> X");
  const auto watching = design.watch();
  design.design.needApply("A C");
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report),
            "A:full apply R:auto apply X:auto apply B:auto apply Y:auto apply C:full apply");
  EXPECT_EQ(reasonOf(report, "X"), "off the way to C; R was applied before it");
}

// Signals

TEST(RunRecorder, TakesNoSignalOfACommandForOneOfTheUpdate) {
  ExplainedDesign design("A -> B; A -> X");
  const auto watching = design.watch();
  design.design.needApply("A B");
  for (const char* const name : {"A", "X"}) {
    const auto signal = [&module = design[name]](ApplyUpdateInfo&) {
      module.sendStateChangeSignal();
      module.sendStateChangeSignalsOfFollowingModules();
    };
    design[name].apply.script->whenExecuted = signal;
    design[name].autoApply.script->whenExecuted = signal;
  }
  EXPECT_EQ(deeds(design.run("A", "B")), "A:full apply X:auto apply B:full apply");
}

TEST(RunRecorder, TakesNoSignalOfADerivedUpdateForOneOfTheUpdate) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A B");
  const auto update = design.update("A", "B");
  const auto signal = [&design] { design["A"].sendStateChangeSignal(); };
  update->whenHandedData = [&signal](const std::string&) { signal(); };
  update->whenPrepared = signal;
  update->whenFinalized = signal;
  EXPECT_EQ(deeds(design.reportOf(*update)), "A:full apply B:full apply");
}

TEST(RunRecorder, SaysWhoMayHaveSentASignalThatNobodyWatched) {
  ExplainedDesign design("A -> B; A -> X");
  design.design.needApply("A B");
  design["X"].autoApply.script->whenExecuted = [&design](ApplyUpdateInfo&) {
    design["X"].sendStateChangeSignal();
    design["X"].sendStateChangeSignal();
  };
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(deeds(report), "A:full apply X:auto apply X:signalled B:full apply");
  EXPECT_EQ(report.steps[2].reason, "told of a change, by the update or by the auto apply of X");
}

// Ends

TEST(RunRecorder, TellsOfAFailureThatTheRunKeeps) {
  ExplainedDesign design("A -> B -> C");
  const auto watching = design.watch();
  design.design.needApply("A B C");
  failsWith(design["B"].apply, "no load given");
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:full apply! B:auto apply C:auto apply");
  EXPECT_EQ(report.outcome, Outcome::Failed);
  EXPECT_EQ(report.failure, "no load given");
  EXPECT_EQ(stepOf(report, "B").failure, "no load given");
  EXPECT_EQ(reasonOf(report, "C"), "the run had been stopped; B was applied before it");
  EXPECT_THAT(report.announced, ElementsAre(false));
}

TEST(RunRecorder, TellsOfAFailureThatLeavesTheRun) {
  const ExceptionPolicy policy(false);
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A B C");
  failsWith(design["B"].apply, "no load given");
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:full apply! C:not reached");
  EXPECT_EQ(report.outcome, Outcome::Thrown);
  EXPECT_EQ(report.failure, "no load given");
  EXPECT_EQ(reasonOf(report, "C"), "the run ended before it");
  EXPECT_THAT(report.announced, IsEmpty());
}

TEST(RunRecorder, TellsOfWhatIsNoStandardException) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A B");
  design["A"].apply.script->whenExecuted = [](ApplyUpdateInfo&) { throw 7; };
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(deeds(report), "A:full apply! B:not reached");
  EXPECT_EQ(report.outcome, Outcome::Thrown);
  EXPECT_EQ(stepOf(report, "A").failure, "an exception of an unknown type");
}

TEST(RunRecorder, TellsOfAModuleThatThrowsWhenItIsAsked) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A");
  design["B"].possible = std::function<bool()>([]() -> bool { throw std::runtime_error("boom"); });
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:not reached C:not reached");
  EXPECT_EQ(report.outcome, Outcome::Thrown);
  EXPECT_EQ(report.failure, "boom");
}

// A run that is looked at must not fail for that.
TEST(RunRecorder, SwallowsWhatAModuleThrowsWhenItIsAskedOnceMore) {
  ExplainedDesign design("A -> B");
  int asked = 0;
  design["A"].autoPossible = std::function<bool()>([&asked]() -> bool {
    ++asked;
    throw std::runtime_error("boom");
  });
  design.design.needApply("A");
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(deeds(report), "A:full apply B:auto apply");
  EXPECT_EQ(report.outcome, Outcome::Finished);
  EXPECT_EQ(asked, 1);
  EXPECT_FALSE(stepOf(report, "A").answers);
}

TEST(RunRecorder, SwallowsWhatAModuleThrowsAboutItsRateAndItsFlags) {
  class Sulking : public TestSupport::ObjectModule {
   public:
    using ObjectModule::ObjectModule;
    bool isConsistent() const override { throw std::runtime_error("leave me alone"); }
    LegacyProgress::Speed::Rate getSpeedRate() const override { throw 7; }
  };
  const auto design = std::make_shared<Object>("design");
  const auto module = std::make_shared<Sulking>("A");
  design->addChild(module);
  const auto recorder = std::make_shared<RunRecorder>();
  ObservedUpdate<> update(recorder, RunRange{design, module, module, {}});
  EXPECT_NO_THROW(update.execute());
  const RunReport report = recorder->getLastReport();
  EXPECT_EQ(deeds(report), "A:passed over");
  EXPECT_FALSE(report.modules[0].speedRate);
  EXPECT_FALSE(report.modules[0].consistent);
  EXPECT_FALSE(report.steps[0].flags);
  EXPECT_TRUE(report.steps[0].answers);
}

TEST(RunRecorder, NamesTheModuleWhoseCommandCouldNotBeMade) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A B C");
  const auto unwilling = std::make_shared<UnwillingFactory>();
  design["B"].setApplyCmdFactory(unwilling);
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:no command! C:not reached");
  EXPECT_EQ(stepOf(report, "B").failure, "no licence");
  EXPECT_EQ(report.outcome, Outcome::Thrown);
}

// Who asks a module and hears a signal must not ask again because of it.
TEST(RunRecorder, TakesNoSignalOfAnAnswerToItsOwnQuestionForOneOfTheUpdate) {
  ExplainedDesign design("A -> B -> C");
  const auto watching = design.watch();
  design.design.needApply("A C");
  design["B"].autoNecessary = false;
  std::size_t asked = 0;
  const auto sendAndAnswer = [&] {
    ++asked;
    design["C"].sendStateChangeSignal();
    return true;
  };
  design["B"].always = std::function<bool()>(sendAndAnswer);
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:full apply B:signalled C:full apply");
  EXPECT_EQ(asked, 1U);
}

TEST(RunRecorder, TellsOfAStopRequest) {
  ExplainedDesign design("A -> B -> C");
  const auto watching = design.watch();
  design.design.needApply("A B C");
  const auto update = design.update("A", "C");
  design["A"].apply.script->whenExecuted = [&update](ApplyUpdateInfo&) {
    update->getProgressPtr()->requestStop();
  };
  const RunReport report = design.reportOf(*update);
  EXPECT_EQ(deeds(report), "A:full apply B:full apply! B:auto apply C:auto apply");
  EXPECT_EQ(report.outcome, Outcome::Stopped);
  EXPECT_FALSE(stepOf(report, "B").begin);
  EXPECT_THAT(stepOf(report, "B").failure, HasSubstr("a stop was requested"));
}

TEST(RunRecorder, TellsWhereAnUpdateWasSuppressed) {
  ExplainedDesign design("A -> B -> C");
  const auto watching = design.watch();
  design.design.needApply("A B C");
  const auto update = design.update("A", "C");
  update->suppresses = [](const std::string& name) { return name == "B"; };
  const RunReport report = design.reportOf(*update);
  EXPECT_EQ(deeds(report), "A:full apply B:suppressed B:auto apply C:auto apply");
  EXPECT_EQ(report.outcome, Outcome::Suppressed);
  EXPECT_THAT(report.announced, ElementsAre(false, true));
}

TEST(RunRecorder, TellsWhereAnUpdateWasCancelled) {
  ExplainedDesign design("A -> B -> C");
  const auto watching = design.watch();
  design.design.needApply("B C");
  const auto update = design.update("A", "C");
  update->cancels = [](const std::string& name) { return name == "B"; };
  const RunReport report = design.reportOf(*update);
  EXPECT_EQ(deeds(report), "A:passed over B:full apply B:cancelled C:auto apply");
  EXPECT_EQ(report.outcome, Outcome::Cancelled);
  EXPECT_THAT(report.announced, ElementsAre(false, true));
}

TEST(RunRecorder, TellsWhatAnAutoApplyFailedOf) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A");
  failsWith(design["B"].autoApply, "no tool");
  const RunReport unwatched = design.run("A", "C");
  EXPECT_EQ(deeds(unwatched), "A:full apply B:auto apply! C:auto apply");
  EXPECT_EQ(stepOf(unwatched, "B").failure, "failed; the log says why");
  const auto watching = design.watch();
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(stepOf(report, "B").failure, "no tool");
  EXPECT_EQ(report.outcome, Outcome::Finished);
}

// Times

TEST(RunRecorder, TakesTheTimesOfCommands) {
  ExplainedDesign design("A -> B; A -> X");
  const auto watching = design.watch();
  design.design.needApply("A B");
  design.lasts("A", microseconds(100));
  design.lasts("X", microseconds(20));
  design.lasts("B", microseconds(3000));
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(stepOf(report, "A").begin, microseconds(0));
  EXPECT_EQ(stepOf(report, "A").duration, microseconds(100));
  EXPECT_EQ(stepOf(report, "X").begin, microseconds(100));
  EXPECT_EQ(stepOf(report, "X").duration, microseconds(20));
  EXPECT_FALSE(stepOf(report, "X").durationIsBound);
  EXPECT_EQ(stepOf(report, "B").begin, microseconds(120));
  EXPECT_EQ(stepOf(report, "B").duration, microseconds(3000));
  EXPECT_EQ(report.duration, microseconds(3120));
  EXPECT_EQ(stepOf(report, "A").progressBefore, 0.0);
  EXPECT_EQ(stepOf(report, "A").progressAfter, 49.0);
}

TEST(RunRecorder, KnowsOnlyABoundForTheTimeOfAnUnwatchedAutoApply) {
  ExplainedDesign design("A -> B; A -> X");
  design.design.needApply("A B");
  design.lasts("X", microseconds(20));
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(stepOf(report, "X").duration, microseconds(20));
  EXPECT_TRUE(stepOf(report, "X").durationIsBound);
  EXPECT_FALSE(stepOf(report, "A").durationIsBound);
}

// A run by hand may wait as long as it likes between a report and the next step.
TEST(RunRecorder, LeavesOutWhatTheCallerDoesBetweenTheSteps) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A B");
  design.lasts("A", microseconds(10));
  const auto update = design.update("A", "B");
  update->startExecution(nullptr);
  design.clock->advance(microseconds(5000));
  update->continueExecution(nullptr);
  design.clock->advance(microseconds(5000));
  update->continueExecution(nullptr);
  const RunReport report = design.recorder->getLastReport();
  EXPECT_EQ(stepOf(report, "A").duration, microseconds(10));
  EXPECT_EQ(stepOf(report, "B").begin, microseconds(5010));
  EXPECT_EQ(stepOf(report, "B").duration, microseconds(0));
  EXPECT_EQ(report.duration, microseconds(10010));
}

// Undo and redo

TEST(RunRecorder, TellsOfTheStepsOfAnUndoAndARedo) {
  ExplainedDesign design("A -> B; A -> X");
  const auto watching = design.watch();
  design.design.needApply("A B");
  design["A"].apply.script->undoType = ApplyModuleDataInterface::StorageUndo;
  design["B"].apply.script->undoType = ApplyModuleDataInterface::StorageUndo;
  const auto update = design.update("A", "B");
  update->execute();
  const RunReport undo = [&] {
    update->undo();
    return design.recorder->getLastReport();
  }();
  EXPECT_EQ(undo.kind, RunReport::Kind::Undo);
  EXPECT_EQ(deeds(undo), "B:undone A:undone X:undone");
  update->redo();
  EXPECT_EQ(deeds(design.recorder->getLastReport()), "A:redone X:redone B:redone");
  EXPECT_EQ(design.recorder->getReports().size(), 3U);
}

TEST(RunRecorder, TellsOfAnUndoThatFails) {
  ExplainedDesign design("A -> B");
  const auto watching = design.watch();
  design.design.needApply("A B");
  design["B"].apply.script->whenUndone = [](ApplyUpdateInfo&) {
    throw std::runtime_error("still in use");
  };
  const auto update = design.update("A", "B");
  update->execute();
  EXPECT_THROW(update->undo(), std::runtime_error);
  const RunReport report = design.recorder->getLastReport();
  EXPECT_EQ(deeds(report), "A:undone B:undone! A:executed again");
  EXPECT_EQ(report.outcome, Outcome::Thrown);
  EXPECT_EQ(report.failure, "still in use");
}

// Keeping reports

TEST(RunRecorder, KeepsReportsUntilTheyAreForgotten) {
  ExplainedDesign design("A -> B");
  EXPECT_THROW(design.recorder->getLastReport(), std::logic_error);
  design.run("A", "B");
  design.run("A", "B");
  EXPECT_EQ(design.recorder->getReports().size(), 2U);
  design.recorder->forgetReports();
  EXPECT_THAT(design.recorder->getReports(), IsEmpty());
}

TEST(RunRecorder, ShowsTheRunThatIsUnderWay) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A B");
  std::optional<RunReport> seen;
  design["B"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    seen = design.recorder->getPresentReport();
  };
  EXPECT_FALSE(design.recorder->getPresentReport());
  design.run("A", "B");
  ASSERT_TRUE(seen);
  EXPECT_EQ(seen->outcome, Outcome::UnderWay);
  EXPECT_EQ(deeds(*seen), "A:full apply B:full apply");
  EXPECT_FALSE(seen->steps.back().duration);
  EXPECT_FALSE(design.recorder->getPresentReport());
}

// Whoever hears of the end may start the next run.
TEST(RunRecorder, TellsARunThatAnotherOneStartsApart) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A B");
  const auto inner = design.update("A", "A");
  const auto outer = design.update("A", "B");
  outer->whenFinished = [&](bool) { inner->execute(); };
  design.reportOf(*outer);
  const auto reports = design.recorder->getReports();
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(deeds(reports[0]), "A:full apply B:auto apply");
  EXPECT_EQ(deeds(reports[1]), "A:full apply B:full apply");
}

TEST(RunRecorder, NeedsNoQuestionWithoutAskingAgain) {
  ExplainedDesign design("A -> B -> C", false);
  design.design.needApply("B");
  design["C"].autoNecessary = false;
  const RunReport report = design.run("A", "C");
  EXPECT_EQ(deeds(report), "A:passed over B:full apply C:signalled");
  EXPECT_EQ(reasonOf(report, "A"), "no full apply is due, and nothing was applied yet");
  EXPECT_EQ(reasonOf(report, "B"), "nothing it depends on was applied");
  EXPECT_EQ(reasonOf(report, "C"), "its state may have changed");
  EXPECT_FALSE(stepOf(report, "B").answers);
  EXPECT_FALSE(report.modules[0].speedRate);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
