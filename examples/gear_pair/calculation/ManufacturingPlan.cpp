#include "examples/gear_pair/calculation/ManufacturingPlan.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/TextTable.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr double kCuttingSpeed = 60.0;
constexpr double kAxialFeed = 2.0;
constexpr double kDiameterAllowance = 3.0;
constexpr double kWidthAllowance = 2.0;
constexpr double kBarStep = 5.0;

double roundedUp(double value, double step) { return std::ceil(value / step - 1e-9) * step; }

/// A usual diameter of hobs of that module, mm.
double hobDiameter(double module) { return roundedUp(40.0 + 10.0 * module, 5.0); }

double spanOf(const Requirements& requirements, const GearData& gear, int k) {
  return spanMeasurement(requirements.rack.module, requirements.rack.pressureAngle, gear.teeth,
                         gear.generatingShift, k);
}

/// Whether the measuring plates touch the involutes when they are the span apart.
bool touchesInvolutes(const ToothForm& form, double span) {
  const double contactDiameter = std::hypot(form.gear.baseDiameter, span);
  return contactDiameter >= form.formDiameter && contactDiameter <= form.gear.tipDiameter;
}

/// The number of teeth whose span touches nearest to the middle of the teeth, above the reference
/// circle by the profile shift.
int idealSpanTeeth(const Requirements& requirements, const GearData& gear) {
  const double middle =
      gear.referenceDiameter + 2.0 * gear.generatingShift * requirements.rack.module;
  const double wanted =
      std::sqrt(std::max(0.0, middle * middle - gear.baseDiameter * gear.baseDiameter));
  const double perTooth = spanOf(requirements, gear, 3) - spanOf(requirements, gear, 2);
  return 2 + static_cast<int>(std::lround((wanted - spanOf(requirements, gear, 2)) / perTooth));
}

void measureSpan(const Requirements& requirements, const ToothForm& form, ToothMeasures& measures) {
  const int ideal = idealSpanTeeth(requirements, form.gear);
  for (const int k : {ideal, ideal + 1, ideal - 1}) {
    const double span = spanOf(requirements, form.gear, k);
    if (k >= 2 && k < form.gear.teeth && touchesInvolutes(form, span)) {
      measures.spanTeeth = k;
      measures.spanMeasurement = span;
      return;
    }
  }
}

/// Half of the angle of a tooth space at the base circle; negative if the involutes meet above it.
double halfSpaceAtBase(const Requirements& requirements, const ToothForm& form) {
  return std::numbers::pi / form.gear.teeth - form.toothThickness / form.gear.referenceDiameter -
         involute(requirements.rack.pressureAngle);
}

/// A pin that touches both flanks of a space about at the middle of the teeth.
double pinDiameter(const Requirements& requirements, const ToothForm& form) {
  const GearData& gear = form.gear;
  const double module = requirements.rack.module;
  const double middle = gear.referenceDiameter + 2.0 * gear.generatingShift * module;
  const double tangent = std::tan(profileAngle(middle / 2, gear.baseDiameter / 2));
  const double atCentre = tangent + halfSpaceAtBase(requirements, form);
  const double ideal = gear.baseDiameter * (std::tan(atCentre) - tangent);
  return roundedUp(ideal, module < 1.0 ? 0.05 : 0.25);
}

/// Dimension over two pins in opposite spaces, or in the most nearly opposite ones if the number of
/// teeth is odd.
double overPins(const Requirements& requirements, const ToothForm& form, double pin) {
  const GearData& gear = form.gear;
  const double inv = pin / gear.baseDiameter - halfSpaceAtBase(requirements, form);
  const double centres = gear.baseDiameter / std::cos(inverseInvolute(inv));
  const bool isOdd = gear.teeth % 2 != 0;
  const double chord = isOdd ? std::cos(std::numbers::pi / (2.0 * gear.teeth)) : 1.0;
  return centres * chord + pin;
}

void planBlank(const Requirements& requirements, const GearData& gear, GearPlan& plan) {
  plan.blankDiameter = roundedUp(gear.tipDiameter + kDiameterAllowance, kBarStep);
  plan.blankWidth = requirements.faceWidth + kWidthAllowance;
  const double cubicMillimetres =
      std::numbers::pi / 4 * plan.blankDiameter * plan.blankDiameter * plan.blankWidth;
  plan.blankMass = cubicMillimetres * 1e-9 * gear.material.density;
}

void planHobbing(const Requirements& requirements, const ManufacturingPlan& shop, GearPlan& plan) {
  const double approach =
      std::sqrt(plan.toothDepth * std::max(0.0, shop.hobDiameter - plan.toothDepth));
  const double overrun = 2.0 * requirements.rack.module;
  plan.hobSpeed = 1000.0 * shop.cuttingSpeed / (std::numbers::pi * shop.hobDiameter);
  plan.hobbingTime =
      plan.teeth * (requirements.faceWidth + approach + overrun) / (plan.hobSpeed * shop.axialFeed);
}

GearPlan planGear(const Requirements& requirements, const ManufacturingPlan& shop,
                  const ToothForm& form) {
  const GearData& gear = form.gear;
  GearPlan plan;
  static_cast<ToothMeasures&>(plan) = measureTeeth(requirements, form);
  plan.member = gear.member;
  plan.teeth = gear.teeth;
  plan.materialName = gear.material.name;
  plan.treatment = gear.material.treatment;
  plan.tipDiameter = gear.tipDiameter;
  plan.faceWidth = requirements.faceWidth;
  plan.boreDiameter = gear.boreDiameter;
  plan.toothDepth = (gear.tipDiameter - gear.rootDiameter) / 2;
  plan.cutterShift = gear.generatingShift * requirements.rack.module;
  planBlank(requirements, gear, plan);
  planHobbing(requirements, shop, plan);
  return plan;
}

