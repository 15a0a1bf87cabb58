#include "examples/gear_pair/application/UpdateDesignCmd.h"

#include <utility>

#include "examples/gear_pair/application/ToothFormCache.h"
#include "examples/gear_pair/application/commands/StepTrace.h"

namespace GearPair {

UpdateDesignCmd::UpdateDesignCmd(std::shared_ptr<GearPairDesign> design,
                                 std::shared_ptr<DesignModule> end,
                                 std::shared_ptr<DesignModule> horizon)
    : UpdateApplyModulesCmd(design, design->start(), std::move(end), std::move(horizon)),
      gearPair(std::move(design)),
      cache(std::make_shared<ToothFormCache>()) {
  setApplyCache(cache);
}

void UpdateDesignCmd::execute() {
  signalled.clear();
  const auto watching = watchSignals();
  UpdateApplyModulesCmd::execute();
}

void UpdateDesignCmd::undo() {
  UpdateApplyModulesCmd::undo();
  gearPair->announce();
}

void UpdateDesignCmd::redo() {
  UpdateApplyModulesCmd::redo();
  gearPair->announce();
}

bool UpdateDesignCmd::startExecution(std::shared_ptr<Tessaril::ThreadManager> threadManager) {
  events.clear();
  updateThread = std::this_thread::get_id();
  return UpdateApplyModulesCmd::startExecution(std::move(threadManager));
}

std::vector<Tessaril::Signals::ScopedConnection> UpdateDesignCmd::watchSignals() {
  std::vector<Tessaril::Signals::ScopedConnection> connections;
  for (const auto& module : gearPair->getModules()) {
    connections.emplace_back(module->connectToSigStateChanged(Tessaril::Signals::Slot<void()>(
        [this, watched = module.get()] { signalled.push_back(watched); })));
  }
  return connections;
}

Tessaril::Signals::Connection UpdateDesignCmd::connectToSigStepStarted(
    const StepSignal::SlotType& slot) const {
  return sigStepStarted.connect(slot);
}

// Called for each command before it runs. Only a full apply is still needed at that moment.
void UpdateDesignCmd::prepareApplyCommandAndModule(std::shared_ptr<Tessaril::CommandBase> cmd,
                                                   std::shared_ptr<Tessaril::ApplyModule> module) {
  UpdateApplyModulesCmd::prepareApplyCommandAndModule(cmd, module);
  const auto step = std::dynamic_pointer_cast<DesignModule>(module);
  const bool isAutoApply = !needsFullApply(module);
  events.push_back({step, cmd, isAutoApply, false, {}});
  sigStepStarted.emit(*step, isAutoApply);
}

// Back on the thread of the update: the place to tell the listeners of what a worker has done.
void UpdateDesignCmd::finalizeExecute(std::shared_ptr<Tessaril::CommandBase> cmd) {
  UpdateApplyModulesCmd::finalizeExecute(cmd);
  events.back().module->announce();
}

void UpdateDesignCmd::printLogMessage(std::exception& e) {
  UpdateApplyModulesCmd::printLogMessage(e);
  events.back().failure = e.what();
}

std::vector<StepEvent> UpdateDesignCmd::getEvents() const {
  std::vector<StepEvent> account = events;
  for (StepEvent& event : account) {
    if (const auto* trace = dynamic_cast<const StepTrace*>(event.command.get())) {
      event.ranOnWorker =
          trace->getThread() != std::thread::id() && trace->getThread() != updateThread;
      if (event.failure.empty()) {
        event.failure = trace->getFailure();
      }
    }
  }
  return account;
}

std::string UpdateDesignCmd::getEventText() const {
  std::string text;
  for (const StepEvent& event : getEvents()) {
    const std::string what = event.isAutoApply ? "auto" : "apply";
    text += (text.empty() ? "" : " ") + event.module->getName() + ":" +
            (event.failure.empty() ? what : what + "-failed");
  }
  return text;
}

const std::vector<const DesignModule*>& UpdateDesignCmd::getSignalled() const { return signalled; }

std::string UpdateDesignCmd::getFailure() const {
  for (const StepEvent& event : getEvents()) {
    if (!event.failure.empty()) {
      return event.failure;
    }
  }
  return {};
}

const ToothFormCache& UpdateDesignCmd::getCache() const { return *cache; }

}  // namespace GearPair
