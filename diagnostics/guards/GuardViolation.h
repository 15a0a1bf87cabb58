#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tessaril::Diagnostics {

/// What may be done with a graph when, and on which thread.
enum class GraphRule {
  /// From the start of a run until its end is announced nobody edits links, its own commands,
  /// questions and listeners included.
  NoEditDuringRun,
  NoEditDuringWalk,
  /// An overridden onApplyGraphChanged() edits nothing: the edit that called it may be halfway
  /// through several modules. Nor does another thread meanwhile.
  NoEditDuringEdit,
  /// Questions are what walks and runs ask, so that none of them edits links, whoever asks.
  NoEditDuringQuestion,
  /// One run at a time; no update is undone or redone meanwhile either.
  NoStartDuringRun,
  /// While a run goes on, its graph belongs to the thread that started it, and to the one that
  /// executes its present sub-command; while a module's graph hook runs, to the thread of the edit.
  /// Nobody else asks, notifies or walks, or goes on with the run.
  OneThread,
};

/// "no edit during a run", "no edit during a walk", "no edit during another edit", "no edit during
/// a question", "no start during a run", "one thread".
std::string ruleName(GraphRule rule);

/// A piece of work on a graph that had begun and not ended.
struct GraphWork {
  enum class Kind {
    Run,
    Walk,
    /// The graph hook of a module, onApplyGraphChanged().
    Hook,
    Question,
    /// Any other operation of a module: a notification, a change of its state, the making of a
    /// command. It breaks no rule and forbids nothing, but tells where an offender stands.
    Operation,
  };

  Kind kind = Kind::Operation;
  /// Of a run the update's description, of a walk what it is called, of all else the operation.
  std::string name;
  /// Empty for a run.
  std::string module;
  /// Threads are numbered from 1 in the order in which the guard meets them. A number may come
  /// again when a thread has ended.
  unsigned thread = 0;
  /// Of a run: the module for which the latest apply or auto apply command was prepared. Empty
  /// before that.
  std::string lastCommandOf;
  /// Of a run: the thread that executes a sub-command at the moment.
  std::optional<unsigned> subCommandThread;
};

/// A broken rule, and who broke it.
struct GuardViolation {
  GraphRule rule = GraphRule::OneThread;
  /// The operation by which it was noticed: "onApplyGraphChanged", "isApplyNecessary",
  /// "startExecution", or what a walk is called.
  std::string operation;
  /// The module whose links were edited, or whose operation it is. Empty where it is an update's.
  std::string module;
  /// The update that was to be started or to go on. Empty where it is a module's operation.
  std::string update;
  unsigned thread = 0;
  /// What was going on, in the order in which it began.
  std::vector<GraphWork> ongoing;
  /// All of that in one line of well-formed UTF-8, whatever the names.
  std::string text;
};

/// Receives what a guard finds, on the thread of the offender, with no lock held. What it throws
/// goes on to the offender; see GraphGuard. When it returns, everything goes on as without guard.
/// May be called on several threads at once.
using ViolationHandler = std::function<void(const GuardViolation&)>;

/// Writes the text to the standard error and aborts the process, so that a debugger or a core file
/// shows the offender's stack.
ViolationHandler abortOnViolation();

class GuardError : public std::logic_error {
 public:
  explicit GuardError(GuardViolation theViolation);

  const GuardViolation& getViolation() const noexcept;

 private:
  GuardViolation violation;
};

/// Throws a GuardError.
ViolationHandler throwOnViolation();

/// Writes the text to the application's log, as an error.
ViolationHandler logViolations();

}  // namespace Tessaril::Diagnostics
