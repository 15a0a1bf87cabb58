#include "examples/gear_pair/application/modules/DrawingModule.h"

#include <utility>

#include "examples/gear_pair/calculation/Drawing.h"

namespace GearPair {

DrawingModule::DrawingModule(Shared<DesignValues> values, PairModules pair)
    : TextStepModule("drawing", "Drawing", Rate::Normal, Way::kSide),
      designValues(std::move(values)),
      pairModules(std::move(pair)) {}

std::optional<DrawingInputs> DrawingModule::collect() const {
  DrawingInputs inputs{pairModules.collect(), designValues->units};
  return inputs.pair.isComplete() ? std::make_optional(std::move(inputs)) : std::nullopt;
}

std::string DrawingModule::compute(const DrawingInputs& inputs, ToothFormCache* /*cache*/) const {
  const PairInputs& pair = inputs.pair;
  return drawPair(*pair.requirements, *pair.pinion, *pair.wheel, *pair.mesh, inputs.units);
}

}  // namespace GearPair
