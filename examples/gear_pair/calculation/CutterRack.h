#pragma once

#include "examples/gear_pair/calculation/Geometry.h"
#include "examples/gear_pair/calculation/Requirements.h"

namespace GearPair {

/// The profile of the rack type cutter (a hob's axial section) that generates both gears. Lengths
/// in mm.
///
/// Frame: x along the datum line, y from the datum line towards the gear; the origin is the middle
/// of a cutter tooth on the datum line.
struct CutterRack {
  double module = 0.0;
  /// Flank angle to the y axis, radians.
  double pressureAngle = 0.0;
  /// Distance of equal flanks along the datum line.
  double pitch = 0.0;
  /// Height of the cutter's teeth above the datum line: the gear's dedendum.
  double addendum = 0.0;
  /// Depth of the cutter's spaces below the datum line: deep enough to clear the gear's addendum,
  /// as the cutter does not machine the tip circle.
  double dedendum = 0.0;
  /// Rounding of the tooth tips.
  double tipRadius = 0.0;
  /// Width of the flat tip between the roundings.
  double tipFlat = 0.0;
  /// Width of a tooth on the datum line.
  double toothThickness = 0.0;
  /// Three teeth and the body below as a closed polyline, counterclockwise, symmetric about the y
  /// axis.
  Polyline profile;

  bool operator==(const CutterRack&) const = default;
};

/// Computes the cutter's profile from the rack of the design.
CutterRack computeCutterRack(const Requirements& requirements);

}  // namespace GearPair
