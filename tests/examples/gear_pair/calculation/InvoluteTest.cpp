#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "examples/gear_pair/calculation/DesignError.h"
#include "examples/gear_pair/calculation/Involute.h"

namespace GearPair {
namespace {

// The usual tables of the involute function.
TEST(Involute, AgreesWithTheTables) {
  EXPECT_NEAR(involute(radians(14.5)), 0.005545, 5e-7);
  EXPECT_NEAR(involute(radians(20.0)), 0.014904, 5e-7);
  EXPECT_NEAR(involute(radians(25.0)), 0.029975, 5e-7);
}

TEST(Involute, IsUndoneByItsInverse) {
  for (double angle = 0.01; angle < 89.9; angle += 0.37) {
    const double value = involute(radians(angle));
    EXPECT_NEAR(degrees(inverseInvolute(value)), angle, 1e-6) << angle;
  }
}

TEST(Involute, HasTheInverseZeroAtZero) { EXPECT_EQ(inverseInvolute(0.0), 0.0); }

TEST(Involute, HasAnInverseForTinyAndHugeValues) {
  EXPECT_NEAR(inverseInvolute(1e-18), std::cbrt(3e-18), 1e-9);
  EXPECT_NEAR(inverseInvolute(1e6), std::numbers::pi / 2, 1e-5);
}

TEST(Involute, HasNoInverseForNegativeOrInfiniteValues) {
  EXPECT_THROW(inverseInvolute(-1e-9), DesignError);
  EXPECT_THROW(inverseInvolute(std::numeric_limits<double>::infinity()), DesignError);
  EXPECT_THROW(inverseInvolute(std::numeric_limits<double>::quiet_NaN()), DesignError);
}

TEST(Involute, HasThePressureAngleAtTheReferenceCircle) {
  EXPECT_NEAR(profileAngle(10.0, 10.0 * std::cos(radians(20.0))), radians(20.0), 1e-12);
  EXPECT_EQ(profileAngle(9.0, 10.0), 0.0);
}

}  // namespace
}  // namespace GearPair
