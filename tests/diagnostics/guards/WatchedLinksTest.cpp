#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "diagnostics/guards/LinkImage.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tests/diagnostics/guards/GuardedDesign.h"

// Edits that no hook tells of are found by comparing links between the steps of a run.

namespace Tessaril::Diagnostics {
namespace {

using testing::HasSubstr;
using TestSupport::GuardedDesign;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedUpdate;
using TestSupport::ViolationLog;

class WatchedLinksTest : public testing::Test {
 protected:
  WatchedLinksTest() {
    guard->watchLinksOf(design.module("A"));
    design.needApply("A B C");
  }

  std::shared_ptr<GuardedUpdate<ScriptedUpdate>> update() {
    return std::make_shared<GuardedUpdate<ScriptedUpdate>>(
        guard, design.log, design.root, design.module("A"), design.module("D"), nullptr);
  }

  /// Hangs S behind C instead of B.
  void moveSideChain() {
    ApplyGraph::moveStartOfSubChain(design.module("S"), design.module("B"), design.module("C"));
  }

  ViolationLog violations;
  std::shared_ptr<GraphGuard> guard = std::make_shared<GraphGuard>(violations.handler());
  /// Its modules are not guarded.
  ScriptedDesign design{"A -> B -> C -> D; B -> S"};
};

constexpr const char* kMovedWhileARan =
    "no edit during a run: the links of /B were found edited (it follows /A and leads to /C now) "
    "while the update \"Update Design up to: D:apply\", started on thread 1, ran (its last command "
    "was prepared for /A)\n"
    "no edit during a run: the links of /C were found edited (it follows /B and leads to /D, /S "
    "now) while the update \"Update Design up to: D:apply\", started on thread 1, ran (its last "
    "command was prepared for /A)\n"
    "no edit during a run: the links of /S were found edited (it follows /C and leads to nothing "
    "now) while the update \"Update Design up to: D:apply\", started on thread 1, ran (its last "
    "command was prepared for /A)\n";

TEST_F(WatchedLinksTest, AreSilentAboutARunThatEditsNothing) {
  design.run(*update());
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(WatchedLinksTest, NameTheCommandThatEditedModulesWithoutGuard) {
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo&) { moveSideChain(); };
  design.run(*update());
  EXPECT_EQ(violations.takeTexts(), kMovedWhileARan);
}

TEST_F(WatchedLinksTest, NameTheCommandThatEditedAndFailed) {
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo&) {
    moveSideChain();
    throw std::runtime_error("boom");
  };
  design.run(*update());
  EXPECT_EQ(violations.takeTexts(), kMovedWhileARan);
}

TEST_F(WatchedLinksTest, NameTheAutoApplyThatEdited) {
  design["S"].autoApply.script->whenExecuted = [this](ApplyUpdateInfo&) { moveSideChain(); };
  design.run(*update());
  EXPECT_THAT(violations.takeTexts(), HasSubstr("ran (its last command was prepared for /S)"));
}

TEST_F(WatchedLinksTest, FindAnEditBehindTheLastCommand) {
  design["D"].autoApply.script->whenExecuted = [this](ApplyUpdateInfo&) { moveSideChain(); };
  design.run(*update());
  EXPECT_THAT(violations.takeTexts(), HasSubstr("ran (its last command was prepared for /D)"));
}

TEST_F(WatchedLinksTest, FindListsThatAreWrittenAsAWhole) {
  std::vector<ApplyModuleData> records;
  ApplyGraph::storeApplyGraph(design.root, {design.module("A")}, records);
  records.back().previousPaths.clear();
  design["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) {
    ApplyGraph::restoreApplyGraph(design.root, records);
  };
  design.run(*update());
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].rule, GraphRule::NoEditDuringRun);
  EXPECT_EQ(found[0].operation, "comparison of links");
}

TEST_F(WatchedLinksTest, DoNotMindEditsBetweenRuns) {
  const auto twice = update();
  design.run(*twice);
  moveSideChain();
  design.run(*twice);
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(WatchedLinksTest, DoNotMindEditsOfThoseWhoHearOfTheEnd) {
  const auto announcing = update();
  const auto connection = announcing->connectToSigFinished(
      Signals::Slot<void(bool)>([this](bool) { moveSideChain(); }));
  design.run(*announcing);
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(WatchedLinksTest, DoNotTakeAModuleThatHasGoneForAnEdit) {
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo&) {
    design.root->removeChild(design["S"]);
    design.graph.drop("S");
  };
  design.run(*update());
  EXPECT_EQ(design["B"].getNextApplyModules().size(), 2u);
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(WatchedLinksTest, AreNotToldTwice) {
  GuardedDesign told(guard, "A -> B -> C; X; Y");
  guard->watchLinksOf(told.module("A"));
  guard->watchLinksOf(told.module("X"));
  told.needApply("A B");
  told["A"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) { told.link("X", "Y"); };
  told.run(*told.guardedUpdate("A", "C"));
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].operation, "onApplyGraphChanged");
  EXPECT_EQ(found[1].operation, "onApplyGraphChanged");
}

TEST_F(WatchedLinksTest, AHandlerThatThrowsMakesTheCommandThatEditedFail) {
  guard = std::make_shared<GraphGuard>(throwOnViolation());
  guard->watchLinksOf(design.module("A"));
  design["A"].apply.script->whenExecuted = [this](ApplyUpdateInfo&) { moveSideChain(); };
  const auto strict = update();
  EXPECT_THAT(design.run(*strict),
              HasSubstr("A:apply failed with: no edit during a run: the links of /B were found"));
  EXPECT_TRUE(strict->hasExceptionBeenThrown());
}

TEST(LinkImageTest, TellsWhatHasChangedSinceItWasAskedLast) {
  ScriptedDesign design("A -> B; A -> S; X");
  LinkImage image({design.module("A")});
  EXPECT_TRUE(image.takeEdited().empty());
  ApplyGraph::insertAfter(design.module("X"), design.module("B"));
  EXPECT_THAT(image.takeEdited(), testing::ElementsAre(design.module("B")));
  ApplyGraph::remove(design.module("X"));
  EXPECT_THAT(image.takeEdited(), testing::ElementsAre(design.module("B"), design.module("X")));
  EXPECT_TRUE(image.takeEdited().empty());
}

TEST(LinkImageTest, SeesThatAnotherModuleTookAPlace) {
  ScriptedDesign design("A -> B; X");
  LinkImage image({design.module("A")});
  ApplyGraph::replace(design.module("B"), design.module("X"));
  EXPECT_THAT(image.takeEdited(), testing::ElementsAre(design.module("A"), design.module("B")));
}

// Modules that are parts of one object share its owner, and are different ones all the same.
TEST(LinkImageTest, TellsModulesOfOneOwnerApart) {
  struct Pair {
    TestSupport::TestModule first{"first"};
    TestSupport::TestModule second{"second"};
  };
  const auto owner = std::make_shared<Pair>();
  const std::shared_ptr<ApplyModule> first(owner, &owner->first);
  const std::shared_ptr<ApplyModule> second(owner, &owner->second);
  const auto start = std::make_shared<TestSupport::TestModule>("start");
  ApplyGraph::insertAfter(first, start);
  LinkImage image({start});
  ApplyGraph::replace(first, second);
  EXPECT_THAT(image.takeEdited(),
              testing::ElementsAre(std::shared_ptr<const ApplyModule>(start), first));
}

}  // namespace
}  // namespace Tessaril::Diagnostics
