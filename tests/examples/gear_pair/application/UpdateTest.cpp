#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "examples/gear_pair/application/ToothFormCache.h"
#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {
namespace {

using testing::HasSubstr;

constexpr const char* kEverything =
    "requirements:apply pinion:apply cutter:auto wheel:apply mesh:apply drawing:auto "
    "strength:apply report:apply plan:auto";

TEST(Update, AppliesEveryModuleOfANewDesignInGraphOrder) {
  DesignSession session = inlineSession();
  EXPECT_EQ(updated(session), kEverything);
  for (const auto& module : session.design()->getModules()) {
    EXPECT_EQ(flagsOf(*module), "aci..") << module->getName();
  }
}

TEST(Update, AppliesNothingWhereNothingHasChanged) {
  DesignSession session = inlineSession();
  updated(session);
  EXPECT_EQ(updated(session), "");
  session.set("torque=100 Nm");
  EXPECT_EQ(updated(session), "") << "the value is the one that was there";
}

struct Change {
  const char* assignment;
  const char* events;
};

void PrintTo(const Change& change, std::ostream* stream) { *stream << change.assignment; }

class UpdateAfter : public testing::TestWithParam<Change> {};

TEST_P(UpdateAfter, AppliesOnlyWhatDependsOnTheChangedValue) {
  DesignSession session = inlineSession();
  updated(session);
  session.set(GetParam().assignment);
  EXPECT_EQ(updated(session), GetParam().events);
}

constexpr const char* kLoad = "strength:apply report:apply";
// The width of the gears concerns their strength, the sheet and the blanks, but no tooth.
constexpr const char* kWidth =
    "requirements:apply drawing:auto strength:apply report:apply plan:auto";
constexpr const char* kSpeed =
    "requirements:apply mesh:apply drawing:auto strength:apply report:apply plan:auto";
// What concerns the wheel alone: its fork, the mesh, and what follows. The pinion stays.
constexpr const char* kWheelOnly =
    "requirements:apply cutter:auto wheel:apply mesh:apply drawing:auto strength:apply "
    "report:apply plan:auto";
// The wheel comes after the pinion in graph order; here it has nothing to do.
constexpr const char* kPinionOnly =
    "requirements:apply pinion:apply cutter:auto mesh:apply drawing:auto strength:apply "
    "report:apply plan:auto";

INSTANTIATE_TEST_SUITE_P(
    Values, UpdateAfter,
    testing::Values(Change{"torque=300 Nm", kLoad}, Change{"application_factor=1.5", kLoad},
                    Change{"required_safety=2", kLoad}, Change{"face_width=35 mm", kWidth},
                    Change{"speed=900 rpm", kSpeed}, Change{"wheel_bore=25 mm", kWheelOnly},
                    Change{"wheel_material=16MnCr5", kWheelOnly},
                    Change{"pinion_bore=15 mm", kPinionOnly},
                    // The tip circles of both gears follow the centre distance.
                    Change{"wheel_teeth=43", kEverything}, Change{"pinion_teeth=22", kEverything},
                    Change{"wheel_shift=0.3", kEverything}, Change{"module=3 mm", kEverything}));

// A module that were blind to one of its values would keep an old result here.
TEST(Update, GivesWhatANewDesignOfTheSameValuesGives) {
  const std::vector<std::string> assignments{
      "module=3 mm",           "pinion_teeth=23",         "wheel_teeth=47",
      "pressure_angle=21 deg", "pinion_shift=0.1",        "wheel_shift=-0.1",
      "face_width=33 mm",      "backlash=0.2 mm",         "pinion_material=42CrMo4",
      "torque=77 Nm",          "wheel_material=16MnCr5",  "speed=2000 rpm",
      "required_safety=1.9",   "application_factor=1.75", "pinion_bore=12 mm",
      "wheel_bore=28 mm",      "addendum=0.95",           "dedendum=1.3",
      "root_radius=0.3"};
  ASSERT_EQ(assignments.size(), describeValues().size()) << "a value is missing here";
  DesignSession session = inlineSession();
  updated(session);
  for (const std::string& assignment : assignments) {
    const DesignInput before = session.design()->getValues().input;
    session.set(assignment);
    const DesignInput& changed = session.design()->getValues().input;
    ASSERT_NE(changed, before) << assignment;
    EXPECT_EQ(session.update()->getFailure(), "") << assignment;
    DesignSession fresh = inlineSession(changed);
    fresh.update();
    EXPECT_EQ(difference(Snapshot(*session.design()), Snapshot(*fresh.design())), "") << assignment;
  }
}

TEST(Update, MarksWhatHasToBeAppliedAsSoonAsAValueIsSet) {
  DesignSession session = inlineSession();
  updated(session);
  session.set("torque=300 Nm");
  EXPECT_EQ(flagsOf(*session.design()->mesh()), "aci..");
  EXPECT_EQ(flagsOf(*session.design()->strength()), "a.i..");
  EXPECT_EQ(flagsOf(*session.design()->report()), "ac...");
}

TEST(Update, StopsAtANamedModule) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->mesh(), false);
  session.run(update);
  EXPECT_EQ(update->getEventText(),
            "requirements:apply pinion:apply cutter:auto wheel:apply mesh:apply drawing:auto");
  EXPECT_EQ(flagsOf(*session.design()->strength()), "a.i..");
  EXPECT_EQ(updated(session), "strength:apply report:apply plan:auto");
}

