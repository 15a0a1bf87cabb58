#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/graph/ModuleNumbers.h"
#include "tessaril/graph/NumberSet.h"
#include "tessaril/graph/OrderedQueue.h"
#include "tessaril/module/ApplyModule.h"

// The ordered traversals
//
// 1. Find the modules that the traversal belongs to, number them, and hold them. The links along
//    which the traversal goes are followed once, and kept as numbers.
// 2. Take the first entry of the queue whose module is ready (see OrderedQueue), call back, mark it
//    visited and append its neighbours.

namespace Tessaril {
namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;
using LinksOf = const LinkList& (*)(const ApplyModule&);
using Number = ModuleNumbers::Number;

constexpr Number kNone = ModuleNumbers::kNone;

class Traversal {
 public:
  /// `onward`: the links along which the traversal goes; `waitsFor`: the others. The scope is start
  /// and all that is reached from it onwards, not beyond end, which may be null. Start is queued.
  Traversal(LinksOf onward, LinksOf waitsFor, const ModulePtr& start, const ModulePtr& end)
      : onwardLinks(onward), waitLinks(waitsFor), first(add(start)) {
    last = end != nullptr ? add(end) : kNone;
    for (const Number number : reach(first, last, onwardLinks, true)) {
      nodes[number].isInScope = true;
    }
    nodes[first].isInScope = true;
    queue.expect(onwardNumbers.size() + 1, numbers.size());
    push(first, false);
  }

  Number getFirst() const { return first; }

  /// What lies behind end; nothing without one.
  NumberSet beyondEnd() {
    return last == kNone ? NumberSet() : setOf(reach(last, kNone, onwardLinks, false));
  }
  /// End and what it depends on, back to start; nothing without an end.
  NumberSet wayToEnd() {
    NumberSet way;
    if (last != kNone) {
      way = setOf(reach(last, first, waitLinks, false));
      way.insert(last);
    }
    return way;
  }

  void push(Number number, bool flag) {
    if (!nodes[number].isVisited) {
      queue.push(number, flag, Search{*this});
    }
  }

  std::optional<ReadyOrder::Taken> take() {
    return queue.take([this](Number number) { return nodes[number].isVisited; });
  }

  void setVisited(Number number) {
    nodes[number].isVisited = true;
    lastVisited = number;
    queue.noteVisited(number, Search{*this});
  }

  const ModulePtr& module(Number number) const { return numbers.heldModule(number); }

  /// Calls `use` with the number of every neighbour onwards that has one.
  template <typename Use>
  void forOnward(Number number, const Use& use) {
    if (const std::size_t begin = nodes[number].onwardBegin; begin != kNotFollowed) {
      // By index: `use` may follow other links.
      for (std::size_t i = begin; i < nodes[number].onwardEnd; ++i) {
        use(onwardNumbers[i]);
      }
      return;
    }
    const LinkList& links = onwardLinks(*module(number));
    for (std::size_t place = 0; place < links.size(); ++place) {
      if (const Number found = find(links, place); found != kNone) {
        use(found);
      }
    }
  }

 private:
  struct Search {
    const Traversal& traversal;
    Number operator()(Number number, std::uint32_t& searched) const {
      return traversal.findUnvisited(number, searched);
    }
  };
  static constexpr std::size_t kNotFollowed = static_cast<std::size_t>(-1);

  struct Node {
    std::size_t onwardBegin = kNotFollowed;
    std::size_t onwardEnd = 0;
    bool isInScope = false;
    bool isVisited = false;
  };

  static NumberSet setOf(const std::vector<Number>& members) {
    NumberSet set;
    for (const Number member : members) {
      set.insert(member);
    }
    return set;
  }

  Number add(const ModulePtr& module) {
    const Number number = numbers.add(module, ModuleNumbers::As::Held);
    nodes.resize(numbers.size());
    return number;
  }

