#include "examples/gear_pair/application/KeyFigures.h"

#include "examples/gear_pair/application/GearPairDesign.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

std::string spanText(const ToothModule& gear, UnitSystem units) {
  const auto measures = gear.getMeasures();
  if (measures == nullptr || measures->spanTeeth == 0) {
    return "no span";
  }
  return "span over " + std::to_string(measures->spanTeeth) + " teeth " +
         quantityText(measures->spanMeasurement, Quantity::kLength, units);
}

std::string gearText(const ToothModule& gear, UnitSystem units) {
  const auto form = gear.getResult();
  return form == nullptr ? gear.getName() + " not computed"
                         : gear.getName() + " " + std::to_string(form->gear.teeth) + " teeth, " +
                               spanText(gear, units);
}

std::string meshText(const MeshModule& module, UnitSystem units) {
  const auto mesh = module.getResult();
  return mesh == nullptr
             ? "mesh not computed"
             : "centre distance " + quantityText(mesh->centreDistance, Quantity::kLength, units) +
                   ", contact ratio " + fixedText(mesh->contactRatio, 3);
}

std::string strengthText(const StrengthModule& module, UnitSystem units) {
  const auto loaded = module.getResult();
  return loaded == nullptr
             ? "strength not computed"
             : "torque " +
                   quantityText(loaded->requirements.pinionTorque, Quantity::kTorque, units) +
                   ", root safety " + fixedText(loaded->strength.pinion.safety, 3) + " and " +
                   fixedText(loaded->strength.wheel.safety, 3);
}

}  // namespace

std::string keyFigures(const GearPairDesign& design) {
  const UnitSystem units = design.getValues().units;
  return gearText(*design.pinion(), units) + "; " + gearText(*design.wheel(), units) + "; " +
         meshText(*design.mesh(), units) + "; " + strengthText(*design.strength(), units);
}

}  // namespace GearPair
