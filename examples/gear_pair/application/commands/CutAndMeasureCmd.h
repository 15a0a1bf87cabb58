#pragma once

#include "examples/gear_pair/application/commands/StepCommand.h"
#include "examples/gear_pair/application/modules/ToothModule.h"
#include "tessaril/commands/ApplyMacroCmd.h"

namespace GearPair {

/// Measures the teeth that the module holds. Undone by measuring once more: the teeth that were
/// there before have been put back by then.
class MeasureTeethCommand final : public Tessaril::ApplyCommand {
 public:
  MeasureTeethCommand(std::shared_ptr<ToothModule> module, Announcement announcement);

  void doExecute(Tessaril::ApplyUpdateInfo& info) override;
  void doUndo(Tessaril::ApplyUpdateInfo& info) override;
  Tessaril::LegacyProgress::Speed::Rate getSpeedRate() const override;

 private:
  void measure();

  std::shared_ptr<ToothModule> toothModule;
  Announcement announcement;
};

/// Applies a gear in two steps: cut the teeth, then measure them.
///
/// Uses the custom undo order: the cutting, which keeps stored teeth, is undone first, although it
/// was executed first; the measuring, which depends on the teeth, second. Undone backwards, the
/// measuring would measure the wrong teeth.
class CutAndMeasureCmd final : public Tessaril::ApplyMacroCmd, public StepTrace {
 public:
  CutAndMeasureCmd(const std::shared_ptr<ToothModule>& module, Announcement announcement);

  void execute() override;
};

}  // namespace GearPair
