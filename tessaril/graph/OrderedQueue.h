#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "tessaril/graph/ReadyQueue.h"

// Internal to the library.

namespace Tessaril {

/// A ReadyQueue together with the knowledge of who waits for whom: a module that
/// is not ready watches one unvisited neighbour that it waits for. When that one is visited, the
/// search for another one goes on where it had stopped, so every link is looked at once.
///
/// `Search`: Number(Number module, std::uint32_t& searched), the first neighbour from place
/// `searched` of the module's neighbours on that the module has to wait for, with `searched` left
/// at its place; kNone when there is none, or when the module itself is visited.
///
/// Whatever else changes the answers of a search than a module that becomes visited, a module that
/// becomes unvisited or an edited link: the queue has to be filled anew.
class OrderedQueue {
 public:
  using Number = ReadyQueue::Number;
  using Taken = ReadyQueue::Taken;
  static constexpr Number kNone = 0xFFFF'FFFF;

  /// What happens to a module that is pushed while it stands before in the queue and is ready.
  enum class Repeats {
    Kept,
    /// For a queue whose modules are visited as soon as they are taken: the entry before is taken
    /// first, and this one would be dropped.
    LeftOut
  };

  explicit OrderedQueue(Repeats whatOfRepeats = Repeats::Kept) : repeats(whatOfRepeats) {}

  /// See ReadyQueue.
  void expect(std::size_t pushes, std::size_t modules) {
    queue.expect(pushes, modules);
    expectedModules = modules;
  }

  template <typename Search>
  void push(Number module, bool flag, const Search& search) {
    if (queue.isPlain()) {
      std::uint32_t searched = 0;
      if (search(module, searched) == kNone) {
        queue.push(module, flag, true);
        return;
      }
      nodes.reserve(expectedModules);
      queue.forEachPlain([this](Number ready) { nodeOf(ready).state = State::Ready; });
    }
    if (nodeOf(module).state == State::Unknown) {
      lookForUnvisited(module, search);
    } else if (repeats == Repeats::LeftOut && nodes[module].state == State::Ready) {
      return;
    }
    queue.push(module, flag, nodes[module].state == State::Ready);
  }

  template <typename IsVisited>
  std::optional<Taken> take(const IsVisited& isVisited) {
    return queue.take(isVisited);
  }

  /// To be called when the module has become visited.
  template <typename Search>
  void noteVisited(Number module, const Search& search) {
    if (module >= nodes.size()) {
      return;
    }
    if (nodes[module].state == State::Waiting) {
      setReady(module);
    }
    Number waiting = std::exchange(nodes[module].firstWatcher, kNone);
    while (waiting != kNone) {
      const Number next = nodes[waiting].nextWatcher;
      nodes[waiting].watched = kNone;
      if (nodes[waiting].state == State::Waiting && lookForUnvisited(waiting, search)) {
        queue.setReady(waiting);
      }
      waiting = next;
    }
  }

  void drop() { queue.drop(); }

  void clear() {
    queue.forEachPutInOrder([this](Number module) {
      if (const Number watched = nodes[module].watched; watched != kNone) {
        nodes[watched].firstWatcher = kNone;
      }
      nodes[module] = Node();
    });
    queue.clear();
  }

  std::vector<Number> modules() const { return queue.modules(); }
  void save() { queue.save(); }
  std::vector<Number> savedModules() const { return queue.savedModules(); }

 private:
  enum class State : std::uint8_t { Unknown, Waiting, Ready };

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

  void setReady(Number module) {
    nodes[module].state = State::Ready;
    queue.setReady(module);
  }

  /// True when the module has nothing to wait for any more.
  template <typename Search>
  bool lookForUnvisited(Number module, const Search& search) {
    const Number found = search(module, nodes[module].searched);
    if (found == kNone) {
      nodes[module].state = State::Ready;
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
  ReadyQueue queue;
  std::vector<Node> nodes;
  std::size_t expectedModules = 0;
};

}  // namespace Tessaril
