#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/Strength.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::StartsWith;

Strength strengthOf(const DesignInput& input) { return compute(input).strength; }

TEST(Strength, HasTheForcesOfTheTorque) {
  const Strength strength = strengthOf(standardDesign(20, 40));
  EXPECT_DOUBLE_EQ(strength.tangentialForce, 10000.0);
  EXPECT_NEAR(strength.normalForce, 10000.0 / std::cos(radians(20.0)), 1e-9);
  EXPECT_NEAR(strength.radialForce, 10000.0 * std::tan(radians(20.0)), 1e-9);
}

TEST(Strength, HasTheSamePowerAtThePitchLine) {
  const Strength strength = strengthOf(standardDesign(20, 40));
  EXPECT_NEAR(strength.tangentialForce * strength.pitchLineVelocity / 1000.0, strength.power, 1e-9);
}

// Z_E = 189.8 and Z_H = 2.495 are the usual table values for steel and 20 degrees.
TEST(Strength, HasTheUsualFactorsOfSteelGears) {
  const Requirements r = deriveRequirements(standardDesign(20, 40));
  EXPECT_NEAR(elasticityFactor(r.pinion.material, r.wheel.material), 189.8, 0.05);
  EXPECT_NEAR(zoneFactor(r), 2.495, 5e-4);
}

// Hertz: two cylinders with the flanks' radii of curvature at the pitch point, pressed together.
TEST(Strength, HasTheContactPressureOfTwoCylinders) {
  const Computed pair = compute(soundDesign());
  const double first = distance(pair.mesh.pinionTangentPoint, pair.mesh.pitchPoint);
  const double second = distance(pair.mesh.wheelTangentPoint, pair.mesh.pitchPoint);
  const double force = pair.strength.normalForce * 1.25 * pair.strength.dynamicFactor;
  const double compliance = 2.0 * (1.0 - 0.09) / 206000.0;
  const double pressure =
      std::sqrt(force / 30.0 * (1.0 / first + 1.0 / second) / (std::acos(-1.0) * compliance));
  EXPECT_NEAR(pair.strength.contactStress, pressure, 1e-6 * pressure);
}

// The bending stress of a cantilever of the root section under the load's component across the
// tooth, raised by the notch: the same number without the form factor.
TEST(Strength, HasTheBendingStressOfACantilever) {
  const Computed pair = compute(soundDesign());
  for (const Member member : {Member::kPinion, Member::kWheel}) {
    const ToothForm& form = member == Member::kPinion ? pair.pinion : pair.wheel;
    const RootStrength& root = pair.strength.root(member);
    const double loadRadius = root.leverArm + form.rootSection.distanceFromAxis;
    const double cosine = form.gear.baseDiameter / 2 / loadRadius;
    const double across = pair.strength.normalForce * cosine;
    const double modulus = 30.0 * std::pow(form.rootSection.thickness, 2) / 6.0;
    const double bending = across * root.leverArm / modulus;
    EXPECT_NEAR(root.nominalStress, bending * root.stressCorrection, 1e-9 * bending);
  }
}

// The closed formulas of ISO 6336-3 for the load at the outer point of single pair contact.
TEST(Strength, HasTheLeverArmOfIso6336) {
  const Computed pair = compute(soundDesign());
  const double d = pair.mesh.pinion.singleContactOuterDiameter;
  const double z = 20.0;
  const double angle = std::acos(pair.pinion.gear.baseDiameter / d);
  const double gamma =
      (std::acos(-1.0) / 2 + 2.0 * pair.pinion.gear.generatingShift * std::tan(radians(20.0))) / z +
      involute(radians(20.0)) - involute(angle);
  const double load = angle - gamma;
  const double height = (std::cos(gamma) - std::sin(gamma) * std::tan(load)) * d / 2 -
                        pair.pinion.rootSection.distanceFromAxis;
  EXPECT_NEAR(pair.strength.pinion.leverArm, height, 1e-9);
}

// Barth's equation: sqrt(3.84 m/s) / 3.56 above 1.
TEST(Strength, RaisesTheLoadWithTheVelocity) {
  DesignInput input = soundDesign();
  const Strength fast = strengthOf(input);
  EXPECT_NEAR(fast.dynamicFactor, 1.0 + std::sqrt(fast.pitchLineVelocity) / 3.56, 1e-12);
  input.speed = 0.01;
  EXPECT_NEAR(strengthOf(input).dynamicFactor, 1.0, 0.002);
}

