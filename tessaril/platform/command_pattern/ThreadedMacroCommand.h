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
///
/// Who starts a run by hand calls startExecution and then, once per report, continueExecution, both
/// on one thread. A stop request is good for one run: it lasts until the next execute that follows
/// a finished or a failed run.
class TESSARIL_PLATFORM_EXPORT ThreadedMacroCommand : public MacroCommand {
 public:
  ThreadedMacroCommand();
  explicit ThreadedMacroCommand(std::string description);
  ThreadedMacroCommand(ThreadedMacroCommand&&) noexcept;
  ThreadedMacroCommand& operator=(ThreadedMacroCommand&&) noexcept;
  /// Waits for a sub-command that is still under way and drops what it throws.
  ~ThreadedMacroCommand() override;

  /// One whole run. Sets the progress back to 0 first if it was finished or the run before failed;
  /// a stop request made before the first run counts. Rethrows what startExecution and
  /// continueExecution throw, once no sub-command is under way any more. Throws std::logic_error
  /// while a run is under way.
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

  /// Calls prepareExecute, starts `command` on the manager (inline without one) and answers true.
  /// Throws CommandStopped, and starts nothing, when isRunning() is false; throws std::logic_error
  /// while another sub-command is under way, and for an empty `command`. What prepareExecute and
  /// the manager throw passes on, and nothing is under way then. What the command itself throws, of
  /// whatever type, is kept for finalizeSubCommand.
  bool executeSubCommand(std::shared_ptr<CommandBase> command,
                         std::shared_ptr<ThreadManager> threadManager);
  /// False while `command` is under way. Afterwards finishes the command's progress, calls
  /// finalizeExecute and answers true, or rethrows on this thread what the command threw; either
  /// way the command is not under way any more. Answers true, and does nothing, for a command that
  /// is not the one last started. Requires: called on the thread that called executeSubCommand.
  bool finalizeSubCommand(std::shared_ptr<CommandBase> command,
                          std::shared_ptr<ThreadManager> threadManager);
  /// True between a successful executeSubCommand and the finalizeSubCommand that ends it.
  bool isSubCommandUnderWay() const noexcept;

  /// Announces the end of the run to all that are connected.
  void sendFinishSignal(bool success) const;

 private:
  enum class RunPhase { Idle, Going, Failed };
  struct SubCommandRun;

  void beginRun();
  void waitForSubCommand() const;
  void abandonSubCommand() noexcept;
  void requireReadyFor(const CommandBase* command) const;
  void launch(std::shared_ptr<CommandBase> command, std::shared_ptr<ThreadManager> threadManager);
  void assertRunThread() const;

  std::shared_ptr<ThreadManager> executeThreadManager;
  std::shared_ptr<SubCommandRun> underWay;
  std::unique_ptr<Signals::Signal<void(bool)>> sigFinished;
  /// The thread of the present or the last run.
  std::thread::id runThread;
  /// Of the run by execute; Idle during a run that was started by hand.
  RunPhase runPhase = RunPhase::Idle;
};

}  // namespace Tessaril
