#pragma once

#include "examples/gear_pair/application/DesignValues.h"
#include "examples/gear_pair/application/StepModule.h"
#include "examples/gear_pair/calculation/Requirements.h"

namespace GearPair {

/// The values that the design task was derived from, and the task itself, both without load.
struct Task {
  DesignInput values;
  Requirements requirements;

  bool operator==(const Task&) const = default;
};

/// The first step: derives the design task from the values of the designer, the load left out.
class RequirementsModule final : public StepModule<DesignInput, Task> {
 public:
  explicit RequirementsModule(Shared<DesignValues> values);

 private:
  std::optional<DesignInput> collect() const override;
  Task compute(const DesignInput& values, ToothFormCache* cache) const override;

  Shared<DesignValues> designValues;
};

}  // namespace GearPair
