#include <gtest/gtest.h>

#include "examples/gear_pair/calculation/Units.h"

namespace GearPair {
namespace {

TEST(Units, LeaveMetricNumbersAlone) {
  for (const Quantity quantity :
       {Quantity::kLength, Quantity::kTorque, Quantity::kForce, Quantity::kStress,
        Quantity::kVelocity, Quantity::kPower, Quantity::kMass}) {
    EXPECT_EQ(inUnits(12.5, quantity, UnitSystem::kMetric), 12.5);
  }
}

// The exact definitions of the international inch and pound.
TEST(Units, ConvertToUsCustomaryNumbers) {
  const UnitSystem us = UnitSystem::kUsCustomary;
  EXPECT_NEAR(inUnits(25.4, Quantity::kLength, us), 1.0, 1e-12);
  EXPECT_NEAR(inUnits(1.0, Quantity::kTorque, us), 8.850746, 1e-6);
  EXPECT_NEAR(inUnits(4.4482216152605, Quantity::kForce, us), 1.0, 1e-12);
  EXPECT_NEAR(inUnits(1.0, Quantity::kStress, us), 145.0377, 1e-4);
  EXPECT_NEAR(inUnits(1.0, Quantity::kVelocity, us), 196.8504, 1e-4);
  EXPECT_NEAR(inUnits(0.745699872, Quantity::kPower, us), 1.0, 1e-8);
  EXPECT_NEAR(inUnits(0.45359237, Quantity::kMass, us), 1.0, 1e-12);
}

TEST(Units, AreWrittenBehindTheNumber) {
  EXPECT_EQ(quantityText(50.8, Quantity::kLength, UnitSystem::kMetric), "50.800 mm");
  EXPECT_EQ(quantityText(50.8, Quantity::kLength, UnitSystem::kUsCustomary), "2.0000 in");
  EXPECT_EQ(quantityText(100.0, Quantity::kTorque, UnitSystem::kUsCustomary), "885 lbf·in");
  EXPECT_EQ(quantityNumber(100.0, Quantity::kTorque, UnitSystem::kMetric), "100.0");
  EXPECT_EQ(unitSign(Quantity::kStress, UnitSystem::kUsCustomary), "psi");
}

}  // namespace
}  // namespace GearPair
