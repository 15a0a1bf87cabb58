#pragma once

#include <memory>
#include <string>

#include "tessaril/platform/command_pattern/CommandStopped.h"
#include "tessaril/platform/command_pattern/MacroCommand.h"
#include "tessaril/platform/command_pattern/ThreadManager.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

class WORKSHOP_API ThreadedMacroCommand : public MacroCommand {
 public:
  ThreadedMacroCommand() : ThreadedMacroCommand(std::string()) {}
  explicit ThreadedMacroCommand(std::string description);
  ThreadedMacroCommand(ThreadedMacroCommand&&) noexcept = default;
  ThreadedMacroCommand& operator=(ThreadedMacroCommand&& other) noexcept;
  ~ThreadedMacroCommand() override;

  void execute() override;
  virtual bool startExecution(std::shared_ptr<ThreadManager> threadManager) = 0;
  virtual bool continueExecution(std::shared_ptr<ThreadManager> threadManager) = 0;

  void setThreadManager(std::shared_ptr<ThreadManager> threadManager);
  const std::shared_ptr<ThreadManager>& getThreadManager() const noexcept { return manager; }
  Signals::Connection connectToSigFinished(const Signals::Slot<void(bool)>& slot) const;

 protected:
  virtual bool isRunning() const = 0;

  bool executeSubCommand(std::shared_ptr<CommandBase> command,
                         std::shared_ptr<ThreadManager> threadManager);
  bool finalizeSubCommand(std::shared_ptr<CommandBase> command,
                          std::shared_ptr<ThreadManager> threadManager);
  bool isSubCommandUnderWay() const noexcept { return part != nullptr; }
  void sendFinishSignal(bool success) const;

 private:
  struct Part;
  void waitForPart() const;

  std::shared_ptr<ThreadManager> manager;
  /// The sub-command under way; null for none.
  std::shared_ptr<Part> part;
  std::unique_ptr<Signals::Signal<void(bool)>> finished;
  bool isInExecute = false;
  bool hasFailed = false;
};

}  // namespace Tessaril
