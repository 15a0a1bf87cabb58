#include "examples/gear_pair/application/modules/ToothModule.h"

#include <utility>

#include "examples/gear_pair/application/ToothFormCache.h"

namespace GearPair {

bool ToothInputs::operator==(const ToothInputs& other) const {
  return requirements == other.requirements ||
         teethPart(*requirements, member) == teethPart(*other.requirements, member);
}

ToothModule::ToothModule(Member gear, std::shared_ptr<const RequirementsModule> requirements)
    : StepModule(memberName(gear), gear == Member::kPinion ? "Pinion" : "Wheel", Rate::Slow,
                 Way::kMain),
      member(gear),
      requirementsModule(std::move(requirements)) {}

Shared<ToothMeasures> ToothModule::getMeasures() const { return measures; }

void ToothModule::setMeasures(Shared<ToothMeasures> newMeasures) {
  measures = std::move(newMeasures);
}

Shared<ToothMeasures> ToothModule::measure() const {
  if (!hasResult()) {
    return nullptr;
  }
  return std::make_shared<const ToothMeasures>(
      measureTeeth(*getComputedFrom()->requirements, *getResult()));
}

bool ToothModule::isUpToDate() const { return measures != nullptr && StepModule::isUpToDate(); }

std::optional<ToothInputs> ToothModule::collect() const {
  auto requirements = requirementsModule->getResult();
  return requirements == nullptr ? std::nullopt
                                 : std::make_optional(ToothInputs{std::move(requirements), member});
}

ToothForm ToothModule::compute(const ToothInputs& inputs, ToothFormCache* cache) const {
  return *toothForm(cache, *inputs.requirements, member);
}

}  // namespace GearPair
