#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/graph/ModuleLinks.h"
#include "tessaril/graph/ModuleNumbers.h"
#include "tessaril/graph/ReadyQueue.h"
#include "tessaril/module/ApplyModule.h"

// The ordered traversals
//
// 1. Find the modules that the traversal belongs to, its scope. Each gets a number and is held, and
//    its links in both directions are read, while its memory is at hand, and kept as numbers. From
//    there on modules are looked at for the callback only.
// 2. Each module counts the links to unvisited modules of the scope that it waits for. Take the
//    first entry of the queue whose module waits for nothing (see ReadyQueue), call back, and mark
//    it visited: those that wait for it wait for one less. Append its neighbours.

namespace Tessaril {
namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;
using Number = ModuleNumbers::Number;

constexpr Number kNone = ModuleNumbers::kNone;

enum class Direction { Forwards, Backwards };

class Traversal {
 public:
  /// The traversal goes along the links in this direction, and a module waits for those at its
  /// links in the other. The scope is start and all that is reached from it, not beyond end, which
  /// may be null. Start is queued.
  Traversal(Direction onward, const ModulePtr& start, const ModulePtr& end)
      : direction(onward), first(add(start)), last(end != nullptr ? add(end) : kNone) {
    gatherScope();
    queue.expect(onwardNumbers.size() + 1, numbers.size());
    push(first, false);
  }

  Number getFirst() const { return first; }

  /// Finds what lies behind end; nothing without one.
  void findBeyondEnd() {
    if (last != kNone) {
      mark(&Node::isBeyondEnd, last, kNone,
           [this](Number number, const auto& use) { forOnward(number, Unknown::Added, use); });
    }
  }
  bool isBeyondEnd(Number number) const { return nodes[number].isBeyondEnd; }

  /// Finds end and what it depends on, back to start; nothing without an end.
  void findWayToEnd() {
    if (last != kNone) {
      mark(&Node::isOnWay, last, first,
           [this](Number number, const auto& use) { forBack(number, use); });
      nodes[last].isOnWay = true;
    }
  }
  bool isOnWay(Number number) const { return nodes[number].isOnWay; }

  void push(Number number, bool flag) {
    if (!nodes[number].isWaitCounted) {
      countWaits(number);
    }
    Node& node = nodes[number];
    const bool isReady = node.waits == 0;
    // Of a module that is ready, the entry before would be taken first, and this one dropped.
    if (node.isVisited || (isReady && node.isQueued)) {
      return;
    }
    node.isQueued = true;
    numbers.loadEarly(number);
    queue.push(number, flag, isReady);
  }

  std::optional<ReadyQueue::Taken> take() {
    return queue.take([this](Number number) { return nodes[number].isVisited; });
  }

  void setVisited(Number number) {
    nodes[number].isVisited = true;
    for (std::uint32_t i = nodes[number].firstWait; i != kNone; i = waits[i].next) {
      Node& waiting = nodes[waits[i].module];
      if (--waiting.waits == 0 && waiting.isQueued) {
        queue.setReadyOnce(waits[i].module);
      }
    }
  }

  const ModulePtr& module(Number number) const {
    // Most modules are visited in the order in which they were found.
    numbers.loadEarly(number + ModuleNumbers::kAhead);
    return numbers.heldModule(number);
  }

  /// Calls `use` with the number of every neighbour onwards that belongs to the traversal.
  template <typename Use>
  void forOnward(Number number, const Use& use) {
    forOnward(number, Unknown::PassedOver, use);
  }

 private:
  enum class Unknown { Added, PassedOver };

  /// How many modules ahead of its turn the lists of a module are loaded, then their entries, then
  /// the numbers of the modules that these are for.
  static constexpr Number kListsAhead = 8;
  static constexpr Number kEntriesAhead = 4;
  static constexpr Number kNumbersAhead = 2;

  /// Places in one of the lists of numbers.
  struct Span {
    std::uint32_t begin = kNone;
    std::uint32_t end = kNone;

    bool isKnown() const { return begin != kNone; }
  };

  struct Node {
    Span onward{};
    Span back{};
    std::uint32_t waits = 0;
    /// Of those that wait for this module.
    std::uint32_t firstWait = kNone;
    bool isInScope = false;
    bool isVisited = false;
    bool isQueued = false;
    bool isWaitCounted = false;
    /// It has links back to modules that have no number.
    bool hasUnknownBack = false;
    bool isBeyondEnd = false;
    bool isOnWay = false;
  };

  struct Wait {
    Number module;
    std::uint32_t next;
  };

  /// A link back to a module that had no number yet when the link was read.
  struct UnknownBack {
    Number module;
    std::uint32_t place;
    std::uint32_t at;
  };

