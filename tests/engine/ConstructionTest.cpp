#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "reference_platform/translation/Catalogue.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"
#include "tessaril/platform/parameterization/ObjectException.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/TestModule.h"

namespace Tessaril {
namespace {

using testing::HasSubstr;
using TestSupport::EventKind;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;
using TestSupport::ScriptedUpdate;
using TestSupport::TestModule;

class OpenUpdate : public UpdateApplyModulesCmd {
 public:
  using UpdateApplyModulesCmd::isApplySuppressed;
  using UpdateApplyModulesCmd::shouldApplyChainBeCanceled;
  using UpdateApplyModulesCmd::UpdateApplyModulesCmd;
};

/// The text of the ObjectException that `body` throws.
std::string objectFailureOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const ObjectException& e) {
    return e.what();
  }
  return "no ObjectException";
}

// --- What a new command is ----------------------------------------------------------------------

TEST(ConstructionTest, KnowsNoModulesAndNoFailureYet) {
  ScriptedDesign design("A -> B");
  const auto update = design.update("A", "B");
  EXPECT_EQ(update->getEndModule(), nullptr);
  EXPECT_EQ(update->getLastExecutedApplyModule(), nullptr);
  EXPECT_FALSE(update->hasExceptionBeenThrown());
  EXPECT_TRUE(update->empty());
  EXPECT_EQ(update->getProgressPtr()->getValue(), 0.0);
}

TEST(ConstructionTest, AnswersNoToWhatOnlyDerivedCommandsDo) {
  ScriptedDesign design("A -> B");
  UpdateApplyModulesCmd update(design.root, design.module("A"), design.module("B"), nullptr);
  EXPECT_FALSE(update.isApplyCommandMultiThreaded(design.module("A")));
  EXPECT_FALSE(update.isDesignSwitchEnabled());
  const OpenUpdate open(design.root, design.module("A"), design.module("B"), nullptr);
  EXPECT_FALSE(open.isApplySuppressed(design.module("A")));
  EXPECT_FALSE(open.shouldApplyChainBeCanceled(design.module("A")));
}

TEST(ConstructionTest, AsksNothingAndMakesOneProbeOfTheEndsCommand) {
  ScriptedDesign design("A -> B -> C");
  design.log.alsoHear({EventKind::Question, EventKind::Creation, EventKind::Rate, EventKind::Hook});
  const auto update = design.update("A", "B", "C");
  EXPECT_EQ(design.log.take(), "B:makeApply");
  EXPECT_EQ(design["B"].objectGiven.lock(), design.root);
  const std::weak_ptr<CommandBase> probe = design["B"].madeCommands.back();
  design["B"].madeCommands.clear();
  EXPECT_TRUE(probe.expired());
}

TEST(ConstructionTest, HoldsModulesAndObjectByPathOnly) {
  ScriptedDesign design("A -> B -> C");
  const auto before = design.module("B").use_count();
  const auto rootBefore = design.root.use_count();
  const auto update = design.update("A", "B", "B");
  EXPECT_EQ(design.module("B").use_count(), before);
  EXPECT_EQ(design.root.use_count(), rootBefore);
}

// --- Description --------------------------------------------------------------------------------

TEST(DescriptionTest, NamesTheEndsCommand) {
  ScriptedDesign design("A -> B");
  design["B"].apply.script->description = "Compute Mesh";
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Update Design up to: Compute Mesh");
}

TEST(DescriptionTest, IsGeneralWhereTheEndHasNoCommand) {
  ScriptedDesign design("A -> B");
  design["B"].apply.script.reset();
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Update Design");
  design["B"].setApplyCmdFactory(nullptr);
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Update Design");
}

TEST(DescriptionTest, DoesNotExpandMarkersInTheCommandsName) {
  ScriptedDesign design("A -> B");
  design["B"].apply.script->description = "50 %1 and %2";
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Update Design up to: 50 %1 and %2");
}

