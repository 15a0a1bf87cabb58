#include "reference_platform/command_pattern/CommandHistory.h"

#include <stdexcept>
#include <utility>

namespace Tessaril::ReferencePlatform {
namespace {

/// Sets a flag for a scope.
class Raised {
 public:
  explicit Raised(bool& raisedFlag) : flag(raisedFlag) { flag = true; }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;
  ~Raised() { flag = false; }

 private:
  bool& flag;
};

}  // namespace

CommandHistory::CommandHistory(std::size_t limit) : keptCommands(limit) {}

void CommandHistory::execute(std::shared_ptr<CommandBase> command) {
  if (!command) {
    return;
  }
  run(*command, &CommandBase::execute);
  record(std::move(command));
}

void CommandHistory::add(std::shared_ptr<CommandBase> command) {
  requireIdle();
  if (command) {
    record(std::move(command));
  }
}

void CommandHistory::undo() {
  if (executed.empty()) {
    throw std::logic_error("There is no command to undo");
  }
  const auto command = executed.back();
  const bool redoCapable = command->isRedoCapable();
  run(*command, &CommandBase::undo);
  executed.pop_back();
  if (redoCapable) {
    undone.push_back(command);
  } else {
    undone.clear();
  }
  sigChanged.emit();
}

void CommandHistory::redo() {
  if (undone.empty()) {
    throw std::logic_error("There is no command to redo");
  }
  const auto command = undone.back();
  run(*command, &CommandBase::redo);
  undone.pop_back();
  executed.push_back(command);
  keepNewest(executed, keptCommands);
  sigChanged.emit();
}

void CommandHistory::clear() {
  requireIdle();
  if (executed.empty() && undone.empty()) {
    return;
  }
  executed.clear();
  undone.clear();
  sigChanged.emit();
}

bool CommandHistory::canUndo() const noexcept { return !executed.empty(); }
bool CommandHistory::canRedo() const noexcept { return !undone.empty(); }
std::size_t CommandHistory::getUndoCount() const noexcept { return executed.size(); }
std::size_t CommandHistory::getRedoCount() const noexcept { return undone.size(); }

std::shared_ptr<CommandBase> CommandHistory::getUndoCommand() const {
  return executed.empty() ? nullptr : executed.back();
}
std::shared_ptr<CommandBase> CommandHistory::getRedoCommand() const {
  return undone.empty() ? nullptr : undone.back();
}

std::string CommandHistory::getUndoDescription() const {
  return canUndo() ? getUndoCommand()->getDescription() : std::string();
}
std::string CommandHistory::getRedoDescription() const {
  return canRedo() ? getRedoCommand()->getDescription() : std::string();
}

std::size_t CommandHistory::getLimit() const noexcept { return keptCommands; }

void CommandHistory::setLimit(std::size_t limit) {
  requireIdle();
  keptCommands = limit;
  const std::size_t before = executed.size() + undone.size();
  keepNewest(executed, limit);
  keepNewest(undone, limit);
  if (executed.size() + undone.size() != before) {
    sigChanged.emit();
  }
}

Signals::Connection CommandHistory::connectToSigChanged(const Signals::Slot<void()>& slot) const {
  return sigChanged.connect(slot);
}

void CommandHistory::run(CommandBase& command, void (CommandBase::*operation)()) {
  requireIdle();
  const Raised whileRunning(running);
  (command.*operation)();
}

void CommandHistory::requireIdle() const {
  if (running) {
    throw std::logic_error("The history is in the middle of one of its commands");
  }
}

void CommandHistory::record(std::shared_ptr<CommandBase> command) {
  undone.clear();
  executed.push_back(std::move(command));
  keepNewest(executed, keptCommands);
  sigChanged.emit();
}

void CommandHistory::keepNewest(Commands& commands, std::size_t count) {
  if (commands.size() > count) {
    commands.erase(commands.begin(), commands.end() - static_cast<std::ptrdiff_t>(count));
  }
}

}  // namespace Tessaril::ReferencePlatform
