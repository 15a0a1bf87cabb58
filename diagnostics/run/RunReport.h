#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "diagnostics/run/RunRange.h"

namespace Tessaril::Diagnostics {

using Microseconds = std::chrono::duration<double, std::micro>;

/// What was done with a module.
enum class Deed {
  FullApply,
  AutoApply,
  /// A command of the module handled a global message.
  MessageHandled,
  /// Told that its state may have changed, and nothing else.
  Signalled,
  /// Looked at before the first full apply of the run, and left as it is.
  PassedOver,
  /// A full apply was due, but the module made no command, which ends a run.
  NoApplyCommand,
  /// An auto apply was due, but the module made no command.
  NoAutoApplyCommand,
  /// A derived update stopped the run instead of applying the module.
  Suppressed,
  /// A derived update cancelled the run at this module.
  Cancelled,
  NotReached,
  /// Nothing was seen of the module, but its commands were not watched: it was not reached, or an
  /// auto apply was due and it made no command.
  NotSeen,
  Undone,
  Redone,
  /// Executed once more because an undo failed.
  ExecutedAgain,
};

/// "full apply", "auto apply", "message", "signalled", "passed over", "no command" (for both),
/// "suppressed", "cancelled", "not reached", "not seen", "undone", "redone", "executed again".
std::string deedName(Deed deed);

/// False for what was not reached or not seen.
bool wasSeen(Deed deed);

/// One thing that was done, with what was known at that moment.
struct RunStep {
  /// Index into RunReport::modules.
  std::size_t module = 0;
  Deed deed = Deed::NotReached;
  /// Why, in words for people.
  std::string reason;
  /// Why the command failed; empty for a success.
  std::string failure;
  /// From the beginning of the run. Empty where no command was executed.
  std::optional<Microseconds> begin;
  /// Empty where no command was executed, or while it still is.
  std::optional<Microseconds> duration;
  /// The end of the command could not be seen: it took at most this long.
  bool durationIsBound = false;
  /// 0: the thread of the run, called inline; others are workers, numbered from 1 in the order in
  /// which they first appear in the run. Empty where no command was executed.
  std::optional<unsigned> thread;
  /// What the module answered when it was asked again. Empty without asking, and where it threw.
  std::optional<PolicyAnswers> answers;
  std::optional<SnapshotFlags> flags;
  /// The module, by index, whose apply in this run comes last before this step among those that
  /// this module depends on. Empty: nothing that it depends on was applied in this run.
  std::optional<std::size_t> changedBefore;
  /// The module, by index, whose auto apply left it inconsistent, so that all that follow it, this
  /// module among them, were signalled.
  std::optional<std::size_t> inconsistentBefore;
  /// Messages that the command was handed, and that it left behind.
  std::vector<MessageNote> received;
  std::vector<MessageNote> left;
  /// Percent of the update's progress when a full apply was started and when it had ended.
  std::optional<double> progressBefore;
  std::optional<double> progressAfter;
};

/// A module that the run met or might have met.
struct ReportedModule {
  std::string name;
  Place place = Place::OnTheWay;
  /// Not kept alive by the report.
  std::weak_ptr<const ApplyModule> module;
  /// What followed it when the run began, by index, in list order.
  std::vector<std::size_t> next;
  /// The value of LegacyProgress::Speed::Rate when the run began. Empty without asking.
  std::optional<int> speedRate;
  /// When the run ended. Empty without asking, and where the module has gone.
  std::optional<bool> consistent;
  /// True when all commands that the module made in the run were seen, and where it made none.
  /// Without, an auto apply that made no command leaves no trace, and of one that was executed only
  /// the begin is known.
  bool commandsWatched = false;
};

/// What is known of one run, undo or redo of an update.
struct RunReport {
  enum class Kind { Run, Undo, Redo };
  enum class Outcome {
    UnderWay,
    /// To the end, or to a module that made no apply command.
    Finished,
    /// A sub-command failed and the state was kept.
    Failed,
    /// A stop was requested.
    Stopped,
    Suppressed,
    Cancelled,
    /// An exception left the update.
    Thrown,
    /// Over, without an announced end.
    Unannounced,
  };

  Kind kind = Kind::Run;
  Outcome outcome = Outcome::UnderWay;
  /// What the update is called.
  std::string description;
  /// Why the run did not finish; empty when it did.
  std::string failure;
  /// Indices into `modules`; empty where the module is unknown or has gone.
  std::optional<std::size_t> start;
  std::optional<std::size_t> end;
  std::optional<std::size_t> horizon;
  /// In the order of modulesOf(); behind them any others that were met.
  std::vector<ReportedModule> modules;
  /// In the order in which they were begun; behind them, in the order of `modules`, those that were
  /// not reached or not seen.
  std::vector<RunStep> steps;
  /// With what the end was announced, in order.
  std::vector<bool> announced;
  Microseconds duration{0.0};
};

/// "finished", "failed", "stopped", "suppressed", "cancelled", "left by an exception",
/// "ended without an announcement", "under way".
std::string outcomeName(RunReport::Outcome outcome);

/// The names of the modules that were left inconsistent, in the order of the report.
std::vector<std::string> stillInconsistent(const RunReport& report);

struct RunTableOptions {
  /// Lines are at most this wide; sensible from 80 on.
  std::size_t width = 100;
  /// With the modules that nothing was done with: passed over, not reached, not seen.
  bool withUntouched = true;
};

/// For people: a heading, one row a step, what is still inconsistent. The time column is as wide
/// whatever the times are.
std::string tableOf(const RunReport& report, const RunTableOptions& options = {});

/// The same facts as data; docs/diagnostics.md lists the keys.
nlohmann::ordered_json toJson(const RunReport& report);

/// The runs, one behind the other, as a trace that the trace viewers of browsers open: complete
/// events for what was executed, instant events for what was only decided, one thread a row. Runs
/// begin where the one before ended; what happened between them is left out.
nlohmann::ordered_json traceOf(const std::vector<RunReport>& reports);

/// "850 ns", "12.3 µs", "4.56 ms", "1.23 s".
std::string durationText(Microseconds duration);

}  // namespace Tessaril::Diagnostics
