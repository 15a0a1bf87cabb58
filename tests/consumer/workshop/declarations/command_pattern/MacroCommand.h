#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/platform/command_pattern/CommandBase.h"

namespace Tessaril {

class WORKSHOP_API MacroCommand : public CommandBase {
 public:
  enum Prepare { Execute = 0, Undo = 1 };

  MacroCommand() = default;
  explicit MacroCommand(std::string description) : CommandBase(std::move(description)) {}

  void execute() override;
  void undo() override;
  void redo() override;
  std::string getDescription() const override;
  LegacyProgress::Speed::Rate getSpeedRate() const override;
  bool isRedoCapable() const override;

  void addCommand(std::shared_ptr<CommandBase> command);
  bool empty() const noexcept { return commands.empty(); }
  std::size_t size() const noexcept { return commands.size(); }
  const std::vector<std::shared_ptr<CommandBase>>& getCommands() const noexcept { return commands; }

 protected:
  virtual void prepareExecute(std::shared_ptr<CommandBase> /*command*/) {}
  virtual void finalizeExecute(std::shared_ptr<CommandBase> /*command*/) {}

  void prepareProgress(Prepare prepare);
  void executeCommand(const std::shared_ptr<CommandBase>& command);
  void undoCommand(const std::shared_ptr<CommandBase>& command);
  void clearCommands() noexcept { commands.clear(); }
  void resetPosition() noexcept { begun = 0; }

  bool listFilledWhileRunning = false;

 private:
  void divide();
  void runAsPart(CommandBase& command, void (CommandBase::*operation)());

  std::vector<std::shared_ptr<CommandBase>> commands;
  LegacyProgress::Speed speed;
  /// Sub-commands since the progress was divided.
  std::size_t begun = 0;
};

}  // namespace Tessaril
