#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "reference_platform/command_pattern/SteppingThreadManager.h"
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
using TestSupport::ScriptedUpdate;

using Thrower = std::function<void()>;

/// One place in a run that may fail.
struct FailurePoint {
  const char* name;
  std::function<void(ScriptedDesign&, ScriptedUpdate&, const Thrower&)> install;
  /// What happens up to the failure.
  const char* before;
  /// What happens then where the state is preserved. Empty: the failure goes to the caller under
  /// either policy.
  const char* whenPreserved = "";
  /// What is logged where it is passed on.
  const char* loggedWhenPassedOn = "";
  bool countsAsThrown = true;
};

std::ostream& operator<<(std::ostream& stream, const FailurePoint& point) {
  return stream << point.name;
}

std::function<void(ApplyUpdateInfo&)> inStep(const Thrower& thrower) {
  return [thrower](ApplyUpdateInfo&) { thrower(); };
}

Answer inAnswer(const Thrower& thrower) {
  return Answer([thrower] {
    thrower();
    return false;
  });
}

std::vector<FailurePoint> failurePoints() {
  using Design = ScriptedDesign;
  using Update = ScriptedUpdate;
  return {
      {"FirstApply",
       [](Design& d, Update&, const Thrower& t) { d["A"].apply.script->whenExecuted = inStep(t); },
       "cache:begin A:apply",
       "error{A:apply failed with: boom} user{A:apply failed with: boom} "
       "A:auto B:auto C:auto S:auto D:auto T:auto cache:end finish(false)"},
      {"ApplyInTheMiddle",
       [](Design& d, Update&, const Thrower& t) { d["B"].apply.script->whenExecuted = inStep(t); },
       "cache:begin A:apply B:apply",
       "error{B:apply failed with: boom} user{B:apply failed with: boom} "
       "B:auto C:auto S:auto D:auto T:auto cache:end finish(false)"},
      {"ApplyOfTheEnd",
       [](Design& d, Update&, const Thrower& t) { d["C"].apply.script->whenExecuted = inStep(t); },
       "cache:begin A:apply B:apply S:auto T:auto C:apply",
       "error{C:apply failed with: boom} user{C:apply failed with: boom} "
       "C:auto D:auto cache:end finish(false)"},
      {"BeforeASubCommand", [](Design&, Update& u, const Thrower& t) { u.whenPrepared = t; },
       "cache:begin",
       "error{A:apply failed with: boom} user{A:apply failed with: boom} "
       "A:auto B:auto C:auto S:auto D:auto T:auto cache:end finish(false)"},
      {"AfterASubCommand", [](Design&, Update& u, const Thrower& t) { u.whenFinalized = t; },
       "cache:begin A:apply",
       "error{A:apply failed with: boom} user{A:apply failed with: boom} "
       "A:auto B:auto C:auto S:auto D:auto T:auto cache:end finish(false)"},
      {"AutoApply",
       [](Design& d, Update&, const Thrower& t) {
         d["S"].autoApply.script->whenExecuted = inStep(t);
       },
       "cache:begin A:apply B:apply S:auto",
       "error{Auto apply failed with exception: boom} user{S:auto failed with: boom} "
       "C:apply D:auto cache:end finish(true)",
       "error{Auto apply failed with exception: boom} ", false},
      {"AutoApplyBehindTheEnd",
       [](Design& d, Update&, const Thrower& t) {
         d["D"].autoApply.script->whenExecuted = inStep(t);
       },
       "cache:begin A:apply B:apply S:auto T:auto C:apply D:auto",
       "error{Auto apply failed with exception: boom} user{D:auto failed with: boom} "
       "cache:end finish(true)",
       "error{Auto apply failed with exception: boom} ", false},
      {"FactoryOfTheFirst", [](Design& d, Update&, const Thrower& t) { d["A"].apply.whenMade = t; },
       "cache:begin"},
      {"FactoryInTheMiddle",
       [](Design& d, Update&, const Thrower& t) { d["B"].apply.whenMade = t; },
       "cache:begin A:apply"},
      {"FactoryOfAnAutoApply",
       [](Design& d, Update&, const Thrower& t) { d["S"].autoApply.whenMade = t; },
       "cache:begin A:apply B:apply"},
      {"NameOfAnAutoApply",
       [](Design& d, Update&, const Thrower& t) { d["S"].autoApply.script->whenDescribed = t; },
       "cache:begin A:apply B:apply"},
      {"SlotOfASignal",
       [](Design& d, Update&, const Thrower& t) {
         d["B"].possible = false;
         d["B"].autoPossible = false;
         d["B"].whenSignalled = t;
       },
       "cache:begin A:apply B:signal"},
      {"SlotOfAFollowersSignal",
       [](Design& d, Update&, const Thrower& t) {
         d["S"].always = false;
         d["S"].consistent = false;
         d["T"].whenSignalled = t;
       },
       "cache:begin A:apply B:apply S:auto(alone) T:signal"},
      {"BeginOfTheCache", [](Design& d, Update&, const Thrower& t) { d.cache->whenBegun = t; },
       "cache:begin"},
      {"EndOfTheCache", [](Design& d, Update&, const Thrower& t) { d.cache->whenEnded = t; },
       "cache:begin A:apply B:apply S:auto T:auto C:apply D:auto cache:end"},
      {"SlotOfTheFinishSignal",
       [](Design&, Update& u, const Thrower& t) { u.whenFinished = [t](bool) { t(); }; },
       "cache:begin A:apply B:apply S:auto T:auto C:apply D:auto cache:end finish(true)"},
      {"QuestionOfTheFirst",
       [](Design& d, Update&, const Thrower& t) { d["A"].possible = inAnswer(t); }, "cache:begin"},
      {"QuestionInTheMiddle",
       [](Design& d, Update&, const Thrower& t) { d["B"].necessary = inAnswer(t); },
       "cache:begin A:apply"},
      {"QuestionOfAutoApply",
       [](Design& d, Update&, const Thrower& t) { d["S"].always = inAnswer(t); },
       "cache:begin A:apply B:apply"},
      {"QuestionForSuppression",
       [](Design&, Update& u, const Thrower& t) {
         u.suppresses = [t](const std::string& name) {
           if (name == "B") {
             t();
           }
           return false;
         };
       },
       "cache:begin A:apply"},
      {"QuestionForCancelling",
       [](Design&, Update& u, const Thrower& t) {
         u.cancels = [t](const std::string&) {
           t();
           return false;
         };
       },
       "cache:begin A:apply"},
      {"CloneOfAMessage",
       [](Design& d, Update&, const Thrower& t) {
         d["A"].apply.script->whenExecuted = [&d, t](ApplyUpdateInfo& info) {
           const auto message = makeMessage(d.log, "m");
           message->whenCloned = t;
           info = ApplyUpdateInfo({message});
         };
       },
       "cache:begin A:apply"},
  };
}

