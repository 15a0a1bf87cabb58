#include <algorithm>
#include <atomic>
#include <exception>
#include <stdexcept>

#include "tessaril/platform/command_pattern/ThreadedMacroCommand.h"
#include "tessaril/platform/logging/Logging.h"

namespace Tessaril {

CommandBase::~CommandBase() = default;

namespace {

using Commands = std::vector<std::shared_ptr<CommandBase>>;
using Operation = void (CommandBase::*)();

void logFailedRollBack(const std::string& what) {
  Logging::logERROR("Rolling back failed: " + what, "Commands", __PRETTY_FUNCTION__, __LINE__);
}

/// Takes steps back, the latest first.
void rollBack(const Commands& latestLast, Operation operation) {
  try {
    std::for_each(latestLast.rbegin(), latestLast.rend(),
                  [&](const auto& command) { ((*command).*operation)(); });
  } catch (const std::exception& failure) {
    logFailedRollBack(failure.what());
  } catch (...) {
    logFailedRollBack("not known");
  }
}

}  // namespace

void MacroCommand::execute() {
  prepareProgress(Execute);
  const Commands run = commands;
  Commands done;
  try {
    for (const auto& command : run) {
      prepareExecute(command);
      executeCommand(command);
      done.push_back(command);
      finalizeExecute(command);
    }
  } catch (...) {
    rollBack(done, &CommandBase::undo);
    throw;
  }
  getProgressPtr()->finish();
}

void MacroCommand::undo() {
  prepareProgress(Undo);
  const Commands run(commands.rbegin(), commands.rend());
  Commands done;
  try {
    for (const auto& command : run) {
      undoCommand(command);
      done.push_back(command);
    }
  } catch (...) {
    rollBack(done, &CommandBase::execute);
    throw;
  }
  getProgressPtr()->finish();
}

void MacroCommand::redo() {
  prepareProgress(Undo);
  const Commands run = commands;
  Commands done;
  try {
    for (const auto& command : run) {
      runAsPart(*command, &CommandBase::redo);
      done.push_back(command);
    }
  } catch (...) {
    rollBack(done, &CommandBase::undo);
    throw;
  }
  getProgressPtr()->finish();
}

std::string MacroCommand::getDescription() const {
  const std::string own = CommandBase::getDescription();
  return own.empty() && !commands.empty() ? commands.front()->getDescription() : own;
}

LegacyProgress::Speed::Rate MacroCommand::getSpeedRate() const {
  if (commands.empty()) {
    return CommandBase::getSpeedRate();
  }
  auto slowest = LegacyProgress::Speed::Instant;
  for (const auto& command : commands) {
    slowest = std::max(slowest, command->getSpeedRate());
  }
  return slowest;
}

bool MacroCommand::isRedoCapable() const {
  return std::all_of(commands.begin(), commands.end(),
                     [](const auto& command) { return command->isRedoCapable(); });
}

void MacroCommand::addCommand(std::shared_ptr<CommandBase> command) {
  if (command) {
    commands.push_back(std::move(command));
  }
}

void MacroCommand::prepareProgress(Prepare prepare) {
  if (prepare == Undo || !listFilledWhileRunning) {
    getProgressPtr()->reset();
  }
  begun = 0;
  speed = {};
  for (const auto& command : commands) {
    speed.add(command->getSpeedRate());
  }
}

void MacroCommand::executeCommand(const std::shared_ptr<CommandBase>& command) {
  if (command) {
    runAsPart(*command, &CommandBase::execute);
  }
}

void MacroCommand::undoCommand(const std::shared_ptr<CommandBase>& command) {
  if (command) {
    runAsPart(*command, &CommandBase::undo);
  }
}

void MacroCommand::runAsPart(CommandBase& command, Operation operation) {
  ++begun;
  LegacyProgress& whole = *getProgressPtr();
  // The last one covers what rounding has left.
  const int upTo =
      begun == commands.size()
          ? 100
          : static_cast<int>(whole.getValue()) + speed.getPartitionFromRate(command.getSpeedRate());
  command.getProgressPtr()->reset();
  whole.setSubProgress(command.getProgressPtr(), upTo, 1);
  try {
    (command.*operation)();
    command.getProgressPtr()->finish();
  } catch (...) {
    whole.setSubProgress(nullptr, 0, 1);
    throw;
  }
  whole.setSubProgress(nullptr, 0, 1);
}

struct ThreadedMacroCommand::Part {
  std::shared_ptr<CommandBase> command;
  std::shared_ptr<ThreadManager> manager;
  std::exception_ptr failure;
  std::atomic<bool> hasEnded{false};

