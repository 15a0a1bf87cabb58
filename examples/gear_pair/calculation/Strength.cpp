#include "examples/gear_pair/calculation/Strength.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

/// Y_ST: the nominal stress number belongs to a reference gear with a stress correction of 2.
constexpr double kReferenceStressCorrection = 2.0;

/// Tangential force in N of a torque in Nm at a diameter in mm.
double forceAt(double torque, double diameter) { return 2000.0 * torque / diameter; }

double barthDynamicFactor(double pitchLineVelocity) {
  constexpr double kHobbed = 3.56;
  return (kHobbed + std::sqrt(pitchLineVelocity)) / kHobbed;
}

/// Angle between the load at a diameter and the perpendicular of the tooth's centre line.
double loadAngle(const Requirements& requirements, Member member, double diameter) {
  const GearData& gear = requirements.gear(member);
  const double toothHalfAngle = toothThicknessAt(requirements, member, diameter) / diameter;
  return profileAngle(diameter / 2, gear.baseDiameter / 2) - toothHalfAngle;
}

double formFactor(const Requirements& requirements, const RootSection& section, double leverArm,
                  double angle) {
  const double module = requirements.rack.module;
  const double thickness = section.thickness / module;
  return 6.0 * (leverArm / module) * std::cos(angle) /
         (thickness * thickness * std::cos(requirements.rack.pressureAngle));
}

double stressCorrection(const RootSection& section, double leverArm) {
  const double slenderness = section.thickness / leverArm;
  const double notch = section.thickness / (2.0 * section.filletRadius);
  return (1.2 + 0.13 * slenderness) * std::pow(notch, 1.0 / (1.21 + 2.3 / slenderness));
}

RootStrength rootStrength(const Requirements& requirements, const ToothForm& form,
                          const FlankContact& contact, const Strength& loads) {
  const RootSection& section = form.rootSection;
  const double angle =
      loadAngle(requirements, form.gear.member, contact.singleContactOuterDiameter);
  RootStrength root;
  root.leverArm = form.gear.baseDiameter / 2 / std::cos(angle) - section.distanceFromAxis;
  root.formFactor = formFactor(requirements, section, root.leverArm, angle);
  root.stressCorrection = stressCorrection(section, root.leverArm);
  root.nominalStress = loads.tangentialForce / (requirements.faceWidth * requirements.rack.module) *
                       root.formFactor * root.stressCorrection;
  root.stress = root.nominalStress * loads.applicationFactor * loads.dynamicFactor;
  root.limitStress = kReferenceStressCorrection * form.gear.material.bendingLimit;
  root.safety = root.limitStress / root.stress;
  return root;
}

double planeStrainCompliance(const Material& material) {
  return (1.0 - material.poissonRatio * material.poissonRatio) / material.elasticModulus;
}

double contactStress(const Requirements& requirements, const Strength& loads) {
  const double u = requirements.toothRatio;
  const double load = loads.tangentialForce * loads.applicationFactor * loads.dynamicFactor /
                      (requirements.pinion.referenceDiameter * requirements.faceWidth);
  return zoneFactor(requirements) *
         elasticityFactor(requirements.pinion.material, requirements.wheel.material) *
         std::sqrt(load * (u + 1.0) / u);
}

std::string safetyText(Member member, const RootStrength& root) {
  return "the " + memberName(member) + " " + fixedText(root.safety, 2);
}

}  // namespace

double zoneFactor(const Requirements& requirements) {
  const double working = requirements.workingPressureAngle;
  const double cosine = std::cos(requirements.rack.pressureAngle);
  return std::sqrt(2.0 * std::cos(working) / (cosine * cosine * std::sin(working)));
}

double elasticityFactor(const Material& pinion, const Material& wheel) {
  return std::sqrt(
      1.0 / (std::numbers::pi * (planeStrainCompliance(pinion) + planeStrainCompliance(wheel))));
}

Strength computeStrength(const Requirements& requirements, const ToothForm& pinion,
                         const ToothForm& wheel, const Mesh& mesh) {
  const GearData& driver = requirements.pinion;
  Strength strength;
  strength.tangentialForce = forceAt(requirements.pinionTorque, driver.referenceDiameter);
  strength.normalForce = forceAt(requirements.pinionTorque, driver.baseDiameter);
  strength.radialForce = forceAt(requirements.pinionTorque, driver.workingPitchDiameter) *
                         std::tan(requirements.workingPressureAngle);
  strength.pitchLineVelocity =
      std::numbers::pi * driver.workingPitchDiameter * requirements.pinionSpeed / 60000.0;
  strength.power = requirements.power;
  strength.applicationFactor = requirements.applicationFactor;
  strength.dynamicFactor = barthDynamicFactor(strength.pitchLineVelocity);
  strength.requiredSafety = requirements.requiredSafety;
  strength.pinion = rootStrength(requirements, pinion, mesh.pinion, strength);
  strength.wheel = rootStrength(requirements, wheel, mesh.wheel, strength);
  strength.contactStress = contactStress(requirements, strength);
  return strength;
}

std::string strengthVerdict(const Strength& strength) {
  const std::string required = fixedText(strength.requiredSafety, 2);
  const std::string found = safetyText(Member::kPinion, strength.pinion) + ", " +
                            safetyText(Member::kWheel, strength.wheel);
  if (strength.sufficient()) {
    return "The pair reaches the required root safety of " + required + ": " + found + ".";
  }
  const double lowest = std::min(strength.pinion.safety, strength.wheel.safety);
  return "The pair misses the required root safety of " + required + ": " + found +
         "; a face width larger by the factor " +
         fixedText(std::ceil(strength.requiredSafety / lowest * 100.0) / 100.0, 2) +
         ", a larger module or a stronger material would help.";
}

}  // namespace GearPair
