#pragma once

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "examples/gear_pair/application/GearPairDesign.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"

namespace GearPair {

class ToothFormCache;

/// What an update did with one module.
struct StepEvent {
  std::shared_ptr<DesignModule> module;
  std::shared_ptr<Tessaril::CommandBase> command;
  /// An auto apply; otherwise a full apply.
  bool isAutoApply = false;
  /// Executed on a thread other than that of the update.
  bool ranOnWorker = false;
  /// Why it failed, in one sentence; empty for a success.
  std::string failure;
};

/// Brings the design up to date, from the requirements to an end module: the library's update with
/// the cache of tooth forms, an account of what was done, and listeners that hear of each step.
///
/// The library's part decides which modules are applied; nothing here knows what has changed.
class UpdateDesignCmd : public Tessaril::UpdateApplyModulesCmd {
 public:
  /// Called on the thread of the update before a module is applied; true: auto apply.
  using StepSignal = Tessaril::Signals::Signal<void(const DesignModule&, bool)>;

  /// `horizon` may be null.
  UpdateDesignCmd(std::shared_ptr<GearPairDesign> design, std::shared_ptr<DesignModule> end,
                  std::shared_ptr<DesignModule> horizon);

  void execute() override;
  /// Both tell the listeners of all modules once everything is back.
  void undo() override;
  void redo() override;
  bool startExecution(std::shared_ptr<Tessaril::ThreadManager> threadManager) override;

  Tessaril::Signals::Connection connectToSigStepStarted(const StepSignal::SlotType& slot) const;

  // The account of the last run.

  /// The steps in the order in which they were begun, failed ones included.
  std::vector<StepEvent> getEvents() const;
  /// The same in one line: "requirements:apply pinion:failed cutter:auto".
  std::string getEventText() const;
  /// The modules that were told of a change, once for each time.
  const std::vector<const DesignModule*>& getSignalled() const;
  /// The sentence of the first failure; empty when there was none.
  std::string getFailure() const;
  const ToothFormCache& getCache() const;

 protected:
  void prepareApplyCommandAndModule(std::shared_ptr<Tessaril::CommandBase> cmd,
                                    std::shared_ptr<Tessaril::ApplyModule> module) override;
  void finalizeExecute(std::shared_ptr<Tessaril::CommandBase> cmd) override;
  void printLogMessage(std::exception& e) override;

 private:
  std::vector<Tessaril::Signals::ScopedConnection> watchSignals();

  std::shared_ptr<GearPairDesign> gearPair;
  std::shared_ptr<ToothFormCache> cache;
  std::vector<StepEvent> events;
  std::thread::id updateThread;
  std::vector<const DesignModule*> signalled;
  StepSignal sigStepStarted;
};

}  // namespace GearPair