  void run() {
    try {
      command->execute();
    } catch (...) {
      failure = std::current_exception();
    }
    hasEnded = true;
  }
};

ThreadedMacroCommand::ThreadedMacroCommand(std::string description)
    : MacroCommand(std::move(description)),
      finished(std::make_unique<Signals::Signal<void(bool)>>()) {}

ThreadedMacroCommand& ThreadedMacroCommand::operator=(ThreadedMacroCommand&& other) noexcept {
  waitForPart();
  MacroCommand::operator=(std::move(other));
  manager = std::move(other.manager);
  part = std::move(other.part);
  finished = std::move(other.finished);
  isInExecute = other.isInExecute;
  hasFailed = other.hasFailed;
  return *this;
}

ThreadedMacroCommand::~ThreadedMacroCommand() { waitForPart(); }

void ThreadedMacroCommand::execute() {
  if (isInExecute || part) {
    throw std::logic_error("A run of \"" + getDescription() + "\" is under way already");
  }
  if (hasFailed || getProgressPtr()->isFinished()) {
    getProgressPtr()->reset();
  }
  isInExecute = true;
  hasFailed = true;
  try {
    startExecution(manager);
    while (part) {
      waitForPart();
      continueExecution(manager);
    }
    hasFailed = false;
  } catch (...) {
    waitForPart();
    part.reset();
    isInExecute = false;
    throw;
  }
  isInExecute = false;
}

void ThreadedMacroCommand::setThreadManager(std::shared_ptr<ThreadManager> threadManager) {
  manager = std::move(threadManager);
}

Signals::Connection ThreadedMacroCommand::connectToSigFinished(
    const Signals::Slot<void(bool)>& slot) const {
  return finished->connect(slot);
}

void ThreadedMacroCommand::sendFinishSignal(bool success) const { finished->emit(success); }

bool ThreadedMacroCommand::executeSubCommand(std::shared_ptr<CommandBase> command,
                                             std::shared_ptr<ThreadManager> threadManager) {
  if (command == nullptr || part) {
    throw std::logic_error(part ? "Another sub-command is under way" : "There is no sub-command");
  }
  if (!isRunning()) {
    throw CommandStopped("Stopped before \"" + command->getDescription() + '"');
  }
  prepareExecute(command);
  command->getProgressPtr()->reset();
  const auto started = std::make_shared<Part>();
  started->command = std::move(command);
  started->manager = std::move(threadManager);
  part = started;
  try {
    if (started->manager) {
      started->manager->start([started] { started->run(); });
    } else {
      started->run();
    }
  } catch (...) {
    part.reset();
    throw;
  }
  return true;
}

bool ThreadedMacroCommand::finalizeSubCommand(std::shared_ptr<CommandBase> command,
                                              std::shared_ptr<ThreadManager> /*threadManager*/) {
  if (part == nullptr || part->command != command) {
    return true;
  }
  if (!part->hasEnded) {
    return false;
  }
  // Whoever still holds the job holds no command.
  const auto ended = std::exchange(part, nullptr);
  ended->command.reset();
  ended->manager.reset();
  if (ended->failure) {
    getProgressPtr()->setSubProgress(nullptr, 0, 1);
    std::rethrow_exception(std::exchange(ended->failure, nullptr));
  }
  command->getProgressPtr()->finish();
  finalizeExecute(command);
  return true;
}

void ThreadedMacroCommand::waitForPart() const {
  if (part && part->manager) {
    part->manager->waitUntil([this] { return part->hasEnded.load(); });
  }
}

}  // namespace Tessaril
