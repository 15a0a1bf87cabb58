#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "diagnostics/guards/GraphGuard.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tests/diagnostics/guards/GuardedDesign.h"

// Walks, questions and hooks; runs have tests of their own.

namespace Tessaril::Diagnostics {
namespace {

using testing::HasSubstr;
using TestSupport::GuardedDesign;
using TestSupport::TestModule;
using TestSupport::ViolationLog;

class GraphGuardTest : public testing::Test {
 protected:
  ViolationLog violations;
  std::shared_ptr<GraphGuard> guard = std::make_shared<GraphGuard>(violations.handler());
};

TEST_F(GraphGuardTest, IsSilentAboutEditsOutsideOfEverything) {
  GuardedDesign design(guard, "A -> B -> C; A -> S");
  design.insertBehind("B");
  ApplyGraph::remove(design.module("B"));
  ApplyGraph::moveStartOfSubChain(design.module("S"), design.module("A"), design.module("C"));
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GraphGuardTest, IsSilentAboutEditsBeforeAndBehindAWalk) {
  GuardedDesign design(guard, "A -> B");
  design.insertBehind("A");
  { const GuardedWalk walk(guard, "counting"); }
  design.insertBehind("A");
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GraphGuardTest, NamesTheModuleThatAVisitorEdits) {
  GuardedDesign design(guard, "A -> B -> C; D");
  const GuardedWalk walk(guard, "counting");
  design["A"].forThisAndAllFollowingModules([&](const ApplyModule& visited) {
    if (&visited == design.module("B").get()) {
      design.link("C", "D");
    }
    return true;
  });
  EXPECT_EQ(violations.takeTexts(),
            "no edit during a walk: the links of /D were edited on thread 1 (it follows /C and "
            "leads to nothing now) while \"counting\" walked on thread 1\n"
            "no edit during a walk: the links of /C were edited on thread 1 (it follows /B and "
            "leads to /D now) while \"counting\" walked on thread 1\n");
}

TEST_F(GraphGuardTest, WalksMayBeNested) {
  GuardedDesign design(guard, "A -> B");
  {
    const GuardedWalk outer(guard, "outer");
    { const GuardedWalk inner(guard, "inner"); }
    design.link("B", "A");
  }
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  ASSERT_EQ(found[0].ongoing.size(), 1u);
  EXPECT_EQ(found[0].ongoing[0].name, "outer");
}

TEST_F(GraphGuardTest, SeesTheEditOfAnotherThreadDuringAWalk) {
  GuardedDesign design(guard, "A; B");
  const GuardedWalk walk(guard, "counting");
  std::thread([&] { design.link("A", "B"); }).join();
  EXPECT_THAT(violations.takeTexts(),
              HasSubstr("the links of /B were edited on thread 2 (it follows /A and leads to "
                        "nothing now) while \"counting\" walked on thread 1\n"));
}

TEST_F(GraphGuardTest, AWalkThatAnExceptionLeavesIsOver) {
  GuardedDesign design(guard, "A -> B");
  const auto walk = [&] {
    const GuardedWalk walking(guard, "counting");
    design["A"].forAllFollowingModules(
        [](const auto&) -> bool { throw std::runtime_error("enough"); });
  };
  EXPECT_THROW(walk(), std::runtime_error);
  design.insertBehind("A");
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GraphGuardTest, AWalkWithoutGuardGuardsNothing) {
  const GuardedWalk walk(nullptr, "counting");
  GuardedDesign design(guard, "A -> B");
  design.insertBehind("A");
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GraphGuardTest, AWalkThatAsksIfAnythingIsToBeAppliedIsSeenByItself) {
  GuardedDesign design(guard, "A -> B; C");
  design["A"].necessary = TestSupport::Answer([&] {
    design.link("B", "C");
    return false;
  });
  design["B"].isDependencyGraphApplyNecessary(false);
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].rule, GraphRule::NoEditDuringWalk);
  EXPECT_THAT(found[0].text,
              HasSubstr(" while \"isDependencyGraphApplyNecessary\" of /B walked on thread 1, and "
                        "isApplyNecessary of /A was called on thread 1"));
}

TEST_F(GraphGuardTest, AQuestionThatEditsIsNamed) {
  GuardedDesign design(guard, "A -> B; C");
  design["A"].consistent = TestSupport::Answer([&] {
    design.link("B", "C");
    return true;
  });
  design["B"].isDependencyGraphConsistent();
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].rule, GraphRule::NoEditDuringQuestion);
  EXPECT_THAT(found[0].text, HasSubstr("no edit during a question: the links of /C were edited"));
  EXPECT_THAT(found[0].text, HasSubstr("while isConsistent of /A was called on thread 1"));
}

// A design module that answers is half of a change notification: what hears of it may edit.
TEST_F(GraphGuardTest, AListenerMayEditOutsideOfRunsAndWalks) {
  GuardedDesign design(guard, "A -> B");
  design["B"].whenSignalled = [&] { design.insertBehind("B"); };
  design["A"].setActive(true, true);
  EXPECT_EQ(violations.takeTexts(), "");
  EXPECT_EQ(design["B"].getNextApplyModules().size(), 1u);
}

