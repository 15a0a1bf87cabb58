#pragma once

#include <memory>

#include "examples/gear_pair/application/commands/StepCommand.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"

namespace GearPair {

class ToothModule;

/// Makes the commands of one module. Full apply and auto apply are the same work here; they differ
/// in the thread they run on. The module owns its factory, which therefore refers to it weakly.
class StepCmdFactory : public Tessaril::ApplyCmdFactory {
 public:
  /// How the steps of the module are undone.
  enum class UndoBy { kStoredResult, kRecomputing };

  StepCmdFactory(std::weak_ptr<DesignModule> module, UndoBy undoBy);

  std::shared_ptr<Tessaril::CommandBase> createApplyCommand(
      std::shared_ptr<Tessaril::Object> design) override;
  /// Null where no auto apply is due: the update asks for the command without asking for the need.
  std::shared_ptr<Tessaril::CommandBase> createAutoApplyCommand(
      std::shared_ptr<Tessaril::Object> design, bool mayRunAlone) override;
  /// For a change of the unit system, if the module has written a text and is not frozen; else
  /// null.
  std::shared_ptr<Tessaril::CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Tessaril::Object> design,
      std::shared_ptr<Tessaril::ApplyUpdateMessage> message, bool flag) override;

 protected:
  virtual std::shared_ptr<Tessaril::CommandBase> makeStep(
      const std::shared_ptr<DesignModule>& module, Announcement announcement) const;

 private:
  std::weak_ptr<DesignModule> stepModule;
  UndoBy undoBy;
};

/// Makes the macro command of a gear.
class ToothCmdFactory final : public StepCmdFactory {
 public:
  explicit ToothCmdFactory(const std::shared_ptr<ToothModule>& module);

 private:
  std::shared_ptr<Tessaril::CommandBase> makeStep(const std::shared_ptr<DesignModule>& module,
                                                  Announcement announcement) const override;
};

}  // namespace GearPair
