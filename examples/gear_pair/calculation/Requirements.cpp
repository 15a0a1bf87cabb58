#include "examples/gear_pair/calculation/Requirements.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

BasicRack deriveRack(const DesignInput& input) {
  BasicRack rack;
  rack.module = input.module;
  rack.pressureAngle = radians(input.pressureAngle);
  rack.addendum = input.addendumCoefficient * input.module;
  rack.dedendum = input.dedendumCoefficient * input.module;
  rack.tipRadius = input.rootRadiusCoefficient * input.module;
  rack.straightDepth = rack.dedendum - rack.tipRadius * (1.0 - std::sin(rack.pressureAngle));
  return rack;
}

/// Half the width of the flat between the roundings of a tooth tip of the cutting rack.
double halfTipFlat(const BasicRack& rack) {
  const double sine = std::sin(rack.pressureAngle);
  const double cosine = std::cos(rack.pressureAngle);
  return std::numbers::pi * rack.module / 4 - rack.dedendum * std::tan(rack.pressureAngle) -
         rack.tipRadius * (1.0 - sine) / cosine;
}

/// The largest tip radius, in modules, that leaves a flat of width 0.
double largestRootRadius(const BasicRack& rack) {
  const double sine = std::sin(rack.pressureAngle);
  const double cosine = std::cos(rack.pressureAngle);
  const double room =
      std::numbers::pi / 4 - rack.dedendum / rack.module * std::tan(rack.pressureAngle);
  return room * cosine / (1.0 - sine);
}

void checkRack(const DesignInput& input, const BasicRack& rack) {
  if (input.dedendumCoefficient <= input.addendumCoefficient) {
    throw DesignError("The dedendum of " + numberText(input.dedendumCoefficient) +
                      " modules leaves the mating tips no clearance at an addendum of " +
                      numberText(input.addendumCoefficient) +
                      " modules; make the dedendum larger, usually by 0.25 modules.");
  }
  if (halfTipFlat(rack) < 0.0) {
    const double largest = std::floor(largestRootRadius(rack) * 100.0) / 100.0;
    const std::string advice =
        largest > 0.0 ? "a radius of at most " + fixedText(largest, 2) + " modules fits."
                      : "a smaller dedendum or pressure angle is needed.";
    throw DesignError("A root radius of " + numberText(input.rootRadiusCoefficient) +
                      " modules does not fit on the tips of the cutting rack with a dedendum of " +
                      numberText(input.dedendumCoefficient) + " modules and a pressure angle of " +
                      numberText(input.pressureAngle) + " degrees; " + advice);
  }
}

void checkTeeth(const DesignInput& input) {
  if (input.pinionTeeth > input.wheelTeeth) {
    throw DesignError("The pinion has " + std::to_string(input.pinionTeeth) +
                      " teeth, more than the wheel with " + std::to_string(input.wheelTeeth) +
                      "; the pinion is the smaller gear, so swap the two.");
  }
}

double workingPressureAngle(const DesignInput& input, double pressureAngle) {
  const double shiftSum = input.pinionShift + input.wheelShift;
  const int teethSum = input.pinionTeeth + input.wheelTeeth;
  const double inv = involute(pressureAngle) + 2.0 * std::tan(pressureAngle) * shiftSum / teethSum;
  if (inv <= 0.0) {
    const double lowest = -involute(pressureAngle) * teethSum / (2.0 * std::tan(pressureAngle));
    throw DesignError("The sum of the profile shifts, " + fixedText(shiftSum, 3) +
                      ", brings the gears too close to mesh; with " + std::to_string(teethSum) +
                      " teeth in all it has to be above " + fixedText(lowest, 3) + ".");
  }
  return inverseInvolute(inv);
}

