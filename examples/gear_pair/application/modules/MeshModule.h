#pragma once

#include "examples/gear_pair/application/modules/ToothModule.h"
#include "examples/gear_pair/calculation/Mesh.h"

namespace GearPair {

struct MeshInputs {
  Shared<Requirements> requirements;
  Shared<ToothForm> pinion;
  Shared<ToothForm> wheel;

  /// The mesh depends on the speed, but not on the width.
  bool operator==(const MeshInputs& other) const;
};

template <typename Visitor, Of<MeshInputs> T>
void fields(Visitor& visitor, T& inputs) {
  visitor(inputs, inputs.requirements, inputs.pinion, inputs.wheel);
}

/// The pair in mesh: where the pinion's chain and the wheel's fork come together.
class MeshModule final : public StepModule<MeshInputs, Mesh> {
 public:
  MeshModule(std::shared_ptr<const RequirementsModule> requirements,
             std::shared_ptr<const ToothModule> pinion, std::shared_ptr<const ToothModule> wheel);

 private:
  std::optional<MeshInputs> collect() const override;
  Mesh compute(const MeshInputs& inputs, ToothFormCache* cache) const override;

  std::shared_ptr<const RequirementsModule> requirementsModule;
  std::shared_ptr<const ToothModule> pinionModule;
  std::shared_ptr<const ToothModule> wheelModule;
};

}  // namespace GearPair
