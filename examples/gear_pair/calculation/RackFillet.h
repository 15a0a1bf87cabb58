#pragma once

#include "examples/gear_pair/calculation/Geometry.h"
#include "examples/gear_pair/calculation/Requirements.h"

namespace GearPair {

/// The root fillet that the rounded tip of a cutting rack leaves in a gear: the envelope of the
/// rounding while the rack's pitch line rolls on the gear's reference circle. Lengths in mm, angles
/// in radians.
///
/// The parameter is the angle at which the common normal of rounding and fillet leans away from the
/// radial direction of the rack: 0 where the fillet leaves the root circle, endParameter() where
/// the rack's straight flank takes over. The normal always passes through the rack's pitch point.
class RackFillet {
 public:
  RackFillet(const BasicRack& rack, int teeth, double generatingShift);

  /// The last parameter: a right angle less the pressure angle.
  double endParameter() const { return endParameter_; }

  /// Distance of the fillet from the gear's axis. Grows with the parameter.
  double radius(double parameter) const;

  /// Angle, seen from the gear's axis, between the tooth's centre line and the fillet.
  double halfAngle(double parameter) const;

  /// Angle between the fillet's tangent and the tooth's centre line. Falls with the parameter.
  double tangentAngle(double parameter) const;

  /// Radius of curvature of the fillet.
  double curvatureRadius(double parameter) const;

 private:
  /// How far the gear has turned since a cutter tooth stood on the centre line.
  double rollAngle(double parameter) const;
  /// The fillet's point before the gear's turning is undone: x across, y from the gear's axis.
  Point pointInRackFrame(double parameter) const;

  double referenceRadius_;
  double toothHalfPitch_;
  double tipRadius_;
  /// Depth of the rounding's centre below the pitch line; negative above it.
  double centreDepth_;
  /// Distance of the rounding's centre from the middle of the cutter tooth.
  double centreOffset_;
  double endParameter_;
};

}  // namespace GearPair
