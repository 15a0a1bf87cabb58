#include "examples/gear_pair/calculation/DesignInput.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>
#include <map>
#include <numbers>
#include <system_error>
#include <variant>

#include "examples/gear_pair/calculation/Material.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

/// A unit in which a value may be given.
struct Unit {
  std::string sign;
  /// Kept number = given number * factor.
  double factor;
};

using RealMember = double DesignInput::*;
using CountMember = int DesignInput::*;
using NameMember = std::string DesignInput::*;

/// Everything the text form knows of one value.
struct ValueSpec {
  std::string name;
  std::variant<RealMember, CountMember, NameMember> member;
  std::vector<Unit> units;
  double min;
  double max;
  bool mandatory;
  std::string example;
  std::string description;
};

constexpr bool kMandatory = true;
constexpr bool kOptional = false;

std::vector<Unit> lengthUnits() {
  return {{"mm", 1.0}, {"cm", 10.0}, {"in", 25.4}, {"inch", 25.4}};
}

std::vector<Unit> angleUnits() {
  return {{"deg", 1.0}, {"°", 1.0}, {"rad", 180.0 / std::numbers::pi}};
}

std::vector<Unit> torqueUnits() {
  constexpr double kNewtonsPerPoundForce = 4.4482216152605;
  constexpr double kInch = 0.0254;
  constexpr double kFoot = 0.3048;
  return {{"Nm", 1.0},
          {"Nmm", 0.001},
          {"kNm", 1000.0},
          {"lbf.in", kNewtonsPerPoundForce * kInch},
          {"lbf.ft", kNewtonsPerPoundForce * kFoot}};
}

std::vector<Unit> speedUnits() {
  return {{"rpm", 1.0}, {"1/min", 1.0}, {"1/s", 60.0}, {"rad/s", 30.0 / std::numbers::pi}};
}

std::vector<ValueSpec> makeValueSpecs() {
  using D = DesignInput;
  return {
      {"module", &D::module, lengthUnits(), 0.2, 50, kMandatory, "2.5", "normal module"},
      {"pinion_teeth", &D::pinionTeeth, {}, 3, 500, kMandatory, "20", "teeth of the pinion"},
      {"wheel_teeth", &D::wheelTeeth, {}, 3, 500, kMandatory, "41", "teeth of the wheel"},
      {"pressure_angle", &D::pressureAngle, angleUnits(), 10, 30, kOptional, "20",
       "pressure angle of the basic rack"},
      {"pinion_shift",
       &D::pinionShift,
       {},
       -1,
       1,
       kOptional,
       "0.25",
       "profile shift coefficient of the pinion"},
      {"wheel_shift",
       &D::wheelShift,
       {},
       -1,
       1,
       kOptional,
       "0.1",
       "profile shift coefficient of the wheel"},
      {"face_width", &D::faceWidth, lengthUnits(), 0.5, 1000, kMandatory, "30",
       "face width of both gears"},
      {"backlash", &D::backlash, lengthUnits(), 0, 5, kOptional, "0.1",
       "circumferential backlash at the working pitch circles"},
      {"pinion_material",
       &D::pinionMaterial,
       {},
       0,
       0,
       kMandatory,
       "16MnCr5",
       "material of the pinion"},
      {"wheel_material",
       &D::wheelMaterial,
       {},
       0,
       0,
       kMandatory,
       "42CrMo4",
       "material of the wheel"},
      {"torque", &D::torque, torqueUnits(), 0.001, 1000000, kMandatory, "100",
       "nominal torque on the pinion"},
      {"speed", &D::speed, speedUnits(), 0.01, 60000, kMandatory, "1450", "speed of the pinion"},
      {"application_factor",
       &D::applicationFactor,
       {},
       1,
       3,
       kOptional,
       "1.25",
       "overload from outside, relative to the torque"},
      {"required_safety",
       &D::requiredSafety,
       {},
       1,
       5,
       kOptional,
       "1.4",
       "safety to reach against root breakage"},
      {"pinion_bore", &D::pinionBore, lengthUnits(), 0, 5000, kOptional, "20",
       "bore of the pinion; 0 for none"},
      {"wheel_bore", &D::wheelBore, lengthUnits(), 0, 20000, kOptional, "35",
       "bore of the wheel; 0 for none"},
      {"addendum",
       &D::addendumCoefficient,
       {},
       0.5,
       1.5,
       kOptional,
       "1",
       "addendum of the teeth in modules"},
      {"dedendum",
       &D::dedendumCoefficient,
       {},
       0.6,
       2,
       kOptional,
       "1.25",
       "dedendum of the teeth in modules"},
      {"root_radius",
       &D::rootRadiusCoefficient,
       {},
       0,
       0.6,
       kOptional,
       "0.38",
       "tip rounding of the cutting rack in modules"},
  };
}

