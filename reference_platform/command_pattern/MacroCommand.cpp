#include "tessaril/platform/command_pattern/MacroCommand.h"

#include <algorithm>
#include <exception>
#include <source_location>
#include <utility>

#include "tessaril/platform/logging/Logging.h"

namespace Tessaril {
namespace {

/// Fits a sub-command's progress into that of its macro for as long as the sub-command runs.
class FittedProgress {
 public:
  FittedProgress(LegacyProgress& wholeProgress, LegacyProgress& partProgress, int upTo)
      : whole(wholeProgress), part(partProgress) {
    if (part.isFinished() || part.getValue() > 0.0) {
      part.reset();
    }
    whole.setSubProgress(&part, upTo, 1);
  }
  FittedProgress(const FittedProgress&) = delete;
  FittedProgress& operator=(const FittedProgress&) = delete;
  ~FittedProgress() { whole.setSubProgress(nullptr, 0, 1); }

  /// Covers the whole stretch, also for a sub-command that never reports.
  void finish() { part.finish(); }

 private:
  LegacyProgress& whole;
  LegacyProgress& part;
};

void logFailedRollback(const std::string& description, const std::string& reason,
                       const std::source_location& location = std::source_location::current()) {
  Logging::logERROR("Rolling back MacroCommand '" + description + "' failed: " + reason,
                    "MacroCommand", location.function_name(), static_cast<int>(location.line()));
}

/// Takes back what a failed operation had done. A step that fails here too ends it, because the
/// steps that would follow rely on it; the failure that led here is the one that the caller hears.
template <typename Steps>
void rollBack(const MacroCommand& command, const Steps& steps) {
  try {
    steps();
  } catch (const std::exception& failure) {
    logFailedRollback(command.getLogDescription(), failure.what());
  } catch (...) {
    logFailedRollback(command.getLogDescription(), "unknown exception");
  }
}

}  // namespace

MacroCommand::MacroCommand() = default;
MacroCommand::MacroCommand(std::string description) : CommandBase(std::move(description)) {}
MacroCommand::MacroCommand(MacroCommand&&) noexcept = default;
MacroCommand& MacroCommand::operator=(MacroCommand&&) noexcept = default;
MacroCommand::~MacroCommand() = default;

void MacroCommand::execute() {
  prepareProgress(Execute);
  const auto steps = subCommands;
  std::size_t executed = 0;
  try {
    for (const auto& step : steps) {
      prepareExecute(step);
      executeCommand(step);
      ++executed;
      finalizeExecute(step);
    }
  } catch (...) {
    rollBack(*this, [&] {
      while (executed > 0) {
        undoCommand(steps[--executed]);
      }
    });
    throw;
  }
  getProgressPtr()->finish();
}

void MacroCommand::undo() {
  prepareProgress(Undo);
  const auto steps = subCommands;
  std::size_t remaining = steps.size();
  try {
    for (; remaining > 0; --remaining) {
      undoCommand(steps[remaining - 1]);
    }
  } catch (...) {
    rollBack(*this, [&] {
      for (; remaining < steps.size(); ++remaining) {
        executeCommand(steps[remaining]);
      }
    });
    throw;
  }
  getProgressPtr()->finish();
}

void MacroCommand::redo() {
  divideProgress();
  const auto steps = subCommands;
  std::size_t redone = 0;
  try {
    for (; redone < steps.size(); ++redone) {
      runFitted(*steps[redone], &CommandBase::redo);
    }
  } catch (...) {
    rollBack(*this, [&] {
      while (redone > 0) {
        undoCommand(steps[--redone]);
      }
    });
    throw;
  }
  getProgressPtr()->finish();
}

std::string MacroCommand::getDescription() const {
  std::string own = CommandBase::getDescription();
  return own.empty() && !subCommands.empty() ? subCommands.front()->getDescription() : own;
}

LegacyProgress::Speed::Rate MacroCommand::getSpeedRate() const {
  if (subCommands.empty()) {
    return CommandBase::getSpeedRate();
  }
  auto slowest = LegacyProgress::Speed::Instant;
  for (const auto& command : subCommands) {
    slowest = std::max(slowest, command->getSpeedRate());
  }
  return slowest;
}

bool MacroCommand::isRedoCapable() const {
  return std::all_of(subCommands.begin(), subCommands.end(),
                     [](const auto& command) { return command->isRedoCapable(); });
}

void MacroCommand::addCommand(std::shared_ptr<CommandBase> command) {
  if (command) {
    subCommands.push_back(std::move(command));
  }
}

bool MacroCommand::empty() const noexcept { return subCommands.empty(); }
std::size_t MacroCommand::size() const noexcept { return subCommands.size(); }
const std::vector<std::shared_ptr<CommandBase>>& MacroCommand::getCommands() const noexcept {
  return subCommands;
}

void MacroCommand::prepareExecute(std::shared_ptr<CommandBase> /*command*/) {}
void MacroCommand::finalizeExecute(std::shared_ptr<CommandBase> /*command*/) {}

void MacroCommand::prepareProgress(Prepare prepare) {
  if (prepare == Execute && listFilledWhileRunning) {
    return;
  }
  divideProgress();
}

void MacroCommand::divideProgress() {
  getProgressPtr()->reset();
  preparedSpeed = {};
  for (const auto& command : subCommands) {
    preparedSpeed.add(command->getSpeedRate());
  }
  resetPosition();
}

void MacroCommand::executeCommand(const std::shared_ptr<CommandBase>& command) {
  if (command) {
    runFitted(*command, &CommandBase::execute);
  }
}

void MacroCommand::undoCommand(const std::shared_ptr<CommandBase>& command) {
  if (command) {
    runFitted(*command, &CommandBase::undo);
  }
}

void MacroCommand::runFitted(CommandBase& command, void (CommandBase::*operation)()) {
  FittedProgress fitted(*getProgressPtr(), *command.getProgressPtr(), progressMarkAfter(command));
  ++startedSteps;
  (command.*operation)();
  fitted.finish();
}

int MacroCommand::progressMarkAfter(const CommandBase& command) const {
  if (startedSteps + 1 == subCommands.size()) {
    return 100;
  }
  const int share = preparedSpeed.getPartitionFromRate(command.getSpeedRate());
  return std::min(100, static_cast<int>(getProgressPtr()->getValue()) + share);
}

void MacroCommand::clearCommands() noexcept {
  subCommands.clear();
  resetPosition();
}

void MacroCommand::resetPosition() noexcept { startedSteps = 0; }

}  // namespace Tessaril
