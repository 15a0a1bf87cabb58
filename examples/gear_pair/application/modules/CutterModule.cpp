#include "examples/gear_pair/application/modules/CutterModule.h"

#include <utility>

#include "examples/gear_pair/application/ToothFormCache.h"
#include "examples/gear_pair/calculation/Drawing.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

std::string describeCut(const ToothForm& form) {
  return std::to_string(form.gear.teeth) + " teeth, involute from diameter " +
         fixedText(form.formDiameter, 3) + " mm" + (form.undercut ? ", undercut" : "");
}

/// A gear that cannot be cut fails in its own step; here it is only noted.
std::string tryToCut(const Requirements& requirements, Member member, ToothFormCache* cache) {
  std::string line = memberName(member) + ": ";
  try {
    line += describeCut(*toothForm(cache, requirements, member));
  } catch (const DesignError& e) {
    line += e.what();
  }
  return line + "\n";
}

}  // namespace

bool CutterInputs::operator==(const CutterInputs& other) const {
  const auto dependsEqually = [&](Member member) {
    return teethPart(*requirements, member) == teethPart(*other.requirements, member);
  };
  return requirements == other.requirements ||
         (dependsEqually(Member::kPinion) && dependsEqually(Member::kWheel));
}

CutterModule::CutterModule(std::shared_ptr<const RequirementsModule> requirements)
    : StepModule("cutter", "Cutter", Rate::Fast, Way::kSide),
      requirementsModule(std::move(requirements)) {}

bool CutterModule::usesSharedResources() const { return true; }

std::optional<CutterInputs> CutterModule::collect() const {
  auto requirements = requirementsModule->getResult();
  return requirements == nullptr ? std::nullopt
                                 : std::make_optional(CutterInputs{std::move(requirements)});
}

// The wheel's turn comes later: its teeth are computed here, and wait for it in the cache.
CutterSheet CutterModule::compute(const CutterInputs& inputs, ToothFormCache* cache) const {
  const Requirements& requirements = *inputs.requirements;
  CutterSheet sheet;
  sheet.rack = computeCutterRack(requirements);
  sheet.drawing = drawCutterRack(sheet.rack);
  for (const Member member : {Member::kPinion, Member::kWheel}) {
    sheet.gearsCut += tryToCut(requirements, member, cache);
  }
  return sheet;
}

}  // namespace GearPair