/// A run over A, B, C, which need a full apply each, with S, T and D off the way to C, in which one
/// place fails.
class FailureTest : public testing::TestWithParam<FailurePoint> {
 protected:
  FailureTest() {
    design.needApply("A B C");
    design.log.alsoHear({EventKind::User});
    design.writeIntoDocument();
  }

  std::string run(const Thrower& thrower) {
    GetParam().install(design, *update, thrower);
    return design.run(*update);
  }
  bool goesToTheCaller() const { return std::string(GetParam().whenPreserved).empty(); }

  ScriptedDesign design{"A -> B -> C -> D; B -> S -> T"};
  std::shared_ptr<ScriptedUpdate> update = design.cachedUpdate("A", "C");
};

/// Of the family, but of no more special standard type.
class Boom : public std::exception {
 public:
  const char* what() const noexcept override { return "boom"; }
};

const Thrower kThrowBoom = [] { throw Boom(); };
const Thrower kThrowSeven = [] { throw 7; };

TEST_P(FailureTest, WithTheStatePreserved) {
  const std::string expected = std::string(GetParam().before) + " " +
                               (goesToTheCaller() ? "throws{std: boom}" : GetParam().whenPreserved);
  EXPECT_EQ(run(kThrowBoom), expected);
  EXPECT_EQ(update->hasExceptionBeenThrown(), !goesToTheCaller() && GetParam().countsAsThrown);
}

