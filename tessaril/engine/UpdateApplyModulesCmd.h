#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <queue>

#include "tessaril/Export.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/platform/command_pattern/ThreadedMacroCommand.h"
#include "tessaril/platform/parameterization/Path.h"

namespace Tessaril {

class ApplyCacheInterface;
class ApplyModule;
class LegacyProgress;
class Object;
class UpdateOrder;
struct UndoPasses;

/// The command that brings a range of an apply graph up to date.
///
/// In graph order, from a start module to an end module, every module on the way to the end that
/// needs a full apply becomes a sub-command, executed on the thread manager; one that only needs an
/// auto apply is auto-applied at once; any other is told that its state may have changed. A module
/// off the way to the end has its whole sub-graph auto-applied, once something has been applied.
/// Before the first full apply of a run nothing is auto-applied or signalled. An optional horizon
/// module further down makes the run go on behind the end, also where the range applied nothing:
/// the sub-graphs of end's next modules are auto-applied, whatever their policy answers. A module
/// on the way to the horizon is passed even if its auto apply leaves it inconsistent.
///
/// The messages of a run: none at its begin; each command gets a clone of them, and what it leaves
/// takes their place when it has succeeded. Off the way to the end, a module that stays
/// inconsistent after its auto apply is not passed, unless it always updates, shares resources or
/// leads to the horizon: what follows it gets the global ones among the messages, as message
/// commands that are executed at once and undone with the run, and is told that its state may have
/// changed.
///
/// A new command holds modules only as paths relative to the design object, and looks them up anew
/// for each run. After a run it holds the modules of that run until the next run or its own end. It
/// asks modules questions and sends notifications, but never changes a module's flags: the modules'
/// commands do that.
///
/// A run: startExecution, then continueExecution for each report of the sub-command, on one thread,
/// until no sub-command is under way. It ends by finishing the progress, telling the apply cache
/// and announcing the end with true. A stopped run (cancelled, suppressed, or failed) announces
/// false after the remaining modules have been auto-applied and signalled; one that was cancelled
/// or suppressed then ends once more, cache included, and announces true. A run that an exception
/// leaves may neither tell the cache nor announce an end. A second run starts from the queues and
/// the last executed module that the run before it left.
///
/// Choosing commands takes time nearly in proportion to the modules and links that a run meets,
/// except that each full apply asks every module from its own to the end for its speed rate.
class TESSARIL_APPLY_EXPORT UpdateApplyModulesCmd : public ThreadedMacroCommand {
 public:
  /// `horizon` may be null. Throws ObjectException when the object, start or end is missing, or
  /// when a module is no Object of the object's parameter tree. Makes an apply command of the end
  /// module for the sake of its description: "Update Design up to: %1".
  UpdateApplyModulesCmd(std::shared_ptr<Object> object, std::shared_ptr<ApplyModule> start,
                        std::shared_ptr<ApplyModule> end, std::shared_ptr<ApplyModule> horizon);
  ~UpdateApplyModulesCmd() override;

  /// Undoes the sub-commands of the last run (redo() redoes them in the order of their execution,
  /// and looks at no module): storage undos from last to first, then all others
  /// from first to last. When one throws a std::exception, it is logged, everything undone so far
  /// is executed again and the exception goes on; when that fails as well, the rest stays undone
  /// and the later exception goes on.
  void undo() override;

  /// Starts a run. Answers what executeSubCommand answers, and true where the run is over at once.
  /// Throws std::logic_error when called from a question or notification of this very run, and
  /// ObjectException, naming the path, when the start or end module cannot be found; what
  /// modules throw while the next sub-command is chosen goes on to the caller; a std::exception
  /// from a sub-command or its start goes to handleException(). A failing auto apply is logged,
  /// told to the user and otherwise passed over, or thrown on unchanged; see ExceptionPolicy.
  bool startExecution(std::shared_ptr<ThreadManager> threadManager) override;
  /// Goes on after a report of the sub-command; answers and throws like startExecution(). Does
  /// nothing and answers true while the sub-command is still running.
  bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override;

  /// The module at which the range ends; null before the first startExecution().
  std::shared_ptr<ApplyModule> getEndModule() const;
  /// The module of the last apply command issued, or the one at which the run was stopped; null
  /// before that. A new run does not reset it.
  std::shared_ptr<ApplyModule> getLastExecutedApplyModule() const;
  /// True from a failure of a sub-command, kept or passed on, until the next startExecution(). A
  /// failing auto apply does not count.
  bool hasExceptionBeenThrown() const;

  /// Hooks for derived commands, not asked by this class; false here.
  virtual bool isApplyCommandMultiThreaded(std::shared_ptr<ApplyModule> module);
  virtual bool isDesignSwitchEnabled();

