#include "examples/gear_pair/application/modules/ReportModule.h"

#include <utility>

#include "examples/gear_pair/calculation/Report.h"

namespace GearPair {

ReportModule::ReportModule(Shared<DesignValues> values, PairModules pair,
                           std::shared_ptr<const StrengthModule> strength)
    : TextStepModule("report", "Report", Rate::VeryFast, Way::kMain),
      designValues(std::move(values)),
      pairModules(std::move(pair)),
      strengthModule(std::move(strength)) {}

std::optional<ReportInputs> ReportModule::collect() const {
  ReportInputs inputs{pairModules.collect(), strengthModule->getResult(), designValues->units};
  const bool complete = inputs.pair.isComplete() && inputs.loaded != nullptr;
  return complete ? std::make_optional(std::move(inputs)) : std::nullopt;
}

std::string ReportModule::compute(const ReportInputs& inputs, ToothFormCache* /*cache*/) const {
  const PairInputs& pair = inputs.pair;
  return writeReport(inputs.loaded->requirements, *pair.pinion, *pair.wheel, *pair.mesh,
                     inputs.loaded->strength, inputs.units);
}

}  // namespace GearPair