TEST_F(GraphGuardTest, AHookThatEditsIsNamed) {
  const auto edited = makeGuardedModule<TestModule>(guard, "edited");
  const auto before = makeGuardedModule<TestModule>(guard, "before");
  const auto behind = makeGuardedModule<TestModule>(guard, "behind");
  edited->whenGraphChanges = [&](TestModule& module) {
    module.whenGraphChanges = nullptr;
    ApplyGraph::insert(behind, edited, nullptr, false);
  };
  ApplyGraph::insert(edited, before, nullptr, false);
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].text,
            "no edit during another edit: the links of a module without a name were edited on "
            "thread 1 (it follows a module without a name and leads to nothing now) while "
            "onApplyGraphChanged of a module without a name was called on thread 1");
}

// The lists are in motion then. On the edit's own thread what the hook asks is its own affair.
TEST_F(GraphGuardTest, AnotherThreadThatWalksOrAsksDuringAnEditIsNamed) {
  GuardedDesign design(guard, "A -> B; C");
  const auto edited = makeGuardedModule<TestModule>(guard, "edited");
  edited->whenGraphChanges = [&](TestModule& module) {
    module.whenGraphChanges = nullptr;
    std::thread([&] {
      design["A"].isConsistent();
      const GuardedWalk walk(guard, "counting");
    }).join();
  };
  ApplyGraph::insert(edited, design.module("B"), nullptr, false);
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].rule, GraphRule::OneThread);
  EXPECT_EQ(found[0].text,
            "one thread: isConsistent of /A was called on thread 2 while onApplyGraphChanged of a "
            "module without a name was called on thread 1");
  EXPECT_EQ(found[1].rule, GraphRule::OneThread);
  EXPECT_EQ(found[1].operation, "counting");
}

TEST_F(GraphGuardTest, AHookThatAsksBreaksNoRule) {
  const auto edited = makeGuardedModule<TestModule>(guard, "edited");
  const auto before = makeGuardedModule<TestModule>(guard, "before");
  edited->whenGraphChanges = [](TestModule& module) { module.computeAndSetInputOk(true); };
  ApplyGraph::insert(edited, before, nullptr, false);
  EXPECT_EQ(edited->graphChanges, 1);
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GraphGuardTest, WhatAHandlerThrowsLeavesTheEditPartlyDone) {
  guard = std::make_shared<GraphGuard>(throwOnViolation());
  GuardedDesign design(guard, "A; B");
  {
    const GuardedWalk walk(guard, "counting");
    EXPECT_THROW(design.link("A", "B"), GuardError);
  }
  EXPECT_EQ(TestSupport::text(design.graph), "A .-> B");
  EXPECT_NO_THROW(design.link("A", "B")) << "no hook goes on";
  EXPECT_EQ(TestSupport::text(design.graph), "A -> B");
}

TEST_F(GraphGuardTest, AnApplicationNamesItsModulesItself) {
  guard = std::make_shared<GraphGuard>(violations.handler(), [](const ApplyModule& module) {
    const auto* const known = dynamic_cast<const TestModule*>(&module);
    return known == nullptr ? std::string() : "the " + known->getModuleName();
  });
  const auto wheel = makeGuardedModule<TestModule>(guard, "wheel");
  const auto mesh = makeGuardedModule<TestModule>(guard, "mesh");
  const GuardedWalk walk(guard, "counting");
  ApplyGraph::insert(mesh, wheel, nullptr, false);
  EXPECT_THAT(violations.takeTexts(),
              HasSubstr("the links of the mesh were edited on thread 1 (it follows the wheel and"));
}

TEST_F(GraphGuardTest, NamesANeighbourThatIsGone) {
  GuardedDesign design(guard, "~ -> B; A");
  const GuardedWalk walk(guard, "counting");
  design.link("A", "B");
  EXPECT_THAT(violations.takeTexts(), HasSubstr("(it follows one that is gone, /A and leads to"));
}

TEST_F(GraphGuardTest, GuardsOfDifferentGraphsHaveNothingToDoWithOneAnother) {
  GuardedDesign design(guard, "A; B");
  const auto other = std::make_shared<GraphGuard>(violations.handler());
  const GuardedWalk walk(other, "counting");
  design.link("A", "B");
  EXPECT_EQ(violations.takeTexts(), "");
}

// What is told in the documentation not to be seen: no hook tells of it.
TEST_F(GraphGuardTest, ListsThatAreWrittenAsAWholeAreNotSeen) {
  GuardedDesign design(guard, "A -> B");
  std::vector<ApplyModuleData> records;
  ApplyGraph::storeApplyGraph(design.root, {design.module("A")}, records);
  const GuardedWalk walk(guard, "counting");
  ApplyGraph::restoreApplyGraph(design.root, records);
  EXPECT_EQ(violations.takeTexts(), "");
}

TEST_F(GraphGuardTest, WithoutGuardModulesAndUpdatesArePlainOnes) {
  const auto module = makeGuardedModule<TestModule>(nullptr, "plain");
  const auto& made = *module;
  EXPECT_EQ(typeid(made), typeid(TestModule));
  GuardedDesign design(guard, "A -> B");
  const auto update =
      makeGuardedUpdate(nullptr, design.root, design.module("A"), design.module("B"), nullptr);
  const auto& madeUpdate = *update;
  EXPECT_EQ(typeid(madeUpdate), typeid(UpdateApplyModulesCmd));
  const auto guardedUpdate =
      makeGuardedUpdate(guard, design.root, design.module("A"), design.module("B"), nullptr);
  const auto& madeGuarded = *guardedUpdate;
  EXPECT_EQ(typeid(madeGuarded), typeid(GuardedUpdate<>));
}

}  // namespace
}  // namespace Tessaril::Diagnostics
