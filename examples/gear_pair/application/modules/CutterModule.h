#pragma once

#include "examples/gear_pair/application/modules/RequirementsModule.h"
#include "examples/gear_pair/calculation/CutterRack.h"

namespace GearPair {

struct CutterInputs {
  Shared<Requirements> requirements;

  /// Compares what the teeth of both gears depend on.
  bool operator==(const CutterInputs& other) const;
};

template <typename Visitor, Of<CutterInputs> T>
void fields(Visitor& visitor, T& inputs) {
  visitor(inputs, inputs.requirements);
}

/// The cutter, its drawing as an SVG document, and one line a gear about the teeth that it leaves.
struct CutterSheet {
  CutterRack rack;
  std::string drawing;
  std::string gearsCut;
};

template <typename Visitor, Of<CutterSheet> T>
void fields(Visitor& visitor, T& sheet) {
  visitor(sheet, sheet.rack, sheet.drawing, sheet.gearsCut);
}

/// The rack type cutter of both gears. Hangs on the pinion as a side chain: the report does not
/// need it.
class CutterModule final : public StepModule<CutterInputs, CutterSheet> {
 public:
  explicit CutterModule(std::shared_ptr<const RequirementsModule> requirements);

  /// True: its auto apply works with the tooth forms that the pinion and the wheel of the same run
  /// put into the cache and take from it, so it must not run beside them.
  bool usesSharedResources() const override;

 private:
  std::optional<CutterInputs> collect() const override;
  CutterSheet compute(const CutterInputs& inputs, ToothFormCache* cache) const override;

  std::shared_ptr<const RequirementsModule> requirementsModule;
};

}  // namespace GearPair
