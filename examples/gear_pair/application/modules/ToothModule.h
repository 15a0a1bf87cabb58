#pragma once

#include "examples/gear_pair/application/modules/RequirementsModule.h"
#include "examples/gear_pair/calculation/ManufacturingPlan.h"
#include "examples/gear_pair/calculation/ToothForm.h"

namespace GearPair {

struct ToothInputs {
  Shared<Requirements> requirements;
  Member member = Member::kPinion;

  /// Compares what the teeth of that gear depend on; see teethPart().
  bool operator==(const ToothInputs& other) const;
};

template <typename Visitor, Of<ToothInputs> T>
void fields(Visitor& visitor, T& inputs) {
  visitor(inputs, inputs.requirements, inputs.member);
}

/// The teeth of one gear: the pinion on the main chain, the wheel on its fork.
///
/// The apply has two steps, cutting the teeth and measuring them, and so two results: the tooth
/// form in the record, and the measures.
class ToothModule final : public StepModule<ToothInputs, ToothForm> {
 public:
  ToothModule(Member member, std::shared_ptr<const RequirementsModule> requirements);

  Shared<ToothMeasures> getMeasures() const;
  void setMeasures(Shared<ToothMeasures> newMeasures);
  /// The measures of the present tooth form; null without one.
  Shared<ToothMeasures> measure() const;

  bool isUpToDate() const override;
  void saveRecord(ValueWriter& writer) const override;
  void loadRecord(ValueReader& reader) override;

 private:
  bool isOfThisGear() const;
  std::optional<ToothInputs> collect() const override;
  ToothForm compute(const ToothInputs& inputs, ToothFormCache* cache) const override;

  Member member;
  std::shared_ptr<const RequirementsModule> requirementsModule;
  Shared<ToothMeasures> measures;
};

}  // namespace GearPair
