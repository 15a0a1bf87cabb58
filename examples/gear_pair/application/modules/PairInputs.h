#pragma once

#include "examples/gear_pair/application/modules/MeshModule.h"

namespace GearPair {

/// The finished pair: what the steps behind the mesh are computed from.
struct PairInputs {
  Shared<Requirements> requirements;
  Shared<ToothForm> pinion;
  Shared<ToothForm> wheel;
  Shared<Mesh> mesh;

  bool isComplete() const {
    return requirements != nullptr && pinion != nullptr && wheel != nullptr && mesh != nullptr;
  }

  bool operator==(const PairInputs& other) const {
    return sameValue(requirements, other.requirements) && sameValue(pinion, other.pinion) &&
           sameValue(wheel, other.wheel) && sameValue(mesh, other.mesh);
  }
};

template <typename Visitor, Of<PairInputs> T>
void fields(Visitor& visitor, T& pair) {
  visitor(pair, pair.requirements, pair.pinion, pair.wheel, pair.mesh);
}

/// The modules that make the pair, and what they offer at present.
struct PairModules {
  std::shared_ptr<const RequirementsModule> requirements;
  std::shared_ptr<const ToothModule> pinion;
  std::shared_ptr<const ToothModule> wheel;
  std::shared_ptr<const MeshModule> mesh;

  PairInputs collect() const {
    return {requirements->getResult(), pinion->getResult(), wheel->getResult(), mesh->getResult()};
  }
};

}  // namespace GearPair
