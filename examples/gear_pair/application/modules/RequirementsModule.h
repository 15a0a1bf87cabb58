#pragma once

#include "examples/gear_pair/application/DesignValues.h"
#include "examples/gear_pair/application/StepModule.h"
#include "examples/gear_pair/calculation/Requirements.h"

namespace GearPair {

/// The first step: derives the design task from the values of the designer, the load left out.
class RequirementsModule final : public StepModule<DesignInput, Requirements> {
 public:
  explicit RequirementsModule(Shared<DesignValues> values);

 private:
  std::optional<DesignInput> collect() const override;
  Requirements compute(const DesignInput& values, ToothFormCache* cache) const override;

  Shared<DesignValues> designValues;
};

}  // namespace GearPair
