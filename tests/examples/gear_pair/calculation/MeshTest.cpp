#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/Mesh.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::HasSubstr;

constexpr double kPi = std::numbers::pi;

Mesh meshOf(const DesignInput& input) { return compute(input).mesh; }

std::string errorOf(const DesignInput& input) {
  return messageOf<DesignError>([&] { compute(input); });
}

/// Points of an outline that lie within another gear's tip circle.
Polyline within(const Polyline& outline, Point axis, double tipDiameter) {
  Polyline near;
  std::copy_if(outline.begin(), outline.end(), std::back_inserter(near),
               [=](Point point) { return distance(point, axis) < tipDiameter / 2; });
  return near;
}

/// Whether a corner of one gear lies within the other.
bool overlap(const Computed& pair, const Polyline& pinion, const Polyline& wheel) {
  const Point wheelAxis{pair.mesh.centreDistance, 0.0};
  const auto corners = within(pinion, wheelAxis, pair.wheel.gear.tipDiameter);
  const auto wheelCorners = within(wheel, {0.0, 0.0}, pair.pinion.gear.tipDiameter);
  return std::ranges::any_of(corners, [&](Point point) { return contains(wheel, point); }) ||
         std::ranges::any_of(wheelCorners, [&](Point point) { return contains(pinion, point); });
}

/// Rotations of the pinion through one pitch.
std::vector<double> rotationsThroughOnePitch(int teeth) {
  constexpr int kSteps = 12;
  std::vector<double> rotations;
  for (int i = 0; i < kSteps; ++i) {
    rotations.push_back(2.0 * kPi / teeth * i / kSteps);
  }
  return rotations;
}

std::vector<DesignInput> sweep() {
  std::vector<DesignInput> designs{soundDesign(), standardDesign(20, 40), standardDesign(17, 17)};
  for (const int teeth : {10, 14, 30}) {
    DesignInput input = soundDesign();
    input.pinionTeeth = teeth;
    input.pinionShift = 0.47;
    input.wheelShift = teeth == 30 ? -0.2 : 0.3;
    designs.push_back(input);
  }
  return designs;
}

// 1.635: sqrt(11² - (10 cos 20)²) + sqrt(21² - (20 cos 20)²) - 30 sin 20 over pi cos 20.
TEST(Mesh, HasTheContactRatioOfTheTextbookFormula) {
  EXPECT_NEAR(meshOf(standardDesign(20, 40)).contactRatio, 1.6352, 5e-5);
}

TEST(Mesh, AddsUpThePathOfContact) {
  for (const DesignInput& input : sweep()) {
    const Mesh mesh = meshOf(input);
    EXPECT_NEAR(mesh.approachLength + mesh.recessLength, mesh.pathLength, 1e-12);
    EXPECT_NEAR(distance(mesh.startOfContact, mesh.endOfContact), mesh.pathLength, 1e-9);
    EXPECT_NEAR(distance(mesh.startOfContact, mesh.pitchPoint), mesh.approachLength, 1e-9);
    EXPECT_NEAR(mesh.basePitch, kPi * input.module * std::cos(radians(input.pressureAngle)), 1e-9);
  }
}

TEST(Mesh, LaysTheLineOfActionOnBothBaseCircles) {
  for (const DesignInput& input : sweep()) {
    const Computed pair = compute(input);
    const Point wheelAxis{pair.mesh.centreDistance, 0.0};
    EXPECT_NEAR(distance(pair.mesh.pinionTangentPoint, {}), pair.pinion.gear.baseDiameter / 2,
                1e-9);
    EXPECT_NEAR(distance(pair.mesh.wheelTangentPoint, wheelAxis), pair.wheel.gear.baseDiameter / 2,
                1e-9);
    EXPECT_NEAR(pair.mesh.pitchPoint.y, 0.0, 1e-9);
    EXPECT_NEAR(pair.mesh.pitchPoint.x, pair.pinion.gear.workingPitchDiameter / 2, 1e-9);
    EXPECT_NEAR(distance(pair.mesh.endOfContact, {}), pair.pinion.gear.tipDiameter / 2, 1e-9);
    EXPECT_NEAR(distance(pair.mesh.startOfContact, wheelAxis), pair.wheel.gear.tipDiameter / 2,
                1e-9);
    EXPECT_NEAR(distance(pair.mesh.startOfContact, {}), pair.mesh.pinion.activeStartDiameter / 2,
                1e-9);
    EXPECT_NEAR(distance(pair.mesh.endOfContact, wheelAxis),
                pair.mesh.wheel.activeStartDiameter / 2, 1e-9);
    EXPECT_GT(pair.mesh.endOfContact.y, 0.0);
    EXPECT_LT(pair.mesh.startOfContact.y, 0.0);
  }
}

