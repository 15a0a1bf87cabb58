#include "diagnostics/run/WatchedFactories.h"

#include <exception>

#include "tessaril/commands/ApplyModuleDataInterface.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"

namespace Tessaril::Diagnostics {
namespace {

using CommandPtr = std::shared_ptr<CommandBase>;
using Operation = RunRecorder::Operation;
using Purpose = RunRecorder::Purpose;

/// Who watches a command, and what it is. Kept weakly: the command may outlive the design.
struct Watch {
  std::shared_ptr<RunRecorder> recorder;
  std::weak_ptr<ApplyModule> module;
  Purpose purpose;
};

class WatchedCommand : public CommandBase {
 public:
  WatchedCommand(CommandPtr watchedCommand, Watch commandWatch)
      : watch(std::move(commandWatch)), command(std::move(watchedCommand)) {
    setLogDescription(command->getLogDescription());
  }

  void execute() override { perform(Operation::Execute, &CommandBase::execute); }
  void undo() override { perform(Operation::Undo, &CommandBase::undo); }
  void redo() override { perform(Operation::Redo, &CommandBase::redo); }
  std::string getDescription() const override { return command->getDescription(); }
  LegacyProgress::Speed::Rate getSpeedRate() const override { return command->getSpeedRate(); }
  bool isRedoCapable() const override { return command->isRedoCapable(); }

 protected:
  /// What the wrapped command is to find, and what it has left.
  virtual void handData() {}
  virtual void takeData() {}
  virtual ApplyUpdateInfo messages() { return {}; }
  CommandBase& wrapped() const { return *command; }

 private:
  void perform(Operation operation, void (CommandBase::*step)()) {
    const std::size_t messagesBefore = joinProgress();
    handData();
    watch.recorder->commandBegins(*this, watch.module.lock(), watch.purpose, operation, messages());
    try {
      ((*command).*step)();
    } catch (const std::exception& e) {
      end(messagesBefore, e.what());
      throw;
    } catch (...) {
      end(messagesBefore, "an exception of an unknown type");
      throw;
    }
    takeData();
    end(messagesBefore, std::nullopt);
  }

  void end(std::size_t messagesBefore, const std::optional<std::string>& failure) {
    watch.recorder->commandEnds(*this, messages(), failure);
    const auto told = command->getProgressPtr()->getLogMessages();
    for (std::size_t i = messagesBefore; i < told.size(); ++i) {
      getProgressPtr()->addLogMessage(told[i]);
    }
    setLogDescription(command->getLogDescription());
  }

  /// Answers with how many messages the wrapped command has told the user before.
  std::size_t joinProgress() {
    if (command->getProgressPtr()->isFinished()) {
      command->getProgressPtr()->reset();
    }
    getProgressPtr()->setSubProgress(command->getProgressPtr(), 100, 1);
    return command->getProgressPtr()->getLogMessages().size();
  }

  Watch watch;
  CommandPtr command;
};

class WatchedDataCommand final : public WatchedCommand, public ApplyModuleDataInterface {
 public:
  WatchedDataCommand(CommandPtr watchedCommand, Watch commandWatch)
      : WatchedCommand(std::move(watchedCommand), std::move(commandWatch)) {
    takeData();
  }

  UndoType getUndoType() override { return data().getUndoType(); }

 private:
  void handData() override {
    data().setUpdateInfo(getUpdateInfo());
    data().setApplyCache(getApplyCache());
  }
  void takeData() override { setUpdateInfo(data().getUpdateInfo()); }
  ApplyUpdateInfo messages() override { return getUpdateInfo(); }

  ApplyModuleDataInterface& data() const {
    return dynamic_cast<ApplyModuleDataInterface&>(wrapped());
  }
};

CommandPtr watchedCommand(CommandPtr command, const Watch& watch) {
  if (command == nullptr) {
    watch.recorder->nothingMade(watch.module.lock(), watch.purpose);
    return nullptr;
  }
  if (dynamic_cast<const ApplyModuleDataInterface*>(command.get()) != nullptr) {
    return std::make_shared<WatchedDataCommand>(std::move(command), watch);
  }
  return std::make_shared<WatchedCommand>(std::move(command), watch);
}

class WatchedFactory final : public ApplyCmdFactory {
 public:
  WatchedFactory(std::shared_ptr<ApplyCmdFactory> theFactory,
                 const std::shared_ptr<ApplyModule>& theModule,
                 std::shared_ptr<RunRecorder> theRecorder)
      : factory(std::move(theFactory)),
        module(theModule),
        address(theModule.get()),
        recorder(std::move(theRecorder)) {
    recorder->factoryWatched(address, 1);
  }
  WatchedFactory(const WatchedFactory&) = delete;
  WatchedFactory& operator=(const WatchedFactory&) = delete;
  ~WatchedFactory() override { recorder->factoryWatched(address, -1); }

  CommandPtr createApplyCommand(std::shared_ptr<Object> object) override {
    return watchedCommand(factory->createApplyCommand(std::move(object)), watch(Purpose::Apply));
  }
  CommandPtr createAutoApplyCommand(std::shared_ptr<Object> object, bool mayRunAlone) override {
    return watchedCommand(factory->createAutoApplyCommand(std::move(object), mayRunAlone),
                          watch(Purpose::AutoApply));
  }
  CommandPtr createMessageHandlingCmd(std::shared_ptr<Object> object,
                                      std::shared_ptr<ApplyUpdateMessage> message,
                                      bool flag) override {
    return watchedCommand(
        factory->createMessageHandlingCmd(std::move(object), std::move(message), flag),
        watch(Purpose::Message));
  }

 private:
  Watch watch(Purpose purpose) const { return {recorder, module, purpose}; }

  std::shared_ptr<ApplyCmdFactory> factory;
  std::weak_ptr<ApplyModule> module;
  const ApplyModule* address;
  std::shared_ptr<RunRecorder> recorder;
};

}  // namespace

std::shared_ptr<ApplyCmdFactory> watched(std::shared_ptr<ApplyCmdFactory> factory,
                                         const std::shared_ptr<ApplyModule>& module,
                                         std::shared_ptr<RunRecorder> recorder) {
  if (factory == nullptr) {
    return nullptr;
  }
  return std::make_shared<WatchedFactory>(std::move(factory), module, std::move(recorder));
}

WatchedFactories::WatchedFactories(const std::shared_ptr<RunRecorder>& recorder,
                                   const std::vector<std::shared_ptr<ApplyModule>>& modules,
                                   const FactoryOf& factoryOf) {
  before.reserve(modules.size());
  for (const auto& module : modules) {
    if (const auto factory = factoryOf(module)) {
      before.emplace_back(module, factory);
    }
  }
  for (const auto& [module, factory] : before) {
    const auto held = module.lock();
    held->setApplyCmdFactory(watched(factory, held, recorder));
  }
}

WatchedFactories::~WatchedFactories() {
  for (const auto& [module, factory] : before) {
    if (const auto held = module.lock()) {
      held->setApplyCmdFactory(factory);
    }
  }
}

}  // namespace Tessaril::Diagnostics
