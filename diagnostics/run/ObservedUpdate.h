#pragma once

#include <concepts>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "diagnostics/run/RunRecorder.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"
#include "tessaril/platform/command_pattern/ThreadManager.h"

namespace Tessaril::Diagnostics {

/// A thread manager that runs its jobs on `threads` and tells the recorder when and where each
/// begins and ends. Null for null.
std::shared_ptr<ThreadManager> observed(std::shared_ptr<ThreadManager> threads,
                                        std::shared_ptr<RunRecorder> recorder);

/// An update that tells a recorder what it does: `Update` itself, with the same arguments, orders
/// and results. To be made in place of an `Update` wherever one is to be explained.
///
/// What is seen: each module that the update decides upon, when and where each full apply was
/// executed, how it failed, the progress, and how the run was announced. What it takes
/// WatchedFactories to see: when an auto apply ended, message commands, auto applies that made no
/// command, and the single steps of an undo or redo.
///
/// What cannot be seen from outside: the answers that the update got to its questions. They are
/// asked for once more at the moment of the decision, unless the recorder is told not to; a module
/// that counts its questions counts more of them, and one that answers differently each time is
/// explained by the wrong answer. A module that sends its state-changed signal when no command of
/// it runs is taken for one that the update has signalled.
template <typename Update = UpdateApplyModulesCmd>
class ObservedUpdate : public Update {
 public:
  /// `arguments` are those of Update; `range` says what they mean.
  template <typename... Arguments>
  ObservedUpdate(std::shared_ptr<RunRecorder> theRecorder, RunRange theRange,
                 Arguments&&... arguments)
      : Update(std::forward<Arguments>(arguments)...),
        recorder(std::move(theRecorder)),
        range(std::move(theRange)) {
    hearEnd();
  }
  ObservedUpdate(std::shared_ptr<RunRecorder> theRecorder,
                 RunRange theRange) requires std::same_as<Update, UpdateApplyModulesCmd>
      : Update(theRange.object.lock(), theRange.start.lock(), theRange.end.lock(),
               theRange.horizon.lock()),
        recorder(std::move(theRecorder)),
        range(std::move(theRange)) {
    hearEnd();
  }

  bool startExecution(std::shared_ptr<ThreadManager> threads) override {
    recorder->beginRun(RunReport::Kind::Run, this->getDescription(), range);
    recorder->hearSignals();
    recorder->aboutToAskOfLastModule(this->getLastExecutedApplyModule() != nullptr);
    return observeExecution(threads, [this](const std::shared_ptr<ThreadManager>& manager) {
      return Update::startExecution(manager);
    });
  }

  bool continueExecution(std::shared_ptr<ThreadManager> threads) override {
    recorder->aboutToAskOfLastModule(true);
    return observeExecution(threads, [this](const std::shared_ptr<ThreadManager>& manager) {
      return Update::continueExecution(manager);
    });
  }

  void undo() override {
    recorder->beginRun(RunReport::Kind::Undo, this->getDescription(), range);
    observe([this] { Update::undo(); });
    endRun(std::nullopt);
  }

  void redo() override {
    recorder->beginRun(RunReport::Kind::Redo, this->getDescription(), range);
    observe([this] { Update::redo(); });
    endRun(std::nullopt);
  }

 protected:
  void prepareApplyCommandAndModule(std::shared_ptr<CommandBase> cmd,
                                    std::shared_ptr<ApplyModule> module) override {
    {
      const RunRecorder::Hook hook(*recorder);
      Update::prepareApplyCommandAndModule(cmd, module);
    }
    recorder->commandPrepared(cmd, module);
  }

  void prepareExecute(std::shared_ptr<CommandBase> cmd) override {
    {
      const RunRecorder::Hook hook(*recorder);
      Update::prepareExecute(cmd);
    }
    recorder->subCommandStarts(cmd, this->getProgressPtr()->getValue());
    if (runsInline) {
      inlineSubCommand = recorder->subCommandBegins();
    }
  }

  void finalizeExecute(std::shared_ptr<CommandBase> cmd) override {
    {
      const RunRecorder::Hook hook(*recorder);
      Update::finalizeExecute(cmd);
    }
    recorder->subCommandFinalized(cmd, this->getProgressPtr()->getValue());
  }

  void handleException(std::exception& e) override {
    recorder->subCommandFailed(e);
    Update::handleException(e);
  }

  bool isApplySuppressed(std::shared_ptr<ApplyModule> module) const override {
    const bool suppressed = Update::isApplySuppressed(module);
    recorder->suppressionAsked(module, suppressed);
    return suppressed;
  }

  bool shouldApplyChainBeCanceled(std::shared_ptr<ApplyModule> module) const override {
    const bool cancelled = Update::shouldApplyChainBeCanceled(module);
    recorder->cancellationAsked(module, cancelled);
    return cancelled;
  }

 private:
  void hearEnd() {
    this->connectToSigFinished(Signals::Slot<void(bool)>(
        [heardBy = recorder](bool success) { heardBy->announced(success); }));
  }

  template <typename Execution>
  bool observeExecution(const std::shared_ptr<ThreadManager>& threads, const Execution& execution) {
    runsInline = threads == nullptr;
    if (threads != observedThreads) {
      observedThreads = threads;
      observingThreads = observed(threads, recorder);
    }
    bool answer = true;
    observe([&] { answer = execution(observingThreads); });
    recorder->subCommandEnds(std::exchange(inlineSubCommand, {}));
    if (!this->isSubCommandUnderWay()) {
      endRun(std::nullopt);
    }
    return answer;
  }

  template <typename Step>
  void observe(const Step& step) {
    try {
      step();
    } catch (const std::exception& e) {
      endRun(e.what());
      throw;
    } catch (...) {
      endRun("an exception of an unknown type");
      throw;
    }
  }

  void endRun(const std::optional<std::string>& thrown) {
    recorder->endRun(this->getCommands(), thrown);
  }

  std::shared_ptr<RunRecorder> recorder;
  RunRange range;
  /// The last threads that were given, and what observes them.
  std::shared_ptr<ThreadManager> observedThreads;
  std::shared_ptr<ThreadManager> observingThreads;
  bool runsInline = false;
  RunRecorder::SubCommand inlineSubCommand;
};

}  // namespace Tessaril::Diagnostics
