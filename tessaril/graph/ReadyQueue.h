#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "tessaril/graph/ReadyOrder.h"

// Internal to the library.

namespace Tessaril {

/// The work queue of ReadyOrder, which is a plain queue while nothing in it has to wait.
class ReadyQueue {
 public:
  using Number = ReadyOrder::Number;
  using Taken = ReadyOrder::Taken;

  /// At most so many pushes of so many modules are to come. Room is made for them when it is
  /// needed.
  void expect(std::size_t pushes, std::size_t modules) {
    expectedPushes = pushes;
    expectedModules = modules;
  }

  /// At the back. `isReady`: the module is ready now, and so are its entries before.
  void push(Number module, bool flag, bool isReady) {
    if (isReady && isPlain()) {
      plain.push_back({module, flag});
      return;
    }
    putInOrder();
    order.push(module, flag, isReady);
  }

  /// Whether nothing in it has to wait.
  bool isPlain() const { return order.isEmpty(); }
  /// Calls `use` with the module of every entry, while the queue is plain.
  template <typename Use>
  void forEachPlain(const Use& use) const {
    for (std::size_t place = firstPlain; place != plain.size(); ++place) {
      use(plain[place].module);
    }
  }

  /// All entries of the module are ready from now on. Requires: none of them was before.
  void setReady(Number module) { order.setCandidate(module); }
  /// The same for a module that will be visited when it is taken: its other entries go.
  void setReadyOnce(Number module) { order.setCandidateOnce(module); }

  /// Takes the first entry that is ready and whose module is not visited, and drops the visited
  /// ones before it.
  template <typename IsVisited>
  std::optional<Taken> take(const IsVisited& isVisited) {
    while (firstPlain != plain.size()) {
      const Taken taken = plain[firstPlain++];
      if (!isVisited(taken.module)) {
        return taken;
      }
    }
    return order.take(isVisited);
  }

  /// Drops all entries.
  void drop() {
    firstPlain = plain.size();
    order.drop();
  }
  void clear() {
    order.clear();
    plain.clear();
    firstPlain = 0;
  }

  /// The modules of all entries, from the front on.
  std::vector<Number> modules() const {
    return firstPlain != plain.size() ? plainModules(firstPlain, plain.size()) : order.modules();
  }
  /// Remembers the queue as it is now. Costs what has changed since the last time.
  void save() {
    savedPlain = firstPlain;
    savedPlainEnd = plain.size();
    order.save();
  }
  /// What modules() was when the queue was saved. Requires: it was, since it was cleared.
  std::vector<Number> savedModules() const {
    return savedPlain != savedPlainEnd ? plainModules(savedPlain, savedPlainEnd)
                                       : order.savedModules();
  }
  /// Calls `use` with the module of every entry since the queue was cleared that did not find a
  /// plain queue, or did not stay in one until it was taken.
  template <typename Use>
  void forEachPutInOrder(const Use& use) const {
    order.forEachPushed(use);
  }

 private:
  std::vector<Number> plainModules(std::size_t begin, std::size_t end) const {
    std::vector<Number> found;
    for (std::size_t place = begin; place != end; ++place) {
      found.push_back(plain[place].module);
    }
    return found;
  }

  void putInOrder() {
    if (expectedPushes != 0) {
      order.reserve(std::exchange(expectedPushes, 0), expectedModules);
    }
    for (; firstPlain != plain.size(); ++firstPlain) {
      order.push(plain[firstPlain].module, plain[firstPlain].flag, true);
    }
  }

  /// In place of the order, which is empty while there is something from `firstPlain` on. What is
  /// before that has been taken, and is kept for savedModules().
  std::vector<Taken> plain;
  std::size_t firstPlain = 0;
  std::size_t savedPlain = 0;
  std::size_t savedPlainEnd = 0;
  ReadyOrder order;
  std::size_t expectedPushes = 0;
  std::size_t expectedModules = 0;
};

}  // namespace Tessaril
