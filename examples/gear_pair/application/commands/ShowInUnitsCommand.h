#pragma once

#include "examples/gear_pair/application/commands/StepCommand.h"

namespace GearPair {

/// Answers the message that the unit system changed: writes the text of a module anew, from what it
/// was written from before, in the units that the message names. So even a text that is out of date
/// changes its units and nothing else.
class ShowInUnitsCommand final : public RecomputedStepCommand {
 public:
  using RecomputedStepCommand::RecomputedStepCommand;

 private:
  std::shared_ptr<const void> chooseInputs(Tessaril::ApplyUpdateInfo& info) const override;
};

}  // namespace GearPair
