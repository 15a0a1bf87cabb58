#include "examples/gear_pair/application/commands/StepCmdFactory.h"

#include <utility>

#include "examples/gear_pair/application/UnitSystemMessage.h"
#include "examples/gear_pair/application/commands/CutAndMeasureCmd.h"
#include "examples/gear_pair/application/commands/ShowInUnitsCommand.h"
#include "examples/gear_pair/application/modules/ToothModule.h"

namespace GearPair {

using Command = std::shared_ptr<Tessaril::CommandBase>;

StepCmdFactory::StepCmdFactory(std::weak_ptr<DesignModule> module, UndoBy undoing)
    : stepModule(std::move(module)), undoBy(undoing) {}

Command StepCmdFactory::createApplyCommand(std::shared_ptr<Tessaril::Object> /*design*/) {
  const auto module = stepModule.lock();
  return module == nullptr ? nullptr : makeStep(module, Announcement::kByUpdate);
}

Command StepCmdFactory::createAutoApplyCommand(std::shared_ptr<Tessaril::Object> /*design*/,
                                               bool mayRunAlone) {
  const auto module = stepModule.lock();
  const bool due = module != nullptr && module->isAutoApplyDue(mayRunAlone);
  return due ? makeStep(module, Announcement::kByCommand) : nullptr;
}

Command StepCmdFactory::createMessageHandlingCmd(
    std::shared_ptr<Tessaril::Object> /*design*/,
    std::shared_ptr<Tessaril::ApplyUpdateMessage> message, bool /*flag*/) {
  const auto module = stepModule.lock();
  const auto* change = dynamic_cast<const UnitSystemMessage*>(message.get());
  if (module == nullptr || change == nullptr || module->isFrozen() ||
      module->inputsInUnits(change->getUnits()) == nullptr) {
    return nullptr;
  }
  return std::make_shared<ShowInUnitsCommand>(module, module->getTitle() + ": change the units",
                                              Announcement::kByCommand);
}

Command StepCmdFactory::makeStep(const std::shared_ptr<DesignModule>& module,
                                 Announcement announcement) const {
  if (undoBy == UndoBy::kStoredResult) {
    return std::make_shared<StoredStepCommand>(module, module->getTitle(), announcement);
  }
  return std::make_shared<RecomputedStepCommand>(module, module->getTitle(), announcement);
}

ToothCmdFactory::ToothCmdFactory(const std::shared_ptr<ToothModule>& module)
    : StepCmdFactory(module, UndoBy::kStoredResult) {}

Command ToothCmdFactory::makeStep(const std::shared_ptr<DesignModule>& module,
                                  Announcement announcement) const {
  return std::make_shared<CutAndMeasureCmd>(std::dynamic_pointer_cast<ToothModule>(module),
                                            announcement);
}

}  // namespace GearPair
