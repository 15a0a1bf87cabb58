#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "diagnostics/run/RunReport.h"

namespace Tessaril {

class CommandBase;

namespace Diagnostics {

/// The functions must not throw, and must not call the recorder.
struct RunRecorderOptions {
  /// See modulesOf().
  ModuleNaming nameModule{};
  MessageNaming nameMessage{};
  /// Modules are asked their questions once more when the update has decided about them, so that
  /// the report can say why; messages are asked what they are. Without, a run is observed without a
  /// single question, and the report says only what was done.
  bool askAgain = true;
  std::function<std::chrono::steady_clock::time_point()> now = &std::chrono::steady_clock::now;
};

/// Takes down what the updates that it is handed to do (ObservedUpdate), and what their commands do
/// (WatchedFactories), as reports.
///
/// One run at a time. Reports may be asked for on any thread, also during a run; everything else is
/// for those two, on the thread of the run, but for the commands, which may execute anywhere.
class RunRecorder {
 public:
  explicit RunRecorder(RunRecorderOptions options = {});
  RunRecorder(const RunRecorder&) = delete;
  RunRecorder& operator=(const RunRecorder&) = delete;
  ~RunRecorder();

  /// The runs, undos and redos that have ended, the oldest first.
  std::vector<RunReport> getReports() const;
  /// The last one that has ended. Throws std::logic_error when there is none.
  RunReport getLastReport() const;
  /// What is known of the run that is under way: without reasons, and without what was not reached.
  /// Empty when there is none.
  std::optional<RunReport> getPresentReport() const;
  void forgetReports();

  /// What a command does.
  enum class Operation { Execute, Undo, Redo };
  /// What a command was made for.
  enum class Purpose { Apply, AutoApply, Message };

  // What an update tells.

  void beginRun(RunReport::Kind kind, const std::string& description, const RunRange& range);
  /// The signals of the run's modules are heard from now on.
  void hearSignals();
  void aboutToAskOfLastModule(bool due);
  void suppressionAsked(const std::shared_ptr<ApplyModule>& module, bool suppressed);
  void cancellationAsked(const std::shared_ptr<ApplyModule>& module, bool cancelled);
  void commandPrepared(const std::shared_ptr<CommandBase>& command,
                       const std::shared_ptr<ApplyModule>& module);
  void subCommandStarts(const std::shared_ptr<CommandBase>& command, double progress);
  /// A sub-command of a run.
  struct SubCommand {
    std::size_t run = 0;
    std::size_t step = 0;
  };
  /// Both on the thread that executes the sub-command.
  SubCommand subCommandBegins();
  /// May come late, when the run has seen the end by itself.
  void subCommandEnds(SubCommand subCommand);
  void subCommandFinalized(const std::shared_ptr<CommandBase>& command, double progress);
  void subCommandFailed(const std::exception& failure);
  void announced(bool success);
  /// `executed`: what the update has in its list. `thrown`: the text of what leaves it.
  void endRun(const std::vector<std::shared_ptr<CommandBase>>& executed,
              const std::optional<std::string>& thrown);

  /// While it lives, the update's own code runs, and signals of modules are not the engine's.
  class Hook {
   public:
    explicit Hook(RunRecorder& recorder);
    Hook(const Hook&) = delete;
    Hook& operator=(const Hook&) = delete;
    ~Hook();

   private:
    RunRecorder& recorder;
  };

  // What watched factories and commands tell.

  void factoryWatched(const ApplyModule* module, int change);
  void nothingMade(const std::shared_ptr<ApplyModule>& module, Purpose purpose);
  void commandBegins(const CommandBase& command, const std::shared_ptr<ApplyModule>& module,
                     Purpose purpose, Operation operation, const ApplyUpdateInfo& info);
  void commandEnds(const CommandBase& command, const ApplyUpdateInfo& info,
                   const std::optional<std::string>& failure);

 private:
  struct State;

  void signalHeard(const std::shared_ptr<ApplyModule>& module);
  void judgeAutoApply();

  std::unique_ptr<State> state;
};

}  // namespace Diagnostics
}  // namespace Tessaril
