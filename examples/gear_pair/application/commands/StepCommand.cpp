#include "examples/gear_pair/application/commands/StepCommand.h"

#include <utility>

#include "examples/gear_pair/application/ToothFormCache.h"
#include "examples/gear_pair/calculation/DesignError.h"

namespace GearPair {

StepCommand::StepCommand(std::shared_ptr<DesignModule> module, const std::string& description,
                         Announcement announcedBy)
    : ApplyCommand(description), stepModule(std::move(module)), announcement(announcedBy) {}

void StepCommand::doExecute(Tessaril::ApplyUpdateInfo& info) {
  traced([&] {
    const StepRecord after = compute(chooseInputs(info));
    keep(stepModule->getRecord(), after);
    stepModule->setRecord(after);
    stepModule->refreshFlags();
  });
  if (announcement == Announcement::kByCommand) {
    stepModule->announce();
  }
}

Tessaril::LegacyProgress::Speed::Rate StepCommand::getSpeedRate() const {
  return stepModule->getSpeedRate();
}

DesignModule& StepCommand::getModule() const { return *stepModule; }

std::shared_ptr<const void> StepCommand::chooseInputs(Tessaril::ApplyUpdateInfo& /*info*/) const {
  return stepModule->gatherInputs();
}

StepRecord StepCommand::compute(std::shared_ptr<const void> inputs) const {
  if (inputs == nullptr) {
    throw DesignError("There is nothing yet to compute the " + stepModule->getName() + " from.");
  }
  const auto cache = std::dynamic_pointer_cast<ToothFormCache>(getApplyCache().lock());
  return stepModule->computeFrom(std::move(inputs), cache.get());
}

void StepCommand::putBack(const StepRecord& record) const {
  stepModule->setRecord(record);
  stepModule->refreshFlags();
}

StoredStepCommand::UndoType StoredStepCommand::getUndoType() { return StorageUndo; }

void StoredStepCommand::doUndo(Tessaril::ApplyUpdateInfo& /*info*/) { putBack(recordBefore); }

void StoredStepCommand::redo() { putBack(recordAfter); }

void StoredStepCommand::keep(const StepRecord& before, const StepRecord& after) {
  recordBefore = before;
  recordAfter = after;
}

void RecomputedStepCommand::doUndo(Tessaril::ApplyUpdateInfo& /*info*/) {
  putBack(inputsBefore == nullptr ? StepRecord{} : compute(inputsBefore));
}

void RecomputedStepCommand::redo() { putBack(compute(inputsAfter)); }

void RecomputedStepCommand::keep(const StepRecord& before, const StepRecord& after) {
  inputsBefore = before.inputs;
  inputsAfter = after.inputs;
}

}  // namespace GearPair
