#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/ManufacturingPlan.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::HasSubstr;

ManufacturingPlan planOf(const Computed& pair) {
  return computeManufacturingPlan(pair.requirements, pair.pinion, pair.wheel);
}

// The usual tables of base tangent lengths for module 1 and 20 degrees.
TEST(SpanMeasurement, AgreesWithTheTables) {
  EXPECT_NEAR(spanMeasurement(1.0, radians(20.0), 17, 0.0, 2), 4.6663, 5e-5);
  EXPECT_NEAR(spanMeasurement(1.0, radians(20.0), 20, 0.0, 3), 7.6604, 5e-5);
  EXPECT_NEAR(spanMeasurement(1.0, radians(20.0), 30, 0.0, 4), 10.7526, 5e-5);
}

TEST(SpanMeasurement, GrowsByTheBasePitchForEachTooth) {
  const double three = spanMeasurement(2.5, radians(20.0), 20, 0.3, 3);
  const double four = spanMeasurement(2.5, radians(20.0), 20, 0.3, 4);
  EXPECT_NEAR(four - three, std::numbers::pi * 2.5 * std::cos(radians(20.0)), 1e-12);
}

TEST(ManufacturingPlan, SpansTheUsualNumberOfTeeth) {
  const ManufacturingPlan plan = planOf(compute(standardDesign(20, 30)));
  EXPECT_EQ(plan.pinion.spanTeeth, 3);
  EXPECT_NEAR(plan.pinion.spanMeasurement, 7.6604, 5e-5);
  EXPECT_EQ(plan.wheel.spanTeeth, 4);
  EXPECT_NEAR(plan.wheel.spanMeasurement, 10.7526, 5e-5);
}

// Parallel plates that span k teeth touch the outer involutes where these bulge most: their
// distance is the extent of the k teeth above the fillets, square to the middle of the span.
TEST(ManufacturingPlan, SpansWhatTheOutlineMeasures) {
  const Computed pair = compute(soundDesign());
  for (const Member member : {Member::kPinion, Member::kWheel}) {
    const ToothForm& form = member == Member::kPinion ? pair.pinion : pair.wheel;
    const GearPlan plan = member == Member::kPinion ? planOf(pair).pinion : planOf(pair).wheel;
    const double middle = (plan.spanTeeth - 1) * std::numbers::pi / form.gear.teeth;
    const std::size_t perTooth = form.outline.size() / static_cast<std::size_t>(form.gear.teeth);
    double lowest = 0.0;
    double highest = 0.0;
    for (std::size_t i = 0; i < perTooth * static_cast<std::size_t>(plan.spanTeeth); ++i) {
      const Point point = rotated(form.outline[i], -middle);
      if (distance(point, {}) >= form.formDiameter / 2) {
        lowest = std::min(lowest, point.y);
        highest = std::max(highest, point.y);
      }
    }
    EXPECT_NEAR(highest - lowest, plan.spanMeasurement, 0.003);
  }
}

// A pin in a space touches both flanks: its centre is its radius away from the outline.
TEST(ManufacturingPlan, RestsItsPinsOnBothFlanks) {
  for (const int teeth : {20, 25}) {
    DesignInput input = soundDesign();
    input.pinionTeeth = teeth;
    const Computed pair = compute(input);
    for (const Member member : {Member::kPinion, Member::kWheel}) {
      const ToothForm& form = member == Member::kPinion ? pair.pinion : pair.wheel;
      const GearPlan plan = member == Member::kPinion ? planOf(pair).pinion : planOf(pair).wheel;
      const int z = form.gear.teeth;
      const double chord = z % 2 == 0 ? 1.0 : std::cos(std::numbers::pi / (2.0 * z));
      const double centre = (plan.overPins - plan.pinDiameter) / 2 / chord;
      const double away = distanceToOutline(form.outline, polarPoint(centre, std::numbers::pi / z));
      EXPECT_NEAR(away, plan.pinDiameter / 2, 0.003) << z;
      EXPECT_GT(plan.overPins, form.gear.tipDiameter) << z;
    }
  }
}