const std::vector<ValueSpec>& valueSpecs() {
  static const std::vector<ValueSpec> allSpecs = makeValueSpecs();
  return allSpecs;
}

bool isName(const ValueSpec& valueSpec) {
  return std::holds_alternative<NameMember>(valueSpec.member);
}

std::string withUnit(const ValueSpec& valueSpec, const std::string& number) {
  return valueSpec.units.empty() ? number : number + " " + valueSpec.units.front().sign;
}

std::string exampleLine(const ValueSpec& valueSpec) {
  return "'" + valueSpec.name + " = " + withUnit(valueSpec, valueSpec.example) + "'";
}

std::vector<std::string> unitSigns(const ValueSpec& valueSpec) {
  std::vector<std::string> signs;
  signs.reserve(valueSpec.units.size());
  for (const Unit& unit : valueSpec.units) {
    signs.push_back(unit.sign);
  }
  return signs;
}

std::vector<std::string> materialNames() {
  std::vector<std::string> names;
  for (const Material& material : knownMaterials()) {
    names.push_back(material.name);
  }
  return names;
}

std::vector<std::string> valueNames() {
  std::vector<std::string> names;
  for (const ValueSpec& valueSpec : valueSpecs()) {
    names.push_back(valueSpec.name);
  }
  return names;
}

std::string rangeText(const ValueSpec& valueSpec) {
  if (isName(valueSpec)) {
    return "one of " + enumerated(materialNames(), "or");
  }
  return numberText(valueSpec.min) + " to " + withUnit(valueSpec, numberText(valueSpec.max));
}

/// The value of an input as text with its unit.
std::string specText(const ValueSpec& valueSpec, const DesignInput& input) {
  if (const auto* name = std::get_if<NameMember>(&valueSpec.member)) {
    return input.**name;
  }
  if (const auto* count = std::get_if<CountMember>(&valueSpec.member)) {
    return withUnit(valueSpec, std::to_string(input.**count));
  }
  return withUnit(valueSpec, numberText(input.*std::get<RealMember>(valueSpec.member)));
}

ValueDescription describe(const ValueSpec& valueSpec) {
  return {valueSpec.name,
          valueSpec.units.empty() ? "" : valueSpec.units.front().sign,
          unitSigns(valueSpec),
          valueSpec.mandatory,
          valueSpec.mandatory ? "" : specText(valueSpec, DesignInput{}),
          withUnit(valueSpec, valueSpec.example),
          rangeText(valueSpec),
          valueSpec.description};
}

std::vector<ValueDescription> makeDescriptions() {
  std::vector<ValueDescription> descriptions;
  for (const ValueSpec& valueSpec : valueSpecs()) {
    descriptions.push_back(describe(valueSpec));
  }
  return descriptions;
}

/// "did you mean 'x'?" for a word that resembles a known one, else the known words.
std::string suggestion(std::string_view word, const std::vector<std::string>& known) {
  const std::string nearest = nearestWord(word, known);
  return nearest.empty() ? "known are " + enumerated(known, "and")
                         : "did you mean '" + nearest + "'?";
}

const ValueSpec& specNamed(std::string_view name) {
  const std::vector<ValueSpec>& allSpecs = valueSpecs();
  const auto found =
      std::find_if(allSpecs.begin(), allSpecs.end(),
                   [name](const ValueSpec& valueSpec) { return valueSpec.name == name; });
  if (found == allSpecs.end()) {
    throw InputError("unknown value " + inQuotes(name) + "; " + suggestion(name, valueNames()));
  }
  return *found;
}

/// A name and the text of its value.
struct Assignment {
  std::string_view name;
  std::string_view value;
};

