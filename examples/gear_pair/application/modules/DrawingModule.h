#pragma once

#include "examples/gear_pair/application/modules/PairInputs.h"

namespace GearPair {

struct DrawingInputs {
  PairInputs pair;
  UnitSystem units = UnitSystem::kMetric;

  bool operator==(const DrawingInputs&) const = default;
};

template <typename Visitor, Of<DrawingInputs> T>
void fields(Visitor& visitor, T& inputs) {
  visitor(inputs, inputs.pair, inputs.units);
}

/// Draws the pair in mesh as an SVG document. Hangs on the mesh as a side chain: the report does
/// not need it.
class DrawingModule final : public TextStepModule<DrawingInputs, std::string> {
 public:
  DrawingModule(Shared<DesignValues> values, PairModules pair);

 private:
  std::optional<DrawingInputs> collect() const override;
  std::string compute(const DrawingInputs& inputs, ToothFormCache* cache) const override;

  Shared<DesignValues> designValues;
  PairModules pairModules;
};

}  // namespace GearPair
