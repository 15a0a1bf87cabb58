#pragma once

#include "examples/gear_pair/application/Load.h"
#include "examples/gear_pair/application/modules/PairInputs.h"
#include "examples/gear_pair/calculation/Strength.h"

namespace GearPair {

struct StrengthInputs {
  PairInputs pair;
  Load load;

  bool operator==(const StrengthInputs&) const = default;
};

template <typename Visitor, Of<StrengthInputs> T>
void fields(Visitor& visitor, T& inputs) {
  visitor(inputs, inputs.pair, inputs.load);
}

/// The requirements with their load, and how the pair stands up to it.
struct LoadedPair {
  Requirements requirements;
  Strength strength;

  bool operator==(const LoadedPair&) const = default;
};

template <typename Visitor, Of<LoadedPair> T>
void fields(Visitor& visitor, T& loaded) {
  visitor(loaded, loaded.requirements, loaded.strength);
}

/// Loads the pair. The only step that reads the load from the values of the design.
class StrengthModule final : public StepModule<StrengthInputs, LoadedPair> {
 public:
  StrengthModule(Shared<DesignValues> values, PairModules pair);

 private:
  std::optional<StrengthInputs> collect() const override;
  LoadedPair compute(const StrengthInputs& inputs, ToothFormCache* cache) const override;

  Shared<DesignValues> designValues;
  PairModules pairModules;
};

}  // namespace GearPair
