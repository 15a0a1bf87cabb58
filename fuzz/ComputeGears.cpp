// Computes gear pairs, of whatever values their ranges allow.

#include <fuzzer/FuzzedDataProvider.h>

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "examples/gear_pair/application/archive/Objections.h"
#include "examples/gear_pair/calculation/CutterRack.h"
#include "examples/gear_pair/calculation/DesignInput.h"
#include "examples/gear_pair/calculation/Drawing.h"
#include "examples/gear_pair/calculation/ManufacturingPlan.h"
#include "examples/gear_pair/calculation/Report.h"
#include "fuzz/Check.h"

namespace GearPair::Fuzz {
namespace {

using Tessaril::Fuzz::check;

/// A value that is a number, and its limits.
struct NumberRange {
  std::string name;
  double min;
  double max;
};

std::vector<NumberRange> numberRanges() {
  std::vector<NumberRange> ranges;
  for (const ValueDescription& value : describeValues()) {
    NumberRange range{value.name, 0, 0};
    if (std::sscanf(value.range.c_str(), "%lf to %lf", &range.min, &range.max) == 2) {
      ranges.push_back(std::move(range));
    }
  }
  return ranges;
}

DesignInput exampleDesign() {
  std::string text;
  for (const ValueDescription& value : describeValues()) {
    text += value.name + " = " + value.example + "\n";
  }
  return parseDesign(text, "example.gear");
}

/// The example with some of its values changed.
DesignInput chooseDesign(FuzzedDataProvider& provider) {
  static const std::vector<NumberRange> ranges = numberRanges();
  DesignInput input = exampleDesign();
  while (provider.remaining_bytes() > 0) {
    const NumberRange& range =
        ranges[provider.ConsumeIntegralInRange<std::size_t>(0, ranges.size() - 1)];
    const double fraction = provider.ConsumeIntegral<std::uint16_t>() / 65535.0;
    const double number = range.min + fraction * (range.max - range.min);
    const bool isCount = range.name.ends_with("_teeth");
    setValue(input, range.name + " = " + std::to_string(isCount ? std::round(number) : number));
  }
  return input;
}

void checkNumbers(const Mesh& mesh, const Strength& strength) {
  check(std::isfinite(mesh.centreDistance) && mesh.centreDistance > 0, "the gears stand apart");
  check(std::isfinite(mesh.contactRatio) && mesh.contactRatio > 0, "the gears touch");
  for (const RootStrength& root : {strength.pinion, strength.wheel}) {
    check(std::isfinite(root.stress) && root.stress > 0, "the load stresses the roots");
  }
  check(std::isfinite(strength.contactStress) && strength.contactStress > 0,
        "the load presses the flanks");
}

void compute(const DesignInput& input) {
  try {
    const Requirements requirements = deriveRequirements(input);
    const ToothForm pinion = computeToothForm(requirements, Member::kPinion);
    const ToothForm wheel = computeToothForm(requirements, Member::kWheel);
    const Mesh mesh = computeMesh(requirements, pinion, wheel);
    const Strength strength = computeStrength(requirements, pinion, wheel, mesh);
    checkNumbers(mesh, strength);
    check(objectionTo(requirements).empty() && objectionTo(pinion).empty() &&
              objectionTo(wheel).empty(),
          "what is computed can be saved and opened again");
    const ManufacturingPlan plan = computeManufacturingPlan(requirements, pinion, wheel);
    drawPair(requirements, pinion, wheel, mesh);
    drawCutterRack(computeCutterRack(requirements));
    for (const UnitSystem units : {UnitSystem::kMetric, UnitSystem::kUsCustomary}) {
      writeReport(requirements, pinion, wheel, mesh, strength, units);
      writeManufacturingPlan(plan, units);
    }
  } catch (const DesignError&) {
    // Gears that cannot be made, or do not mesh.
  }
}

}  // namespace
}  // namespace GearPair::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  GearPair::Fuzz::compute(GearPair::Fuzz::chooseDesign(provider));
  return 0;
}
