#include "examples/gear_pair/application/archive/Objections.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "examples/gear_pair/application/Load.h"
#include "examples/gear_pair/application/archive/CalculationFields.h"

namespace GearPair {

namespace {

/// The numbers of a value, and all else of it as text.
class Parts {
 public:
  template <typename T>
  explicit Parts(const T& value) {
    add(value);
  }

  template <typename Struct, typename... Members>
  void operator()(const Struct& /*value*/, const Members&... members) {
    (add(members), ...);
  }

  const std::vector<double>& getNumbers() const { return numbers; }
  const std::vector<std::string>& getTexts() const { return texts; }

 private:
  void add(double number) { numbers.push_back(number); }
  void add(int number) { texts.push_back(std::to_string(number)); }
  void add(Member member) { texts.push_back(memberName(member)); }
  void add(const std::string& text) { texts.push_back(text); }
  template <typename Struct>
  void add(const Struct& value) {
    fields(*this, value);
  }

  std::vector<double> numbers;
  std::vector<std::string> texts;
};

// Another build of the program may round the last digits otherwise.
bool nearlyEqual(double left, double right) {
  constexpr double kTolerance = 1e-9;
  return std::abs(left - right) <= kTolerance * std::max({1.0, std::abs(left), std::abs(right)});
}

/// What is copied is not rounded: the teeth take it over, and are refused with anything else.
bool isOfSameStatement(const GearData& left, const GearData& right) {
  return left.profileShift == right.profileShift && left.boreDiameter == right.boreDiameter &&
         left.material == right.material;
}

bool nearlyEqual(const Requirements& left, const Requirements& right) {
  const Parts ofLeft(left);
  const Parts ofRight(right);
  return ofLeft.getTexts() == ofRight.getTexts() && isOfSameStatement(left.pinion, right.pinion) &&
         isOfSameStatement(left.wheel, right.wheel) &&
         std::equal(ofLeft.getNumbers().begin(), ofLeft.getNumbers().end(),
                    ofRight.getNumbers().begin(),
                    [](double a, double b) { return nearlyEqual(a, b); });
}

bool isPositive(std::initializer_list<double> numbers) {
  return std::all_of(numbers.begin(), numbers.end(), [](double number) { return number > 0.0; });
}

bool isWithin(const Polyline& line, double radius) {
  return std::all_of(line.begin(), line.end(),
                     [&](Point point) { return std::hypot(point.x, point.y) <= radius; });
}

bool isGear(const GearData& gear) {
  constexpr double kLargestDiameter = 100'000.0;
  const Material* material = findMaterial(gear.material.name);
  return gear.teeth >= 3 && gear.teeth <= 500 &&
         isPositive({gear.referenceDiameter, gear.baseDiameter, gear.rootDiameter,
                     gear.workingPitchDiameter}) &&
         gear.rootDiameter < gear.tipDiameter && gear.tipDiameter < kLargestDiameter &&
         gear.boreDiameter >= 0.0 && gear.boreDiameter < gear.rootDiameter &&
         std::abs(gear.profileShift) <= 1.0 && material != nullptr && *material == gear.material;
}

}  // namespace

// What can be written and read again is allowed, and nothing else.
std::string objectionToLoaded(const DesignInput& input) {
  DesignInput readAgain;
  try {
    for (const ValueDescription& value : describeValues()) {
      setValue(readAgain, value.name + " = " + valueText(input, value.name));
    }
  } catch (const InputError& e) {
    return e.what();
  }
  return readAgain == input ? "" : "a value of the design cannot be written";
}

std::string objectionTo(const DesignInput& input) {
  constexpr Load kAnyLoad{1.0, 1.0, 1.0};
  return objectionToLoaded(loadOf(input) == Load{} ? withLoad(input, kAnyLoad) : input);
}

std::string objectionTo(const Requirements& requirements) {
  try {
    return nearlyEqual(requirements, deriveRequirements(requirements.design))
               ? ""
               : "requirements that do not follow from their values";
  } catch (const DesignError& e) {
    return e.what();
  }
}

std::string objectionTo(const ToothForm& form) {
  if (!isGear(form.gear)) {
    return "teeth of a gear that cannot be";
  }
  constexpr double kRounding = 1e-6;
  const double tipRadius = form.gear.tipDiameter / 2 * (1.0 + kRounding);
  const bool isSound = form.flank.size() >= 2 && form.involuteStart < form.flank.size() &&
                       form.outline.size() >= 3 && isWithin(form.flank, tipRadius) &&
                       isWithin(form.outline, tipRadius) &&
                       isPositive({form.formDiameter, form.toothThickness,
                                   form.rootSection.thickness, form.rootSection.filletRadius});
  return isSound ? "" : "teeth without a sound form";
}

}  // namespace GearPair
