#include "examples/gear_pair/application/RunAccount.h"

#include "examples/gear_pair/application/UpdateDesignCmd.h"
#include "examples/gear_pair/application/commands/ChangeCommands.h"
#include "examples/gear_pair/application/commands/StepCommand.h"

namespace GearPair {

namespace {

std::string describe(const StepEvent& event) {
  if (!event.failure.empty()) {
    return "failed: " + event.failure;
  }
  if (event.isAutoApply) {
    return "auto-applied";
  }
  return event.ranOnWorker ? "applied on a worker" : "applied inline";
}

bool keepsStoredData(Tessaril::CommandBase& command) {
  auto* data = dynamic_cast<Tessaril::ApplyModuleDataInterface*>(&command);
  return data != nullptr && data->getUndoType() == Tessaril::ApplyModuleDataInterface::StorageUndo;
}

RunAccount accountOfEvents(const UpdateDesignCmd& update, const std::string& stored,
                           const std::string& dependent) {
  RunAccount account;
  for (const StepEvent& event : update.getEvents()) {
    if (event.failure.empty()) {
      account[event.module->getName()] = keepsStoredData(*event.command) ? stored : dependent;
    }
  }
  return account;
}

RunAccount accountOfAnswers(const SetUnitSystemCommand& change, const std::string& text) {
  RunAccount account;
  for (const auto& answer : change.getAnswers()->getCommands()) {
    if (const auto* step = dynamic_cast<const StepCommand*>(answer.get())) {
      account[step->getModule().getName()] = text;
    }
  }
  return account;
}

RunAccount accountOf(const Tessaril::CommandBase& command, const std::string& stored,
                     const std::string& dependent, const std::string& answered) {
  if (const auto* update = dynamic_cast<const UpdateDesignCmd*>(&command)) {
    return accountOfEvents(*update, stored, dependent);
  }
  if (const auto* change = dynamic_cast<const SetUnitSystemCommand*>(&command)) {
    return accountOfAnswers(*change, answered);
  }
  return {};
}

}  // namespace

RunAccount accountOfUpdate(const UpdateDesignCmd& update) {
  RunAccount account;
  for (const StepEvent& event : update.getEvents()) {
    account.emplace(event.module->getName(), describe(event));
  }
  for (const DesignModule* module : update.getSignalled()) {
    account.emplace(module->getName(), "signalled");
  }
  return account;
}

RunAccount accountOfUndo(const Tessaril::CommandBase& command) {
  return accountOf(command, "undone, stored result back", "undone, computed once more",
                   "undone, in the old units");
}

RunAccount accountOfRedo(const Tessaril::CommandBase& command) {
  return accountOf(command, "redone, stored result back", "redone, computed once more",
                   "redone, in the new units");
}

RunAccount accountOfChange(const Tessaril::CommandBase& command) {
  return accountOf(command, "", "", "message handled");
}

}  // namespace GearPair
