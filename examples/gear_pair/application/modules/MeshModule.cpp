#include "examples/gear_pair/application/modules/MeshModule.h"

#include <utility>

namespace GearPair {

namespace {

Requirements meshPart(Requirements requirements) {
  requirements.design = {};
  requirements.faceWidth = 0.0;
  requirements.power = 0.0;
  return requirements;
}

}  // namespace

bool MeshInputs::operator==(const MeshInputs& other) const {
  return (requirements == other.requirements ||
          meshPart(*requirements) == meshPart(*other.requirements)) &&
         sameValue(pinion, other.pinion) && sameValue(wheel, other.wheel);
}

MeshModule::MeshModule(std::shared_ptr<const RequirementsModule> requirements,
                       std::shared_ptr<const ToothModule> pinion,
                       std::shared_ptr<const ToothModule> wheel)
    : StepModule("mesh", "Mesh", Rate::Normal, Way::kMain),
      requirementsModule(std::move(requirements)),
      pinionModule(std::move(pinion)),
      wheelModule(std::move(wheel)) {}

std::optional<MeshInputs> MeshModule::collect() const {
  MeshInputs inputs{requirementsModule->getResult(), pinionModule->getResult(),
                    wheelModule->getResult()};
  const bool complete =
      inputs.requirements != nullptr && inputs.pinion != nullptr && inputs.wheel != nullptr;
  return complete ? std::make_optional(std::move(inputs)) : std::nullopt;
}

Mesh MeshModule::compute(const MeshInputs& inputs, ToothFormCache* /*cache*/) const {
  return computeMesh(*inputs.requirements, *inputs.pinion, *inputs.wheel);
}

}  // namespace GearPair
