#include "examples/gear_pair/application/modules/PlanModule.h"

#include <utility>

namespace GearPair {

bool PlanInputs::operator==(const PlanInputs& other) const {
  return sameValue(requirements, other.requirements) && sameValue(pinion, other.pinion) &&
         sameValue(wheel, other.wheel) && units == other.units;
}

PlanModule::PlanModule(Shared<DesignValues> values,
                       std::shared_ptr<const RequirementsModule> requirements,
                       std::shared_ptr<const ToothModule> pinion,
                       std::shared_ptr<const ToothModule> wheel)
    : TextStepModule("plan", "Manufacturing plan", Rate::Fast, Way::kSide),
      designValues(std::move(values)),
      requirementsModule(std::move(requirements)),
      pinionModule(std::move(pinion)),
      wheelModule(std::move(wheel)) {}

std::optional<PlanInputs> PlanModule::collect() const {
  PlanInputs inputs{requirementsModule->getResult(), pinionModule->getResult(),
                    wheelModule->getResult(), designValues->units};
  const bool complete =
      inputs.requirements != nullptr && inputs.pinion != nullptr && inputs.wheel != nullptr;
  return complete ? std::make_optional(std::move(inputs)) : std::nullopt;
}

std::string PlanModule::compute(const PlanInputs& inputs, ToothFormCache* /*cache*/) const {
  return writeManufacturingPlan(
      computeManufacturingPlan(*inputs.requirements, *inputs.pinion, *inputs.wheel), inputs.units);
}

}  // namespace GearPair