Assignment splitAssignment(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw InputError(inQuotes(text) + " has no '='; write it as in " +
                     exampleLine(valueSpecs().front()));
  }
  const Assignment assignment{trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1))};
  if (assignment.name.empty()) {
    throw InputError("no name before '='; write it as in " + exampleLine(valueSpecs().front()));
  }
  return assignment;
}

/// The text up to the first blank, and what follows the blank.
std::pair<std::string_view, std::string_view> splitWord(std::string_view text) {
  const std::string_view word = text.substr(0, text.find_first_of(" \t"));
  return {word, trimmed(text.substr(word.size()))};
}

void refuseRest(const ValueSpec& valueSpec, std::string_view rest) {
  if (!rest.empty()) {
    throw InputError(inQuotes(rest) + " follows the value of " + valueSpec.name + "; write only " +
                     exampleLine(valueSpec));
  }
}

[[noreturn]] void refuseNumber(const ValueSpec& valueSpec, std::string_view text) {
  const std::string_view word = splitWord(text).first;
  const std::string advice = word.find(',') == std::string_view::npos
                                 ? "write for example "
                                 : "write it with a decimal point, as in ";
  throw InputError(inQuotes(word) + " is not a number; " + advice + exampleLine(valueSpec));
}

[[noreturn]] void refuseRange(const ValueSpec& valueSpec, std::string_view given) {
  throw InputError(valueSpec.name + " = " + excerpt(given) + " is out of range; allowed are " +
                   rangeText(valueSpec));
}

/// A number at the start of a text, and what follows it.
struct LeadingNumber {
  double number;
  std::string_view rest;
};

LeadingNumber readLeadingNumber(const ValueSpec& valueSpec, std::string_view text) {
  const std::string_view unsignedText =
      text.size() > 1 && text[0] == '+' && text[1] != '-' ? text.substr(1) : text;
  const char* end = unsignedText.data() + unsignedText.size();
  double number = 0.0;
  const auto [stop, error] = std::from_chars(unsignedText.data(), end, number);
  if (error == std::errc::result_out_of_range) {
    refuseRange(valueSpec, splitWord(text).first);
  }
  const std::string_view rest(stop, static_cast<std::size_t>(end - stop));
  const bool followedByPartOfNumber = !rest.empty() && (rest[0] == ',' || rest[0] == '.');
  if (error != std::errc{} || !std::isfinite(number) || followedByPartOfNumber) {
    refuseNumber(valueSpec, text);
  }
  return {number, trimmed(rest)};
}

double unitFactor(const ValueSpec& valueSpec, std::string_view sign) {
  if (valueSpec.units.empty()) {
    throw InputError(valueSpec.name + " is a number without a unit, not in " + inQuotes(sign) +
                     "; write for example " + exampleLine(valueSpec));
  }
  for (const Unit& unit : valueSpec.units) {
    if (unit.sign == sign) {
      return unit.factor;
    }
  }
  throw InputError(valueSpec.name + " cannot be given in " + inQuotes(sign) + "; use " +
                   enumerated(unitSigns(valueSpec), "or"));
}

double readNumber(const ValueSpec& valueSpec, std::string_view text) {
  const LeadingNumber leading = readLeadingNumber(valueSpec, text);
  const auto [sign, rest] = splitWord(leading.rest);
  const double factor = sign.empty() ? 1.0 : unitFactor(valueSpec, sign);
  refuseRest(valueSpec, rest);
  const double number = leading.number * factor;
  if (!(number >= valueSpec.min && number <= valueSpec.max)) {
    refuseRange(valueSpec, text);
  }
  return number;
}

int readCount(const ValueSpec& valueSpec, std::string_view text) {
  const double number = readNumber(valueSpec, text);
  if (number != std::floor(number)) {
    throw InputError(valueSpec.name + " = " + excerpt(text) +
                     " is not a whole number; write for example " + exampleLine(valueSpec));
  }
  return static_cast<int>(number);
}

std::string readMaterial(const ValueSpec& valueSpec, std::string_view text) {
  const auto [word, rest] = splitWord(text);
  refuseRest(valueSpec, rest);
  const Material* material = findMaterial(word);
  if (material == nullptr) {
    throw InputError("unknown material " + inQuotes(word) + "; " +
                     suggestion(word, materialNames()));
  }
  return material->name;
}

