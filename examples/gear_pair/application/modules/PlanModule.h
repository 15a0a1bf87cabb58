#pragma once

#include "examples/gear_pair/application/modules/ToothModule.h"
#include "examples/gear_pair/calculation/ManufacturingPlan.h"

namespace GearPair {

struct PlanInputs {
  Shared<Requirements> requirements;
  Shared<ToothForm> pinion;
  Shared<ToothForm> wheel;
  UnitSystem units = UnitSystem::kMetric;

  bool operator==(const PlanInputs& other) const;
};

template <typename Visitor, Of<PlanInputs> T>
void fields(Visitor& visitor, T& inputs) {
  visitor(inputs, inputs.requirements, inputs.pinion, inputs.wheel, inputs.units);
}

/// Writes the manufacturing plan. Stands behind the report, at the horizon of an update.
class PlanModule final : public TextStepModule<PlanInputs, std::string> {
 public:
  PlanModule(Shared<DesignValues> values, std::shared_ptr<const RequirementsModule> requirements,
             std::shared_ptr<const ToothModule> pinion, std::shared_ptr<const ToothModule> wheel);

 private:
  std::optional<PlanInputs> collect() const override;
  std::string compute(const PlanInputs& inputs, ToothFormCache* cache) const override;

  Shared<DesignValues> designValues;
  std::shared_ptr<const RequirementsModule> requirementsModule;
  std::shared_ptr<const ToothModule> pinionModule;
  std::shared_ptr<const ToothModule> wheelModule;
};

}  // namespace GearPair