TEST(Mesh, HasTheBacklashOfTheDesign) {
  for (const DesignInput& input : sweep()) {
    const Mesh mesh = meshOf(input);
    EXPECT_NEAR(mesh.circumferentialBacklash, input.backlash, 1e-9);
    EXPECT_NEAR(mesh.normalBacklash, input.backlash * std::cos(mesh.workingPressureAngle), 1e-9);
  }
}

TEST(Mesh, KeepsTheClearanceOfTheRack) {
  DesignInput input = soundDesign();
  input.backlash = 0.0;
  input.pinionShift = 0.5;
  input.wheelShift = 0.5;
  const Mesh mesh = meshOf(input);
  EXPECT_NEAR(mesh.pinion.tipClearance, 0.25 * 2.5, 1e-9);
  EXPECT_NEAR(mesh.wheel.tipClearance, 0.25 * 2.5, 1e-9);
}

// The flanks' rolling velocities at a point of the line of action are its distances from the base
// circles' points of contact times the angular velocities.
TEST(Mesh, HasTheSpecificSlidingOfItsRollingVelocities) {
  const Computed pair = compute(soundDesign());
  const Mesh& mesh = pair.mesh;
  const double ratio = pair.requirements.toothRatio;
  const double ofPinion = distance(mesh.startOfContact, mesh.pinionTangentPoint);
  const double ofWheel = distance(mesh.startOfContact, mesh.wheelTangentPoint) / ratio;
  EXPECT_NEAR(mesh.pinion.specificSlidingAtRoot, (ofPinion - ofWheel) / ofPinion, 1e-9);
  EXPECT_NEAR(mesh.wheel.specificSlidingAtTip, (ofWheel - ofPinion) / ofWheel, 1e-9);
  EXPECT_LT(mesh.pinion.specificSlidingAtRoot, 0.0);
  EXPECT_GT(mesh.pinion.specificSlidingAtTip, 0.0);
  EXPECT_LT(mesh.pinion.specificSlidingAtTip, 1.0);
}

TEST(Mesh, SlidesFastestWhereTheTipsTouch) {
  const Computed pair = compute(soundDesign());
  const double sum = (1450.0 + 1450.0 / 2.05) * kPi / 30.0;
  EXPECT_NEAR(pair.mesh.pinion.slidingVelocityAtTip, pair.mesh.recessLength * sum / 1000.0, 1e-9);
  EXPECT_NEAR(pair.mesh.wheel.slidingVelocityAtTip, pair.mesh.approachLength * sum / 1000.0, 1e-9);
}

TEST(Mesh, OfEqualGearsIsSymmetric) {
  const Mesh mesh = meshOf(standardDesign(25, 25));
  EXPECT_NEAR(mesh.approachLength, mesh.recessLength, 1e-9);
  EXPECT_NEAR(mesh.pinion.specificSlidingAtRoot, mesh.wheel.specificSlidingAtRoot, 1e-9);
  EXPECT_NEAR(mesh.pinion.singleContactOuterDiameter, mesh.wheel.singleContactOuterDiameter, 1e-9);
}

// One base pitch before the end of contact, the next pair of teeth is about to come into contact.
TEST(Mesh, CarriesTheLoadAloneUpToOneBasePitchAfterTheStart) {
  const Computed pair = compute(soundDesign());
  const double start = distance(pair.mesh.startOfContact, pair.mesh.pinionTangentPoint);
  const double expected =
      2.0 * std::hypot(pair.pinion.gear.baseDiameter / 2, start + pair.mesh.basePitch);
  EXPECT_NEAR(pair.mesh.pinion.singleContactOuterDiameter, expected, 1e-9);
  EXPECT_LT(expected, pair.pinion.gear.tipDiameter);
}

TEST(Mesh, NeverLetsTheGearsOverlap) {
  for (DesignInput input : sweep()) {
    input.backlash = std::max(input.backlash, 0.01 * input.module);
    const Computed pair = compute(input);
    for (const double rotation : rotationsThroughOnePitch(input.pinionTeeth)) {
      EXPECT_FALSE(overlap(pair, placedPinion(pair.pinion, rotation),
                           placedWheel(pair.wheel, pair.mesh, input.pinionTeeth, rotation)))
          << input.pinionTeeth << " teeth at " << rotation;
    }
  }
}

