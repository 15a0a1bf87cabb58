#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "examples/gear_pair/application/commands/CutAndMeasureCmd.h"
#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {
namespace {

using Tessaril::ApplyModuleDataInterface;

Snapshot now(const DesignSession& session) { return Snapshot(*session.design()); }

TEST(Undo, LeadsBackThroughRunsAndValuesToTheVeryStart) {
  DesignSession session = inlineSession();
  std::vector<Snapshot> states{now(session)};
  const std::vector<std::function<void()>> steps{
      [&] { session.update(); },
      [&] { session.set("torque=300 Nm"); },
      [&] { session.update(); },
      [&] { session.set("wheel_teeth=43"); },
      [&] { session.update(); },
      [&] { session.setUnitSystem(UnitSystem::kUsCustomary); },
      [&] { session.set("wheel_bore=25 mm"); },
      [&] { session.update(); },
      [&] { session.setFlag(session.design()->mesh(), ModuleFlag::kFrozen, true); },
      [&] { session.set("speed=900 rpm"); },
      [&] { session.update(); }};
  for (const auto& step : steps) {
    step();
    states.push_back(now(session));
  }
  for (std::size_t i = steps.size(); i-- > 0;) {
    session.undo();
    EXPECT_EQ(difference(now(session), states[i]), "") << "before step " << i;
  }
  EXPECT_FALSE(session.canUndo());
  for (std::size_t i = 0; i < steps.size(); ++i) {
    session.redo();
    EXPECT_EQ(difference(now(session), states[i + 1]), "") << "after step " << i;
  }
  EXPECT_FALSE(session.canRedo());
}

TEST(Undo, RestoresResultsThatWereOutOfDate) {
  DesignSession session = inlineSession();
  session.update();
  session.set("wheel_teeth=50");
  session.run(session.makeUpdate(session.design()->pinion(), false));
  const Snapshot halfWay = now(session);
  ASSERT_FALSE(session.design()->mesh()->isConsistent());
  session.set("pinion_teeth=25");
  session.update();
  session.undo();
  session.undo();
  EXPECT_EQ(difference(now(session), halfWay), "");
}

TEST(Undo, TakesBackARunThatFailed) {
  DesignSession session = inlineSession();
  session.update();
  session.set("pinion_teeth=8");
  const Snapshot before = now(session);
  const auto update = session.update();
  ASSERT_NE(update->getFailure(), "");
  const Snapshot failed = now(session);
  session.undo();
  EXPECT_EQ(difference(now(session), before), "");
  session.redo();
  EXPECT_EQ(difference(now(session), failed), "");
}

// Whatever a designer does, in whatever order: a step back gives the state before it.
TEST(Undo, HoldsForRandomSessions) {
  const std::vector<std::string> assignments{
      "torque=50 Nm",   "torque=200 Nm",    "wheel_teeth=41", "wheel_teeth=52", "pinion_teeth=20",
      "pinion_teeth=8", "wheel_bore=20 mm", "speed=800 rpm",  "speed=1450 rpm", "face_width=25 mm"};
  const std::vector<std::string> names{"requirements", "pinion", "wheel",   "mesh", "strength",
                                       "report",       "cutter", "drawing", "plan"};
  for (unsigned seed = 1; seed <= 12; ++seed) {
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t count) { return random() % count; };
    DesignSession session = inlineSession();
    std::vector<Snapshot> past;
    std::vector<Snapshot> future;
    for (int step = 0; step < 40; ++step) {
      const Snapshot before = now(session);
      const auto module = session.design()->findModule(names[pick(names.size())]);
      const std::size_t choice = pick(10);
      if (choice < 3 && !past.empty()) {
        session.undo();
        EXPECT_EQ(difference(now(session), past.back()), "") << "seed " << seed;
        past.pop_back();
        future.push_back(before);
        continue;
      }
      if (choice == 3 && !future.empty()) {
        session.redo();
        EXPECT_EQ(difference(now(session), future.back()), "") << "seed " << seed;
        future.pop_back();
        past.push_back(before);
        continue;
      }
      if (choice < 6) {
        session.set(assignments[pick(assignments.size())]);
      } else if (choice == 6) {
        session.setUnitSystem(pick(2) == 0 ? UnitSystem::kMetric : UnitSystem::kUsCustomary);
      } else if (choice == 7) {
        session.setFlag(module, pick(2) == 0 ? ModuleFlag::kFrozen : ModuleFlag::kSkipped,
                        pick(2) == 0);
      } else {
        session.run(session.makeUpdate(module, pick(2) == 0));
      }
      past.push_back(before);
      future.clear();
    }
  }
}

