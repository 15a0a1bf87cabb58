#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "examples/gear_pair/calculation/InputError.h"

namespace GearPair {

/// What a designer states about an external spur gear pair. The units are those of the members,
/// whatever units the values were given in.
///
/// The defaults of the rack are those of the basic rack profile A of ISO 53.
struct DesignInput {
  /// Normal module, mm.
  double module = 0.0;
  /// Number of teeth of the pinion, which drives.
  int pinionTeeth = 0;
  /// Number of teeth of the wheel.
  int wheelTeeth = 0;
  /// Pressure angle of the basic rack, degrees.
  double pressureAngle = 20.0;
  /// Profile shift coefficient of the pinion; positive away from the axis.
  double pinionShift = 0.0;
  /// Profile shift coefficient of the wheel; positive away from the axis.
  double wheelShift = 0.0;
  /// Face width of both gears, mm.
  double faceWidth = 0.0;
  /// Circumferential backlash at the working pitch circles, mm.
  double backlash = 0.0;
  /// Material of the pinion, a name of knownMaterials().
  std::string pinionMaterial;
  /// Material of the wheel, a name of knownMaterials().
  std::string wheelMaterial;
  /// Nominal torque on the pinion, Nm.
  double torque = 0.0;
  /// Speed of the pinion, rpm.
  double speed = 0.0;
  /// Application factor K_A: external overloads relative to the nominal torque.
  double applicationFactor = 1.25;
  /// Safety against tooth root breakage that the design has to reach.
  double requiredSafety = 1.4;
  /// Bore diameter of the pinion, mm; 0 for a solid pinion.
  double pinionBore = 0.0;
  /// Bore diameter of the wheel, mm; 0 for a solid wheel.
  double wheelBore = 0.0;
  /// Addendum of the gear teeth in modules.
  double addendumCoefficient = 1.0;
  /// Dedendum of the gear teeth (addendum of the cutting rack) in modules.
  double dedendumCoefficient = 1.25;
  /// Tip rounding radius of the cutting rack in modules.
  double rootRadiusCoefficient = 0.38;

  bool operator==(const DesignInput&) const = default;
};

/// What a user needs to know to write one value of a design input.
struct ValueDescription {
  /// Name in the text form, such as "face_width".
  std::string name;
  /// Unit in which the value is kept and written, such as "mm"; empty for plain numbers and names.
  std::string unit;
  /// All units in which the value may be given, the first of them unit.
  std::vector<std::string> acceptedUnits;
  /// Whether a file has to give the value.
  bool mandatory = false;
  /// The default as text with its unit; empty for mandatory values.
  std::string defaultText;
  /// An example as text with its unit.
  std::string example;
  /// What is allowed, such as "0.2 to 50 mm" or "one of 16MnCr5, ...".
  std::string range;
  /// The meaning in one phrase.
  std::string description;
};

/// All values of a design input, in the order in which writeDesign() writes them.
const std::vector<ValueDescription>& describeValues();

/// The value of that name as text with its unit, such as "2.5 mm".
/// Throws InputError if there is no value of that name.
std::string valueText(const DesignInput& input, std::string_view name);

/// Reads the text form: one "name = value unit" a line. "#" starts a comment; blank lines are free;
/// a missing unit means the unit in which the value is kept.
///
/// Throws InputError, "fileName:line: what is wrong; what would be right", for the first fault.
DesignInput parseDesign(std::string_view text, std::string_view fileName);

/// Reads a file in the text form. Throws InputError as parseDesign(), or if the file cannot be
/// read.
DesignInput readDesign(const std::filesystem::path& file);

/// Sets the one value that an assignment such as "torque=250 Nm" names.
///
/// Throws InputError, "assignment: what is wrong; what would be right", and leaves input as it was.
void setValue(DesignInput& input, std::string_view assignment);

/// The text form, which parseDesign() reads back to an equal input.
std::string writeDesign(const DesignInput& input);

}  // namespace GearPair
