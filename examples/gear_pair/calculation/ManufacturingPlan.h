#pragma once

#include <string>

#include "examples/gear_pair/calculation/ToothForm.h"
#include "examples/gear_pair/calculation/Units.h"

namespace GearPair {

/// What an inspector measures on the teeth of one gear. Lengths in mm.
struct ToothMeasures {
  /// Span measurement W_k over a number k of teeth; both 0 if no span touches involutes.
  int spanTeeth = 0;
  double spanMeasurement = 0.0;
  /// Diameter of a measuring pin, and the dimension over two such pins in opposite spaces.
  double pinDiameter = 0.0;
  double overPins = 0.0;

  bool operator==(const ToothMeasures&) const = default;
};

/// How one gear is made and measured. Lengths in mm.
struct GearPlan : ToothMeasures {
  Member member = Member::kPinion;
  int teeth = 0;
  std::string materialName;
  std::string treatment;
  /// Blank turned from bar, with a machining allowance on diameter and width.
  double blankDiameter = 0.0;
  double blankWidth = 0.0;
  /// Mass of the blank, kg.
  double blankMass = 0.0;
  double tipDiameter = 0.0;
  double faceWidth = 0.0;
  double boreDiameter = 0.0;
  /// Distance of the cutter's datum line from the reference circle; positive away from the axis.
  double cutterShift = 0.0;
  /// Radial depth of the cut below the tip circle.
  double toothDepth = 0.0;
  /// Hobbing: spindle speed in rpm and machining time in minutes.
  double hobSpeed = 0.0;
  double hobbingTime = 0.0;

  bool operator==(const GearPlan&) const = default;
};

/// How both gears are made and measured.
struct ManufacturingPlan {
  /// Diameter of the hob, mm, and its cutting speed, m/min, and axial feed, mm per gear revolution.
  double hobDiameter = 0.0;
  double cuttingSpeed = 0.0;
  double axialFeed = 0.0;
  GearPlan pinion;
  GearPlan wheel;

  bool operator==(const ManufacturingPlan&) const = default;
};

/// Plans blanks, hobbing and measurement.
///
/// Hobbing time = teeth (face width + approach + overrun) / (hob speed * axial feed) for a single
/// thread hob, with approach = sqrt(depth (hob diameter - depth)), overrun = 2 modules, a high
/// speed steel hob at 60 m/min for every steel, and an axial feed of 2 mm per gear revolution.
ManufacturingPlan computeManufacturingPlan(const Requirements& requirements,
                                           const ToothForm& pinion, const ToothForm& wheel);

/// What is to be measured on the teeth of one gear.
ToothMeasures measureTeeth(const Requirements& requirements, const ToothForm& form);

/// Base tangent length W_k in mm over k teeth of an external spur gear:
/// m cos(alpha) ((k - 1/2) pi + z inv(alpha)) + 2 x m sin(alpha).
double spanMeasurement(double module, double pressureAngle, int teeth, double profileShift, int k);

/// The plan as plain text with aligned columns.
std::string writeManufacturingPlan(const ManufacturingPlan& plan, UnitSystem units);

}  // namespace GearPair
