#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/Requirements.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::HasSubstr;

std::string errorOf(const DesignInput& input) {
  return messageOf<DesignError>([&] { deriveRequirements(input); });
}

/// The profile shifted pair worked through in the gear technical reference of Kohara Gear Industry
/// (KHK): m = 3, z = 12 / 24, x = 0.6 / 0.36, pressure angle 20 degrees.
DesignInput khkPair() {
  DesignInput input = soundDesign();
  input.module = 3.0;
  input.pinionTeeth = 12;
  input.wheelTeeth = 24;
  input.pinionShift = 0.6;
  input.wheelShift = 0.36;
  input.backlash = 0.0;
  return input;
}

TEST(Requirements, AgreeWithAPublishedProfileShiftedPair) {
  const Requirements r = deriveRequirements(khkPair());
  EXPECT_NEAR(degrees(r.workingPressureAngle), 26.0886, 5e-5);
  EXPECT_NEAR(involute(r.workingPressureAngle), 0.034316, 5e-7);
  EXPECT_NEAR(r.centreDistance, 56.4999, 5e-5);
  EXPECT_NEAR(r.pinion.baseDiameter, 33.8289, 5e-5);
  EXPECT_NEAR(r.wheel.baseDiameter, 67.6579, 5e-5);
  EXPECT_NEAR(r.pinion.workingPitchDiameter, 37.667, 5e-4);
  EXPECT_NEAR(r.wheel.workingPitchDiameter, 75.333, 5e-4);
  EXPECT_NEAR(r.pinion.tipDiameter, 44.840, 5e-4);
  EXPECT_NEAR(r.wheel.tipDiameter, 79.400, 5e-4);
  EXPECT_NEAR(r.pinion.rootDiameter, 32.100, 1e-9);
  EXPECT_NEAR(r.wheel.rootDiameter, 66.660, 1e-9);
}

TEST(Requirements, OfAStandardPairAreTheTextbookFormulas) {
  const Requirements r = deriveRequirements(standardDesign(20, 40));
  EXPECT_DOUBLE_EQ(r.centreDistance, 30.0);
  EXPECT_NEAR(r.workingPressureAngle, radians(20.0), 1e-12);
  EXPECT_EQ(r.tipAlteration, 0.0);
  EXPECT_DOUBLE_EQ(r.pinion.tipDiameter, 22.0);
  EXPECT_DOUBLE_EQ(r.pinion.rootDiameter, 17.5);
  EXPECT_DOUBLE_EQ(r.wheel.tipDiameter, 42.0);
  EXPECT_DOUBLE_EQ(r.toothRatio, 2.0);
}

TEST(Requirements, HaveTheRackOfIso53ProfileA) {
  const BasicRack rack = deriveRequirements(soundDesign()).rack;
  EXPECT_DOUBLE_EQ(rack.addendum, 2.5);
  EXPECT_DOUBLE_EQ(rack.dedendum, 3.125);
  EXPECT_DOUBLE_EQ(rack.tipRadius, 0.95);
  // The straight flank of profile A ends one module below the datum line.
  EXPECT_NEAR(rack.straightDepth / rack.module, 1.0, 1e-4);
}

TEST(Requirements, SplitTheBacklashEvenly) {
  const Requirements r = deriveRequirements(soundDesign());
  EXPECT_DOUBLE_EQ(r.pinion.profileShift - r.pinion.generatingShift,
                   r.wheel.profileShift - r.wheel.generatingShift);
  EXPECT_LT(r.pinion.generatingShift, r.pinion.profileShift);
  const DesignInput tight = [] {
    DesignInput input = soundDesign();
    input.backlash = 0.0;
    return input;
  }();
  EXPECT_EQ(deriveRequirements(tight).pinion.generatingShift, tight.pinionShift);
}

TEST(Requirements, KeepThePowerOnBothShafts) {
  const Requirements r = deriveRequirements(soundDesign());
  EXPECT_NEAR(r.power, 100.0 * 1450.0 * 2.0 * std::numbers::pi / 60.0 / 1000.0, 1e-12);
  EXPECT_DOUBLE_EQ(r.pinionTorque * r.pinionSpeed, r.wheelTorque * r.wheelSpeed);
  EXPECT_DOUBLE_EQ(r.wheelTorque, 205.0);
}

TEST(Requirements, GiveTheGearsByTheirRole) {
  const Requirements r = deriveRequirements(soundDesign());
  EXPECT_EQ(r.gear(Member::kPinion).teeth, 20);
  EXPECT_EQ(r.gear(Member::kWheel).teeth, 41);
  EXPECT_EQ(r.gear(otherMember(Member::kPinion)), r.wheel);
  EXPECT_EQ(r.gear(otherMember(Member::kWheel)), r.pinion);
  EXPECT_EQ(r.wheel.material.name, "42CrMo4");
  EXPECT_EQ(memberName(r.pinion.member), "pinion");
  EXPECT_EQ(memberName(r.wheel.member), "wheel");
}

TEST(Requirements, RefuseAPinionWithMoreTeethThanTheWheel) {
  EXPECT_EQ(errorOf(standardDesign(41, 40)),
            "The pinion has 41 teeth, more than the wheel with 40; the pinion is the smaller gear, "
            "so swap the two.");
}

TEST(Requirements, RefuseTeethWithoutTipClearance) {
  DesignInput input = soundDesign();
  input.addendumCoefficient = 1.25;
  EXPECT_THAT(errorOf(input), HasSubstr("leaves the mating tips no clearance at an addendum of "
                                        "1.25 modules; make the dedendum larger"));
}

TEST(Requirements, RefuseATipRoundingThatTheCutterHasNoRoomFor) {
  DesignInput input = soundDesign();
  input.rootRadiusCoefficient = 0.5;
  EXPECT_EQ(errorOf(input),
            "A root radius of 0.5 modules does not fit on the tips of the cutting rack with a "
            "dedendum of 1.25 modules and a pressure angle of 20 degrees; a radius of at most 0.47 "
            "modules fits.");
  input.rootRadiusCoefficient = 0.47;
  EXPECT_NO_THROW(deriveRequirements(input));
  input.pressureAngle = 30.0;
  input.dedendumCoefficient = 1.5;
  EXPECT_THAT(errorOf(input), HasSubstr("a smaller dedendum or pressure angle is needed."));
}

TEST(Requirements, RefuseShiftsThatLeaveNoCentreDistance) {
  DesignInput input = standardDesign(20, 20);
  input.pinionShift = -0.5;
  input.wheelShift = -0.5;
  EXPECT_EQ(errorOf(input),
            "The sum of the profile shifts, -1.000, brings the gears too close to mesh; with 40 "
            "teeth in all it has to be above -0.819.");
}

TEST(Requirements, RefuseAMaterialThatIsNotKnown) {
  DesignInput input = soundDesign();
  input.wheelMaterial = "butter";
  EXPECT_EQ(errorOf(input),
            "The material of the wheel, 'butter', is not a known steel; choose one of the list.");
}

}  // namespace
}  // namespace GearPair