TEST(DescriptionTest, IsTranslatedInTheContextOfTheClass) {
  ReferencePlatform::Catalogue catalogue;
  catalogue.add("UpdateApplyModulesCmd", "Update Design", "Entwurf aktualisieren");
  catalogue.add("UpdateApplyModulesCmd", "Update Design up to: %1", "Bis %1 aktualisieren");
  catalogue.add("Other", "Update Design", "wrong context");
  const auto installed = ReferencePlatform::installCatalogue(catalogue);

  ScriptedDesign design("A -> B");
  design["B"].apply.script->description = "Eingriff %2";
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Bis Eingriff %2 aktualisieren");
  design["B"].apply.script.reset();
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Entwurf aktualisieren");
}

TEST(DescriptionTest, IsRequestedWithoutCommentAndCount) {
  ReferencePlatform::Catalogue catalogue;
  catalogue.add("UpdateApplyModulesCmd", "Update Design", "with comment", "some comment");
  catalogue.addPlural("UpdateApplyModulesCmd", "Update Design", {"one", "many"});
  catalogue.addPlural("UpdateApplyModulesCmd", "Update Design up to: %1", {"one %1", "many %1"});
  const auto installed = ReferencePlatform::installCatalogue(catalogue);
  ScriptedDesign design("A -> B");
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Update Design up to: B:apply");
  design["B"].apply.script.reset();
  EXPECT_EQ(design.update("A", "B")->getDescription(), "Update Design");
}

// --- Modules that cannot be updated -------------------------------------------------------------

TEST(ConstructionTest, RefusesModulesThatAreMissingOrNoObjects) {
  ScriptedDesign design("A -> B");
  const auto noObject = std::make_shared<TestModule>("N");
  const auto a = design.module("A");
  const auto b = design.module("B");
  const auto construct = [&](const auto& object, const auto& start, const auto& end,
                             const auto& horizon) {
    return objectFailureOf([&] { UpdateApplyModulesCmd update(object, start, end, horizon); });
  };
  EXPECT_THAT(construct(design.root, nullptr, b, nullptr), HasSubstr("start module is missing"));
  EXPECT_THAT(construct(design.root, a, nullptr, nullptr), HasSubstr("end module is missing"));
  EXPECT_THAT(construct(design.root, noObject, b, nullptr), HasSubstr("start module is no object"));
  EXPECT_THAT(construct(design.root, a, noObject, nullptr), HasSubstr("end module is no object"));
  EXPECT_THAT(construct(design.root, a, b, noObject), HasSubstr("horizon module is no object"));
  EXPECT_NE(construct(nullptr, a, b, nullptr), "no ObjectException");
}

TEST(ConstructionTest, RefusesModulesOfAnotherTree) {
  ScriptedDesign design("A -> B");
  ScriptedDesign other("X");
  EXPECT_THROW(UpdateApplyModulesCmd(design.root, other.module("X"), design.module("B"), nullptr),
               ObjectException);
}

// The end's command is made once it is known where start and horizon lie, and before it is known
// where the end lies.
TEST(ConstructionTest, FindsStartAndHorizonThenTheDescriptionThenTheEnd) {
  ScriptedDesign design("A -> B");
  ScriptedDesign other("X");
  const auto a = design.module("A");
  const auto b = design.module("B");
  const auto x = other.module("X");
  const auto construct = [&](const auto& start, const auto& end, const auto& horizon) {
    EXPECT_THROW(UpdateApplyModulesCmd(design.root, start, end, horizon), ObjectException);
    return design.log.take() + other.log.take();
  };
  design.log.alsoHear({EventKind::Creation});
  other.log.alsoHear({EventKind::Creation});
  EXPECT_EQ(construct(x, b, nullptr), "");
  EXPECT_EQ(construct(a, b, x), "");
  EXPECT_EQ(construct(a, x, nullptr), "X:makeApply");
}

// --- Resolving the paths ------------------------------------------------------------------------

