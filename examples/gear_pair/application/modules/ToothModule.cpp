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

// The measures are missing only where the teeth are.
void ToothModule::saveRecord(ValueWriter& writer) const {
  StepModule::saveRecord(writer);
  if (hasResult()) {
    writer.write(measures);
  }
}

void ToothModule::loadRecord(ValueReader& reader) {
  StepModule::loadRecord(reader);
  if (hasResult()) {
    reader.requireThat(isOfThisGear(), "these are not the teeth of the " + memberName(member));
    reader.read(measures);
  }
}

bool ToothModule::isOfThisGear() const {
  const ToothInputs& inputs = *getComputedFrom();
  const GearData& cut = getResult()->gear;
  return inputs.member == member && cut.member == member &&
         cut.teeth == inputs.requirements->gear(member).teeth;
}

std::optional<ToothInputs> ToothModule::collect() const {
  auto requirements = requirementsModule->getResult();
  return requirements == nullptr ? std::nullopt
                                 : std::make_optional(ToothInputs{std::move(requirements), member});
}

ToothForm ToothModule::compute(const ToothInputs& inputs, ToothFormCache* cache) const {
  return *toothForm(cache, *inputs.requirements, member);
}

}  // namespace GearPair