/// The shift at which the cutter thins the tooth by half of the backlash. The backlash is stated on
/// the working pitch circle; on the reference circle it is smaller in the ratio of the diameters.
double generatingShift(const DesignInput& input, const Requirements& requirements, double shift) {
  const double pressureAngle = requirements.rack.pressureAngle;
  const double atReferenceCircle =
      input.backlash * std::cos(requirements.workingPressureAngle) / std::cos(pressureAngle);
  const double thinning = atReferenceCircle / 2;
  return shift - thinning / (2.0 * input.module * std::tan(pressureAngle));
}

struct MemberInput {
  Member member;
  int teeth;
  double shift;
  double bore;
  std::string_view material;
};

GearData deriveGear(const DesignInput& input, const Requirements& requirements,
                    const MemberInput& own) {
  const BasicRack& rack = requirements.rack;
  GearData gear;
  gear.member = own.member;
  gear.teeth = own.teeth;
  gear.profileShift = own.shift;
  gear.generatingShift = generatingShift(input, requirements, own.shift);
  gear.referenceDiameter = rack.module * own.teeth;
  gear.baseDiameter = gear.referenceDiameter * std::cos(rack.pressureAngle);
  gear.tipDiameter = gear.referenceDiameter +
                     2.0 * (own.shift * rack.module + rack.addendum + requirements.tipAlteration);
  gear.rootDiameter =
      gear.referenceDiameter + 2.0 * (gear.generatingShift * rack.module - rack.dedendum);
  gear.workingPitchDiameter = gear.baseDiameter / std::cos(requirements.workingPressureAngle);
  gear.boreDiameter = own.bore;
  const Material* material = findMaterial(own.material);
  if (material == nullptr) {
    throw DesignError("The material of the " + memberName(own.member) + ", " +
                      inQuotes(own.material) + ", is not a known steel; choose one of the list.");
  }
  gear.material = *material;
  return gear;
}

void deriveOperation(const DesignInput& input, Requirements& requirements) {
  requirements.toothRatio = static_cast<double>(input.wheelTeeth) / input.pinionTeeth;
  requirements.faceWidth = input.faceWidth;
  requirements.backlash = input.backlash;
  requirements.pinionTorque = input.torque;
  requirements.wheelTorque = input.torque * requirements.toothRatio;
  requirements.pinionSpeed = input.speed;
  requirements.wheelSpeed = input.speed / requirements.toothRatio;
  requirements.power = input.torque * input.speed * std::numbers::pi / 30.0 / 1000.0;
  requirements.applicationFactor = input.applicationFactor;
  requirements.requiredSafety = input.requiredSafety;
}

void deriveCentreDistance(const DesignInput& input, Requirements& requirements) {
  const double pressureAngle = requirements.rack.pressureAngle;
  requirements.workingPressureAngle = workingPressureAngle(input, pressureAngle);
  const double zeroShiftDistance = input.module * (input.pinionTeeth + input.wheelTeeth) / 2.0;
  requirements.centreDistance =
      zeroShiftDistance * std::cos(pressureAngle) / std::cos(requirements.workingPressureAngle);
  const double shiftDistance = input.module * (input.pinionShift + input.wheelShift);
  requirements.tipAlteration =
      std::min(0.0, requirements.centreDistance - zeroShiftDistance - shiftDistance);
}

}  // namespace

std::string memberName(Member member) { return member == Member::kPinion ? "pinion" : "wheel"; }

Member otherMember(Member member) {
  return member == Member::kPinion ? Member::kWheel : Member::kPinion;
}

Requirements deriveRequirements(const DesignInput& input) {
  checkTeeth(input);
  Requirements requirements;
  requirements.design = input;
  requirements.rack = deriveRack(input);
  checkRack(input, requirements.rack);
  deriveOperation(input, requirements);
  deriveCentreDistance(input, requirements);
  requirements.pinion = deriveGear(input, requirements,
                                   {Member::kPinion, input.pinionTeeth, input.pinionShift,
                                    input.pinionBore, input.pinionMaterial});
  requirements.wheel = deriveGear(
      input, requirements,
      {Member::kWheel, input.wheelTeeth, input.wheelShift, input.wheelBore, input.wheelMaterial});
  return requirements;
}

}  // namespace GearPair
