#include "examples/gear_pair/application/modules/CutterModule.h"

#include <utility>

#include "examples/gear_pair/application/ToothFormCache.h"
#include "examples/gear_pair/calculation/Drawing.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

std::string describeCut(const ToothForm& form) {
  return memberName(form.gear.member) + ": " + std::to_string(form.gear.teeth) +
         " teeth, involute from diameter " + fixedText(form.formDiameter, 3) + " mm" +
         (form.undercut ? ", undercut" : "") + "\n";
}

}  // namespace

bool CutterInputs::operator==(const CutterInputs& other) const {
  return task == other.task || teethPart(task->requirements) == teethPart(other.task->requirements);
}

CutterModule::CutterModule(std::shared_ptr<const RequirementsModule> requirements)
    : StepModule("cutter", "Cutter", Rate::Fast, Way::kSide),
      requirementsModule(std::move(requirements)) {}

bool CutterModule::usesSharedResources() const { return true; }

std::optional<CutterInputs> CutterModule::collect() const {
  auto task = requirementsModule->getResult();
  return task == nullptr ? std::nullopt : std::make_optional(CutterInputs{std::move(task)});
}

// The wheel's turn comes later: its teeth are computed here, and wait for it in the cache.
CutterSheet CutterModule::compute(const CutterInputs& inputs, ToothFormCache* cache) const {
  const Requirements& requirements = inputs.task->requirements;
  CutterSheet sheet;
  sheet.rack = computeCutterRack(requirements);
  sheet.drawing = drawCutterRack(sheet.rack);
  for (const Member member : {Member::kPinion, Member::kWheel}) {
    sheet.gearsCut += describeCut(*toothForm(cache, requirements, member));
  }
  return sheet;
}

}  // namespace GearPair
