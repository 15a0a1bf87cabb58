#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <utility>

#include "diagnostics/guards/GraphGuard.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"
#include "tessaril/platform/command_pattern/ThreadManager.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril::Diagnostics {

/// A thread manager that runs its jobs on `threads` and tells the guard which thread executes the
/// sub-command of `update`, which is not followed. Null for null.
std::shared_ptr<ThreadManager> guarded(std::shared_ptr<ThreadManager> threads,
                                       std::shared_ptr<GraphGuard> guard, const void* update);

/// An update that tells a guard when it runs: `Update` itself, with the same arguments, orders and
/// results. May be made around an ObservedUpdate.
///
/// Its run is over when its end is announced, so that who hears of it may edit the graph or start
/// the next run, and when an exception leaves it. An `Update` that announces ends of its own while
/// a sub-command is under way is not over. Listeners that connect in the constructor of `Update`
/// hear of the end before the guard does.
template <std::derived_from<UpdateApplyModulesCmd> Update = UpdateApplyModulesCmd>
class GuardedUpdate : public Update {
 public:
  /// Requires: `theGuard` is not null. `arguments` are those of Update.
  template <typename... Arguments>
  explicit GuardedUpdate(std::shared_ptr<GraphGuard> theGuard, Arguments&&... arguments)
      : Update(std::forward<Arguments>(arguments)...),
        guard(std::move(theGuard)),
        description(Update::getDescription()),
        ended(this->connectToSigFinished(
            Signals::Slot<void(bool)>([this](bool /*success*/) { announced(); }))) {}
  ~GuardedUpdate() override { guard->endRuns(this, 0); }

  void execute() override {
    guard->aboutToCall("execute", description, this);
    const RunEnd end(*this, guard->getLastWork());
    Update::execute();
  }

  void undo() override {
    guard->aboutToCall("undo", description, nullptr);
    Update::undo();
  }

  void redo() override {
    guard->aboutToCall("redo", description, nullptr);
    Update::redo();
  }

  bool startExecution(std::shared_ptr<ThreadManager> threads) override {
    const GraphGuard::WorkNumber before = guard->getLastWork();
    guard->beginRun(this, description);
    const RunEnd end(*this, before);
    return Update::startExecution(guardedThreads(threads));
  }

  bool continueExecution(std::shared_ptr<ThreadManager> threads) override {
    guard->aboutToContinue(this, description);
    const RunEnd end(*this, 0);
    return Update::continueExecution(guardedThreads(threads));
  }

 protected:
  void prepareApplyCommandAndModule(std::shared_ptr<CommandBase> cmd,
                                    std::shared_ptr<ApplyModule> module) override {
    guard->compareLinks(this);
    guard->commandPrepared(this, module.get());
    Update::prepareApplyCommandAndModule(std::move(cmd), std::move(module));
  }

  void finalizeExecute(std::shared_ptr<CommandBase> cmd) override {
    guard->compareLinks(this);
    Update::finalizeExecute(std::move(cmd));
  }

 private:
  /// When a step of a run returns or is left by an exception.
  class RunEnd {
   public:
    RunEnd(GuardedUpdate& theUpdate, GraphGuard::WorkNumber runsAfter)
        : update(theUpdate), after(runsAfter) {}
    RunEnd(const RunEnd&) = delete;
    RunEnd& operator=(const RunEnd&) = delete;
    ~RunEnd() { update.endRuns(after); }

   private:
    GuardedUpdate& update;
    GraphGuard::WorkNumber after;
  };

  void announced() {
    if (!this->isSubCommandUnderWay()) {
      const RunEnd end(*this, 0);
      guard->compareLinks(this);
    }
  }

  void endRuns(GraphGuard::WorkNumber after) noexcept {
    if (!this->isSubCommandUnderWay()) {
      guard->endRuns(this, after);
    }
  }

  const std::shared_ptr<ThreadManager>& guardedThreads(
      const std::shared_ptr<ThreadManager>& threads) {
    if (threads != lastThreads) {
      lastThreads = threads;
      guardingThreads = guarded(threads, guard, this);
    }
    return guardingThreads;
  }

  std::shared_ptr<GraphGuard> guard;
  /// Kept, since a second start may come from another thread.
  std::string description;
  /// The last threads that were given, and what tells of their jobs.
  std::shared_ptr<ThreadManager> lastThreads;
  std::shared_ptr<ThreadManager> guardingThreads;
  Signals::ScopedConnection ended;
};

/// An update that `guard` watches; without one, a plain `Update`.
template <std::derived_from<UpdateApplyModulesCmd> Update = UpdateApplyModulesCmd,
          typename... Arguments>
std::shared_ptr<Update> makeGuardedUpdate(const std::shared_ptr<GraphGuard>& guard,
                                          Arguments&&... arguments) {
  if (guard == nullptr) {
    return std::make_shared<Update>(std::forward<Arguments>(arguments)...);
  }
  return std::make_shared<GuardedUpdate<Update>>(guard, std::forward<Arguments>(arguments)...);
}

}  // namespace Tessaril::Diagnostics
