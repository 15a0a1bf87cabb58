#pragma once

#include <string>

#include "examples/gear_pair/calculation/DesignError.h"
#include "examples/gear_pair/calculation/DesignInput.h"
#include "examples/gear_pair/calculation/Material.h"

namespace GearPair {

/// One of the two gears of the pair.
enum class Member { kPinion, kWheel };

/// "pinion" or "wheel".
std::string memberName(Member member);

/// The other gear of the pair.
Member otherMember(Member member);

/// The basic rack that defines the teeth of both gears. Lengths in mm, angle in radians.
struct BasicRack {
  double module = 0.0;
  double pressureAngle = 0.0;
  /// Heights above and below the datum line, seen from the gear.
  double addendum = 0.0;
  double dedendum = 0.0;
  /// Rounding of the cutting rack's tooth tips, which generates the root fillets.
  double tipRadius = 0.0;
  /// Depth of the straight flank of the cutting rack below the datum line: where its tip rounding
  /// begins.
  double straightDepth = 0.0;

  bool operator==(const BasicRack&) const = default;
};

/// What is fixed about one gear before its teeth are computed. Lengths in mm.
struct GearData {
  Member member = Member::kPinion;
  int teeth = 0;
  /// Profile shift coefficient of the design, without the backlash.
  double profileShift = 0.0;
  /// Profile shift coefficient at which the teeth are cut: the deeper feed of the cutter thins the
  /// tooth by half of the backlash.
  double generatingShift = 0.0;
  double referenceDiameter = 0.0;
  double baseDiameter = 0.0;
  double tipDiameter = 0.0;
  double rootDiameter = 0.0;
  /// Diameter of the circle that rolls without sliding on the mating gear's.
  double workingPitchDiameter = 0.0;
  double boreDiameter = 0.0;
  Material material;

  bool operator==(const GearData&) const = default;
};

/// The design task in terms of the theory of gearing: what every later step starts from.
struct Requirements {
  /// What the designer stated.
  DesignInput design;
  BasicRack rack;
  GearData pinion;
  GearData wheel;
  /// Tooth ratio u, wheel to pinion.
  double toothRatio = 0.0;
  /// Working pressure angle, radians.
  double workingPressureAngle = 0.0;
  /// Centre distance of the pair without backlash at the profile shifts of the design, mm.
  double centreDistance = 0.0;
  /// Shortening of both tip circles' radii that keeps the tip clearance of the rack, mm; 0 or
  /// negative.
  double tipAlteration = 0.0;
  /// Circumferential backlash at the working pitch circles, mm.
  double backlash = 0.0;
  /// Face width of both gears, mm.
  double faceWidth = 0.0;
  /// Nominal torques, Nm.
  double pinionTorque = 0.0;
  double wheelTorque = 0.0;
  /// Speeds, rpm.
  double pinionSpeed = 0.0;
  double wheelSpeed = 0.0;
  /// Transmitted power, kW.
  double power = 0.0;
  double applicationFactor = 1.0;
  double requiredSafety = 1.0;

  /// The data of one gear.
  const GearData& gear(Member member) const { return member == Member::kPinion ? pinion : wheel; }

  bool operator==(const Requirements&) const = default;
};

/// Derives rack, main dimensions, ratio, centre distance, torques and power from a design input.
///
/// inv(working pressure angle) = inv(pressure angle) + 2 tan(pressure angle) (x1 + x2) / (z1 + z2);
/// centre distance = (d1 + d2) / 2 * cos(pressure angle) / cos(working pressure angle); both as in
/// ISO 21771.
///
/// Throws DesignError if the pinion has more teeth than the wheel, if the rack's tip does not leave
/// room for its rounding, or if the profile shifts leave no working pressure angle.
Requirements deriveRequirements(const DesignInput& input);

}  // namespace GearPair
