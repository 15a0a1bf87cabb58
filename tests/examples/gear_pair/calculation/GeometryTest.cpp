#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/Geometry.h"

namespace GearPair {
namespace {

const Polyline kSquare{{0.0, 0.0}, {2.0, 0.0}, {2.0, 2.0}, {0.0, 2.0}};
/// A square with a notch from the top down to its middle.
const Polyline kNotched{{0.0, 0.0}, {3.0, 0.0}, {3.0, 2.0}, {2.0, 2.0},
                        {2.0, 1.0}, {1.0, 1.0}, {1.0, 2.0}, {0.0, 2.0}};

TEST(Geometry, TurnsCounterclockwise) {
  const Point turned = rotated({1.0, 0.0}, std::numbers::pi / 2);
  EXPECT_NEAR(turned.x, 0.0, 1e-15);
  EXPECT_NEAR(turned.y, 1.0, 1e-15);
}

TEST(Geometry, PlacesByTurningFirstAndMovingThen) {
  const Polyline line = placed({{1.0, 0.0}}, std::numbers::pi, {5.0, 1.0});
  ASSERT_EQ(line.size(), 1U);
  EXPECT_NEAR(line[0].x, 4.0, 1e-15);
  EXPECT_NEAR(line[0].y, 1.0, 1e-15);
}

TEST(Geometry, CountsTheAreaOfCounterclockwiseLinesAsPositive) {
  EXPECT_DOUBLE_EQ(signedArea(kSquare), 4.0);
  EXPECT_DOUBLE_EQ(signedArea({kSquare.rbegin(), kSquare.rend()}), -4.0);
}

TEST(Geometry, KnowsWhatLiesInside) {
  EXPECT_TRUE(contains(kNotched, {0.5, 1.5}));
  EXPECT_TRUE(contains(kNotched, {1.5, 0.5}));
  EXPECT_FALSE(contains(kNotched, {1.5, 1.5}));
  EXPECT_FALSE(contains(kNotched, {3.5, 0.5}));
  EXPECT_FALSE(contains(kNotched, {-0.5, 0.5}));
}

TEST(Geometry, MeasuresToTheNearestEdgeOrCorner) {
  EXPECT_DOUBLE_EQ(distanceToOutline(kSquare, {1.0, 0.25}), 0.25);
  EXPECT_DOUBLE_EQ(distanceToOutline(kSquare, {-1.0, 1.0}), 1.0);
  EXPECT_DOUBLE_EQ(distanceToOutline(kSquare, {5.0, 6.0}), 5.0);
}

TEST(Geometry, MeasuresToAnEdgeWithoutLength) {
  EXPECT_DOUBLE_EQ(distanceToOutline({{1.0, 1.0}, {1.0, 1.0}}, {1.0, 3.0}), 2.0);
}

}  // namespace
}  // namespace GearPair