TEST_P(FailureTest, PassedOn) {
  const ExceptionPolicy policy(false);
  EXPECT_EQ(run(kThrowBoom), std::string(GetParam().before) + " " + GetParam().loggedWhenPassedOn +
                                 "throws{std: boom}");
  EXPECT_EQ(update->hasExceptionBeenThrown(), !goesToTheCaller() && GetParam().countsAsThrown);
}

// Nothing but the std::exception family is handled, whatever the policy.
TEST_P(FailureTest, WithAnotherTypeUnderEitherPolicy) {
  const std::string expected = std::string(GetParam().before) + " throws{int: 7}";
  EXPECT_EQ(run(kThrowSeven), expected);
  EXPECT_FALSE(update->hasExceptionBeenThrown());
  EXPECT_TRUE(design.recorder.errors().empty());

  const ExceptionPolicy policy(false);
  ScriptedDesign again("A -> B -> C -> D; B -> S -> T");
  again.needApply("A B C");
  const auto second = again.cachedUpdate("A", "C");
  GetParam().install(again, *second, kThrowSeven);
  EXPECT_EQ(again.run(*second), expected);
  EXPECT_FALSE(second->hasExceptionBeenThrown());
}

// Whatever was done stays in the list, and nothing else.
TEST_P(FailureTest, WhatWasDoneCanBeUndone) {
  run(kThrowBoom);
  const bool takenInIsMissing = std::string(GetParam().name) == "AfterASubCommand";
  design.undo(*update);
  if (takenInIsMissing) {
    // A was executed, but failed when it was taken in: like every failed command it is not in the
    // list.
    EXPECT_EQ(design.document.count("A#0"), 1U);
    design.document.erase("A#0");
  }
  EXPECT_TRUE(design.document.empty());
}

INSTANTIATE_TEST_SUITE_P(Places, FailureTest, testing::ValuesIn(failurePoints()),
                         [](const auto& place) { return std::string(place.param.name); });

// --- What stands after a failure ----------------------------------------------------------------

class FailedRunTest : public testing::Test {
 protected:
  FailedRunTest() {
    design.needApply("A B C");
    design["B"].apply.script->description = "Cut teeth";
    failB();
  }
  void failB() {
    design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
      throw std::runtime_error("no room");
    };
  }
  void repairB() { design["B"].apply.script->whenExecuted = {}; }

  ScriptedDesign design{"A -> B -> C -> D; B -> S -> T"};
  std::shared_ptr<ScriptedUpdate> update = design.cachedUpdate("A", "C");
};

TEST_F(FailedRunTest, RemembersTheModuleAndKeepsWhatWasDone) {
  design.run(*update);
  EXPECT_EQ(update->getLastExecutedApplyModule(), design.module("B"));
  ASSERT_EQ(update->size(), 6U);
  EXPECT_EQ(update->getCommands()[0]->getDescription(), "A:apply");
  EXPECT_EQ(update->getCommands()[1]->getDescription(), "B:auto");
  EXPECT_TRUE(update->getProgressPtr()->isFinished());
}

TEST_F(FailedRunTest, LogsTheFailureInTheNameOfTheReport) {
  design.run(*update);
  const auto records = design.recorder.errors();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].text, "Cut teeth failed with: no room");
  EXPECT_EQ(records[0].file, "UpdateApplyModulesCmd");
  EXPECT_EQ(records[0].function,
            "virtual void Tessaril::UpdateApplyModulesCmd::printLogMessage(std::exception&)");
  EXPECT_GT(records[0].line, 0);
}

TEST_F(FailedRunTest, TellsTheUserAnError) {
  design.run(*update);
  const auto messages = update->getProgressPtr()->getLogMessages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0], LogMessage("Cut teeth failed with: no room", LogMessage::Error, ""));
}

