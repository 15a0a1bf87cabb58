#include "examples/gear_pair/application/commands/ShowInUnitsCommand.h"

#include "examples/gear_pair/application/UnitSystemMessage.h"

namespace GearPair {

std::shared_ptr<const void> ShowInUnitsCommand::chooseInputs(
    Tessaril::ApplyUpdateInfo& info) const {
  for (const auto& message : info.getAllUpdateMessages()) {
    if (const auto* change = dynamic_cast<const UnitSystemMessage*>(message.get())) {
      return getModule().inputsInUnits(change->getUnits());
    }
  }
  return getModule().getRecord().inputs;
}

}  // namespace GearPair
