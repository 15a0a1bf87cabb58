#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "diagnostics/run/ChangesBefore.h"
#include "diagnostics/run/RunReport.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/platform/signals/Signal.h"

// Internal: a run while it goes on.

namespace Tessaril {

class ApplyModule;
class CommandBase;

namespace Diagnostics {

/// The messages that a command carries; `otherwise` for one that carries none.
ApplyUpdateInfo messagesOf(const std::shared_ptr<CommandBase>& command,
                           const ApplyUpdateInfo& otherwise);

/// What was found out about a module when it was decided upon.
struct Inquiry {
  std::optional<PolicyAnswers> answers;
  std::optional<SnapshotFlags> flags;
};

/// A run, undo or redo that goes on: its report so far, and what it takes to go on with it. Takes
/// no lock and asks nothing.
class PresentRun {
 public:
  using ModulePtr = std::shared_ptr<ApplyModule>;
  using CommandPtr = std::shared_ptr<CommandBase>;
  using TimePoint = std::chrono::steady_clock::time_point;

  PresentRun(RunReport::Kind kind, const std::string& description, const RunRange& range);

  /// Adds the modules of the range, without their rates.
  void addModules(const std::vector<RangeModule>& members);
  /// Adds a module that is not in the range.
  std::size_t addModule(RangeModule member);
  std::optional<std::size_t> find(const ModulePtr& module) const;

  /// Requires: the module is known.
  std::size_t addStep(const ModulePtr& module, Deed deed, const Inquiry& inquiry);
  RunStep& step(std::size_t index) { return report.steps[index]; }
  void setCommand(std::size_t index, const CommandPtr& owner, const CommandBase* command);
  bool isOf(std::size_t index, const CommandPtr& command) const;
  /// The step of a command that has not ended.
  std::optional<std::size_t> findStep(const CommandBase& command) const;
  /// Does nothing the second time.
  void beginStep(std::size_t index, TimePoint now);
  void endStep(std::size_t index, TimePoint now);
  /// Bounds the time of an auto apply whose end was not seen.
  void closeAutoApply(TimePoint now);

  /// The messages of the run, as far as they can be seen.
  ApplyUpdateInfo presentMessages() const;
  bool isEnd(const ModulePtr& module) const { return end.lock() == module; }
  bool isOnOwnThread() const { return ownThread == std::this_thread::get_id(); }
  /// True once the run applies nothing any more because of a failure or a derived update.
  bool hasStopped() const;
  Microseconds since(TimePoint now) const { return now - begin; }

  /// Completes the steps of the report, but for their reasons. `executed`: what the update has in
  /// its list. `thrown`: the text of what leaves it.
  void complete(const std::vector<CommandPtr>& executed, const std::optional<std::string>& thrown);

  std::size_t number = 0;
  RunReport report;
  TimePoint begin;
  /// The messages of the run, as they were seen last.
  ApplyUpdateInfo messages;
  std::vector<Signals::ScopedConnection> connections;

  /// A full apply is due; its command is to be prepared.
  std::optional<std::size_t> dueModule;
  /// The full apply under way.
  std::optional<std::size_t> subCommand;
  /// An auto apply whose end has not been seen.
  std::optional<std::size_t> openAutoApply;
  /// The last step that is neither a signal nor a message, and the modules that will be signalled
  /// if that was an auto apply that left its module inconsistent.
  std::optional<std::size_t> decision;
  std::optional<std::size_t> judgedDecision;
  std::unordered_set<ModulePtr> toBeSignalled;
  bool asksOfLastModule = false;
  /// A stop was requested.
  bool isStopped = false;
  /// How much code of the application runs.
  int hooks = 0;
  int commands = 0;

 private:
  /// What has to be known of a step besides what it reports.
  struct Track {
    std::weak_ptr<CommandBase> owner;
    const CommandBase* command = nullptr;
    bool hasBegun = false;
  };

  bool hasStep(Deed deed) const;
  unsigned threadNumber();
  void findFailures(const std::vector<CommandPtr>& executed,
                    const std::optional<std::string>& thrown);
  void addStepWithoutCommand(const std::optional<std::string>& thrown);
  void addUntouched();
  std::vector<std::size_t> lastApplies() const;
  ChangesBefore::Links previousModules() const;
  void noteChangesBefore();
  RunReport::Outcome outcome(bool isThrown) const;

  std::weak_ptr<ApplyModule> end;
  bool isEndedByUpdate = false;
  std::thread::id ownThread;
  std::vector<std::thread::id> workers;
  std::unordered_map<const ApplyModule*, std::size_t> indices;
  std::vector<Track> tracks;
  /// The steps of commands that have not ended.
  std::unordered_map<const CommandBase*, std::size_t> openSteps;
};

}  // namespace Diagnostics
}  // namespace Tessaril