TEST(ResolvingTest, FindsTheModulesAnewForEachRun) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.update("A", "B");
  EXPECT_EQ(design.run(*update), "A:apply B:apply finish(true)");
  EXPECT_EQ(update->getEndModule(), design.module("B"));

  ScriptedDesign replacement("A -> B");
  replacement.needApply("B");
  for (const char* name : {"A", "B"}) {
    design.root->removeChild(design[name]);
    const auto module = std::dynamic_pointer_cast<Object>(replacement.module(name));
    replacement.root->removeChild(*module);
    design.root->addChild(module);
  }
  replacement.log.take();
  EXPECT_EQ(design.run(*update), "finish(true)");
  EXPECT_EQ(replacement.log.take(), "B:apply");
  EXPECT_EQ(update->getEndModule(), replacement.module("B"));
}

// Between runs the modules of the last one stay, so that its end can be asked for.
TEST(ResolvingTest, HoldsTheModulesOfTheLastRun) {
  ScriptedDesign design("A -> B -> C");
  design.needApply("A B");
  auto update = design.update("A", "B");
  const auto before = design.module("C").use_count();
  design.run(*update);
  EXPECT_GT(design.module("C").use_count(), before);
  update.reset();
  EXPECT_EQ(design.module("C").use_count(), before);
}

TEST(ResolvingTest, FindsModulesFurtherDownTheTree) {
  ScriptedDesign design("A -> B");
  const auto b = std::dynamic_pointer_cast<Object>(design.module("B"));
  design.root->removeChild(*b);
  const auto folder = std::make_shared<Object>("folder");
  design.root->addChild(folder);
  folder->addChild(b);
  design.needApply("A B");
  EXPECT_EQ(design.run("A", "B"), "A:apply B:apply finish(true)");
}

TEST(ResolvingTest, FindsThePathsFromTheObjectItWasGivenNotFromTheRoot) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.update("A", "B");
  const auto project = std::make_shared<Object>("project");
  project->addChild(design.root);
  EXPECT_EQ(design.run(*update), "A:apply B:apply finish(true)");
}

TEST(ResolvingTest, NamesThePathThatLeadsNowhere) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.cachedUpdate("A", "B");
  const auto b = design.root->removeChild(design["B"]);
  EXPECT_THAT(objectFailureOf([&] { update->execute(); }),
              testing::AllOf(HasSubstr("end module"), HasSubstr("\"B\"")));
  const auto a = design.root->removeChild(design["A"]);
  EXPECT_THAT(objectFailureOf([&] { update->execute(); }),
              testing::AllOf(HasSubstr("start module"), HasSubstr("\"A\"")));
  EXPECT_EQ(design.log.take(), "");
}

TEST(ResolvingTest, RefusesAnObjectThatIsNoModule) {
  ScriptedDesign design("A -> B");
  const auto update = design.update("A", "B");
  design.root->removeChild(design["B"]);
  design.root->addChild(std::make_shared<Object>("B"));
  EXPECT_THAT(objectFailureOf([&] { update->execute(); }), HasSubstr("\"B\""));
}

TEST(ResolvingTest, RefusesADesignThatIsGone) {
  ScriptedDesign design("A -> B");
  const auto update = design.update("A", "B");
  design.root.reset();
  EXPECT_NE(objectFailureOf([&] { update->execute(); }), "no ObjectException");
}

// A horizon that is gone only takes away what it would have added.
TEST(ResolvingTest, DoesWithoutAHorizonThatIsGone) {
  ScriptedDesign design("A -> B -> C");
  const auto update = design.update("A", "B", "C");
  const auto c = design.root->removeChild(design["C"]);
  EXPECT_EQ(design.run(*update), "finish(true)");
  design.root->addChild(c);
  EXPECT_EQ(design.run(*update), "C:auto finish(true)");
}

TEST(ResolvingTest, RunsAgainAfterAPathWasRepaired) {
  ScriptedDesign design("A -> B");
  design.needApply("A B");
  const auto update = design.update("A", "B");
  const auto b = design.root->removeChild(design["B"]);
  EXPECT_THROW(update->execute(), ObjectException);
  design.root->addChild(b);
  EXPECT_EQ(design.run(*update), "A:apply B:apply finish(true)");
}

}  // namespace
}  // namespace Tessaril