  const LinkList& onwardLinks(Number number) const {
    const ApplyModule& module = *numbers.heldModule(number);
    return direction == Direction::Forwards ? ApplyGraph::getNextLinks(module)
                                            : ApplyGraph::getPreviousLinks(module);
  }
  const LinkList& backLinks(Number number) const {
    const ApplyModule& module = *numbers.heldModule(number);
    return direction == Direction::Forwards ? ApplyGraph::getPreviousLinks(module)
                                            : ApplyGraph::getNextLinks(module);
  }

  Number add(const ModulePtr& module) {
    const Number number = numbers.add(module, ModuleNumbers::As::Held);
    nodes.resize(numbers.size());
    return number;
  }

  void gatherScope() {
    nodes[first].isInScope = true;
    for (Number number = 0; number < numbers.size(); ++number) {
      if (number + kListsAhead < numbers.size()) {
        ApplyGraph::loadLinksEarly(numbers.heldModule(number + kListsAhead).get());
        onwardLinks(number + kEntriesAhead).loadEarly();
        backLinks(number + kEntriesAhead).loadEarly();
        numbers.loadEarly(onwardLinks(number + kNumbersAhead));
        numbers.loadEarly(backLinks(number + kNumbersAhead));
      }
      if (number == first || number != last) {
        readOnward(number);
      }
      readBack(number);
    }
    findUnknownBack();
    for (Number number = 0; number < nodes.size(); ++number) {
      countWaits(number);
    }
  }

  void readOnward(Number number) {
    const LinkList& links = onwardLinks(number);
    const auto begin = static_cast<std::uint32_t>(onwardNumbers.size());
    for (std::size_t place = 0; place < links.size(); ++place) {
      const Number found = numbers.add(links, place, ModuleNumbers::As::Held);
      if (found == kNone) {
        continue;
      }
      if (found == nodes.size()) {
        nodes.emplace_back();
      }
      nodes[found].isInScope = true;
      onwardNumbers.push_back(found);
    }
    nodes[number].onward = {begin, static_cast<std::uint32_t>(onwardNumbers.size())};
  }

  void readBack(Number number) {
    const LinkList& links = backLinks(number);
    const auto begin = static_cast<std::uint32_t>(backNumbers.size());
    for (std::size_t place = 0; place < links.size(); ++place) {
      const Number found = find(links, place);
      if (found == kNone) {
        unknownBack.push_back({number, static_cast<std::uint32_t>(place),
                               static_cast<std::uint32_t>(backNumbers.size())});
      }
      backNumbers.push_back(found);
    }
    nodes[number].back = {begin, static_cast<std::uint32_t>(backNumbers.size())};
  }

  void findUnknownBack() {
    for (std::size_t i = 0; i < unknownBack.size(); ++i) {
      if (i + kListsAhead < unknownBack.size()) {
        const Number ahead = unknownBack[i + kListsAhead].module;
        ApplyGraph::loadLinksEarly(numbers.heldModule(ahead).get());
        backLinks(unknownBack[i + kEntriesAhead].module).loadEarly();
      }
      const UnknownBack& link = unknownBack[i];
      const LinkList& links = backLinks(link.module);
      backNumbers[link.at] = find(links, link.place);
      nodes[link.module].hasUnknownBack |=
          backNumbers[link.at] == kNone && last != kNone && links.isLive(link.place);
    }
  }

  void countWaits(Number number) {
    // One that lies beyond the end: only what is queued needs it, after the ways have been found.
    if (!nodes[number].back.isKnown()) {
      readBack(number);
    }
    Node& node = nodes[number];
    node.isWaitCounted = true;
    for (std::uint32_t i = node.back.begin; i != node.back.end; ++i) {
      const Number awaited = backNumbers[i];
      if (awaited != kNone && nodes[awaited].isInScope && !nodes[awaited].isVisited) {
        ++node.waits;
        const auto next = static_cast<std::uint32_t>(waits.size());
        waits.push_back({number, std::exchange(nodes[awaited].firstWait, next)});
      }
    }
  }

  /// kNone for a module that has no number, and for one that has gone.
  Number find(const LinkList& links, std::size_t place) const {
    const Number number = numbers.find(links.address(place));
    return number != kNone &&
                   (links.isHeldBy(place, numbers.heldModule(number)) || links.isLive(place))
               ? number
               : kNone;
  }

  /// Marks what `follow`, called with a module and what is to be called with its neighbours, leads
  /// to. Goes on from all but `stop`.
  template <typename Follow>
  void mark(bool Node::*marked, Number from, Number stop, const Follow& follow) {
    std::vector<Number> stack{from};
    while (!stack.empty()) {
      const Number number = stack.back();
      stack.pop_back();
      follow(number, [&](Number met) {
        if (!std::exchange(nodes[met].*marked, true) && met != stop) {
          stack.push_back(met);
        }
      });
    }
  }

