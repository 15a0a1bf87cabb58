#include "examples/gear_pair/application/commands/CutAndMeasureCmd.h"

#include <utility>

namespace GearPair {

MeasureTeethCommand::MeasureTeethCommand(std::shared_ptr<ToothModule> module,
                                         Announcement announcedBy)
    : ApplyCommand(module->getTitle() + ": measure the teeth"),
      toothModule(std::move(module)),
      announcement(announcedBy) {}

void MeasureTeethCommand::doExecute(Tessaril::ApplyUpdateInfo& /*info*/) {
  measure();
  if (announcement == Announcement::kByCommand) {
    toothModule->announce();
  }
}

void MeasureTeethCommand::doUndo(Tessaril::ApplyUpdateInfo& /*info*/) { measure(); }

Tessaril::LegacyProgress::Speed::Rate MeasureTeethCommand::getSpeedRate() const {
  return Tessaril::LegacyProgress::Speed::Fast;
}

void MeasureTeethCommand::measure() {
  toothModule->setMeasures(toothModule->measure());
  toothModule->refreshFlags();
}

CutAndMeasureCmd::CutAndMeasureCmd(const std::shared_ptr<ToothModule>& module,
                                   Announcement announcement)
    : ApplyMacroCmd(module->getTitle()) {
  setUseCustomUndoOrder(true);
  addCommand(std::make_shared<StoredStepCommand>(module, module->getTitle() + ": cut the teeth",
                                                 announcement));
  addCommand(std::make_shared<MeasureTeethCommand>(module, announcement));
}

void CutAndMeasureCmd::execute() {
  traced([this] { ApplyMacroCmd::execute(); });
}

}  // namespace GearPair