TEST(Update, LeavesTheForkOutWhereTheEndDoesNotNeedIt) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->pinion(), false);
  session.run(update);
  EXPECT_EQ(update->getEventText(), "requirements:apply pinion:apply cutter:auto");
  EXPECT_EQ(session.design()->wheel()->getResult(), nullptr);
}

TEST(Update, AppliesASideStepInFullWhereItIsTheEnd) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->drawing(), false);
  session.run(update);
  EXPECT_EQ(update->getEventText(),
            "requirements:apply pinion:apply cutter:auto wheel:apply mesh:apply drawing:apply");
}

TEST(Update, GoesOnToTheHorizon) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->mesh(), true);
  session.run(update);
  EXPECT_EQ(update->getEventText(),
            "requirements:apply pinion:apply cutter:auto wheel:apply mesh:apply strength:auto "
            "report:auto plan:auto drawing:auto");
}

TEST(Update, ReachesTheHorizonEvenWhereTheRangeAppliedNothing) {
  DesignSession session = inlineSession();
  const auto plan = session.design()->plan();
  session.setFlag(plan, ModuleFlag::kSkipped, true);
  updated(session);
  session.setFlag(plan, ModuleFlag::kSkipped, false);
  EXPECT_EQ(updated(session), "");
  EXPECT_EQ(plan->getResult(), nullptr);
  const auto update = session.makeUpdate(session.design()->report(), true);
  session.run(update);
  EXPECT_EQ(update->getEventText(), "plan:auto");
}

TEST(Update, KeepsAFrozenResultAndGoesOnFromIt) {
  DesignSession session = inlineSession();
  updated(session);
  const auto pinion = session.design()->pinion();
  const auto result = pinion->getResult();
  session.setFlag(pinion, ModuleFlag::kFrozen, true);
  session.set("pinion_bore=15 mm");
  EXPECT_EQ(updated(session),
            "requirements:apply cutter:auto mesh:apply drawing:auto strength:apply report:apply "
            "plan:auto");
  EXPECT_EQ(pinion->getResult(), result);
  EXPECT_EQ(flagsOf(*pinion), "a.if.");
  session.setFlag(pinion, ModuleFlag::kFrozen, false);
  EXPECT_THAT(updated(session), HasSubstr("pinion:apply"));
}

