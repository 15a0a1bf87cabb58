#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "tessaril/graph/ReadyOrder.h"

// Internal to the library.

namespace Tessaril {

/// The work queue of ReadyOrder, together with the knowledge of who waits for whom: a module that
/// is not ready watches one unvisited neighbour that it waits for. When that one is visited, the
/// search for another one goes on where it had stopped, so every link is looked at once.
///
/// `Search`: Number(Number module, std::uint32_t& searched), the first neighbour from place
/// `searched` of the module's neighbours on that the module has to wait for, with `searched` left
/// at its place; kNone when there is none, or when the module itself is visited.
///
/// While nothing in the queue has to wait it is a plain queue, which needs no order.
///
/// Whatever else changes the answers of a search than a module that becomes visited, a module that
/// becomes unvisited or an edited link: the queue has to be filled anew.
class OrderedQueue {
 public:
  using Number = ReadyOrder::Number;
  static constexpr Number kNone = 0xFFFF'FFFF;

  /// What happens to a module that is pushed while it stands before in the queue and is ready.
  enum class Repeats {
    Kept,
    /// For a queue whose modules are visited as soon as they are taken: the entry before is taken
    /// first, and this one would be dropped.
    LeftOut
  };

  explicit OrderedQueue(Repeats whatOfRepeats = Repeats::Kept) : repeats(whatOfRepeats) {}

  /// At most so many pushes of so many modules are to come. Room is made for them when it is
  /// needed.
  void expect(std::size_t pushes, std::size_t modules) {
    expectedPushes = pushes;
    expectedModules = modules;
  }

  template <typename Search>
  void push(Number module, bool flag, const Search& search) {
    if (order.isEmpty()) {
      std::uint32_t searched = 0;
      if (search(module, searched) == kNone) {
        plain.push_back({module, flag});
        return;
      }
    }
    if (repeats == Repeats::LeftOut && isReady(module)) {
      return;
    }
    putInOrder();
    if (expectedPushes != 0) {
      reserve();
    }
    if (nodeOf(module).state == State::Unknown) {
      lookForUnvisited(module, search);
    }
    order.push(module, flag, nodes[module].state == State::Candidate);
  }

  template <typename IsVisited>
  std::optional<ReadyOrder::Taken> take(const IsVisited& isVisited) {
    while (firstPlain != plain.size()) {
      const ReadyOrder::Taken taken = plain[firstPlain++];
      if (!isVisited(taken.module)) {
        return taken;
      }
    }
    return order.take(isVisited);
  }

  /// To be called when the module has become visited.
  template <typename Search>
  void noteVisited(Number module, const Search& search) {
    if (module >= nodes.size()) {
      return;
    }
    if (nodes[module].state == State::Waiting) {
      setCandidate(module);
    }
    Number waiting = std::exchange(nodes[module].firstWatcher, kNone);
    while (waiting != kNone) {
      const Number next = nodes[waiting].nextWatcher;
      nodes[waiting].watched = kNone;
      if (nodes[waiting].state == State::Waiting && lookForUnvisited(waiting, search)) {
        order.setCandidate(waiting);
      }
      waiting = next;
    }
  }

  void drop() {
    firstPlain = plain.size();
    order.drop();
  }

  void clear() {
    order.forEachPushed([this](Number module) {
      if (const Number watched = nodes[module].watched; watched != kNone) {
        nodes[watched].firstWatcher = kNone;
      }
      nodes[module] = Node();
    });
    order.clear();
    plain.clear();
    firstPlain = 0;
  }

  std::vector<Number> modules() const {
    return firstPlain != plain.size() ? plainModules(firstPlain, plain.size()) : order.modules();
  }
  /// Remembers the queue as it is now. Costs what has changed since the last time.
  void save() {
    savedPlain = firstPlain;
    savedPlainEnd = plain.size();
    order.save();
  }
  std::vector<Number> savedModules() const {
    return savedPlain != savedPlainEnd ? plainModules(savedPlain, savedPlainEnd)
                                       : order.savedModules();
  }

 private:
  enum class State : std::uint8_t { Unknown, Waiting, Candidate };

  struct Node {
    /// Where the search for an unvisited neighbour goes on.
    std::uint32_t searched = 0;
    Number watched = kNone;
    /// The modules that watch this one.
    Number firstWatcher = kNone;
    Number nextWatcher = kNone;
    State state = State::Unknown;
  };

  Node& nodeOf(Number module) {
    if (module >= nodes.size()) {
      nodes.resize(std::size_t{module} + 1);
    }
    return nodes[module];
  }

  bool isReady(Number module) const {
    return module < nodes.size() && nodes[module].state == State::Candidate;
  }

  std::vector<Number> plainModules(std::size_t begin, std::size_t end) const {
    std::vector<Number> found;
    for (std::size_t place = begin; place != end; ++place) {
      found.push_back(plain[place].module);
    }
    return found;
  }

  void reserve() {
    order.reserve(std::exchange(expectedPushes, 0), expectedModules);
    nodes.reserve(expectedModules);
  }

  void putInOrder() {
    for (; firstPlain != plain.size(); ++firstPlain) {
      const ReadyOrder::Taken& entry = plain[firstPlain];
      nodeOf(entry.module).state = State::Candidate;
      order.push(entry.module, entry.flag, true);
    }
  }

  void setCandidate(Number module) {
    nodes[module].state = State::Candidate;
    order.setCandidate(module);
  }

  /// True when the module has nothing to wait for any more.
  template <typename Search>
  bool lookForUnvisited(Number module, const Search& search) {
    const Number found = search(module, nodes[module].searched);
    if (found == kNone) {
      nodes[module].state = State::Candidate;
      return true;
    }
    Node& watchedNode = nodeOf(found);
    Node& node = nodes[module];
    node.nextWatcher = std::exchange(watchedNode.firstWatcher, module);
    node.watched = found;
    node.state = State::Waiting;
    return false;
  }

  Repeats repeats;
  /// In place of the order, which is empty while there is something from `firstPlain` on. What is
  /// before that has been taken, and is kept for savedModules().
  std::vector<ReadyOrder::Taken> plain;
  std::size_t firstPlain = 0;
  std::size_t savedPlain = 0;
  std::size_t savedPlainEnd = 0;
  ReadyOrder order;
  std::vector<Node> nodes;
  std::size_t expectedPushes = 0;
  std::size_t expectedModules = 0;
};

}  // namespace Tessaril