  std::vector<Number> reach(Number from, Number stop, LinksOf links, bool keepsLinks) {
    std::vector<Number> reached;
    std::vector<bool> seen(nodes.size());
    Number next = from;
    for (std::size_t done = 0;; ++done) {
      follow(next, links, keepsLinks, [&](Number number) {
        if (number >= seen.size()) {
          seen.resize(2 * number + 2);
        }
        if (!seen[number]) {
          seen[number] = true;
          reached.push_back(number);
        }
      });
      while (done < reached.size() &&
             (reached[done] == stop || (keepsLinks && wasFollowed(reached[done])))) {
        ++done;
      }
      if (done >= reached.size()) {
        return reached;
      }
      next = reached[done];
    }
  }

  bool wasFollowed(Number number) const { return nodes[number].onwardBegin != kNotFollowed; }

  template <typename Use>
  void follow(Number number, LinksOf links, bool keepsLinks, const Use& use) {
    const std::size_t begin = onwardNumbers.size();
    const LinkList& list = links(*module(number));
    for (std::size_t place = 0; place < list.size(); ++place) {
      const Number found = numbers.add(list, place, ModuleNumbers::As::Held);
      if (found == kNone) {
        continue;
      }
      if (keepsLinks) {
        onwardNumbers.push_back(found);
      }
      use(found);
    }
    nodes.resize(numbers.size());
    if (keepsLinks) {
      nodes[number].onwardBegin = begin;
      nodes[number].onwardEnd = onwardNumbers.size();
    }
  }

  Number findUnvisited(Number number, std::uint32_t& searched) const {
    const LinkList& links = waitLinks(*module(number));
    for (; searched < links.size(); ++searched) {
      if (lastVisited != kNone && links.isHeldBy(searched, module(lastVisited))) {
        continue;
      }
      const Number found = find(links, searched);
      if (found != kNone && nodes[found].isInScope && !nodes[found].isVisited) {
        return found;
      }
    }
    return kNone;
  }

  /// kNone for a module that has no number, and for one that has gone.
  Number find(const LinkList& links, std::size_t place) const {
    const Number number = numbers.find(links.address(place));
    return number != kNone && (links.isHeldBy(place, module(number)) || links.isLive(place))
               ? number
               : kNone;
  }

  LinksOf onwardLinks;
  LinksOf waitLinks;
  ModuleNumbers numbers;
  std::vector<Node> nodes;
  /// The neighbours onwards of the modules whose links were followed, one module after the other.
  std::vector<Number> onwardNumbers;
  OrderedQueue queue{OrderedQueue::Repeats::LeftOut};
  Number lastVisited = kNone;
  Number first;
  Number last = kNone;
};

/// Requires: start is not null.
Traversal forwards(const ModulePtr& start, const ModulePtr& end) {
  return {&ApplyGraph::getNextLinks, &ApplyGraph::getPreviousLinks, start, end};
}

}  // namespace

void ApplyGraph::forSemanticOrderedModuleRange(std::function<void(ModulePtr)> callback,
                                               ModulePtr start, ModulePtr end) {
  if (start == nullptr) {
    return;
  }
  Traversal traversal = forwards(start, end);
  const NumberSet allowed = traversal.wayToEnd();
  while (const auto taken = traversal.take()) {
    callback(traversal.module(taken->module));
    traversal.setVisited(taken->module);
    traversal.forOnward(taken->module, [&](Number next) {
      if (end == nullptr || allowed.contains(next)) {
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
  Traversal traversal = forwards(start, end);
  const NumberSet beyond = traversal.beyondEnd();
  const NumberSet needed = traversal.wayToEnd();
  while (const auto taken = traversal.take()) {
    traversal.setVisited(taken->module);
    if (!callback(traversal.module(taken->module), taken->flag)) {
      continue;
    }
    traversal.forOnward(taken->module, [&](Number next) {
      if (!beyond.contains(next)) {
        traversal.push(next, taken->flag || (end != nullptr && !needed.contains(next)));
      }
    });
  }
}

void ApplyGraph::forSemanticOrderedPreviousModules(std::function<bool(ModulePtr)> callback,
                                                   ModulePtr module) {
  if (module == nullptr) {
    return;
  }
  Traversal traversal(&ApplyGraph::getPreviousLinks, &ApplyGraph::getNextLinks, module, nullptr);
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
