#pragma once

#include "examples/gear_pair/application/DesignModule.h"
#include "examples/gear_pair/application/commands/StepTrace.h"
#include "tessaril/commands/ApplyCommand.h"

namespace GearPair {

/// Who tells the listeners of a module that a step was applied. Listeners live on the thread of the
/// design, and a full apply may be executed on another one. Undo and redo are announced by whoever
/// undoes or redoes the whole.
enum class Announcement {
  /// The command, at once: it runs on the thread of the design.
  kByCommand,
  /// The update, when the command has come back from its worker.
  kByUpdate,
};

/// Applies one module: computes a record and hands it to the module. A failure to compute leaves
/// the module as it was. How the step is undone is decided by the derived classes.
class StepCommand : public Tessaril::ApplyCommand, public StepTrace {
 public:
  StepCommand(std::shared_ptr<DesignModule> module, const std::string& description,
              Announcement announcement);

  void doExecute(Tessaril::ApplyUpdateInfo& info) final;
  Tessaril::LegacyProgress::Speed::Rate getSpeedRate() const override;

  DesignModule& getModule() const;

 protected:
  /// What the module is to be computed from: its present inputs. Null where one is missing.
  virtual std::shared_ptr<const void> chooseInputs(Tessaril::ApplyUpdateInfo& info) const;
  /// Keeps what undo and redo will need.
  virtual void keep(const StepRecord& before, const StepRecord& after) = 0;

  StepRecord compute(std::shared_ptr<const void> inputs) const;
  /// Hands a record of before or after to the module.
  void putBack(const StepRecord& record) const;

 private:
  std::shared_ptr<DesignModule> stepModule;
  Announcement announcement;
};

/// Keeps the records before and after, and puts them back: for results that are dear to compute.
class StoredStepCommand final : public StepCommand {
 public:
  using StepCommand::StepCommand;

  /// StorageUndo.
  UndoType getUndoType() override;
  void doUndo(Tessaril::ApplyUpdateInfo& info) override;
  void redo() override;

 private:
  void keep(const StepRecord& before, const StepRecord& after) override;

  StepRecord recordBefore;
  StepRecord recordAfter;
};

/// Keeps only the inputs before and after, and computes the result from them once more: for results
/// that take more room than time. A DependentUndo, as every command is that does not say otherwise.
class RecomputedStepCommand : public StepCommand {
 public:
  using StepCommand::StepCommand;

  void doUndo(Tessaril::ApplyUpdateInfo& info) override;
  void redo() override;

 private:
  void keep(const StepRecord& before, const StepRecord& after) override;

  std::shared_ptr<const void> inputsBefore;
  std::shared_ptr<const void> inputsAfter;
};

}  // namespace GearPair
