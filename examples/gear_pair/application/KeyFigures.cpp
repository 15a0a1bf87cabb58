#include "examples/gear_pair/application/KeyFigures.h"

#include "examples/gear_pair/application/GearPairDesign.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr int kNameWidth = 10;

std::string line(const std::string& name, const std::string& figures, bool current) {
  return padded(name, kNameWidth) + figures + (current ? "" : "  (out of date)") + "\n";
}

std::string gearText(const ToothModule& gear, UnitSystem units) {
  const auto form = gear.getResult();
  const auto measures = gear.getMeasures();
  if (form == nullptr || measures == nullptr) {
    return gear.getName() + " not computed";
  }
  const std::string teeth = gear.getName() + " " + std::to_string(form->gear.teeth) + " teeth";
  return measures->spanTeeth == 0
             ? teeth
             : teeth + ", W" + std::to_string(measures->spanTeeth) + " = " +
                   quantityText(measures->spanMeasurement, Quantity::kLength, units);
}

std::string meshText(const MeshModule& module, UnitSystem units) {
  const auto mesh = module.getResult();
  return mesh == nullptr
             ? "not computed"
             : "centre distance " + quantityText(mesh->centreDistance, Quantity::kLength, units) +
                   ", contact ratio " + fixedText(mesh->contactRatio, 3);
}

std::string strengthText(const StrengthModule& module, UnitSystem units) {
  const auto loaded = module.getResult();
  return loaded == nullptr
             ? "not computed"
             : "torque " +
                   quantityText(loaded->requirements.pinionTorque, Quantity::kTorque, units) +
                   ", root safety " + fixedText(loaded->strength.pinion.safety, 3) + " and " +
                   fixedText(loaded->strength.wheel.safety, 3);
}

}  // namespace

std::string keyFigures(const GearPairDesign& design) {
  const UnitSystem units = design.getValues().units;
  const ToothModule& pinion = *design.pinion();
  const ToothModule& wheel = *design.wheel();
  return line("gears", gearText(pinion, units) + "; " + gearText(wheel, units),
              pinion.offersUsableResult() && wheel.offersUsableResult()) +
         line("mesh", meshText(*design.mesh(), units), design.mesh()->offersUsableResult()) +
         line("strength", strengthText(*design.strength(), units),
              design.strength()->offersUsableResult());
}

}  // namespace GearPair
