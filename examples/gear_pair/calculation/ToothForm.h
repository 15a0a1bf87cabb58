#pragma once

#include <cstddef>

#include "examples/gear_pair/calculation/Geometry.h"
#include "examples/gear_pair/calculation/Requirements.h"

namespace GearPair {

/// The root section that carries the bending moment: where the tangents of both fillets make 30
/// degrees with the tooth's centre line. Lengths in mm.
struct RootSection {
  /// Chord of the section, s_Fn.
  double thickness = 0.0;
  /// Distance of the chord from the gear's axis, along the tooth's centre line.
  double distanceFromAxis = 0.0;
  /// Radius of curvature of the fillet where the section meets it, rho_F.
  double filletRadius = 0.0;

  bool operator==(const RootSection&) const = default;
};

/// The teeth of one gear as they are cut by a rack type tool. Lengths in mm.
///
/// Frame: the origin is the gear's axis, +x is the centre line of a tooth, +y is 90 degrees
/// counterclockwise of it.
struct ToothForm {
  GearData gear;
  /// Diameter at which the usable involute starts, above the root fillet or the undercut.
  double formDiameter = 0.0;
  /// Diameter down to which the mating gear touches the flank.
  double activeStartDiameter = 0.0;
  /// Tooth thickness as an arc of the reference circle, backlash allowance taken off.
  double toothThickness = 0.0;
  /// Tooth thickness as an arc of the tip circle.
  double tipThickness = 0.0;
  /// Whether the cutter has removed involute above the base circle.
  bool undercut = false;
  /// Lowest number of teeth, as a real number, that is free of undercut at this gear's profile
  /// shift.
  double undercutLimitTeeth = 0.0;
  /// Lowest profile shift coefficient that is free of undercut at this gear's number of teeth.
  double undercutLimitShift = 0.0;
  RootSection rootSection;
  /// One side of one tooth, from the middle of the space at the root (-y side) up to the tip
  /// corner: fillet, then involute. The other side mirrors it about the x axis.
  Polyline flank;
  /// Index in flank of the first point of the involute.
  std::size_t involuteStart = 0;
  /// The whole gear as a closed polyline, counterclockwise. It is its own mirror image about the x
  /// axis and comes to itself when turned by 360 degrees / teeth.
  Polyline outline;

  bool operator==(const ToothForm&) const = default;
};

/// Computes the teeth of one gear: involute flanks, and fillets as the envelope of the cutting
/// rack's rounded tip (trochoid), with undercut where it occurs.
///
/// Throws DesignError if the undercut removes flank on which the mating gear runs, if teeth are too
/// narrow at the tip (below 0.2 modules) or at the root, if tip or form diameter contradict the
/// base circle, or if the bore leaves no sound rim.
ToothForm computeToothForm(const Requirements& requirements, Member member);

/// Arc tooth thickness in mm at a diameter in mm between base and tip diameter:
/// d_y (s / d + inv(pressure angle) - inv(profile angle at d_y)).
double toothThicknessAt(const Requirements& requirements, Member member, double diameter);

/// Lowest number of teeth, as a real number, that a rack cuts without undercut at a profile shift:
/// 2 (straight depth / module - shift) / sin²(pressure angle).
double undercutLimitTeeth(const BasicRack& rack, double profileShift);

/// Lowest profile shift coefficient that a rack cuts without undercut at a number of teeth:
/// straight depth / module - teeth sin²(pressure angle) / 2.
double undercutLimitShift(const BasicRack& rack, int teeth);

/// Depth in mm of the keyway in a bore of that diameter, about that of parallel keys.
double keywayDepth(double boreDiameter);

}  // namespace GearPair
