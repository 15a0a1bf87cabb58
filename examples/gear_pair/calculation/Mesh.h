#pragma once

#include "examples/gear_pair/calculation/ToothForm.h"

namespace GearPair {

/// How one gear's flanks take part in the mesh. Diameters in mm, velocities in m/s.
struct FlankContact {
  /// Lowest diameter of contact: start of the active profile.
  double activeStartDiameter = 0.0;
  /// Highest diameter at which one tooth pair alone carries the load.
  double singleContactOuterDiameter = 0.0;
  /// Specific sliding (sliding velocity over this flank's own rolling velocity) at the start of the
  /// active profile; negative there. Minus infinity if contact starts on the base circle.
  double specificSlidingAtRoot = 0.0;
  /// Specific sliding at the tip.
  double specificSlidingAtTip = 0.0;
  /// Sliding velocity where this gear's tip leaves or enters contact.
  double slidingVelocityAtTip = 0.0;
  /// Radial clearance between this gear's tip circle and the mating root circle, mm.
  double tipClearance = 0.0;

  bool operator==(const FlankContact&) const = default;
};

/// The pair in mesh. Lengths in mm.
///
/// Frame: the origin is the pinion's axis, the wheel's axis is at (centre distance, 0). The pinion
/// drives and turns counterclockwise; contact moves upwards along the line of action, from below
/// the centre line to above it.
struct Mesh {
  double centreDistance = 0.0;
  /// Radians.
  double workingPressureAngle = 0.0;
  /// Distance of successive flanks along the line of action.
  double basePitch = 0.0;
  /// Length of the path of contact, and its parts before and after the pitch point.
  double pathLength = 0.0;
  double approachLength = 0.0;
  double recessLength = 0.0;
  /// Transverse contact ratio: path length over base pitch.
  double contactRatio = 0.0;
  /// Circumferential backlash at the working pitch circles, from the tooth thicknesses.
  double circumferentialBacklash = 0.0;
  /// Backlash along the line of action.
  double normalBacklash = 0.0;
  /// Points of the line of action: where it touches the base circles, where contact starts and
  /// ends, and where it crosses the centre line.
  Point pinionTangentPoint;
  Point startOfContact;
  Point pitchPoint;
  Point endOfContact;
  Point wheelTangentPoint;
  FlankContact pinion;
  FlankContact wheel;

  /// The contact data of one gear.
  const FlankContact& contact(Member member) const {
    return member == Member::kPinion ? pinion : wheel;
  }

  bool operator==(const Mesh&) const = default;
};

/// Computes the mesh of the pair.
///
/// Throws DesignError if a tip reaches below the start of the mating involute, if a tip runs into
/// the mating root, or if the contact ratio is below 1.1.
Mesh computeMesh(const Requirements& requirements, const ToothForm& pinion, const ToothForm& wheel);

/// The pinion's outline in the mesh frame, turned counterclockwise by an angle in radians from the
/// position in which a tooth lies on the centre line.
Polyline placedPinion(const ToothForm& pinion, double pinionRotation);

/// The wheel's outline in the mesh frame when the pinion is turned by that angle: a tooth space
/// takes the pinion's tooth, the backlash equal on both of its sides.
Polyline placedWheel(const ToothForm& wheel, const Mesh& mesh, int pinionTeeth,
                     double pinionRotation);

}  // namespace GearPair
