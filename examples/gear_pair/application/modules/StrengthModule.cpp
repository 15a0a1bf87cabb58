#include "examples/gear_pair/application/modules/StrengthModule.h"

#include <utility>

namespace GearPair {

StrengthModule::StrengthModule(Shared<DesignValues> values, PairModules pair)
    : StepModule("strength", "Strength", Rate::Fast, Way::kMain),
      designValues(std::move(values)),
      pairModules(std::move(pair)) {}

std::optional<StrengthInputs> StrengthModule::collect() const {
  StrengthInputs inputs{pairModules.collect(), loadOf(designValues->input)};
  return inputs.pair.isComplete() ? std::make_optional(std::move(inputs)) : std::nullopt;
}

LoadedPair StrengthModule::compute(const StrengthInputs& inputs, ToothFormCache* /*cache*/) const {
  const PairInputs& pair = inputs.pair;
  LoadedPair loaded;
  loaded.requirements = deriveRequirements(withLoad(pair.requirements->design, inputs.load));
  loaded.strength = computeStrength(loaded.requirements, *pair.pinion, *pair.wheel, *pair.mesh);
  return loaded;
}

}  // namespace GearPair
