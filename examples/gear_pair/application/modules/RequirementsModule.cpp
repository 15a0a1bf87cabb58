#include "examples/gear_pair/application/modules/RequirementsModule.h"

#include <utility>

#include "examples/gear_pair/application/Load.h"

namespace GearPair {

RequirementsModule::RequirementsModule(Shared<DesignValues> values)
    : StepModule("requirements", "Requirements", Rate::VeryFast, Way::kMain),
      designValues(std::move(values)) {}

std::optional<DesignInput> RequirementsModule::collect() const {
  return withLoad(designValues->input, Load{});
}

Requirements RequirementsModule::compute(const DesignInput& values,
                                         ToothFormCache* /*cache*/) const {
  return deriveRequirements(values);
}

}  // namespace GearPair