TEST(Mesh, LetsTheWheelTurnFreelyByTheBacklashAndNoMore) {
  const Computed pair = compute(soundDesign());
  const double half = 0.06 / (pair.wheel.gear.workingPitchDiameter / 2);
  const Point axis{pair.mesh.centreDistance, 0.0};
  const auto turnedWheel = [&](double angle) {
    return placed(pair.wheel.outline, kPi + kPi / 41 + angle, axis);
  };
  const Polyline pinion = placedPinion(pair.pinion, 0.0);
  EXPECT_FALSE(overlap(pair, pinion, turnedWheel(0.9 * half)));
  EXPECT_FALSE(overlap(pair, pinion, turnedWheel(-0.9 * half)));
  EXPECT_TRUE(overlap(pair, pinion, turnedWheel(1.2 * half)));
  EXPECT_TRUE(overlap(pair, pinion, turnedWheel(-1.2 * half)));
}

/// Where leading flanks of the pinion cross the line of action between start and end of contact:
/// there the line leaves the pinion.
std::vector<Point> crossings(const Polyline& outline, const Mesh& mesh) {
  const Point from = mesh.startOfContact;
  const Point to = mesh.endOfContact;
  const auto side = [&](Point p) {
    return (to.x - from.x) * (p.y - from.y) - (to.y - from.y) * (p.x - from.x);
  };
  std::vector<Point> points;
  for (std::size_t i = 0; i < outline.size(); ++i) {
    const Point a = outline[i];
    const Point b = outline[(i + 1) % outline.size()];
    if (side(a) > 0.0 || side(b) <= 0.0) {
      continue;
    }
    const double t = side(a) / (side(a) - side(b));
    const Point crossing{a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
    const double along =
        ((crossing.x - from.x) * (to.x - from.x) + (crossing.y - from.y) * (to.y - from.y)) /
        mesh.pathLength;
    if (along > 0.1 && along < mesh.pathLength - 0.1) {
      points.push_back(crossing);
    }
  }
  return points;
}

// The law of gearing: while the gears turn in the ratio of their teeth, flanks that face each other
// on the line of action keep their distance, here half of the normal backlash.
TEST(Mesh, TransmitsTheMotionUniformly) {
  constexpr double kChordError = 0.004;
  for (const DesignInput& input : {soundDesign(), sweep().back()}) {
    const Computed pair = compute(input);
    std::size_t found = 0;
    for (const double rotation : rotationsThroughOnePitch(input.pinionTeeth)) {
      const Polyline wheel = placedWheel(pair.wheel, pair.mesh, input.pinionTeeth, rotation);
      for (const Point point : crossings(placedPinion(pair.pinion, rotation), pair.mesh)) {
        EXPECT_NEAR(distanceToOutline(wheel, point), pair.mesh.normalBacklash / 2, kChordError)
            << input.pinionTeeth << " teeth at " << rotation;
        ++found;
      }
    }
    EXPECT_GE(found, 12U);
  }
}

TEST(Mesh, IsMirroredAboutTheCentreLineAtTheStart) {
  const Computed pair = compute(soundDesign());
  const Polyline wheel = placedWheel(pair.wheel, pair.mesh, 20, 0.0);
  const auto lower = std::ranges::find_if(wheel, [](Point p) { return p.y < -1.0 && p.x < 30.0; });
  ASSERT_NE(lower, wheel.end());
  EXPECT_NEAR(distanceToOutline(wheel, {lower->x, -lower->y}), 0.0, 1e-9);
}

TEST(Mesh, IsRefusedWhereTipsRunIntoRoots) {
  DesignInput input = soundDesign();
  input.wheelShift = -1.0;
  EXPECT_THAT(errorOf(input),
              HasSubstr("The tips of the wheel with 41 teeth run into the roots of the pinion with "
                        "20 teeth: they meet it at 47.19 mm diameter, where its involute starts "
                        "only at 47.32 mm; "));
}

TEST(Mesh, IsRefusedWhereTheTipClearanceIsTooSmall) {
  DesignInput input = soundDesign();
  input.addendumCoefficient = 1.2;
  EXPECT_EQ(errorOf(input),
            "The tips of the pinion have a clearance of only 0.21 mm from the mating roots where "
            "0.1 modules (0.25 mm) are needed; use a dedendum of at least 1.30 modules.");
}

TEST(Mesh, IsRefusedBelowTheContactRatioLimit) {
  DesignInput input = soundDesign();
  input.pressureAngle = 25.0;
  input.addendumCoefficient = 0.6;
  input.rootRadiusCoefficient = 0.2;
  EXPECT_THAT(errorOf(input), HasSubstr("is below 1.1: the path of contact is "));
}

}  // namespace
}  // namespace GearPair
