#include "tests/support/literal/LiteralUpdate.h"

#include <cstddef>
#include <source_location>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/commands/MessageCmdFactory.h"
#include "tessaril/platform/framework_interfaces/ApplyCacheInterface.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/logging/LogMessage.h"
#include "tessaril/platform/logging/Logging.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/progress/LegacyProgress.h"
#include "tessaril/platform/translation/Translator.h"

namespace Tessaril::Literal {

namespace {

constexpr const char* kFile = "UpdateApplyModulesCmd";
constexpr const char* kContext = "UpdateApplyModulesCmd";

/// Of a failure, only the text is passed on.
class FailureText : public std::exception {
 public:
  explicit FailureText(const std::string& failureText) : text(failureText) {}
  const char* what() const noexcept override { return text.what(); }

 private:
  std::runtime_error text;
};

void logTrace(const std::string& text,
              const std::source_location& where = std::source_location::current()) {
  Logging::logTRACE(text, kFile, where.function_name(), static_cast<int>(where.line()));
}

void logError(const std::string& text,
              const std::source_location& where = std::source_location::current()) {
  Logging::logERROR(text, kFile, where.function_name(), static_cast<int>(where.line()));
}

Path pathOf(const ModulePtr& module, const Object* object, const std::string& role) {
  const auto* moduleObject = dynamic_cast<const Object*>(module.get());
  if (moduleObject == nullptr) {
    throw ObjectException("Cannot update a design: the " + role + " module is " +
                          (module == nullptr ? "missing." : "no object of the parameter tree."));
  }
  return moduleObject->getPath(object, RequestedPathType::Absolute);
}

ModulePtr moduleAt(const Object& object, const Path& path) {
  return std::dynamic_pointer_cast<ApplyModule>(
      object.getObject(path, GetObjectBehavior::ReturnNull));
}

ModulePtr requiredModuleAt(const Object& object, const Path& path, const std::string& role) {
  ModulePtr module = moduleAt(object, path);
  if (module == nullptr) {
    throw ObjectException("Cannot update a design: there is no " + role + " module at \"" +
                          path.toString() + "\".");
  }
  return module;
}

}  // namespace

bool LiteralUpdate::s_preserveStateAfterException = true;

// Construction

LiteralUpdate::LiteralUpdate(std::shared_ptr<Object> designObject, ModulePtr start, ModulePtr end,
                             ModulePtr horizon)
    : object(designObject) {
  startPath = pathOf(start, designObject.get(), "start");
  if (horizon != nullptr) {
    horizonPath = pathOf(horizon, designObject.get(), "horizon");
  }
  if (end != nullptr) {
    const CommandPtr probe = end->createApplyCommand(designObject);
    if (probe == nullptr) {
      setDescription(Translator::translate(kContext, "Update Design"));
    } else {
      setDescription(TranslatorArg::translate(kContext, "Update Design up to: %1")
                         .arg(probe->getDescription())
                         .toString());
    }
  }
  endPath = pathOf(end, designObject.get(), "end");
  listFilledWhileRunning = true;
}

LiteralUpdate::~LiteralUpdate() = default;

ModulePtr LiteralUpdate::getEndModule() const { return endModule; }
ModulePtr LiteralUpdate::getLastExecutedApplyModule() const { return lastExecutedModule; }
bool LiteralUpdate::hasExceptionBeenThrown() const { return exceptionThrown; }
bool LiteralUpdate::isApplyCommandMultiThreaded(ModulePtr /*module*/) { return false; }
bool LiteralUpdate::isDesignSwitchEnabled() { return false; }
bool LiteralUpdate::isApplySuppressed(ModulePtr /*module*/) const { return false; }
bool LiteralUpdate::shouldApplyChainBeCanceled(ModulePtr /*module*/) const { return false; }
bool LiteralUpdate::isRunning() const { return !getProgressPtr()->isStopRequested(); }

void LiteralUpdate::setApplyCache(std::shared_ptr<ApplyCacheInterface> cache) {
  applyCache = std::move(cache);
}

// Scheduling

void LiteralUpdate::initCollections() {
  dependencyCollection.clear();
  gatherAllDependencies(*endModule, dependencyCollection, startModule);
  dependencyCollection.insert(endModule);
  visitedModules.clear();
  successorCollection.clear();
  gatherAllSuccessors(*startModule, successorCollection, endModule);
  successorCollection.insert(startModule);
}

bool LiteralUpdate::isInDependencyCollection(const ModulePtr& module) const {
  return dependencyCollection.contains(module);
}

bool LiteralUpdate::needsFullApply(ModulePtr module) const {
  bool relevant = module->isUpdateInfoRelevant(updateInfo);
  if (!relevant) {
    relevant = module->isApplyNecessary(module == endModule);
  }
  if (!isInDependencyCollection(module)) {
    return false;
  }
  return module->isApplyPossible() && relevant && !endReached;
}

void LiteralUpdate::prepareNextModules(const ModulePtr& module) {
  for (const auto& link : module->getNextApplyModules()) {
    const ModulePtr next = link.lock();
    if (next == nullptr) {
      continue;
    }
    if (isInDependencyCollection(next)) {
      moduleQueue.push(next);
    } else if (applyStarted) {
      subGraphQueue.push(next);
    }
  }
}

void LiteralUpdate::addChildrenToQueue(const ModulePtr& module, ModuleQueue& queue) {
  for (const auto& link : module->getNextApplyModules()) {
    if (const ModulePtr next = link.lock()) {
      queue.push(next);
    }
  }
}

LiteralUpdate::CommandPtr LiteralUpdate::updateAndGetNextApplyCommand() {
  if (lastExecutedModule != nullptr && !endReached) {
    if (shouldApplyChainBeCanceled(lastExecutedModule)) {
      stopApply(false);
      return nullptr;
    }
  }
  while (true) {
    const ModulePtr module = getNextModuleInOrder(moduleQueue, visitedModules, successorCollection);
    if (module == nullptr) {
      if (horizonModule != nullptr && subGraphQueue.empty()) {
        addChildrenToQueue(endModule, subGraphQueue);
      }
      handleAutoApplySubGraphs();
      return nullptr;
    }
    handleAutoApplySubGraphs();
    if (needsFullApply(module)) {
      return issueApplyCommand(module);
    }
    if (!applyStarted && !endReached) {
      if (shouldApplyChainBeCanceled(module)) {
        lastExecutedModule = module;
        stopApply(false);
        return nullptr;
      }
    }
    bool necessary = true;
    if (updateInfo.isEmpty()) {
      necessary = module->isAutoApplyNecessary();
    }
    const bool possible = module->isAutoApplyPossible();
    const bool isDue = possible && necessary && applyStarted;
    if (isDue) {
      if (!endReached && isInDependencyCollection(module)) {
        executeAutoApply(module, false);
      } else {
        executeAutoApplyOnSubGraph(module);
        visitedModules.insert(module);
        continue;
      }
    }
    if (!isDue && applyStarted) {
      module->sendStateChangeSignal();
    }
    if (module == endModule) {
      endReached = true;
    }
    visitedModules.insert(module);
    prepareNextModules(module);
  }
}

LiteralUpdate::CommandPtr LiteralUpdate::issueApplyCommand(const ModulePtr& module) {
  if (isApplySuppressed(module)) {
    lastExecutedModule = module;
    stopApply(true);
    return nullptr;
  }
  CommandPtr command = module->createApplyCommand(object.lock());
  if (command != nullptr) {
    prepareApplyCommandAndModule(command, module);
    connectProgress(command->getProgressPtr(), module);
    visitedModules.insert(module);
    applyStarted = true;
    lastExecutedModule = module;
  }
  if (module == endModule) {
    endReached = true;
  }
  savedModuleQueue = moduleQueue;
  savedSubGraphQueue = subGraphQueue;
  prepareNextModules(module);
  return command;
}

// Lifecycle and progress

bool LiteralUpdate::startExecution(std::shared_ptr<ThreadManager> threadManager) {
  clearCommands();
  updateInfo.clear();
  applyStarted = false;
  endReached = false;
  exceptionThrown = false;
  const std::shared_ptr<Object> design = object.lock();
  if (design == nullptr) {
    throw ObjectException("Cannot update a design: the design object is gone.");
  }
  startModule = requiredModuleAt(*design, startPath, "start");
  endModule = requiredModuleAt(*design, endPath, "end");
  if (!horizonPath.isEmpty()) {
    horizonModule = moduleAt(*design, horizonPath);
  }
  moduleQueue.push(startModule);
  initCollections();
  if (applyCache != nullptr) {
    applyCache->beginUpdate();
  }
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

bool LiteralUpdate::continueExecution(std::shared_ptr<ThreadManager> threadManager) {
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

void LiteralUpdate::finishExecution(bool success) {
  getProgressPtr()->finish();
  if (applyCache != nullptr) {
    applyCache->endUpdate();
  }
  sendFinishSignal(success);
}

void LiteralUpdate::stopApply(bool restoreQueues) {
  endReached = true;
  if (restoreQueues) {
    moduleQueue = savedModuleQueue;
    subGraphQueue = savedSubGraphQueue;
    // Null where a derived command stops a run before anything was executed.
    if (lastExecutedModule != nullptr) {
      subGraphQueue.push(lastExecutedModule);
    }
  }
  currentCommand = updateAndGetNextApplyCommand();
  finishExecution(false);
}

void LiteralUpdate::prepareApplyCommandAndModule(CommandPtr cmd, ModulePtr /*module*/) {
  auto* data = dynamic_cast<ApplyModuleDataInterface*>(cmd.get());
  if (data == nullptr) {
    return;
  }
  data->setUpdateInfo(updateInfo.clone());
  data->setApplyCache(applyCache);
}

void LiteralUpdate::connectProgress(LegacyProgress* subProgress, const ModulePtr& module) {
  LegacyProgress::Speed speed;
  bool found = false;
  ModulePtr first;
  forSemanticOrderedModuleRange(
      [&](const ModulePtr& visited) {
        if (!found && !needsFullApply(visited)) {
          return;
        }
        speed.add(visited->getSpeedRate());
        if (!found) {
          first = visited;
          found = true;
        }
      },
      module, endModule);
  const double current = getProgressPtr()->getValue();
  int share = 0;
  if (found) {
    share = static_cast<int>((98.0 - current) * speed.getPartitionFromRate(first->getSpeedRate()) /
                             100.0);
  } else {
    share = 98 - static_cast<int>(current);
  }
  getProgressPtr()->setSubProgress(subProgress, static_cast<int>(current) + share, 1);
}

// Auto apply and global messages

void LiteralUpdate::executeAutoApply(const ModulePtr& module, bool mayRunAlone) {
  bool flag = false;
  if (mayRunAlone) {
    flag = !module->usesSharedResources();
  }
  const CommandPtr command = module->createAutoApplyCommand(object.lock(), flag);
  if (command == nullptr) {
    visitedModules.insert(module);
    return;
  }
  prepareApplyCommandAndModule(command, module);
  logTrace("Executing auto apply command: " + command->getLogDescription());
  try {
    command->execute();
  } catch (const std::exception& e) {
    logError(std::string("Auto apply failed with exception: ") + e.what());
    if (!s_preserveStateAfterException) {
      throw;
    }
    const std::string text = TranslatorArg::translate(kContext, "%1 failed with: %2")
                                 .arg(command->getDescription())
                                 .arg(e.what())
                                 .toString();
    getProgressPtr()->addLogMessage(LogMessage(text, LogMessage::Error, std::string()));
    return;
  }
  logTrace("Finished auto apply command");
  addCommand(command);
  storeUpdateInfo(command);
  visitedModules.insert(module);
}

void LiteralUpdate::executeAutoApplyOnSubGraph(const ModulePtr& root) {
  ModuleQueue pending;
  pending.push(root);
  ModuleSet subGraph;
  gatherAllSuccessors(*root, subGraph, nullptr);
  subGraph.insert(root);
  while (const ModulePtr module = getNextModuleInOrder(pending, visitedModules, subGraph)) {
    const bool upstreamOfHorizon = horizonModule != nullptr &&
                                   hasAsAncestor(*horizonModule, module) && module != horizonModule;
    if (!module->updateAlways() && !module->usesSharedResources() && !upstreamOfHorizon) {
      executeAutoApply(module, true);
      if (module->isConsistent()) {
        addChildrenToQueue(module, pending);
        continue;
      }
      // The handlers of the messages may edit the list.
      const std::vector<std::weak_ptr<ApplyModule>> links = module->getNextApplyModules();
      for (const auto& link : links) {
        if (const ModulePtr successor = link.lock()) {
          deliverGlobalMessages(successor);
        }
      }
      module->sendStateChangeSignalsOfFollowingModules();
      continue;
    }
    executeAutoApply(module, false);
    addChildrenToQueue(module, pending);
  }
}

void LiteralUpdate::handleAutoApplySubGraphs() {
  while (!subGraphQueue.empty()) {
    const ModulePtr module = subGraphQueue.front();
    subGraphQueue.pop();
    executeAutoApplyOnSubGraph(module);
  }
}

void LiteralUpdate::deliverGlobalMessages(const ModulePtr& module) {
  const auto macro = std::make_shared<MacroCommand>();
  for (const auto& message : updateInfo.getAllUpdateMessages()) {
    if (!message->isGlobal()) {
      continue;
    }
    const std::shared_ptr<ApplyUpdateMessage> copy = message->clone();
    macro->addCommand(MessageCmdFactory::createAndExecuteUpdateMessageCommands(object.lock(), copy,
                                                                               module, nullptr));
  }
  if (!macro->empty()) {
    addCommand(macro);
  }
}

// Undo and failures

void LiteralUpdate::undo() {
  prepareProgress(MacroCommand::Undo);
  undoStorageCommands();
  undoDependentCommands();
  getProgressPtr()->finish();
}

void LiteralUpdate::undoStorageCommands() {
  const auto& commands = getCommands();
  for (std::size_t i = commands.size(); i-- > 0;) {
    try {
      if (getUndoType(commands[i]) == ApplyModuleDataInterface::StorageUndo) {
        undoCommand(commands[i]);
      }
    } catch (const std::exception& e) {
      logError("Undo of MacroCommand '" + commands[i]->getLogDescription() +
               "' failed with exception: " + e.what());
      for (std::size_t j = i + 1; j < commands.size(); ++j) {
        if (getUndoType(commands[j]) == ApplyModuleDataInterface::StorageUndo) {
          executeCommand(commands[j]);
        }
      }
      throw;
    }
  }
}

void LiteralUpdate::undoDependentCommands() {
  const auto& commands = getCommands();
  for (std::size_t i = 0; i < commands.size(); ++i) {
    try {
      if (getUndoType(commands[i]) != ApplyModuleDataInterface::StorageUndo) {
        undoCommand(commands[i]);
      }
    } catch (const std::exception& e) {
      logError("Undo of MacroCommand '" + commands[i]->getLogDescription() +
               "' failed with exception: " + e.what());
      for (std::size_t j = 0; j < i; ++j) {
        executeCommand(commands[j]);
      }
      for (std::size_t j = i; j < commands.size(); ++j) {
        if (getUndoType(commands[j]) == ApplyModuleDataInterface::StorageUndo) {
          executeCommand(commands[j]);
        }
      }
      throw;
    }
  }
}

ApplyModuleDataInterface::UndoType LiteralUpdate::getUndoType(const CommandPtr& command) {
  auto* data = dynamic_cast<ApplyModuleDataInterface*>(command.get());
  return data == nullptr ? ApplyModuleDataInterface::DependentUndo : data->getUndoType();
}

void LiteralUpdate::storeUpdateInfo(const CommandPtr& command) {
  if (auto* data = dynamic_cast<ApplyModuleDataInterface*>(command.get())) {
    updateInfo = data->getUpdateInfo();
  }
}

void LiteralUpdate::handleException(std::exception& e) {
  exceptionThrown = true;
  if (!s_preserveStateAfterException) {
    throw FailureText(e.what());
  }
  printLogMessage(e);
  visitedModules.erase(lastExecutedModule);
  stopApply(true);
}

void LiteralUpdate::printLogMessage(std::exception& e) {
  const std::string text =
      TranslatorArg::translate(
          kContext, "%1 failed with: %2",
          "Error message of a failed command. %1 is command description and %2 is failed reason",
          -1)
          .arg(currentCommand->getDescription())
          .arg(e.what())
          .toString();
  logError(text);
  getProgressPtr()->addLogMessage(LogMessage(text, LogMessage::Error, std::string()));
}

}  // namespace Tessaril::Literal
