#pragma once

#include <optional>
#include <utility>

#include "examples/gear_pair/application/DesignModule.h"
#include "examples/gear_pair/application/Shared.h"
#include "examples/gear_pair/application/archive/ValueReader.h"
#include "examples/gear_pair/application/archive/ValueWriter.h"

namespace GearPair {

/// A step with the types of its inputs and its result. A module of one's own overrides collect()
/// and compute().
///
/// The == of Inputs is what decides whether the step has to be applied again: it compares what the
/// step reads and nothing else. The fields() of Inputs and Result say how both are stored.
template <typename Inputs, typename Result>
class StepModule : public DesignModule {
 public:
  using DesignModule::DesignModule;

  /// Null before the first apply; may be out of date, see isConsistent().
  Shared<Result> getResult() const {
    return std::static_pointer_cast<const Result>(getRecord().result);
  }

  Shared<void> gatherInputs() const final {
    std::optional<Inputs> inputs = collect();
    return inputs ? std::make_shared<const Inputs>(std::move(*inputs)) : nullptr;
  }

  StepRecord computeFrom(Shared<void> inputs, ToothFormCache* cache) const final {
    const auto& typed = *static_cast<const Inputs*>(inputs.get());
    auto result = std::make_shared<const Result>(compute(typed, cache));
    return {std::move(inputs), std::move(result)};
  }

  void saveRecord(ValueWriter& writer) const override {
    writer.write(hasResult());
    if (hasResult()) {
      writer.write(*getComputedFrom());
      writer.write(getResult());
    }
  }

  void loadRecord(ValueReader& reader) override {
    bool hasRecord = false;
    reader.read(hasRecord);
    if (hasRecord) {
      const auto inputs = std::make_shared<Inputs>();
      Shared<Result> result;
      reader.read(*inputs);
      reader.read(result);
      setRecord({inputs, result});
    }
  }

 protected:
  /// The present inputs; empty while one of them is missing.
  virtual std::optional<Inputs> collect() const = 0;
  virtual Result compute(const Inputs& inputs, ToothFormCache* cache) const = 0;

  /// The inputs of the present result; null without one.
  Shared<Inputs> getComputedFrom() const {
    return std::static_pointer_cast<const Inputs>(getRecord().inputs);
  }

 private:
  bool inputsAreEqual(const void* left, const void* right) const final {
    return *static_cast<const Inputs*>(left) == *static_cast<const Inputs*>(right);
  }
};

/// A step that writes a text in the unit system of the design: its inputs have a member `units`.
template <typename Inputs, typename Result>
class TextStepModule : public StepModule<Inputs, Result> {
 public:
  using StepModule<Inputs, Result>::StepModule;

  Shared<void> inputsInUnits(UnitSystem units) const final {
    const Shared<Inputs> present = this->getComputedFrom();
    if (present == nullptr) {
      return nullptr;
    }
    Inputs changed = *present;
    changed.units = units;
    return std::make_shared<const Inputs>(std::move(changed));
  }
};

}  // namespace GearPair