TEST(Strength, GrowsInProportionToTheFaceWidth) {
  DesignInput input = soundDesign();
  const double narrow = strengthOf(input).pinion.safety;
  input.faceWidth *= 2.0;
  EXPECT_NEAR(strengthOf(input).pinion.safety, 2.0 * narrow, 1e-9);
}

TEST(Strength, FallsInProportionToTorqueAndApplicationFactor) {
  DesignInput input = soundDesign();
  const double light = strengthOf(input).wheel.safety;
  input.torque *= 2.0;
  input.applicationFactor *= 1.5;
  EXPECT_NEAR(strengthOf(input).wheel.safety, light / 3.0, 1e-9);
}

TEST(Strength, OfThePinionRootGrowsWithItsProfileShift) {
  DesignInput input = soundDesign();
  input.pinionShift = 0.0;
  const double plain = strengthOf(input).pinion.formFactor;
  input.pinionShift = 0.4;
  EXPECT_LT(strengthOf(input).pinion.formFactor, plain);
}

// Form factors of outer single pair contact lie between 1 and 2, stress corrections between 1.5
// and 2.5 for ordinary teeth, as the diagrams of ISO 6336-3 show.
TEST(Strength, HasFactorsOfTheUsualSize) {
  for (const int teeth : {17, 25, 60}) {
    const Strength strength = strengthOf(standardDesign(teeth, 80));
    EXPECT_GT(strength.pinion.formFactor, 1.0) << teeth;
    EXPECT_LT(strength.pinion.formFactor, 2.0) << teeth;
    EXPECT_GT(strength.pinion.stressCorrection, 1.5) << teeth;
    EXPECT_LT(strength.pinion.stressCorrection, 2.5) << teeth;
  }
}

TEST(Strength, ComparesWithTwiceTheNominalStressNumber) {
  const Strength strength = strengthOf(soundDesign());
  EXPECT_DOUBLE_EQ(strength.pinion.limitStress, 850.0);
  EXPECT_DOUBLE_EQ(strength.wheel.limitStress, 620.0);
  EXPECT_DOUBLE_EQ(strength.wheel.safety, 620.0 / strength.wheel.stress);
}

TEST(Strength, IsSufficientOnlyIfBothGearsAre) {
  Strength strength;
  strength.requiredSafety = 1.4;
  strength.pinion.safety = 1.4;
  strength.wheel.safety = 1.4;
  EXPECT_TRUE(strength.sufficient());
  strength.wheel.safety = 1.39;
  EXPECT_FALSE(strength.sufficient());
  strength.wheel.safety = 2.0;
  strength.pinion.safety = 1.39;
  EXPECT_FALSE(strength.sufficient());
}

TEST(Strength, JudgesInOneSentence) {
  Strength strength;
  strength.requiredSafety = 1.4;
  strength.pinion.safety = 2.0;
  strength.wheel.safety = 1.5;
  EXPECT_EQ(strengthVerdict(strength),
            "The pair reaches the required root safety of 1.40: the pinion 2.00, the wheel 1.50.");
  strength.wheel.safety = 0.7;
  EXPECT_EQ(strengthVerdict(strength),
            "The pair misses the required root safety of 1.40: the pinion 2.00, the wheel 0.70; a "
            "face width larger by the factor 2.00, a larger module or a stronger material would "
            "help.");
}

DesignInput sample(const std::string& name) {
  return readDesign(std::filesystem::path(GEAR_PAIR_DESIGNS_DIR) / name);
}

TEST(SampleDesigns, ReachTheirSafety) {
  for (const char* name : {"spur_pair.gear", "inch_pair.gear"}) {
    const Strength strength = strengthOf(sample(name));
    EXPECT_TRUE(strength.sufficient()) << name << ": " << strengthVerdict(strength);
  }
  EXPECT_LT(strengthOf(sample("spur_pair.gear")).contactStress, 1500.0);
}

TEST(SampleDesigns, ShowAnUndercutPinion) {
  const Requirements requirements = deriveRequirements(sample("undercut_pinion.gear"));
  EXPECT_THAT(messageOf<DesignError>([&] { computeToothForm(requirements, Member::kPinion); }),
              StartsWith("The pinion with 7 teeth is undercut: "));
  EXPECT_NO_THROW(computeToothForm(requirements, Member::kWheel));
}

}  // namespace
}  // namespace GearPair