std::string boreText(double bore, UnitSystem units) {
  return bore == 0.0 ? "none" : quantityNumber(bore, Quantity::kLength, units);
}

/// "3", or "-" where no span can be measured.
std::string spanTeethText(const GearPlan& plan) {
  return plan.spanTeeth == 0 ? "-" : std::to_string(plan.spanTeeth);
}

std::string spanText(const GearPlan& plan, UnitSystem units) {
  return plan.spanTeeth == 0 ? "-" : quantityNumber(plan.spanMeasurement, Quantity::kLength, units);
}

std::string blankSection(const ManufacturingPlan& plan, UnitSystem units) {
  const std::string length = unitSign(Quantity::kLength, units);
  const auto text = [units](double value) {
    return quantityNumber(value, Quantity::kLength, units);
  };
  TextTable table;
  table.add("", "pinion", "wheel", "");
  table.add("material", plan.pinion.materialName, plan.wheel.materialName, "");
  table.add("bar diameter", text(plan.pinion.blankDiameter), text(plan.wheel.blankDiameter),
            length);
  table.add("sawn width", text(plan.pinion.blankWidth), text(plan.wheel.blankWidth), length);
  table.add("mass of the blank", quantityNumber(plan.pinion.blankMass, Quantity::kMass, units),
            quantityNumber(plan.wheel.blankMass, Quantity::kMass, units),
            unitSign(Quantity::kMass, units));
  table.add("turned diameter (tip circle)", text(plan.pinion.tipDiameter),
            text(plan.wheel.tipDiameter), length);
  table.add("face width", text(plan.pinion.faceWidth), text(plan.wheel.faceWidth), length);
  table.add("bore", boreText(plan.pinion.boreDiameter, units),
            boreText(plan.wheel.boreDiameter, units), length);
  return sectionHeading("1  Saw, turn and bore the blanks") + table.text();
}

std::string hobbingSection(const ManufacturingPlan& plan, UnitSystem units) {
  const std::string length = unitSign(Quantity::kLength, units);
  const auto text = [units](double value) {
    return quantityNumber(value, Quantity::kLength, units);
  };
  TextTable table;
  table.add("hob diameter, one thread", text(plan.hobDiameter), length);
  table.add("cutting speed", fixedText(plan.cuttingSpeed, 0), "m/min");
  table.add("axial feed for a turn of the gear", text(plan.axialFeed), length);
  table.add("", "pinion", "wheel", "");
  table.add("teeth", std::to_string(plan.pinion.teeth), std::to_string(plan.wheel.teeth), "");
  table.add("cutter shift from the reference circle", text(plan.pinion.cutterShift),
            text(plan.wheel.cutterShift), length);
  table.add("depth of cut", text(plan.pinion.toothDepth), text(plan.wheel.toothDepth), length);
  table.add("hob speed", fixedText(plan.pinion.hobSpeed, 0), fixedText(plan.wheel.hobSpeed, 0),
            "rpm");
  table.add("hobbing time", fixedText(plan.pinion.hobbingTime, 1),
            fixedText(plan.wheel.hobbingTime, 1), "min");
  return sectionHeading("2  Hob the teeth") + table.text();
}

std::string treatmentSection(const ManufacturingPlan& plan) {
  return sectionHeading("3  Heat treatment") + "  pinion: " + plan.pinion.treatment +
         "\n  wheel:  " + plan.wheel.treatment + "\n";
}

std::string measuringSection(const ManufacturingPlan& plan, UnitSystem units) {
  const std::string length = unitSign(Quantity::kLength, units);
  const auto text = [units](double value) {
    return quantityNumber(value, Quantity::kLength, units);
  };
  TextTable table;
  table.add("", "pinion", "wheel", "");
  table.add("teeth spanned, k", spanTeethText(plan.pinion), spanTeethText(plan.wheel), "");
  table.add("span measurement W_k", spanText(plan.pinion, units), spanText(plan.wheel, units),
            length);
  table.add("pin diameter", text(plan.pinion.pinDiameter), text(plan.wheel.pinDiameter), length);
  table.add("dimension over two pins", text(plan.pinion.overPins), text(plan.wheel.overPins),
            length);
  return sectionHeading("4  Measure") + table.text();
}

}  // namespace

double spanMeasurement(double module, double pressureAngle, int teeth, double profileShift, int k) {
  return module * std::cos(pressureAngle) *
             ((k - 0.5) * std::numbers::pi + teeth * involute(pressureAngle)) +
         2.0 * profileShift * module * std::sin(pressureAngle);
}

ToothMeasures measureTeeth(const Requirements& requirements, const ToothForm& form) {
  ToothMeasures measures;
  measureSpan(requirements, form, measures);
  measures.pinDiameter = pinDiameter(requirements, form);
  measures.overPins = overPins(requirements, form, measures.pinDiameter);
  return measures;
}

ManufacturingPlan computeManufacturingPlan(const Requirements& requirements,
                                           const ToothForm& pinion, const ToothForm& wheel) {
  ManufacturingPlan plan;
  plan.hobDiameter = hobDiameter(requirements.rack.module);
  plan.cuttingSpeed = kCuttingSpeed;
  plan.axialFeed = kAxialFeed;
  plan.pinion = planGear(requirements, plan, pinion);
  plan.wheel = planGear(requirements, plan, wheel);
  return plan;
}

std::string writeManufacturingPlan(const ManufacturingPlan& plan, UnitSystem units) {
  return "MANUFACTURING PLAN\n" + blankSection(plan, units) + hobbingSection(plan, units) +
         treatmentSection(plan) + measuringSection(plan, units);
}

}  // namespace GearPair
