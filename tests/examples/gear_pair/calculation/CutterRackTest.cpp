#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/CutterRack.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

CutterRack rackOf(const DesignInput& input) { return computeCutterRack(deriveRequirements(input)); }

/// Width of the profile's middle tooth at a height: where its right flank crosses.
double halfWidthAt(const Polyline& profile, double height) {
  double low = 0.0;
  double high = 3.0;
  for (int i = 0; i < 60; ++i) {
    const double middle = (low + high) / 2;
    (contains(profile, {middle, height}) ? low : high) = middle;
  }
  return low;
}

TEST(CutterRack, IsTheGearsRackUpsideDown) {
  const CutterRack rack = rackOf(soundDesign());
  EXPECT_DOUBLE_EQ(rack.pitch, 2.5 * std::numbers::pi);
  EXPECT_DOUBLE_EQ(rack.toothThickness, rack.pitch / 2);
  EXPECT_DOUBLE_EQ(rack.addendum, 3.125);
  EXPECT_DOUBLE_EQ(rack.tipRadius, 0.95);
}

TEST(CutterRack, HasStraightFlanksAtThePressureAngle) {
  const CutterRack rack = rackOf(soundDesign());
  const double tangent = std::tan(rack.pressureAngle);
  for (const double height : {-2.4, -1.0, 0.0, 1.0, 2.4}) {
    EXPECT_NEAR(halfWidthAt(rack.profile, height), rack.toothThickness / 2 - height * tangent,
                1e-9);
  }
}

TEST(CutterRack, EndsInAFlatTip) {
  const CutterRack rack = rackOf(soundDesign());
  const auto top = std::ranges::max_element(rack.profile, {}, &Point::y);
  EXPECT_NEAR(top->y, rack.addendum, 1e-12);
  EXPECT_NEAR(halfWidthAt(rack.profile, rack.addendum - 1e-9), rack.tipFlat / 2, 2e-3);
}

TEST(CutterRack, RoundsItsTipsTangentiallyToTheFlank) {
  const CutterRack rack = rackOf(soundDesign());
  const Point centre{rack.tipFlat / 2, rack.addendum - rack.tipRadius};
  const double fromFlank = (rack.toothThickness / 2 - centre.x) * std::cos(rack.pressureAngle) -
                           centre.y * std::sin(rack.pressureAngle);
  EXPECT_NEAR(fromFlank, rack.tipRadius, 1e-9);
}

TEST(CutterRack, HasNoFlatAtTheFullTipRounding) {
  DesignInput input = soundDesign();
  input.rootRadiusCoefficient = 0.47;
  const CutterRack rack = rackOf(input);
  EXPECT_GE(rack.tipFlat, 0.0);
  EXPECT_LT(rack.tipFlat, 0.05);
}

TEST(CutterRack, IsAClosedSymmetricProfile) {
  const CutterRack rack = rackOf(soundDesign());
  EXPECT_GT(signedArea(rack.profile), 0.0);
  for (const Point point : rack.profile) {
    EXPECT_NEAR(distanceToOutline(rack.profile, {-point.x, point.y}), 0.0, 1e-9);
  }
}

}  // namespace
}  // namespace GearPair
