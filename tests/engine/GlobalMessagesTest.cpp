#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>

#include "tessaril/commands/ApplyMacroCmd.h"
#include "tessaril/engine/ExceptionPolicy.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::dataOf;
using TestSupport::EventKind;
using TestSupport::makeGlobalMessage;
using TestSupport::makeMessage;
using TestSupport::messageTexts;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedMessage;
using TestSupport::ScriptedModule;

/// A is applied and leaves messages behind; S, off the way to B, stays inconsistent, so that what
/// follows it gets the global ones.
class GlobalMessagesTest : public testing::Test {
 protected:
  GlobalMessagesTest() {
    design.needApply("A");
    design["B"].relevant = false;
    design["B"].autoPossible = false;
    design["S"].always = false;
    design["S"].consistent = false;
    design.forEachModule([](ScriptedModule& module) { module.message.script.emplace(); });
    design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo& info) {
      info = ApplyUpdateInfo(messages);
    };
  }

  ScriptedDesign design{"A -> B; A -> S -> T -> V; S -> U -> V"};
  std::list<std::shared_ptr<ApplyUpdateMessage>> messages{makeGlobalMessage(design.log, "g")};
};

// V follows both, and hears it from both. The signals follow, each once, the last branch first.
TEST_F(GlobalMessagesTest, ReachEverythingBehindAnInconsistentModuleThenItIsSignalled) {
  EXPECT_EQ(design.run("A", "B"),
            "A:apply S:auto(alone)(g) T:message(g) V:message(g) U:message(g) V:message(g) "
            "U:signal V:signal T:signal B:signal finish(true)");
}

TEST_F(GlobalMessagesTest, ReachNobodyBehindAConsistentModule) {
  design["S"].consistent = true;
  EXPECT_EQ(design.run("A", "B"),
            "A:apply S:auto(alone)(g) T:auto(g) U:auto(g) V:auto(g) B:signal finish(true)");
}

TEST_F(GlobalMessagesTest, AreDeliveredInTheirOrderAndOrdinaryOnesAreNot) {
  messages = {makeGlobalMessage(design.log, "g"), makeMessage(design.log, "m"),
              makeGlobalMessage(design.log, "h")};
  design["V"].message.script.reset();
  design.log.hear({EventKind::Step});
  EXPECT_EQ(design.run("A", "B"),
            "A:apply S:auto(alone)(g,m,h) T:message(g) T:message(h) U:message(g) U:message(h)");
}

TEST_F(GlobalMessagesTest, WithoutAnyNothingJoinsTheList) {
  messages = {makeMessage(design.log, "m")};
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update),
            "A:apply S:auto(alone)(m) U:signal V:signal T:signal B:signal finish(true)");
  EXPECT_EQ(update->size(), 2U);
}

TEST_F(GlobalMessagesTest, AreThoseThatTheAutoApplyLeft) {
  design["S"].autoApply.script->whenExecuted = [this](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeGlobalMessage(design.log, "s")});
  };
  design.log.hear({EventKind::Step});
  EXPECT_EQ(design.run("A", "B"),
            "A:apply S:auto(alone)(g) T:message(s) V:message(s) U:message(s) V:message(s)");
}

TEST_F(GlobalMessagesTest, JoinTheListAsOneMacroForEachNextModule) {
  const auto update = design.update("A", "B");
  design.run(*update);
  ASSERT_EQ(update->size(), 4U);
  const auto& commands = update->getCommands();
  for (const std::size_t i : {2, 3}) {
    const auto* delivered = dynamic_cast<const MacroCommand*>(commands[i].get());
    ASSERT_NE(delivered, nullptr);
    EXPECT_EQ(dynamic_cast<const ApplyModuleDataInterface*>(delivered), nullptr);
    ASSERT_EQ(delivered->size(), 1U);
    const auto* macro = dynamic_cast<const ApplyMacroCmd*>(delivered->getCommands()[0].get());
    ASSERT_NE(macro, nullptr);
    EXPECT_EQ(macro->size(), 2U);
  }
}

TEST_F(GlobalMessagesTest, JoinTheListEvenWhereNobodyHandlesThem) {
  design.forEachModule([](ScriptedModule& module) { module.message.script.reset(); });
  const auto update = design.update("A", "B");
  design.run(*update);
  EXPECT_EQ(update->size(), 4U);
}