 protected:
  /// False once a stop was requested of this command's progress.
  bool isRunning() const override;

  /// Called for each apply and auto apply command before it runs: hands it a clone of the run's
  /// messages and a reference to the apply cache. A command without module data is left alone.
  virtual void prepareApplyCommandAndModule(std::shared_ptr<CommandBase> cmd,
                                            std::shared_ptr<ApplyModule> module);
  /// Reports a failure of the current sub-command to the log and to the progress. Requires: a
  /// sub-command has been issued in this run.
  virtual void printLogMessage(std::exception& e);
  /// True: the run stops at `module` instead of applying it; its sub-graph is auto-applied. Asked
  /// of each module that needs a full apply. False here.
  virtual bool isApplySuppressed(std::shared_ptr<ApplyModule> module) const;
  /// True: the run is cancelled. Asked after each full apply but that of the end, with the module
  /// applied; before the first one with each module that is passed over; and when a run starts,
  /// with the last executed module of the run before. False here.
  virtual bool shouldApplyChainBeCanceled(std::shared_ptr<ApplyModule> module) const;
  /// Decides what a failure of a sub-command does to the run; see ExceptionPolicy. Here: throws it
  /// on as a std::exception with the same text but another type, or calls printLogMessage() and
  /// stopApply(true). An override that does neither leaves the run without an announced end.
  /// Requires: a sub-command has been issued in this run.
  virtual void handleException(std::exception& e);

  /// True if `module` is on the way to the end, needs and allows a full apply, and the end has not
  /// been reached.
  bool needsFullApply(std::shared_ptr<ApplyModule> module) const;
  /// Ends the full applies of the run: the remaining modules are auto-applied and signalled, and
  /// the end is announced with false. With `restoreQueues`, from the moment at which the last apply
  /// command was issued (by the run before, if this one has issued none), the sub-graph of the last
  /// executed module included.
  void stopApply(bool restoreQueues);
  /// Replaces the cache that the commands of a run share, and keeps it alive; null for none.
  /// Commands that are prepared later get a weak reference to it.
  void setApplyCache(std::shared_ptr<ApplyCacheInterface> cache);

 private:
  friend class ExceptionPolicy;

  using ModulePtr = std::shared_ptr<ApplyModule>;
  using ModuleQueue = std::queue<ModulePtr>;
  using CommandPtr = std::shared_ptr<CommandBase>;
  /// A module in the order.
  using Number = std::uint32_t;

  // Range and scheduling
  void resolveModules();
  bool isFullApplyDue(const ApplyModule& module, bool isOnTheWay) const;
  void prepareNextModules(Number number);
  CommandPtr updateAndGetNextApplyCommand();
  void passOver(Number number);
  CommandPtr issueApplyCommand(Number number);

  // Lifecycle and progress
  bool executeNextCommand(const std::shared_ptr<ThreadManager>& threadManager);
  void finishExecution(bool success);
  void stopWhileChoosing(bool restoreQueues);
  void connectProgress(LegacyProgress* subProgress, Number number);

  // Auto apply and global messages
  bool needsAutoApply(const ApplyModule& module) const;
  void executeAutoApply(Number number, bool mayRunAlone);
  void executeAutoApplyOnSubGraph(Number root);
  bool isUpstreamOfHorizon(Number number);
  void handleAutoApplySubGraphs();
  void deliverGlobalMessages(const ModulePtr& module);

  // Undo and failures
  void undoStorageCommands();
  void undoDependentCommands();
  UndoPasses undoPasses();
  void storeUpdateInfo(const CommandPtr& cmd);

  static bool s_preserveStateAfterException;

  /// The messages of the sub-commands that have finished in this run.
  ApplyUpdateInfo updateInfo;
  std::weak_ptr<Object> object;
  Path startPath;
  Path endPath;
  /// Empty without a horizon module.
  Path horizonPath;
  ModulePtr startModule;
  ModulePtr endModule;
  ModulePtr horizonModule;
  ModulePtr lastExecutedModule;
  /// The range, what has been visited of it, and the queue of the modules on the way to the end.
  std::unique_ptr<UpdateOrder> order;
  /// Modules off the way to the end whose sub-graphs wait for their auto apply.
  ModuleQueue subGraphQueue;
  /// The queue as it was when the last apply command was issued.
  ModuleQueue savedSubGraphQueue;
  /// The first apply command of the run has been issued.
  bool applyStarted = false;
  /// The end has been handled or the run was stopped: nothing gets a full apply any more.
  bool endReached = false;
  CommandPtr currentCommand;
  std::shared_ptr<ApplyCacheInterface> applyCache;
  bool exceptionThrown = false;
  /// What the order holds is in use.
  bool isChoosing = false;
};

}  // namespace Tessaril
