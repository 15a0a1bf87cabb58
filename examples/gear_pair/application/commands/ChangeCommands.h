#pragma once

#include <memory>
#include <string>

#include "examples/gear_pair/calculation/DesignInput.h"
#include "examples/gear_pair/calculation/Units.h"
#include "tessaril/module/ModuleStateStorage.h"
#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/command_pattern/MacroCommand.h"

namespace GearPair {

class DesignModule;
class GearPairDesign;

// What the designer does between two updates. Each is a command of its own, so that undo leads back
// through changes and updates alike. None of them applies a module.

/// Sets one value of the design, such as "torque=300 Nm".
class SetValueCommand final : public Tessaril::CommandBase {
 public:
  SetValueCommand(std::shared_ptr<GearPairDesign> design, const std::string& assignment);

  /// Throws InputError, and changes nothing, for an assignment that is not allowed.
  void execute() override;
  void undo() override;

 private:
  std::shared_ptr<GearPairDesign> gearPair;
  std::string assignmentText;
  DesignInput inputBefore;
};

/// Changes the unit system and sends the message of it to every module. The commands with which
/// modules answer become a part of this command.
class SetUnitSystemCommand final : public Tessaril::CommandBase {
 public:
  SetUnitSystemCommand(std::shared_ptr<GearPairDesign> design, UnitSystem units);

  void execute() override;
  void undo() override;
  void redo() override;

  /// The commands with which modules answered the message; null before the first execute.
  std::shared_ptr<Tessaril::MacroCommand> getAnswers() const;

 private:
  std::shared_ptr<GearPairDesign> gearPair;
  UnitSystem unitsBefore;
  UnitSystem unitsAfter;
  std::shared_ptr<Tessaril::MacroCommand> answers;
};

/// The designer's two flags of a module.
enum class ModuleFlag { kFrozen, kSkipped };

/// Sets or clears one of them.
class SetFlagCommand final : public Tessaril::CommandBase {
 public:
  SetFlagCommand(std::shared_ptr<DesignModule> module, ModuleFlag flag, bool value);

  void execute() override;
  void undo() override;

 private:
  std::shared_ptr<DesignModule> stepModule;
  ModuleFlag moduleFlag;
  bool newValue;
  Tessaril::ModuleStateStorage statesBefore;
};

}  // namespace GearPair
