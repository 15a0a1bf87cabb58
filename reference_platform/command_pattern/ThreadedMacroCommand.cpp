#include "tessaril/platform/command_pattern/ThreadedMacroCommand.h"

#include <atomic>
#include <cassert>
#include <exception>
#include <stdexcept>
#include <utility>

namespace Tessaril {

/// One sub-command on its way. The worker shares it with the macro and touches nothing else of the
/// macro; after `ended` it does not touch it either.
struct ThreadedMacroCommand::SubCommandRun {
  void perform() noexcept {
    try {
      command->execute();
    } catch (...) {
      failure = std::current_exception();
    }
    ended.store(true, std::memory_order_release);
  }

  bool hasEnded() const noexcept { return ended.load(std::memory_order_acquire); }

  std::shared_ptr<CommandBase> command;
  std::shared_ptr<ThreadManager> manager;
  std::exception_ptr failure;
  std::atomic<bool> ended{false};
};

ThreadedMacroCommand::ThreadedMacroCommand() : ThreadedMacroCommand(std::string()) {}
ThreadedMacroCommand::ThreadedMacroCommand(std::string description)
    : MacroCommand(std::move(description)),
      sigFinished(std::make_unique<Signals::Signal<void(bool)>>()) {}
ThreadedMacroCommand::ThreadedMacroCommand(ThreadedMacroCommand&&) noexcept = default;

ThreadedMacroCommand& ThreadedMacroCommand::operator=(ThreadedMacroCommand&& other) noexcept {
  if (this != &other) {
    abandonSubCommand();
    executeThreadManager = std::move(other.executeThreadManager);
    underWay = std::move(other.underWay);
    sigFinished = std::move(other.sigFinished);
    runThread = other.runThread;
    runPhase = other.runPhase;
    MacroCommand::operator=(std::move(other));
  }
  return *this;
}

ThreadedMacroCommand::~ThreadedMacroCommand() { abandonSubCommand(); }

void ThreadedMacroCommand::execute() {
  beginRun();
  try {
    startExecution(executeThreadManager);
    while (underWay) {
      waitForSubCommand();
      continueExecution(executeThreadManager);
    }
  } catch (...) {
    abandonSubCommand();
    runPhase = RunPhase::Failed;
    throw;
  }
  runPhase = RunPhase::Idle;
}

void ThreadedMacroCommand::beginRun() {
  if (runPhase == RunPhase::Going || underWay) {
    throw std::logic_error("'" + getLogDescription() +
                           "' cannot be executed while a run of it is under way");
  }
  if (runPhase == RunPhase::Failed || getProgressPtr()->isFinished()) {
    getProgressPtr()->reset();
  }
  runPhase = RunPhase::Going;
  runThread = std::this_thread::get_id();
}

void ThreadedMacroCommand::waitForSubCommand() const {
  if (underWay->manager) {
    underWay->manager->waitUntil([run = underWay] { return run->hasEnded(); });
  }
}

void ThreadedMacroCommand::abandonSubCommand() noexcept {
  if (!underWay) {
    return;
  }
  try {
    waitForSubCommand();
    // A manager that keeps its last job would otherwise be kept by it in turn.
    underWay->command.reset();
    underWay->manager.reset();
  } catch (...) {
    // The manager cannot wait. What is under way owns all that it touches, so it may be left alone.
  }
  underWay.reset();
}

void ThreadedMacroCommand::setThreadManager(std::shared_ptr<ThreadManager> manager) {
  executeThreadManager = std::move(manager);
}
const std::shared_ptr<ThreadManager>& ThreadedMacroCommand::getThreadManager() const noexcept {
  return executeThreadManager;
}

Signals::Connection ThreadedMacroCommand::connectToSigFinished(
    const Signals::Slot<void(bool)>& slot) const {
  return sigFinished->connect(slot);
}
void ThreadedMacroCommand::sendFinishSignal(bool success) const { sigFinished->emit(success); }

bool ThreadedMacroCommand::executeSubCommand(std::shared_ptr<CommandBase> command,
                                             std::shared_ptr<ThreadManager> threadManager) {
  requireReadyFor(command.get());
  if (runPhase != RunPhase::Going) {
    runThread = std::this_thread::get_id();
  }
  assertRunThread();
  if (!isRunning()) {
    throw CommandStopped("'" + command->getDescription() +
                         "' was not started because a stop was requested");
  }
  prepareExecute(command);
  if (command->getProgressPtr()->isFinished()) {
    command->getProgressPtr()->reset();
  }
  launch(std::move(command), std::move(threadManager));
  return true;
}

void ThreadedMacroCommand::requireReadyFor(const CommandBase* command) const {
  if (underWay) {
    throw std::logic_error("'" + getLogDescription() +
                           "' cannot start a sub-command while another one is under way");
  }
  if (command == nullptr) {
    throw std::logic_error("'" + getLogDescription() + "' was given no sub-command to start");
  }
}

void ThreadedMacroCommand::launch(std::shared_ptr<CommandBase> command,
                                  std::shared_ptr<ThreadManager> threadManager) {
  underWay = std::make_shared<SubCommandRun>();
  underWay->command = std::move(command);
  underWay->manager = std::move(threadManager);
  if (!underWay->manager) {
    underWay->perform();
    return;
  }
  try {
    underWay->manager->start([run = underWay] { run->perform(); });
  } catch (...) {
    underWay.reset();
    throw;
  }
}

bool ThreadedMacroCommand::finalizeSubCommand(std::shared_ptr<CommandBase> command,
                                              std::shared_ptr<ThreadManager> /*threadManager*/) {
  if (!underWay || underWay->command != command) {
    return true;
  }
  assertRunThread();
  if (!underWay->hasEnded()) {
    return false;
  }
  // Taken out of the shared run, so that a worker that still holds it is not the last owner.
  const auto ended = std::exchange(underWay, nullptr);
  ended->command.reset();
  ended->manager.reset();
  if (const auto failure = std::exchange(ended->failure, nullptr)) {
    std::rethrow_exception(failure);
  }
  command->getProgressPtr()->finish();
  finalizeExecute(command);
  return true;
}

bool ThreadedMacroCommand::isSubCommandUnderWay() const noexcept { return underWay != nullptr; }

void ThreadedMacroCommand::assertRunThread() const {
  assert(runThread == std::this_thread::get_id() &&
         "a run's sub-commands are started and finalized on the run's own thread");
}

}  // namespace Tessaril