TEST_F(FailedRunTest, IsReportedInTheUsersLanguageWithTheTranslatorsComment) {
  ReferencePlatform::Catalogue catalogue;
  const char* const kComment =
      "Error message of a failed command. %1 is command description and %2 is failed reason";
  catalogue.add("UpdateApplyModulesCmd", "%1 failed with: %2", "%2: bei %1", kComment);
  const auto installed = ReferencePlatform::installCatalogue(catalogue);
  design["B"].apply.script->description = "Cut %2 teeth";
  // The auto apply's report is the same text without the comment: that entry is not for it.
  design["S"].autoApply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("no paper");
  };
  design.log.hear({EventKind::User});
  EXPECT_EQ(design.run(*update),
            "user{no room: bei Cut %2 teeth} user{S:auto failed with: no paper}");
}

TEST_F(FailedRunTest, ValuesWithMarkersAreNotExpanded) {
  design["B"].apply.script->description = "Cut %2 of %1";
  design["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("no %1 and no %2");
  };
  design.log.hear({EventKind::User});
  EXPECT_EQ(design.run(*update), "user{Cut %2 of %1 failed with: no %1 and no %2}");
}

TEST_F(FailedRunTest, IsForgottenByTheNextRun) {
  design.run(*update);
  EXPECT_TRUE(update->hasExceptionBeenThrown());
  repairB();
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply B:apply S:auto T:auto C:apply D:auto cache:end finish(true)");
  EXPECT_FALSE(update->hasExceptionBeenThrown());
  EXPECT_TRUE(update->getProgressPtr()->getLogMessages().empty());
}

// The messages are those of the command that finished last, not of the one that failed.
TEST_F(FailedRunTest, GoesOnWithTheMessagesFromBeforeTheFailure) {
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "a")});
  };
  design["B"].apply.script->whenExecuted = [this](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeMessage(design.log, "b")});
    throw std::runtime_error("no room");
  };
  design.log.hear({EventKind::Step});
  EXPECT_EQ(design.run(*update),
            "A:apply B:apply(a) B:auto(a) C:auto(a) S:auto(a) D:auto(a) T:auto(a)");
}

// B was queued together with X; X waits again, while what B had queued is forgotten.
TEST_F(FailedRunTest, GoesBackToTheMomentWhenTheFailedCommandWasIssued) {
  ScriptedDesign fork("A -> B -> D; A -> X -> D; B -> S");
  fork.needApply("A B X D");
  fork["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("no room");
  };
  fork.log.hear({EventKind::Step, EventKind::Run});
  // B's sub-graph first: D does not wait for X there. Then X, which gets no full apply any more.
  EXPECT_EQ(fork.run("A", "D"), "A:apply B:apply B:auto D:auto S:auto X:auto finish(false)");
}

TEST_F(FailedRunTest, SignalsWaitingModulesThatAreNotAutoApplied) {
  ScriptedDesign fork("A -> B -> D; A -> X -> D");
  fork.needApply("A B X D");
  fork["B"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("no room");
  };
  fork["X"].autoPossible = false;
  fork.log.hear({EventKind::Step, EventKind::Run, EventKind::Signal});
  EXPECT_EQ(fork.run("A", "D"), "A:apply B:apply B:auto D:auto X:signal finish(false)");
}

TEST_F(FailedRunTest, TheFailedModuleMayBeAutoAppliedInVain) {
  design["B"].autoApply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("still no room");
  };
  design.log.alsoHear({EventKind::User});
  // Nothing behind B is computed from what B left.
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply B:apply error{Cut teeth failed with: no room} "
            "user{Cut teeth failed with: no room} B:auto "
            "error{Auto apply failed with exception: still no room} "
            "user{B:auto failed with: still no room} cache:end finish(false)");
}

TEST_F(FailedRunTest, AnnouncesTheEndOnce) {
  design.log.hear({EventKind::Run});
  EXPECT_EQ(design.run(*update), "cache:begin cache:end finish(false)");
}

TEST_F(FailedRunTest, AFailureWhileTheRestIsAutoAppliedGoesToTheCaller) {
  design["B"].autoApply.whenMade = [] { throw std::runtime_error("no factory"); };
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply B:apply error{Cut teeth failed with: no room} "
            "throws{std: no factory}");
  EXPECT_TRUE(update->hasExceptionBeenThrown());
}

