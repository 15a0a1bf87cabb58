#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// Internal: in which order an update visits modules.

namespace Tessaril::Diagnostics {

/// One visit of modules in graph order: answers what ApplyGraph::getNextModuleInOrder() would, but
/// does not look at all that waits each time. A module at the end of a long chain may wait in the
/// queue once for every module of the chain.
///
/// The queue is seen as a circle: what waits stays where it is, a cursor moves on behind what was
/// taken last, and what is new comes right before the cursor. Labels that grow along the queue tell
/// which of the entries that have nothing to wait for comes next.
///
/// A push and a taking cost the logarithm of the entries, on average.
class VisitOrder {
 public:
  using Links = std::vector<std::vector<std::size_t>>;
  using Scope = std::unordered_set<std::size_t>;

  /// `previous`: for each module those that it follows at once, by index; it waits for those of
  /// them that are in `scope`. Requires: `previous` and `isVisited` live longer than this.
  VisitOrder(const Links& previous, const std::vector<bool>& isVisited, Scope scope);
  VisitOrder(const VisitOrder&) = delete;
  VisitOrder& operator=(const VisitOrder&) = delete;

  /// Puts a module at the back of the queue, once more if it is there already.
  void push(std::size_t module);
  /// To be called once for every module that becomes visited, whoever visits it.
  void noteVisited(std::size_t module);
  /// The first module that is unvisited and has nothing to wait for. Nothing: the visit is over.
  std::optional<std::size_t> takeNext();

 private:
  using Label = std::uint64_t;
  struct Entry {
    std::size_t module;
    Label label;
  };
  using Queue = std::list<Entry>;
  using Place = Queue::iterator;
  struct Waiting {
    /// How many links lead from unvisited modules of the scope.
    std::size_t links = 0;
    /// Empty once there is none.
    std::vector<Place> entries{};
  };

  Waiting& waitingOf(std::size_t module);
  Label labelBefore(Place behind);
  void labelAnew();

  const Links& previousOf;
  const std::vector<bool>& isVisited;
  Scope scope;
  Queue queue;
  Place cursor;
  /// The entries of modules that have nothing to wait for.
  std::map<Label, Place> ready;
  std::unordered_map<std::size_t, Waiting> waiting;
  std::unordered_map<std::size_t, std::vector<std::size_t>> waitingFor;
};

}  // namespace Tessaril::Diagnostics
