#include "tessaril/engine/UpdateApplyModulesCmd.h"

#include <source_location>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/commands/MessageCmdFactory.h"
#include "tessaril/commands/UndoPasses.h"
#include "tessaril/engine/UpdateOrder.h"
#include "tessaril/module/ApplyFailure.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/module/LiveLinks.h"
#include "tessaril/persistence/ObjectLookup.h"
#include "tessaril/platform/framework_interfaces/ApplyCacheInterface.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/logging/LogMessage.h"
#include "tessaril/platform/logging/Logging.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/progress/LegacyProgress.h"
#include "tessaril/platform/translation/Translator.h"

// Scheduling: how the next full apply is found (updateAndGetNextApplyCommand).
//
// 1. After a full apply, a derived command may cancel the run.
// 2. The next module in graph order is taken from moduleQueue. When there is none, the run is over;
//    what waits in subGraphQueue is auto-applied first, and with a horizon module what follows the
//    end as well.
// 3. Sub-graphs that wait are auto-applied before the module is looked at: they were reached first.
// 4. A module that needs a full apply gets its command made, prepared and issued; then its next
//    modules are queued.
// 5. Any other module is passed over: auto-applied (alone within the range, with everything behind
//    it outside) or signalled, and its next modules are queued. Before the first full apply it is
//    passed over silently, and a derived command may cancel the run.
//
// Next modules on the way to the end go to moduleQueue, others to subGraphQueue, and before the
// first full apply those others are forgotten: nothing has changed for them.

namespace Tessaril {

namespace {

constexpr const char* kFile = "UpdateApplyModulesCmd";
constexpr const char* kTranslationContext = "UpdateApplyModulesCmd";
/// The last percents of the whole belong to the end of the run.
constexpr int kEndOfApplies = 98;

void logTrace(const std::string& text,
              const std::source_location& where = std::source_location::current()) {
  Logging::logTRACE(text, kFile, where.function_name(), static_cast<int>(where.line()));
}

void logError(const std::string& text,
              const std::source_location& where = std::source_location::current()) {
  Logging::logERROR(text, kFile, where.function_name(), static_cast<int>(where.line()));
}

/// "Strength failed with: no load given", for the user.
std::string failureText(ArgString text, const CommandBase& failed, const std::exception& failure) {
  return text.arg(failed.getDescription()).arg(failure.what()).toString();
}

void reportToUser(LegacyProgress& progress, const std::string& text) {
  progress.addLogMessage(LogMessage(text, LogMessage::Error, std::string()));
}

Path pathOfModule(const std::shared_ptr<ApplyModule>& module, const Object* object,
                  const std::string& role) {
  const auto* moduleObject = dynamic_cast<const Object*>(module.get());
  if (moduleObject == nullptr) {
    throw ObjectException("Cannot update a design: the " + role + " module is " +
                          (module == nullptr ? "missing." : "no object of the parameter tree."));
  }
  return moduleObject->getPath(object, RequestedPathType::Absolute);
}

std::shared_ptr<ApplyModule> findModule(const Object& object, const Path& path) {
  return getObjectAs<ApplyModule>(object, path, GetObjectBehavior::ReturnNull);
}

std::shared_ptr<ApplyModule> getModule(const Object& object, const Path& path,
                                       const std::string& role) {
  auto module = findModule(object, path);
  if (module == nullptr) {
    throw ObjectException("Cannot update a design: there is no " + role + " module at \"" +
                          path.toString() + "\".");
  }
  return module;
}

/// Raises a flag for a scope.
class WhileTrue {
 public:
  explicit WhileTrue(bool& theFlag) : flag(theFlag), before(std::exchange(theFlag, true)) {}
  ~WhileTrue() { flag = before; }
  WhileTrue(const WhileTrue&) = delete;
  WhileTrue& operator=(const WhileTrue&) = delete;