void assign(const ValueSpec& valueSpec, std::string_view text, DesignInput& input) {
  if (text.empty()) {
    throw InputError(valueSpec.name + " has no value; write for example " + exampleLine(valueSpec));
  }
  if (const auto* name = std::get_if<NameMember>(&valueSpec.member)) {
    input.** name = readMaterial(valueSpec, text);
  } else if (const auto* count = std::get_if<CountMember>(&valueSpec.member)) {
    input.** count = readCount(valueSpec, text);
  } else {
    input.*std::get<RealMember>(valueSpec.member) = readNumber(valueSpec, text);
  }
}

/// Where each value was given: its line by its name.
using GivenLines = std::map<std::string, int>;

void readLine(std::string_view line, int lineNumber, DesignInput& input, GivenLines& given) {
  const std::string_view content = trimmed(line.substr(0, line.find('#')));
  if (content.empty()) {
    return;
  }
  const Assignment assignment = splitAssignment(content);
  const ValueSpec& valueSpec = specNamed(assignment.name);
  const auto [entry, isFirst] = given.emplace(valueSpec.name, lineNumber);
  if (!isFirst) {
    throw InputError(valueSpec.name + " is given twice, first in line " +
                     std::to_string(entry->second) + "; keep only one of the two lines");
  }
  assign(valueSpec, assignment.value, input);
}

void refuseMissing(const GivenLines& given) {
  std::vector<std::string> names;
  std::vector<std::string> lines;
  for (const ValueSpec& valueSpec : valueSpecs()) {
    if (valueSpec.mandatory && !given.contains(valueSpec.name)) {
      names.push_back(valueSpec.name);
      lines.push_back(exampleLine(valueSpec));
    }
  }
  if (!names.empty()) {
    throw InputError("missing " + enumerated(names, "and") + "; add for example " +
                     enumerated(lines, "and"));
  }
}

std::string_view withoutByteOrderMark(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return text.starts_with(kMark) ? text.substr(kMark.size()) : text;
}

}  // namespace

const std::vector<ValueDescription>& describeValues() {
  static const std::vector<ValueDescription> descriptions = makeDescriptions();
  return descriptions;
}

std::string valueText(const DesignInput& input, std::string_view name) {
  return specText(specNamed(name), input);
}

DesignInput parseDesign(std::string_view text, std::string_view fileName) {
  DesignInput input;
  GivenLines given;
  int lineNumber = 0;
  try {
    std::string_view rest = withoutByteOrderMark(text);
    while (!rest.empty()) {
      ++lineNumber;
      const std::string_view line = rest.substr(0, rest.find('\n'));
      readLine(line, lineNumber, input, given);
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    refuseMissing(given);
  } catch (const InputError& error) {
    const std::string line = std::to_string(std::max(lineNumber, 1));
    throw InputError(excerpt(fileName) + ":" + line + ": " + error.what());
  }
  return input;
}

DesignInput readDesign(const std::filesystem::path& file) {
  std::error_code ignored;
  std::ifstream stream(file, std::ios::binary);
  if (!stream || std::filesystem::is_directory(file, ignored)) {
    throw InputError(excerpt(file.string()) +
                     ":1: cannot read the file; give the path of a readable design file");
  }
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  return parseDesign(text, file.string());
}

void setValue(DesignInput& input, std::string_view assignment) {
  try {
    const Assignment split = splitAssignment(trimmed(assignment));
    assign(specNamed(split.name), split.value, input);
  } catch (const InputError& error) {
    throw InputError(excerpt(assignment) + ": " + error.what());
  }
}

std::string writeDesign(const DesignInput& input) {
  constexpr int kNameWidth = 18;
  constexpr int kValueWidth = 12;
  std::string text = "# A pair of external spur gears: what the designer states.\n";
  for (const ValueSpec& valueSpec : valueSpecs()) {
    text += padded(valueSpec.name, kNameWidth) + " = " +
            padded(specText(valueSpec, input), kValueWidth) + "  # " + valueSpec.description +
            ", " + rangeText(valueSpec) + "\n";
  }
  return text;
}

}  // namespace GearPair
