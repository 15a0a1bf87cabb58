#pragma once

#include <exception>
#include <memory>

#include "tessaril/commands/ApplyModuleDataInterface.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/platform/command_pattern/ThreadedMacroCommand.h"
#include "tessaril/platform/parameterization/Path.h"
#include "tests/support/literal/LiteralTraversal.h"
#include "tests/support/literal/LiteralWalks.h"

namespace Tessaril {
class ApplyCacheInterface;
class Object;
}  // namespace Tessaril

namespace Tessaril::Literal {

/// UpdateApplyModulesCmd in its literal form: hash sets of modules, queues that are copied whole,
/// and a walk over the rest of the range for every apply command. Every operation is used as that
/// class says.
///
/// The messages of a run are delivered by MessageCmdFactory: while its walk goes on, commands may
/// edit the graph, and what that does to the walk is not this class's affair.
class LiteralUpdate : public ThreadedMacroCommand {
 public:
  LiteralUpdate(std::shared_ptr<Object> object, ModulePtr start, ModulePtr end, ModulePtr horizon);
  ~LiteralUpdate() override;

  void undo() override;
  bool startExecution(std::shared_ptr<ThreadManager> threadManager) override;
  bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override;

  ModulePtr getEndModule() const;
  ModulePtr getLastExecutedApplyModule() const;
  bool hasExceptionBeenThrown() const;

  virtual bool isApplyCommandMultiThreaded(ModulePtr module);
  virtual bool isDesignSwitchEnabled();

  /// What ExceptionPolicy is for the library's command; true at first.
  static bool s_preserveStateAfterException;

 protected:
  bool isRunning() const override;
  virtual void prepareApplyCommandAndModule(std::shared_ptr<CommandBase> cmd, ModulePtr module);
  virtual void printLogMessage(std::exception& e);
  virtual bool isApplySuppressed(ModulePtr module) const;
  virtual bool shouldApplyChainBeCanceled(ModulePtr module) const;
  virtual void handleException(std::exception& e);

  bool needsFullApply(ModulePtr module) const;
  void stopApply(bool restoreQueues);
  void setApplyCache(std::shared_ptr<ApplyCacheInterface> cache);

 private:
  using CommandPtr = std::shared_ptr<CommandBase>;

  void initCollections();
  bool isInDependencyCollection(const ModulePtr& module) const;
  void prepareNextModules(const ModulePtr& module);
  void addChildrenToQueue(const ModulePtr& module, ModuleQueue& queue);
  CommandPtr updateAndGetNextApplyCommand();
  CommandPtr issueApplyCommand(const ModulePtr& module);

  void finishExecution(bool success);
  void connectProgress(LegacyProgress* subProgress, const ModulePtr& module);

  void executeAutoApply(const ModulePtr& module, bool mayRunAlone);
  void executeAutoApplyOnSubGraph(const ModulePtr& root);
  void handleAutoApplySubGraphs();
  void deliverGlobalMessages(const ModulePtr& module);

  void undoStorageCommands();
  void undoDependentCommands();
  ApplyModuleDataInterface::UndoType getUndoType(const CommandPtr& command);
  void storeUpdateInfo(const CommandPtr& command);

  ApplyUpdateInfo updateInfo;
  std::weak_ptr<Object> object;
  Path startPath;
  Path endPath;
  Path horizonPath;
  ModulePtr startModule;
  ModulePtr endModule;
  ModulePtr horizonModule;
  ModulePtr lastExecutedModule;
  ModuleSet dependencyCollection;
  ModuleSet visitedModules;
  ModuleSet successorCollection;
  ModuleQueue moduleQueue;
  ModuleQueue subGraphQueue;
  ModuleQueue savedModuleQueue;
  ModuleQueue savedSubGraphQueue;
  bool applyStarted = false;
  bool endReached = false;
  CommandPtr currentCommand;
  std::shared_ptr<ApplyCacheInterface> applyCache;
  bool exceptionThrown = false;
};

}  // namespace Tessaril::Literal