TEST(Update, LeavesASkippedModuleOutAndWhatNeedsIt) {
  DesignSession session = inlineSession();
  session.setFlag(session.design()->wheel(), ModuleFlag::kSkipped, true);
  EXPECT_EQ(updated(session), "requirements:apply pinion:apply cutter:auto");
  EXPECT_EQ(flagsOf(*session.design()->mesh()), "a....");
}

TEST(Update, IsNamedAfterItsEnd) {
  DesignSession session = inlineSession();
  EXPECT_EQ(session.makeUpdate(session.design()->mesh(), false)->getDescription(),
            "Update Design up to: Mesh");
}

TEST(Update, FindsTheWheelThatTheCutterComputed) {
  DesignSession session = inlineSession();
  const auto first = session.update();
  EXPECT_EQ(first->getCache().getMisses(), 2) << "the pinion, and the wheel for the cutter";
  EXPECT_EQ(first->getCache().getHits(), 2) << "the pinion for the cutter, and the wheel";
  session.set("wheel_bore=25 mm");
  const auto second = session.update();
  EXPECT_EQ(second->getCache().getMisses(), 2) << "nothing is kept from the run before";
  EXPECT_EQ(second->getCache().getHits(), 1);
  session.set("torque=300 Nm");
  const auto third = session.update();
  EXPECT_EQ(third->getCache().getMisses() + third->getCache().getHits(), 0);
}

TEST(Update, MovesItsProgressForwardOnlyAndToTheEnd) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->report(), false);
  std::vector<double> values;
  const Tessaril::Signals::ScopedConnection connection =
      update->getProgressPtr()->connectToSigChanged(Tessaril::Signals::Slot<void()>(
          [&] { values.push_back(update->getProgressPtr()->getValue()); }));
  session.run(update);
  EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
  EXPECT_EQ(values.back(), 100.0);
  EXPECT_GE(values.size(), 6U) << "each full apply moves it";
}

TEST(Update, StopsOnRequestAndKeepsTheDesign) {
  DesignSession session = inlineSession();
  const auto update = session.makeUpdate(session.design()->report(), false);
  const Tessaril::Signals::ScopedConnection connection = update->connectToSigStepStarted(
      UpdateDesignCmd::StepSignal::SlotType([&](const DesignModule& module, bool) {
        if (module.getName() == "mesh") {
          update->getProgressPtr()->requestStop();
        }
      }));
  session.run(update);
  EXPECT_EQ(update->getEventText(),
            "requirements:apply pinion:apply cutter:auto wheel:apply mesh:apply-failed");
  EXPECT_EQ(session.design()->mesh()->getResult(), nullptr);
  EXPECT_EQ(updated(session), "mesh:apply drawing:auto strength:apply report:apply plan:auto");
}

TEST(Update, TellsListenersOfWhatFollowsAndOfNothingElse) {
  DesignSession session = inlineSession();
  updated(session);
  session.set("torque=300 Nm");
  updated(session);
  const RunAccount expected{
      {"strength", "applied inline"}, {"report", "applied inline"}, {"plan", "signalled"}};
  EXPECT_EQ(session.getAccount(), expected);
}

TEST(Update, AnnouncesModulesAtTheirPlaceInTheParameterTree) {
  DesignSession session = inlineSession();
  std::vector<std::string> paths;
  const Tessaril::Signals::ScopedConnection connection =
      session.design()->connectToSigTreeChanged(Tessaril::Object::TreeChangedSignal::SlotType(
          [&](const Tessaril::Object& object, Tessaril::ObjectTreeChangeReason reason) {
            EXPECT_EQ(reason, Tessaril::ObjectTreeChangeReason::StateChanged);
            paths.push_back(object.getPath(Tessaril::RequestedPathType::Absolute).toString());
          }));
  updated(session);
  for (const auto& module : session.design()->getModules()) {
    EXPECT_THAT(paths, testing::Contains("/design/" + module->getName()));
  }
}

}  // namespace
}  // namespace GearPair