TEST_F(GlobalMessagesTest, AreUndoneWithTheRun) {
  design["T"].message.script->undoType = 0;
  const auto update = design.update("A", "B");
  design.run(*update);
  // The macros of messages count as dependent; each has its own two passes.
  EXPECT_EQ(design.undo(*update),
            "A:apply~ S:auto(alone)~ T:message~ V:message~ U:message~ V:message~");
}

TEST_F(GlobalMessagesTest, AreClonesForEveryHandler) {
  design.run("A", "B");
  // From the run's own, which came out of S's command: once for the delivery, once for the command.
  EXPECT_EQ(messageTexts(dataOf(design["S"].madeCommands.back()).getUpdateInfo()), "g'");
  EXPECT_EQ(messageTexts(dataOf(design["T"].madeCommands.back()).getUpdateInfo()), "g'''");
  const auto first = dataOf(design["V"].madeCommands[0]).getUpdateInfo().getAllUpdateMessages();
  const auto second = dataOf(design["V"].madeCommands[1]).getUpdateInfo().getAllUpdateMessages();
  EXPECT_NE(first, second);
}

TEST_F(GlobalMessagesTest, ReachAllThatFollowedEvenWhereAHandlerUnlinksItsModule) {
  design["T"].message.script->whenExecuted = [this](ApplyUpdateInfo&) {
    TestSupport::PrivateLinks::removeNext(design["S"], design.module("T"));
  };
  design.log.hear({EventKind::Step});
  EXPECT_EQ(design.run("A", "B"),
            "A:apply S:auto(alone)(g) T:message(g) V:message(g) U:message(g) V:message(g)");
}

TEST_F(GlobalMessagesTest, DoNotChangeTheMessagesOfTheRun) {
  design["T"].message.script->whenExecuted = [](ApplyUpdateInfo& info) { info.clear(); };
  design["B"].autoPossible = true;
  design.log.hear({EventKind::Step});
  const std::string events = design.run("A", "B");
  EXPECT_NE(events.find("B:auto(g)"), std::string::npos) << events;
}

TEST_F(GlobalMessagesTest, DoNotMarkTheirHandlersAsVisited) {
  ScriptedDesign later("A -> B -> T; A -> S -> T");
  later.needApply("A B");
  later["S"].always = false;
  later["S"].consistent = false;
  later["T"].message.script.emplace();
  later["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeGlobalMessage(later.log, "g")});
  };
  EXPECT_EQ(later.run("A", "B"),
            "A:apply S:auto(alone)(g) T:message(g) T:signal B:apply(g) T:auto(g) finish(true)");
}

TEST_F(GlobalMessagesTest, AnswerEachForItsKindAndAreClonedOnlyIfGlobal) {
  messages = {makeMessage(design.log, "m"), makeGlobalMessage(design.log, "g")};
  design["S"].autoApply.script->whenExecuted = [this](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo(messages);
    design.log.take();
    design.log.hear({EventKind::Message, EventKind::Step});
  };
  design["V"].message.script.reset();
  design["V"].setApplyCmdFactory(nullptr);
  design["T"].whenSignalled = [this] { design.log.hear({}); };
  EXPECT_EQ(design.run("A", "B"),
            // What follows T is V, which takes a copy too although it has no command.
            "m?global g?global g:clone g':clone g':clone T:message(g) g':clone "
            "m?global g?global g:clone g':clone g':clone U:message(g) g':clone");
}

// --- Failing handlers ---------------------------------------------------------------------------

class FailingHandlerTest : public GlobalMessagesTest, public testing::WithParamInterface<bool> {
 protected:
  ExceptionPolicy policy{GetParam()};
};

// A message that cannot be handled is no failure of a sub-command: it goes to the caller.
TEST_P(FailingHandlerTest, PassesOnToTheCaller) {
  design["U"].message.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("not understood");
  };
  const auto update = design.cachedUpdate("A", "B");
  EXPECT_EQ(design.run(*update),
            "cache:begin A:apply S:auto(alone)(g) T:message(g) V:message(g) U:message(g) "
            "throws{std: not understood}");
  EXPECT_FALSE(update->hasExceptionBeenThrown());
  // T's delivery was complete.
  EXPECT_EQ(update->size(), 3U);
}

TEST_P(FailingHandlerTest, PassesOnWhatAFactoryThrows) {
  design["T"].message.whenMade = [] { throw 7; };
  EXPECT_EQ(design.run("A", "B"), "A:apply S:auto(alone)(g) throws{int: 7}");
}

INSTANTIATE_TEST_SUITE_P(Policies, FailingHandlerTest, testing::Bool());

}  // namespace
}  // namespace Tessaril
