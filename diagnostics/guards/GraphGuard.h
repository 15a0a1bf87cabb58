#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"
#include "diagnostics/guards/GuardViolation.h"

namespace Tessaril {

class ApplyModule;

namespace Diagnostics {

class LinkImage;

/// Watches over the rules of a graph, and reports who breaks one.
///
/// One guard serves one graph, or several whose updates do not run in one another: where an update
/// of one graph is a command of another one's, each graph needs a guard of its own.
///
/// The modules (GuardedModule), updates (GuardedUpdate) and walks (GuardedWalk) of the graph tell
/// it what they do; it holds what goes on at the moment, and compares. It changes nothing: with a
/// handler that returns, everything happens as without it.
///
/// What the handler throws leaves the operation that broke the rule, before that operation did
/// anything. Edits are found later: one that a hook tells of has changed one list already, and is
/// left partly done; one that a comparison of links finds is complete, and what is thrown leaves
/// the step of the run that found it. That may be the announcement of the run's end, which
/// listeners that connected later do not hear then. Thrown in a command, it is a failure of that
/// command.
///
/// What cannot be seen from outside:
/// - at the moment when they are made, edits whose modules are all unguarded, and lists that an
///   edit clears or copies as a whole. Most such edits change single entries of neighbours as well;
///   ApplyGraph::restoreApplyGraph() never does. During a run watchLinksOf() finds both, later;
/// - chain ids, insert modes, flags of chains and the additional flag, which no hook tells of;
/// - walks without a GuardedWalk. What they ask of guarded modules is seen, and no question may
///   edit. An edit by a visitor of such a walk is not noticed;
/// - changes of state by operations that are not virtual, setFrozen() for one, but for what they
///   notify;
/// - updates that are not guarded;
/// - two threads that walk or ask at once, which is harmless as long as nothing is edited.
///
/// Any thread. A mutex and a module's name for each operation of a guarded module: for debug builds
/// and for hunting, not for users.
class GraphGuard {
 public:
  /// A module is called what `naming` says, else its path in the parameter tree. `naming` is called
  /// on the thread of each operation and must not ask the module any question.
  explicit GraphGuard(ViolationHandler handler = abortOnViolation(), ModuleNaming naming = {});
  GraphGuard(const GraphGuard&) = delete;
  GraphGuard& operator=(const GraphGuard&) = delete;
  ~GraphGuard();

  /// Compares the links of everything that can be reached from `module`, in each run that begins
  /// from now on, after each step of the run: when a command is prepared, when a sub-command has
  /// ended well, and at the end. So edits are found that no hook tells of, and edits of modules
  /// that are not guarded; the report names the module, and the module whose command was the last
  /// one, but not the operation. Each comparison costs the size of the graph. An edit that a hook
  /// told of hides others of the same step. Requires: `module` is not null; it is not kept alive.
  void watchLinksOf(const std::shared_ptr<const ApplyModule>& module);

  // What guarded modules, updates and walks tell.

  /// 0 is no work.
  using WorkNumber = std::uint64_t;

  /// An operation of a module, or a walk from it, begins on this thread.
  WorkNumber beginWork(GraphWork::Kind kind, std::string_view name, const ApplyModule* module);
  /// An entry of the module's links was edited; its hook begins.
  WorkNumber beginHook(const ApplyModule& module);
  void endWork(WorkNumber number) noexcept;

  /// `update` names one and is not followed.
  void beginRun(const void* update, const std::string& description);
  /// `operation` is called for an update while `blockedBy`, null for any, must not be running.
  void aboutToCall(std::string_view operation, const std::string& description,
                   const void* blockedBy);
  void aboutToContinue(const void* update, const std::string& description);
  void commandPrepared(const void* update, const ApplyModule* module);
  /// A step of a run has ended, on its thread.
  void compareLinks(const void* update);
  /// Both on the thread that executes it.
  void subCommandBegins(const void* update);
  void subCommandEnds(const void* update) noexcept;
  /// The latest work that has begun.
  WorkNumber getLastWork() const;
  /// The runs of the update that began after that work are over.
  void endRuns(const void* update, WorkNumber after) noexcept;

 private:
  struct Work;

  /// What is done against a rule.
  struct Offender;
  /// Called under the lock.
  using BrokenRule = std::function<std::optional<GraphRule>()>;

  void enforce(const BrokenRule& brokenRule, const Offender& offender);
  WorkNumber add(GraphWork::Kind kind, std::string name, const ApplyModule* module);
  Work& append(GraphWork::Kind kind);
  std::optional<GraphRule> ruleOfThread() const;
  std::optional<GraphRule> ruleAgainstEdit() const;
  Work* findRun(const void* update);
  std::shared_ptr<LinkImage> imageOfLinks() const;
  unsigned numberOf(std::thread::id thread);
  std::string nameOf(const ApplyModule& module) const;
  std::string linksOf(const ApplyModule& module) const;

  const ViolationHandler handler;
  const ModuleNaming naming;
  mutable std::mutex mutex;
  /// Where the graph whose links are compared begins.
  std::vector<std::weak_ptr<const ApplyModule>> watched;
  /// In the order in which it began.
  std::vector<Work> works;
  std::map<std::thread::id, unsigned> threadNumbers;
  WorkNumber lastWork = 0;
};

/// A piece of work on a guarded graph, for a scope.
class GuardedWork {
 public:
  GuardedWork(GraphGuard& theGuard, GraphGuard::WorkNumber theNumber) noexcept
      : guard(theGuard), number(theNumber) {}
  GuardedWork(const GuardedWork&) = delete;
  GuardedWork& operator=(const GuardedWork&) = delete;
  ~GuardedWork() { guard.endWork(number); }

 private:
  GraphGuard& guard;
  GraphGuard::WorkNumber number;
};

/// Says that the graph is being walked as long as it lives: to be made around a walk, an ordered
/// traversal, or a loop of one's own over link lists. `name` is what a report calls it.
///
/// Not for walks whose visitors edit, which ApplyModule::forAllFollowingModules() and
/// forAllPreviousModules() allow.
class GuardedWalk {
 public:
  /// Null guards nothing.
  GuardedWalk(std::shared_ptr<GraphGuard> theGuard, std::string_view name)
      : guard(std::move(theGuard)),
        number(guard == nullptr ? 0 : guard->beginWork(GraphWork::Kind::Walk, name, nullptr)) {}
  GuardedWalk(const GuardedWalk&) = delete;
  GuardedWalk& operator=(const GuardedWalk&) = delete;
  ~GuardedWalk() {
    if (guard != nullptr) {
      guard->endWork(number);
    }
  }

 private:
  std::shared_ptr<GraphGuard> guard;
  GraphGuard::WorkNumber number;
};

}  // namespace Diagnostics
}  // namespace Tessaril
