#pragma once

#include <memory>
#include <string>
#include <thread>

#include "tessaril/platform/command_pattern/CommandStopped.h"
#include "tessaril/platform/command_pattern/MacroCommand.h"
#include "tessaril/platform/command_pattern/ThreadManager.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

/// A macro command that runs its sub-commands one at a time on a thread manager.
///
/// The run's own thread is the one that calls execute (or startExecution): everything but the
/// sub-command's own execute happens there. execute calls startExecution, then waits for the
/// sub-command that is under way and calls continueExecution, until none is under way any more.
class TESSARIL_PLATFORM_EXPORT ThreadedMacroCommand : public MacroCommand {
 public:
  ThreadedMacroCommand();
  explicit ThreadedMacroCommand(std::string description);
  ThreadedMacroCommand(ThreadedMacroCommand&&) noexcept;
  ThreadedMacroCommand& operator=(ThreadedMacroCommand&&) noexcept;
  /// Waits for a sub-command that is still under way.
  ~ThreadedMacroCommand() override;

  /// One whole run. Rethrows what startExecution and continueExecution throw, once no sub-command
  /// is under way any more.
  void execute() override;

  /// Starts a run; true unless a sub-command could not be started.
  virtual bool startExecution(std::shared_ptr<ThreadManager> threadManager) = 0;
  /// Goes on after a report of the sub-command under way; true unless the next could not be
  /// started.
  virtual bool continueExecution(std::shared_ptr<ThreadManager> threadManager) = 0;

  /// The manager that execute uses; empty: sub-commands run inline.
  void setThreadManager(std::shared_ptr<ThreadManager> manager);
  const std::shared_ptr<ThreadManager>& getThreadManager() const noexcept;

  /// Called with what sendFinishSignal is given.
  Signals::Connection connectToSigFinished(const Signals::Slot<void(bool)>& slot) const;

 protected:
  /// False once the run is to stop.
  virtual bool isRunning() const = 0;

  /// Starts `command` on the manager (inline without one) and answers true. Throws CommandStopped,
  /// and starts nothing, when isRunning() is false; throws std::logic_error while another
  /// sub-command is under way. What the command itself throws is kept for finalizeSubCommand.
  bool executeSubCommand(std::shared_ptr<CommandBase> command,
                         std::shared_ptr<ThreadManager> threadManager);
  /// False while `command` is under way. Afterwards true, or rethrows on this thread what the
  /// command threw; either way the command is not under way any more.
  bool finalizeSubCommand(std::shared_ptr<CommandBase> command,
                          std::shared_ptr<ThreadManager> threadManager);
  /// True between a successful executeSubCommand and the finalizeSubCommand that ends it.
  bool isSubCommandUnderWay() const noexcept;

  /// Announces the end of the run to all that are connected.
  void sendFinishSignal(bool success) const;

 private:
  struct SubCommandRun;
  void assertRunThread() const;

  std::shared_ptr<ThreadManager> executeThreadManager;
  std::shared_ptr<SubCommandRun> underWay;
  std::unique_ptr<Signals::Signal<void(bool)>> sigFinished;
  std::thread::id runThread;
};

}  // namespace Tessaril