 private:
  bool& flag;
  bool before;
};

std::string describeUpdate(ApplyModule& end, const std::shared_ptr<Object>& object) {
  const auto probe = end.createApplyCommand(object);
  if (probe == nullptr) {
    return Translator::translate(kTranslationContext, "Update Design");
  }
  return TranslatorArg::translate(kTranslationContext, "Update Design up to: %1")
      .arg(probe->getDescription())
      .toString();
}

}  // namespace

bool UpdateApplyModulesCmd::s_preserveStateAfterException = true;

UpdateApplyModulesCmd::UpdateApplyModulesCmd(std::shared_ptr<Object> designObject, ModulePtr start,
                                             ModulePtr end, ModulePtr horizon)
    : object(designObject),
      startPath(pathOfModule(start, designObject.get(), "start")),
      order(std::make_unique<UpdateOrder>()) {
  if (horizon != nullptr) {
    horizonPath = pathOfModule(horizon, designObject.get(), "horizon");
  }
  if (end != nullptr) {
    setDescription(describeUpdate(*end, designObject));
  }
  endPath = pathOfModule(end, designObject.get(), "end");
  listFilledWhileRunning = true;
}

UpdateApplyModulesCmd::~UpdateApplyModulesCmd() = default;

UpdateApplyModulesCmd::ModulePtr UpdateApplyModulesCmd::getEndModule() const { return endModule; }

UpdateApplyModulesCmd::ModulePtr UpdateApplyModulesCmd::getLastExecutedApplyModule() const {
  return lastExecutedModule;
}

bool UpdateApplyModulesCmd::hasExceptionBeenThrown() const { return exceptionThrown; }

bool UpdateApplyModulesCmd::isApplyCommandMultiThreaded(ModulePtr /*module*/) { return false; }

bool UpdateApplyModulesCmd::isDesignSwitchEnabled() { return false; }

bool UpdateApplyModulesCmd::isApplySuppressed(ModulePtr /*module*/) const { return false; }

bool UpdateApplyModulesCmd::shouldApplyChainBeCanceled(ModulePtr /*module*/) const { return false; }

void UpdateApplyModulesCmd::setApplyCache(std::shared_ptr<ApplyCacheInterface> cache) {
  applyCache = std::move(cache);
}

// Lifecycle

bool UpdateApplyModulesCmd::startExecution(std::shared_ptr<ThreadManager> threadManager) {
  if (isChoosing) {
    throw std::logic_error("'" + getLogDescription() +
                           "' cannot be started by what it asks or notifies");
  }
  clearCommands();
  updateInfo.clear();
  applyStarted = false;
  endReached = false;
  exceptionThrown = false;
  resolveModules();
  order->begin(startModule, endModule);
  if (applyCache != nullptr) {
    applyCache->beginUpdate();
  }
  return executeNextCommand(threadManager);
}

bool UpdateApplyModulesCmd::continueExecution(std::shared_ptr<ThreadManager> threadManager) {
  try {
    if (!finalizeSubCommand(currentCommand, threadManager)) {
      return true;
    }
    addCommand(currentCommand);
    storeUpdateInfo(currentCommand);
  } catch (std::exception& e) {
    handleException(e);
    return true;
  }
  resetPosition();
  return executeNextCommand(threadManager);
}

// What a module or an auto apply throws while the next command is chosen goes to the caller: only a
// failure to execute a sub-command is a failure of that sub-command.
bool UpdateApplyModulesCmd::executeNextCommand(
    const std::shared_ptr<ThreadManager>& threadManager) {
  currentCommand = updateAndGetNextApplyCommand();
  if (currentCommand == nullptr) {
    finishExecution(true);
    return true;
  }
  try {
    return executeSubCommand(currentCommand, threadManager);
  } catch (std::exception& e) {
    handleException(e);
    return true;
  }
}

void UpdateApplyModulesCmd::finishExecution(bool success) {
  order->rest();
  getProgressPtr()->finish();
  if (applyCache != nullptr) {
    applyCache->endUpdate();
  }
  sendFinishSignal(success);
}

// When the scheduling itself stops the run, its caller finishes the run once more: the end is then
// announced with false and again with true. Listeners tell a cancelled run by that pair.
void UpdateApplyModulesCmd::stopApply(bool restoreQueues) {
  endReached = true;
  if (restoreQueues) {
    order->restoreQueue();
    subGraphQueue = savedSubGraphQueue;
    if (lastExecutedModule != nullptr) {
      subGraphQueue.push(lastExecutedModule);
    }
  }
  currentCommand = updateAndGetNextApplyCommand();
  finishExecution(false);
}

// Nothing is asked of the order any more then: whoever hears of the end may start the next run.
void UpdateApplyModulesCmd::stopWhileChoosing(bool restoreQueues) {
  isChoosing = false;
  stopApply(restoreQueues);
}

bool UpdateApplyModulesCmd::isRunning() const { return !getProgressPtr()->isStopRequested(); }

void UpdateApplyModulesCmd::prepareApplyCommandAndModule(CommandPtr cmd, ModulePtr /*module*/) {
  if (auto* data = dynamic_cast<ApplyModuleDataInterface*>(cmd.get())) {
    data->setUpdateInfo(updateInfo.clone());
    data->setApplyCache(applyCache);
  }
}

// The sub-command's share of what is left is that of its module among all modules from the first
// one that needs a full apply to the end, whether those need one or not: they may by then.
void UpdateApplyModulesCmd::connectProgress(LegacyProgress* subProgress, Number number) {
  LegacyProgress::Speed speed;
  const ApplyModule* first = nullptr;
  order->forEachInRange(number, order->numberOf(endModule), [&](const ApplyModule& visited) {
    if (first == nullptr) {
      if (!isFullApplyDue(visited, order->isOnTheWay(visited))) {
        return;
      }
      first = &visited;
    }
    speed.add(visited.getSpeedRate());
  });
  const double current = getProgressPtr()->getValue();
  const int currentPercent = static_cast<int>(current);
  const int share =
      first == nullptr
          ? kEndOfApplies - currentPercent
          : static_cast<int>((kEndOfApplies - current) *
                             speed.getPartitionFromRate(first->getSpeedRate()) / 100.0);
  getProgressPtr()->setSubProgress(subProgress, currentPercent + share, 1);
}

// Range and scheduling

void UpdateApplyModulesCmd::resolveModules() {
  const std::shared_ptr<Object> design = object.lock();
  if (design == nullptr) {
    throw ObjectException("Cannot update a design: the design object is gone.");
  }
  startModule = getModule(*design, startPath, "start");
  endModule = getModule(*design, endPath, "end");
  if (!horizonPath.isEmpty()) {
    horizonModule = findModule(*design, horizonPath);
  }
}

bool UpdateApplyModulesCmd::needsFullApply(ModulePtr module) const {
  return isFullApplyDue(*module, order->isOnTheWay(*module));
}

bool UpdateApplyModulesCmd::isFullApplyDue(const ApplyModule& module, bool isOnTheWay) const {
  const bool relevant = module.isUpdateInfoRelevant(updateInfo) ||
                        module.isApplyNecessary(&module == endModule.get());
  return isOnTheWay && module.isApplyPossible() && relevant && !endReached;
}

void UpdateApplyModulesCmd::prepareNextModules(Number number) {
  order->forEachNext(number, [this](Number next) {
    if (order->isOnTheWay(next)) {
      order->queue(next);
    } else if (applyStarted) {
      subGraphQueue.push(order->module(next));
    }
  });
}

UpdateApplyModulesCmd::CommandPtr UpdateApplyModulesCmd::updateAndGetNextApplyCommand() {
  const WhileTrue choosing(isChoosing);
  if (lastExecutedModule != nullptr && !endReached &&
      shouldApplyChainBeCanceled(lastExecutedModule)) {
    stopWhileChoosing(false);
    return nullptr;
  }
  while (const auto number = order->takeNext()) {
    handleAutoApplySubGraphs();
    if (isFullApplyDue(order->heldModule(*number), order->isOnTheWay(*number))) {
      return issueApplyCommand(*number);
    }
    if (!applyStarted && !endReached && shouldApplyChainBeCanceled(order->module(*number))) {
      lastExecutedModule = order->module(*number);
      stopWhileChoosing(false);
      return nullptr;
    }
    passOver(*number);
  }
  if (horizonModule != nullptr && subGraphQueue.empty()) {
    order->forEachNext(order->numberOf(endModule),
                       [this](Number next) { subGraphQueue.push(order->module(next)); });
  }
  handleAutoApplySubGraphs();
  return nullptr;
}

void UpdateApplyModulesCmd::passOver(Number number) {
  ApplyModule& module = order->heldModule(number);
  if (needsAutoApply(module)) {
    if (endReached || !order->isOnTheWay(number)) {
      // Covers everything behind the module, whose next modules are therefore not queued.
      executeAutoApplyOnSubGraph(number);
      order->setVisited(number);
      return;
    }
    executeAutoApply(number, false);
  } else if (applyStarted) {
    module.sendStateChangeSignal();
  }
  if (&module == endModule.get()) {
    endReached = true;
  }
  order->setVisited(number);
  prepareNextModules(number);
}

// A module whose factory has no command ends the run as finished: the caller takes the null command
// for the end of the run. The module is not marked visited then.
UpdateApplyModulesCmd::CommandPtr UpdateApplyModulesCmd::issueApplyCommand(Number number) {
  const ModulePtr module = order->module(number);
  if (isApplySuppressed(module)) {
    lastExecutedModule = module;
    stopWhileChoosing(true);
    return nullptr;
  }
  CommandPtr command = module->createApplyCommand(object.lock());
  if (command != nullptr) {
    prepareApplyCommandAndModule(command, module);
    connectProgress(command->getProgressPtr(), number);
    order->setVisited(number);
    applyStarted = true;
    lastExecutedModule = module;
  }
  if (module == endModule) {
    endReached = true;
  }
  // Before the next modules are queued, so that a failure can return to this moment.
  order->saveQueue();
  if (!subGraphQueue.empty() || !savedSubGraphQueue.empty()) {
    savedSubGraphQueue = subGraphQueue;
  }
  prepareNextModules(number);
  return command;
}

// Auto apply and global messages

bool UpdateApplyModulesCmd::needsAutoApply(const ApplyModule& module) const {
  const bool necessary = !updateInfo.isEmpty() || module.isAutoApplyNecessary();
  const bool possible = module.isAutoApplyPossible();
  return possible && necessary && applyStarted;
}

void UpdateApplyModulesCmd::executeAutoApply(Number number, bool mayRunAlone) {
  ApplyModule& module = order->heldModule(number);
  const bool runsAlone = mayRunAlone && !module.usesSharedResources();
  const CommandPtr command = module.createAutoApplyCommand(object.lock(), runsAlone);
  if (command == nullptr) {
    order->setVisited(number);
    return;
  }
  prepareApplyCommandAndModule(command, order->module(number));
  logTrace("Executing auto apply command: " + command->getLogDescription());
  try {
    command->execute();
  } catch (const std::exception& e) {
    logError(std::string("Auto apply failed with exception: ") + e.what());
    if (!s_preserveStateAfterException) {
      throw;
    }
    reportToUser(*getProgressPtr(),
                 failureText(TranslatorArg::translate(kTranslationContext, "%1 failed with: %2"),
                             *command, e));
    return;
  }
  logTrace("Finished auto apply command");
  addCommand(command);
  storeUpdateInfo(command);
  order->setVisited(number);
}

void UpdateApplyModulesCmd::executeAutoApplyOnSubGraph(Number root) {
  UpdateOrder::SubGraph subGraph(*order, root);
  while (const auto number = subGraph.takeNext()) {
    ApplyModule& module = order->heldModule(*number);
    const bool upstreamOfHorizon = isUpstreamOfHorizon(*number);
    if (module.updateAlways() || module.usesSharedResources() || upstreamOfHorizon) {
      executeAutoApply(*number, false);
      subGraph.queueNextOf(*number);
      continue;
    }
    executeAutoApply(*number, true);
    if (module.isConsistent()) {
      subGraph.queueNextOf(*number);
      continue;
    }
    // What follows an inconsistent module is not computed from it, but has to hear of the change.
    // A list of its own, since message handlers may edit the graph.
    const auto& links = module.getNextApplyModules();
    const std::vector<std::weak_ptr<ApplyModule>> followers(links.begin(), links.end());
    forEachLive(followers, [this](const ModulePtr& next) { deliverGlobalMessages(next); });
    module.sendStateChangeSignalsOfFollowingModules();
  }
}

void UpdateApplyModulesCmd::handleAutoApplySubGraphs() {
  while (!subGraphQueue.empty()) {
    const ModulePtr root = subGraphQueue.front();
    subGraphQueue.pop();
    executeAutoApplyOnSubGraph(order->numberOf(root));
  }
}

bool UpdateApplyModulesCmd::isUpstreamOfHorizon(Number number) {
  return horizonModule != nullptr && number != order->numberOf(horizonModule) &&
         order->isUpstreamOf(horizonModule, number);
}

void UpdateApplyModulesCmd::deliverGlobalMessages(const ModulePtr& module) {
  const auto delivered = std::make_shared<MacroCommand>();
  for (const auto& message : updateInfo.getAllUpdateMessages()) {
    if (message->isGlobal()) {
      delivered->addCommand(MessageCmdFactory::createAndExecuteUpdateMessageCommands(
          object.lock(), message->clone(), module, nullptr));
    }
  }
  if (!delivered->empty()) {
    addCommand(delivered);
  }
}

// Undo and failures

void UpdateApplyModulesCmd::undo() {
  prepareProgress(MacroCommand::Undo);
  undoStorageCommands();
  undoDependentCommands();
  getProgressPtr()->finish();
}

UndoPasses UpdateApplyModulesCmd::undoPasses() {
  return UndoPasses{getCommands(), [this](const auto& command) { undoCommand(command); },
                    [this](const auto& command) { executeCommand(command); }, kFile,
                    UndoPasses::RollForward::BothPasses};
}

void UpdateApplyModulesCmd::undoStorageCommands() {
  undoPasses().undoStorageCommands(std::source_location::current());
}

void UpdateApplyModulesCmd::undoDependentCommands() {
  undoPasses().undoDependentCommands(std::source_location::current());
}

void UpdateApplyModulesCmd::storeUpdateInfo(const CommandPtr& cmd) {
  if (auto* data = dynamic_cast<ApplyModuleDataInterface*>(cmd.get())) {
    updateInfo = data->getUpdateInfo();
  }
}

void UpdateApplyModulesCmd::handleException(std::exception& e) {
  exceptionThrown = true;
  if (!s_preserveStateAfterException) {
    throw ApplyFailure(e.what());
  }
  printLogMessage(e);
  order->setUnvisited(lastExecutedModule);
  stopApply(true);
}

void UpdateApplyModulesCmd::printLogMessage(std::exception& e) {
  const std::string text = failureText(
      TranslatorArg::translate(
          kTranslationContext, "%1 failed with: %2",
          "Error message of a failed command. %1 is command description and %2 is failed reason",
          -1),
      *currentCommand, e);
  logError(text);
  reportToUser(*getProgressPtr(), text);
}

}  // namespace Tessaril
