#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {
namespace {

using testing::HasSubstr;

class APinionTooSmallToBeCut : public testing::Test {
 protected:
  APinionTooSmallToBeCut() {
    session.update();
    before.emplace(*session.design());
    session.set("pinion_teeth=8");
    update = session.update();
  }

  DesignSession session = inlineSession();
  std::optional<Snapshot> before;
  std::shared_ptr<UpdateDesignCmd> update;
};

TEST_F(APinionTooSmallToBeCut, FailsInOneSentence) {
  EXPECT_EQ(update->getEventText(), "requirements:apply pinion:apply-failed");
  EXPECT_TRUE(update->hasExceptionBeenThrown());
  EXPECT_THAT(update->getFailure(), HasSubstr("The pinion with 8 teeth"));
  EXPECT_EQ(session.getAccount().at("pinion"), "failed: " + update->getFailure());
  EXPECT_EQ(session.getAccount().at("wheel"), "signalled");
}

TEST_F(APinionTooSmallToBeCut, IsReportedToTheProgressOfTheUpdate) {
  const auto messages = update->getProgressPtr()->getLogMessages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].getText(), "Pinion failed with: " + update->getFailure());
  EXPECT_EQ(messages[0].getType(), Tessaril::LogMessage::Error);
}

TEST_F(APinionTooSmallToBeCut, LeavesTheResultsOfTheOthersAndFlagsThem) {
  const Snapshot after(*session.design());
  EXPECT_EQ(after.pinion, before->pinion);
  EXPECT_EQ(after.pinionMeasures, before->pinionMeasures);
  EXPECT_EQ(after.wheel, before->wheel);
  EXPECT_EQ(after.mesh, before->mesh);
  EXPECT_EQ(after.loaded, before->loaded);
  EXPECT_EQ(after.report, before->report);
  EXPECT_EQ(after.cutter, before->cutter);
  EXPECT_EQ(after.drawing, before->drawing);
  EXPECT_EQ(after.plan, before->plan);
  EXPECT_EQ(after.flags,
            "requirements:aci.. pinion:a.i.. wheel:a.i.. mesh:a.... cutter:a.... strength:a.... "
            "drawing:a.... report:a.... plan:a.... ");
}

TEST_F(APinionTooSmallToBeCut, FailsAgainWhereNothingWasRepaired) {
  const auto again = session.update();
  EXPECT_EQ(again->getEventText(), "pinion:apply-failed");
  EXPECT_EQ(again->getFailure(), update->getFailure());
}

TEST_F(APinionTooSmallToBeCut, IsRepairedByAnotherNumberOfTeeth) {
  session.set("pinion_teeth=22");
  const auto repaired = session.update();
  EXPECT_EQ(repaired->getEventText(),
            "requirements:apply pinion:apply cutter:auto wheel:apply mesh:apply drawing:auto "
            "strength:apply report:apply plan:auto");
  for (const auto& module : session.design()->getModules()) {
    EXPECT_EQ(flagsOf(*module), "aci..") << module->getName();
  }
}

TEST_F(APinionTooSmallToBeCut, IsRepairedByTheOldNumberWithoutCuttingAnything) {
  session.set("pinion_teeth=20");
  EXPECT_EQ(updated(session), "requirements:apply");
  EXPECT_EQ(difference(Snapshot(*session.design()), *before), "");
}

TEST(Failure, OfTheWheelLeavesThePinionApplied) {
  DesignSession session = inlineSession();
  session.set("wheel_bore=95 mm");
  const auto update = session.update();
  EXPECT_EQ(update->getEventText(),
            "requirements:apply pinion:apply cutter:auto wheel:apply-failed");
  EXPECT_THAT(update->getFailure(), HasSubstr("The wheel"));
  EXPECT_NE(session.design()->pinion()->getResult(), nullptr);
  EXPECT_EQ(session.design()->wheel()->getResult(), nullptr);
  EXPECT_THAT(session.design()->cutter()->getResult()->gearsCut, HasSubstr(update->getFailure()));
}

TEST(Failure, OfTheFirstStepKeepsTheWholeDesign) {
  DesignSession session = inlineSession();
  session.update();
  const Snapshot before(*session.design());
  session.set("pinion_teeth=60");
  const auto update = session.update();
  EXPECT_EQ(update->getEventText(), "requirements:apply-failed");
  EXPECT_EQ(session.design()->pinion()->getResult() != nullptr, true);
  session.undo();
  session.undo();
  EXPECT_EQ(difference(Snapshot(*session.design()), before), "");
}

TEST(Failure, OfAValueChangesNothing) {
  DesignSession session = inlineSession();
  const Snapshot before(*session.design());
  EXPECT_THROW(session.set("torque=many"), InputError);
  EXPECT_THROW(session.set("torqe=3"), InputError);
  EXPECT_EQ(difference(Snapshot(*session.design()), before), "");
  EXPECT_FALSE(session.canUndo());
}

}  // namespace
}  // namespace GearPair