TEST(ManufacturingPlan, ContainsTheMeasuresOfTheTeeth) {
  const Computed pair = compute(soundDesign());
  const ToothMeasures wheel = measureTeeth(pair.requirements, pair.wheel);
  EXPECT_EQ(wheel, static_cast<ToothMeasures>(planOf(pair).wheel));
  EXPECT_EQ(wheel.spanTeeth, 5);
  EXPECT_NEAR(wheel.spanMeasurement,
              spanMeasurement(2.5, radians(20.0), 41, pair.wheel.gear.generatingShift, 5), 1e-12);
}

TEST(ManufacturingPlan, LeavesAnAllowanceOnTheBlank) {
  const Computed pair = compute(soundDesign());
  const ManufacturingPlan plan = planOf(pair);
  for (const GearPlan& gear : {plan.pinion, plan.wheel}) {
    EXPECT_GE(gear.blankDiameter, gear.tipDiameter + 3.0);
    EXPECT_LT(gear.blankDiameter, gear.tipDiameter + 8.0);
    EXPECT_NEAR(std::fmod(gear.blankDiameter, 5.0), 0.0, 1e-9);
    EXPECT_EQ(gear.blankWidth, 32.0);
  }
  // 60 mm bar, 32 mm long, steel of 7850 kg/m³.
  EXPECT_NEAR(plan.pinion.blankMass, 0.71025, 5e-5);
}

TEST(ManufacturingPlan, EstimatesTheHobbingTimeAsItsFormulaSays) {
  const Computed pair = compute(soundDesign());
  const ManufacturingPlan plan = planOf(pair);
  const double depth = (pair.pinion.gear.tipDiameter - pair.pinion.gear.rootDiameter) / 2;
  EXPECT_EQ(plan.hobDiameter, 65.0);
  EXPECT_DOUBLE_EQ(plan.pinion.toothDepth, depth);
  const double speed = 60000.0 / (std::numbers::pi * 65.0);
  const double path = 30.0 + std::sqrt(depth * (65.0 - depth)) + 5.0;
  EXPECT_NEAR(plan.pinion.hobSpeed, speed, 1e-9);
  EXPECT_NEAR(plan.pinion.hobbingTime, 20.0 * path / (speed * 2.0), 1e-9);
}

TEST(ManufacturingPlan, MovesTheCutterByTheGeneratingShift) {
  const Computed pair = compute(soundDesign());
  EXPECT_DOUBLE_EQ(planOf(pair).pinion.cutterShift, pair.pinion.gear.generatingShift * 2.5);
}

TEST(ManufacturingPlan, SaysWhereNoSpanCanBeMeasured) {
  ManufacturingPlan plan = planOf(compute(soundDesign()));
  plan.wheel.spanTeeth = 0;
  const std::string text = writeManufacturingPlan(plan, UnitSystem::kMetric);
  EXPECT_THAT(text,
              HasSubstr("teeth spanned, k                                   3             -\n"));
}

TEST(ManufacturingPlan, IsWrittenInTheUnitsOfTheReader) {
  const ManufacturingPlan plan = planOf(compute(soundDesign()));
  const std::string metric = writeManufacturingPlan(plan, UnitSystem::kMetric);
  EXPECT_THAT(metric, HasSubstr("  bar diameter                                  60.000       "
                                "115.000  mm\n"));
  EXPECT_THAT(metric, HasSubstr("wheel:  through hardened, 300 HV\n"));
  EXPECT_THAT(metric, HasSubstr("bore                                            none          "
                                "none  mm\n"));
  const std::string us = writeManufacturingPlan(plan, UnitSystem::kUsCustomary);
  EXPECT_THAT(us, HasSubstr("  bar diameter                                  2.3622        "
                            "4.5276  in\n"));
  EXPECT_THAT(us, HasSubstr(" lb\n"));
}

}  // namespace
}  // namespace GearPair