  template <typename Use>
  void forOnward(Number number, Unknown unknown, const Use& use) {
    if (nodes[number].onward.isKnown()) {
      forNumbers(onwardNumbers, nodes[number].onward, use);
    } else {
      forLinks(onwardLinks(number), unknown, use);
    }
  }

  template <typename Use>
  void forBack(Number number, const Use& use) {
    if (nodes[number].back.isKnown() && !nodes[number].hasUnknownBack) {
      forNumbers(backNumbers, nodes[number].back, use);
    } else {
      forLinks(backLinks(number), Unknown::Added, use);
    }
  }

  template <typename Use>
  void forNumbers(const std::vector<Number>& found, Span span, const Use& use) const {
    for (std::uint32_t i = span.begin; i != span.end; ++i) {
      if (found[i] != kNone) {
        use(found[i]);
      }
    }
  }

  template <typename Use>
  void forLinks(const LinkList& links, Unknown unknown, const Use& use) {
    for (std::size_t place = 0; place < links.size(); ++place) {
      const Number found = unknown == Unknown::Added
                               ? numbers.add(links, place, ModuleNumbers::As::Held)
                               : find(links, place);
      nodes.resize(numbers.size());
      if (found != kNone) {
        use(found);
      }
    }
  }

  Direction direction;
  ModuleNumbers numbers;
  std::vector<Node> nodes;
  /// The neighbours of the modules whose links have been read, one module after the other.
  std::vector<Number> onwardNumbers;
  /// kNone for those without a number.
  std::vector<Number> backNumbers;
  std::vector<UnknownBack> unknownBack;
  std::vector<Wait> waits;
  ReadyQueue queue;
  Number first;
  Number last;
};

}  // namespace

void ApplyGraph::forSemanticOrderedModuleRange(std::function<void(ModulePtr)> callback,
                                               ModulePtr start, ModulePtr end) {
  if (start == nullptr) {
    return;
  }
  Traversal traversal(Direction::Forwards, start, end);
  traversal.findWayToEnd();
  while (const auto taken = traversal.take()) {
    callback(traversal.module(taken->module));
    traversal.setVisited(taken->module);
    traversal.forOnward(taken->module, [&](Number next) {
      if (end == nullptr || traversal.isOnWay(next)) {
        traversal.push(next, false);
      }
    });
  }
}

void ApplyGraph::forSemanticOrderedModuleFullRange(std::function<bool(ModulePtr, bool)> callback,
                                                   ModulePtr start, ModulePtr end) {
  if (start == nullptr) {
    return;
  }
  Traversal traversal(Direction::Forwards, start, end);
  traversal.findBeyondEnd();
  traversal.findWayToEnd();
  while (const auto taken = traversal.take()) {
    traversal.setVisited(taken->module);
    if (!callback(traversal.module(taken->module), taken->flag)) {
      continue;
    }
    traversal.forOnward(taken->module, [&](Number next) {
      if (!traversal.isBeyondEnd(next)) {
        traversal.push(next, taken->flag || (end != nullptr && !traversal.isOnWay(next)));
      }
    });
  }
}

void ApplyGraph::forSemanticOrderedPreviousModules(std::function<bool(ModulePtr)> callback,
                                                   ModulePtr module) {
  if (module == nullptr) {
    return;
  }
  Traversal traversal(Direction::Backwards, module, nullptr);
  while (const auto taken = traversal.take()) {
    traversal.setVisited(taken->module);
    if (taken->module == traversal.getFirst() || callback(traversal.module(taken->module))) {
      traversal.forOnward(taken->module, [&](Number previous) { traversal.push(previous, false); });
    }
  }
}

// The single step keeps nothing between two calls, for the queue is the caller's own: it looks at
// every waiting entry again.

namespace {

bool hasToWait(const ApplyModule& module, const ApplyGraph::ModuleSet& visited,
               const ApplyGraph::ModuleSet& scope) {
  const auto& links = module.getPreviousApplyModules();
  return std::any_of(links.begin(), links.end(), [&](const std::weak_ptr<ApplyModule>& link) {
    const ModulePtr neighbour = link.lock();
    return neighbour != nullptr && !visited.contains(neighbour) && scope.contains(neighbour);
  });
}

}  // namespace

ModulePtr ApplyGraph::getNextModuleInOrder(ModuleQueue& queue, const ModuleSet& visited,
                                           const ModuleSet& scope) {
  std::vector<ModulePtr> waiting;
  while (!queue.empty()) {
    ModulePtr module = std::move(queue.front());
    queue.pop();
    if (module == nullptr || visited.contains(module)) {
      continue;
    }
    if (hasToWait(*module, visited, scope)) {
      waiting.push_back(std::move(module));
      continue;
    }
    for (ModulePtr& deferred : waiting) {
      queue.push(std::move(deferred));
    }
    return module;
  }
  return nullptr;
}

}  // namespace Tessaril
