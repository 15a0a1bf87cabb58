#include "examples/gear_pair/application/commands/ChangeCommands.h"

#include <utility>

#include "examples/gear_pair/application/GearPairDesign.h"
#include "examples/gear_pair/application/UnitSystemMessage.h"
#include "tessaril/commands/MessageCmdFactory.h"

namespace GearPair {

namespace {

std::string describeFlag(const DesignModule& module, ModuleFlag flag, bool value) {
  const std::string verb = flag == ModuleFlag::kFrozen ? (value ? "Freeze" : "Unfreeze")
                                                       : (value ? "Skip" : "No longer skip");
  return verb + " " + module.getName();
}

}  // namespace

SetValueCommand::SetValueCommand(std::shared_ptr<GearPairDesign> design,
                                 const std::string& assignment)
    : CommandBase("Set " + assignment), gearPair(std::move(design)), assignmentText(assignment) {}

void SetValueCommand::execute() {
  inputBefore = gearPair->getValues().input;
  DesignInput changed = inputBefore;
  setValue(changed, assignmentText);
  gearPair->setInput(changed);
}

void SetValueCommand::undo() { gearPair->setInput(inputBefore); }

SetUnitSystemCommand::SetUnitSystemCommand(std::shared_ptr<GearPairDesign> design, UnitSystem units)
    : CommandBase("Set the unit system to " + unitSystemName(units)),
      gearPair(std::move(design)),
      unitsBefore(gearPair->getValues().units),
      unitsAfter(units) {}

// The answers are made first and executed as a macro: if one of them fails, the macro takes back
// those before it.
void SetUnitSystemCommand::execute() {
  unitsBefore = gearPair->getValues().units;
  const auto message = std::make_shared<UnitSystemMessage>(unitsBefore, unitsAfter);
  answers = Tessaril::MessageCmdFactory::createUpdateMessageCommands(gearPair, message,
                                                                     gearPair->start(), nullptr);
  answers->execute();
  gearPair->setUnits(unitsAfter);
}

void SetUnitSystemCommand::undo() {
  answers->undo();
  gearPair->setUnits(unitsBefore);
}

void SetUnitSystemCommand::redo() {
  answers->redo();
  gearPair->setUnits(unitsAfter);
}

std::shared_ptr<Tessaril::MacroCommand> SetUnitSystemCommand::getAnswers() const { return answers; }

SetFlagCommand::SetFlagCommand(std::shared_ptr<DesignModule> module, ModuleFlag flag, bool value)
    : CommandBase(describeFlag(*module, flag, value)),
      stepModule(std::move(module)),
      moduleFlag(flag),
      newValue(value) {}

void SetFlagCommand::execute() {
  statesBefore.storeStates(*stepModule);
  if (moduleFlag == ModuleFlag::kFrozen) {
    stepModule->setFrozen(newValue, false);
  } else {
    stepModule->setSkipped(newValue, false);
  }
  stepModule->refreshFlags();
  stepModule->announce();
}

void SetFlagCommand::undo() {
  statesBefore.restoreStates(*stepModule);
  stepModule->refreshFlags();
  stepModule->announce();
}

}  // namespace GearPair
