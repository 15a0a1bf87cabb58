#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "bench/ModuleGraph.h"
#include "bench/VisitHash.h"
#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/parameterization/Object.h"

/// A design to update whose modules and commands do next to nothing, so that what is measured is
/// what the update itself costs.
namespace Tessaril::Bench {

/// What an update asks a module for or tells it, and what becomes of its commands.
enum class UpdateEvent : std::uint32_t {
  UpdateInfoRelevant,
  ApplyNecessary,
  ApplyPossible,
  AutoApplyNecessary,
  AutoApplyPossible,
  UpdateAlways,
  UsesSharedResources,
  SpeedRate,
  CreateApply,
  CreateAutoApply,
  Signal,
  Execute,
  Undo,
};

/// Everything that happened to a design, in its order, as a hash.
class UpdateTrace {
 public:
  /// An event in the lowest four bits, the module's number above.
  using Entry = std::uint32_t;

  void add(UpdateEvent event, Number number) {
    const Entry entry = number << 4 | static_cast<Entry>(event);
    hash.add(entry);
    if (kept != nullptr) [[unlikely]] {
      kept->push_back(entry);
    }
  }
  /// The hash of what was added since the last call.
  std::uint64_t take() { return std::exchange(hash, VisitHash()).value(); }
  /// Writes what is added from now on into `entries`, until it is given null.
  void keepIn(std::vector<Entry>* entries) { kept = entries; }

 private:
  VisitHash hash;
  std::vector<Entry>* kept = nullptr;
};

class UpdateDesign {
 public:
  enum class Applied { Nothing, First, Last, All };
  /// What becomes of a module that needs no full apply: it has an auto apply command, it is asked
  /// for one and has none, or it allows no auto apply and is told of the change.
  enum class Others { AutoApplied, WithoutCommand, Signalled };

  UpdateDesign(const Shape& shape, Applied applied, Others others);

  /// An update from the first module to the shape's end.
  template <typename Update>
  std::unique_ptr<Update> makeUpdate() const {
    return std::make_unique<Update>(root, graph.start(), graph.end(), nullptr);
  }
  /// A new update, executed. The answers of this and the next three are hashes of what happened.
  template <typename Update>
  std::uint64_t run() const {
    makeUpdate<Update>()->execute();
    return trace->take();
  }
  /// The same, given up after so many full applies.
  template <typename Update>
  std::uint64_t runFirst(std::size_t applies) const {
    const auto update = makeUpdate<Update>();
    update->startExecution(nullptr);
    for (std::size_t i = 1; i < applies; ++i) {
      update->continueExecution(nullptr);
    }
    return trace->take();
  }
  /// Undoes an update of this design. It may be undone as often as one likes.
  std::uint64_t undo(CommandBase& update) const {
    update.undo();
    return trace->take();
  }
  /// Undoes commands one by one.
  std::uint64_t undoEach(const std::vector<CommandBase*>& commands) const;
  /// The bare calls that lead to those events: what any engine has to spend.
  std::uint64_t replay(const std::vector<UpdateTrace::Entry>& events) const;

  /// What happens in `run`, which answers with one of the hashes above.
  template <typename Run>
  std::vector<UpdateTrace::Entry> eventsOf(const Run& run) const {
    std::vector<UpdateTrace::Entry> events;
    trace->keepIn(&events);
    run();
    trace->keepIn(nullptr);
    return events;
  }

 private:
  std::unique_ptr<UpdateTrace> trace;
  ModuleGraph graph;
  std::shared_ptr<Object> root;
};

}  // namespace Tessaril::Bench