ApplyModuleDataInterface::UndoType undoTypeOf(
    const std::shared_ptr<Tessaril::CommandBase>& command) {
  return std::dynamic_pointer_cast<ApplyModuleDataInterface>(command)->getUndoType();
}

TEST(Undo, PutsStoredResultsBackAndRecomputesOthers) {
  const auto design = GearPairDesign::create(soundDesign());
  const auto typeOf = [&](const char* name) {
    return undoTypeOf(design->findModule(name)->createApplyCommand(design));
  };
  EXPECT_EQ(typeOf("requirements"), ApplyModuleDataInterface::StorageUndo);
  EXPECT_EQ(typeOf("strength"), ApplyModuleDataInterface::StorageUndo);
  EXPECT_EQ(typeOf("cutter"), ApplyModuleDataInterface::StorageUndo);
  EXPECT_EQ(typeOf("mesh"), ApplyModuleDataInterface::DependentUndo);
  EXPECT_EQ(typeOf("report"), ApplyModuleDataInterface::DependentUndo);
  EXPECT_EQ(typeOf("drawing"), ApplyModuleDataInterface::DependentUndo);
  EXPECT_EQ(typeOf("plan"), ApplyModuleDataInterface::DependentUndo);
}

TEST(Undo, UsesTheCustomOrderForTheTwoStepsOfAGear) {
  const auto design = GearPairDesign::create(soundDesign());
  for (const auto& gear : {design->pinion(), design->wheel()}) {
    const auto macro =
        std::dynamic_pointer_cast<CutAndMeasureCmd>(gear->createApplyCommand(design));
    ASSERT_NE(macro, nullptr);
    EXPECT_TRUE(macro->getUseCustomUndoOrder());
    ASSERT_EQ(macro->size(), 2U);
    EXPECT_EQ(undoTypeOf(macro->getCommands()[0]), ApplyModuleDataInterface::StorageUndo);
    EXPECT_EQ(undoTypeOf(macro->getCommands()[1]), ApplyModuleDataInterface::DependentUndo);
  }
}

// The measuring is undone after the cutting, and therefore measures the old teeth. Undone first, it
// would leave the measures of the new ones.
TEST(Undo, MeasuresTheTeethThatArePutBack) {
  DesignSession session = inlineSession();
  session.update();
  const auto pinion = session.design()->pinion();
  const ToothMeasures before = *pinion->getMeasures();
  session.set("pinion_teeth=24");
  session.update();
  ASSERT_NE(*pinion->getMeasures(), before);
  session.undo();
  EXPECT_EQ(*pinion->getMeasures(), before);
}

TEST(Undo, RecomputesInAnObjectOfItsOwnWhatItDidNotStore) {
  DesignSession session = inlineSession();
  session.update();
  const auto design = session.design();
  const auto strength = design->strength()->getResult();
  const auto report = design->report()->getResult();
  session.set("torque=300 Nm");
  session.update();
  session.undo();
  EXPECT_EQ(design->strength()->getResult(), strength) << "stored: the very same object";
  EXPECT_NE(design->report()->getResult(), report) << "computed once more";
  EXPECT_EQ(*design->report()->getResult(), *report);
}

TEST(Undo, SaysWhatItDidWithEachModule) {
  DesignSession session = inlineSession();
  session.update();
  session.set("torque=300 Nm");
  session.update();
  EXPECT_EQ(session.undo(), "Update Design up to: Report");
  const RunAccount undone{{"strength", "undone, stored result back"},
                          {"report", "undone, computed once more"}};
  EXPECT_EQ(session.getAccount(), undone);
  EXPECT_EQ(session.undo(), "Set torque=300 Nm");
  EXPECT_TRUE(session.getAccount().empty());
}

}  // namespace
}  // namespace GearPair