TEST_F(FailedRunTest, ANamelessCommandCannotBeReported) {
  design["B"].apply.script->whenDescribed = [] { throw std::runtime_error("nameless"); };
  EXPECT_EQ(design.run(*update), "cache:begin A:apply B:apply throws{std: nameless}");
}

TEST_F(FailedRunTest, AManagerThatTakesNoMoreJobsIsAFailureOfTheSubCommand) {
  const auto manager = std::make_shared<ReferencePlatform::SteppingThreadManager>();
  manager->refuseJobs();
  update->setThreadManager(manager);
  design.log.hear({EventKind::Step, EventKind::Run});
  EXPECT_EQ(design.run(*update),
            "cache:begin A:auto B:auto C:auto S:auto D:auto T:auto cache:end finish(false)");
}

// --- Passed on ----------------------------------------------------------------------------------

TEST_F(FailedRunTest, IsPassedOnAsAStandardExceptionOfTheSameTextOnly) {
  const ExceptionPolicy policy(false);
  try {
    update->execute();
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error&) {
    FAIL() << "the type of the failure was kept";
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "no room");
  }
  EXPECT_TRUE(update->hasExceptionBeenThrown());
  EXPECT_TRUE(design.recorder.errors().empty());
  EXPECT_TRUE(update->getProgressPtr()->getLogMessages().empty());
  EXPECT_EQ(update->size(), 1U);
}

TEST_F(FailedRunTest, IsPassedOnFromTheStartWhereTheFirstCannotStart) {
  const ExceptionPolicy policy(false);
  const auto manager = std::make_shared<ReferencePlatform::SteppingThreadManager>();
  manager->refuseJobs();
  EXPECT_THROW(update->startExecution(manager), std::exception);
  EXPECT_TRUE(update->hasExceptionBeenThrown());
  EXPECT_EQ(design.log.take(), "cache:begin");
}

// A run that was left by an exception drained no queue: what B had queued comes first next time.
TEST_F(FailedRunTest, ARunThatWasLeftInTheMiddleLeavesItsQueuesToTheNext) {
  {
    const ExceptionPolicy policy(false);
    EXPECT_EQ(design.run(*update), "cache:begin A:apply B:apply throws{std: no room}");
  }
  repairB();
  EXPECT_EQ(design.run(*update),
            "cache:begin S:auto T:auto A:apply B:apply C:apply D:auto cache:end finish(true)");
}

// --- Derived policies ---------------------------------------------------------------------------

/// Takes failures lightly: notes them and lets the run end.
class LenientUpdate : public ScriptedUpdate {
 public:
  using ScriptedUpdate::ScriptedUpdate;
  std::string noted;

 protected:
  void handleException(std::exception& e) override {
    noted += "handle{" + std::string(e.what()) + "} ";
    if (callBase) {
      ScriptedUpdate::handleException(e);
    }
  }
  void printLogMessage(std::exception& e) override {
    noted += "print{" + std::string(e.what()) + "} ";
  }

 public:
  bool callBase = false;
};

TEST_F(FailedRunTest, ADerivedUpdateDecidesWhatAFailureDoes) {
  LenientUpdate lenient(design.log, design.root, design.module("A"), design.module("C"), nullptr);
  EXPECT_EQ(design.run(lenient), "A:apply B:apply");
  EXPECT_EQ(lenient.noted, "handle{no room} ");
  EXPECT_FALSE(lenient.hasExceptionBeenThrown());
}

TEST_F(FailedRunTest, ADerivedUpdateMayReportItsOwnWay) {
  LenientUpdate lenient(design.log, design.root, design.module("A"), design.module("C"), nullptr);
  lenient.callBase = true;
  EXPECT_EQ(design.run(lenient),
            "A:apply B:apply B:auto C:auto S:auto D:auto T:auto finish(false)");
  EXPECT_EQ(lenient.noted, "handle{no room} print{no room} ");
  EXPECT_TRUE(design.recorder.errors().empty());
  EXPECT_TRUE(lenient.hasExceptionBeenThrown());
}

}  // namespace
}  // namespace Tessaril
