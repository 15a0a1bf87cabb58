#pragma once

#include "examples/gear_pair/application/modules/StrengthModule.h"

namespace GearPair {

struct ReportInputs {
  PairInputs pair;
  Shared<LoadedPair> loaded;
  UnitSystem units = UnitSystem::kMetric;

  bool operator==(const ReportInputs& other) const {
    return pair == other.pair && sameValue(loaded, other.loaded) && units == other.units;
  }
};

template <typename Visitor, Of<ReportInputs> T>
void fields(Visitor& visitor, T& inputs) {
  visitor(inputs, inputs.pair, inputs.loaded, inputs.units);
}

/// Writes the report: the end of the main way.
class ReportModule final : public TextStepModule<ReportInputs, std::string> {
 public:
  ReportModule(Shared<DesignValues> values, PairModules pair,
               std::shared_ptr<const StrengthModule> strength);

 private:
  std::optional<ReportInputs> collect() const override;
  std::string compute(const ReportInputs& inputs, ToothFormCache* cache) const override;

  Shared<DesignValues> designValues;
  PairModules pairModules;
  std::shared_ptr<const StrengthModule> strengthModule;
};

}  // namespace GearPair
