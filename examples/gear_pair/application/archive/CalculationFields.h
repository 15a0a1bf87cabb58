#pragma once

#include "examples/gear_pair/application/archive/MemberCount.h"
#include "examples/gear_pair/calculation/CutterRack.h"
#include "examples/gear_pair/calculation/ManufacturingPlan.h"
#include "examples/gear_pair/calculation/Strength.h"

// The members of the values of the calculation, once for writing, reading and comparing. A visitor
// is called with the struct and all its members, in the order in which a file holds them. A member
// that is forgotten does not compile. What is changed here changes the file: it takes a new version
// of GearPairDesign's record.

namespace GearPair {

/// A number that may be minus infinity, as no other number of a design may.
template <typename Number>
struct MayBeInfinite {
  Number& number;
};

template <typename Number>
MayBeInfinite<Number> mayBeInfinite(Number& number) {
  return {number};
}

template <typename Visitor, Of<DesignInput> T>
void fields(Visitor& visitor, T& input) {
  visitor(input, input.module, input.pinionTeeth, input.wheelTeeth, input.pressureAngle,
          input.pinionShift, input.wheelShift, input.faceWidth, input.backlash,
          input.pinionMaterial, input.wheelMaterial, input.torque, input.speed,
          input.applicationFactor, input.requiredSafety, input.pinionBore, input.wheelBore,
          input.addendumCoefficient, input.dedendumCoefficient, input.rootRadiusCoefficient);
}

template <typename Visitor, Of<Material> T>
void fields(Visitor& visitor, T& material) {
  visitor(material, material.name, material.treatment, material.elasticModulus,
          material.poissonRatio, material.bendingLimit, material.density);
}

template <typename Visitor, Of<BasicRack> T>
void fields(Visitor& visitor, T& rack) {
  visitor(rack, rack.module, rack.pressureAngle, rack.addendum, rack.dedendum, rack.tipRadius,
          rack.straightDepth);
}

template <typename Visitor, Of<GearData> T>
void fields(Visitor& visitor, T& gear) {
  visitor(gear, gear.member, gear.teeth, gear.profileShift, gear.generatingShift,
          gear.referenceDiameter, gear.baseDiameter, gear.tipDiameter, gear.rootDiameter,
          gear.workingPitchDiameter, gear.boreDiameter, gear.material);
}

template <typename Visitor, Of<Requirements> T>
void fields(Visitor& visitor, T& task) {
  visitor(task, task.design, task.rack, task.pinion, task.wheel, task.toothRatio,
          task.workingPressureAngle, task.centreDistance, task.tipAlteration, task.backlash,
          task.faceWidth, task.pinionTorque, task.wheelTorque, task.pinionSpeed, task.wheelSpeed,
          task.power, task.applicationFactor, task.requiredSafety);
}

template <typename Visitor, Of<Point> T>
void fields(Visitor& visitor, T& point) {
  visitor(point, point.x, point.y);
}

template <typename Visitor, Of<RootSection> T>
void fields(Visitor& visitor, T& section) {
  visitor(section, section.thickness, section.distanceFromAxis, section.filletRadius);
}

template <typename Visitor, Of<ToothForm> T>
void fields(Visitor& visitor, T& form) {
  visitor(form, form.gear, form.formDiameter, form.activeStartDiameter, form.toothThickness,
          form.tipThickness, form.undercut, form.undercutLimitTeeth, form.undercutLimitShift,
          form.rootSection, form.flank, form.involuteStart, form.outline);
}

template <typename Visitor, Of<ToothMeasures> T>
void fields(Visitor& visitor, T& measures) {
  visitor(measures, measures.spanTeeth, measures.spanMeasurement, measures.pinDiameter,
          measures.overPins);
}

template <typename Visitor, Of<FlankContact> T>
void fields(Visitor& visitor, T& contact) {
  visitor(contact, contact.activeStartDiameter, contact.singleContactOuterDiameter,
          mayBeInfinite(contact.specificSlidingAtRoot), contact.specificSlidingAtTip,
          contact.slidingVelocityAtTip, contact.tipClearance);
}

template <typename Visitor, Of<Mesh> T>
void fields(Visitor& visitor, T& mesh) {
  visitor(mesh, mesh.centreDistance, mesh.workingPressureAngle, mesh.basePitch, mesh.pathLength,
          mesh.approachLength, mesh.recessLength, mesh.contactRatio, mesh.circumferentialBacklash,
          mesh.normalBacklash, mesh.pinionTangentPoint, mesh.startOfContact, mesh.pitchPoint,
          mesh.endOfContact, mesh.wheelTangentPoint, mesh.pinion, mesh.wheel);
}

template <typename Visitor, Of<RootStrength> T>
void fields(Visitor& visitor, T& root) {
  visitor(root, root.formFactor, root.stressCorrection, root.leverArm, root.nominalStress,
          root.stress, root.limitStress, root.safety);
}

template <typename Visitor, Of<Strength> T>
void fields(Visitor& visitor, T& strength) {
  visitor(strength, strength.tangentialForce, strength.radialForce, strength.normalForce,
          strength.pitchLineVelocity, strength.power, strength.applicationFactor,
          strength.dynamicFactor, strength.requiredSafety, strength.pinion, strength.wheel,
          strength.contactStress);
}

template <typename Visitor, Of<CutterRack> T>
void fields(Visitor& visitor, T& rack) {
  visitor(rack, rack.module, rack.pressureAngle, rack.pitch, rack.addendum, rack.dedendum,
          rack.tipRadius, rack.tipFlat, rack.toothThickness, rack.profile);
}

}  // namespace GearPair
