#include "diagnostics/graph/links/Cycles.h"

#include <algorithm>
#include <limits>
#include <numeric>

// The shortest cycle of a part:
//
// 1. Take the modules one by one, those with the most neighbours first: most cycles run through
//    them.
// 2. Walk by breadth from the module until a link leads back to it, no further than the best cycle
//    so far is long. What is found is the shortest cycle through that module.
// 3. Leave the module out from now on, and every module that no cycle can run through any more.
//    After a few modules nothing is left of a long ring.
// 4. The walks may look at a limited number of links; behind that, the best cycle so far is taken.

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

/// Tarjan's algorithm with a stack of its own: graphs may be deeper than a thread's stack.
class StrongParts {
 public:
  explicit StrongParts(const Adjacency& adjacency)
      : successors(adjacency),
        number(adjacency.size(), kNone),
        lowest(adjacency.size(), 0),
        isOpen(adjacency.size(), false) {}

  std::vector<std::vector<std::size_t>> find() {
    for (std::size_t module = 0; module < successors.size(); ++module) {
      if (number[module] == kNone) {
        walkFrom(module);
      }
    }
    std::sort(parts.begin(), parts.end());
    return std::move(parts);
  }

 private:
  struct Step {
    std::size_t module;
    std::size_t nextSuccessor;
  };

  void walkFrom(std::size_t start) {
    enter(start);
    while (!steps.empty()) {
      Step& step = steps.back();
      if (step.nextSuccessor == successors[step.module].size()) {
        leave();
        continue;
      }
      const std::size_t successor = successors[step.module][step.nextSuccessor++];
      if (number[successor] == kNone) {
        enter(successor);
      } else if (isOpen[successor]) {
        lowest[step.module] = std::min(lowest[step.module], number[successor]);
      }
    }
  }

  void enter(std::size_t module) {
    number[module] = lowest[module] = count++;
    isOpen[module] = true;
    open.push_back(module);
    steps.push_back({module, 0});
  }

  void leave() {
    const std::size_t module = steps.back().module;
    steps.pop_back();
    if (!steps.empty()) {
      std::size_t& below = lowest[steps.back().module];
      below = std::min(below, lowest[module]);
    }
    if (lowest[module] == number[module]) {
      closePart(module);
    }
  }

  void closePart(std::size_t first) {
    const auto begin = std::find(open.rbegin(), open.rend(), first).base() - 1;
    std::vector<std::size_t> part(begin, open.end());
    open.erase(begin, open.end());
    for (const std::size_t module : part) {
      isOpen[module] = false;
    }
    if (part.size() > 1) {
      std::sort(part.begin(), part.end());
      parts.push_back(std::move(part));
    }
  }

  const Adjacency& successors;
  /// In the order in which modules are entered.
  std::vector<std::size_t> number;
  /// The lowest number of an open module that is known to be reachable.
  std::vector<std::size_t> lowest;
  std::vector<bool> isOpen;
  std::vector<std::size_t> open;
  std::vector<Step> steps;
  std::size_t count = 0;
  std::vector<std::vector<std::size_t>> parts;
};

/// The links within a part, with its modules numbered from 0.
Adjacency linksWithin(const std::vector<std::size_t>& part, const Adjacency& successors) {
  Adjacency links(part.size());
  for (std::size_t module = 0; module < part.size(); ++module) {
    for (const std::size_t successor : successors[part[module]]) {
      const auto place = std::lower_bound(part.begin(), part.end(), successor);
      if (place != part.end() && *place == successor) {
        links[module].push_back(static_cast<std::size_t>(place - part.begin()));
      }
    }
  }
  return links;
}

Adjacency reversed(const Adjacency& links) {
  Adjacency result(links.size());
  for (std::size_t from = 0; from < links.size(); ++from) {
    for (const std::size_t to : links[from]) {
      result[to].push_back(from);
    }
  }
  return result;
}

class CycleSearch {
 public:
  explicit CycleSearch(Adjacency links)
      : next(std::move(links)),
        previous(reversed(next)),
        isOut(next.size(), false),
        distance(next.size(), kNone),
        cameFrom(next.size(), kNone) {
    std::size_t linkCount = 0;
    for (std::size_t module = 0; module < next.size(); ++module) {
      nextCount.push_back(next[module].size());
      previousCount.push_back(previous[module].size());
      linkCount += next[module].size();
    }
    linksToLookAt = std::max(kLinksAlways, kLinksPerLink * linkCount);
  }

  std::vector<std::size_t> find() {
    for (const std::size_t module : byNeighbours()) {
      if (!isOut[module]) {
        searchFrom(module);
        takeOut(module);
      }
      if (best.size() == 2 || linksToLookAt == 0) {
        break;
      }
    }
    std::rotate(best.begin(), std::min_element(best.begin(), best.end()), best.end());
    return std::move(best);
  }

 private:
  static constexpr std::size_t kLinksAlways = 4'000'000;
  static constexpr std::size_t kLinksPerLink = 32;

  std::vector<std::size_t> byNeighbours() const {
    std::vector<std::size_t> modules(next.size());
    std::iota(modules.begin(), modules.end(), std::size_t{0});
    std::stable_sort(modules.begin(), modules.end(), [this](std::size_t one, std::size_t other) {
      return next[one].size() * previous[one].size() > next[other].size() * previous[other].size();
    });
    return modules;
  }

  void searchFrom(std::size_t start) {
    reached.assign(1, start);
    distance[start] = 0;
    for (std::size_t place = 0; place < reached.size(); ++place) {
      const std::size_t module = reached[place];
      // The first search has to find a cycle, whatever it takes.
      const bool isHopeless = !best.empty() && distance[module] + 1 >= best.size();
      if (isHopeless || (linksToLookAt == 0 && !best.empty()) || lookAtLinksOf(module, start)) {
        break;
      }
    }
    for (const std::size_t module : reached) {
      distance[module] = kNone;
    }
  }

  /// True when a cycle has been closed.
  bool lookAtLinksOf(std::size_t module, std::size_t start) {
    linksToLookAt -= std::min(linksToLookAt, next[module].size());
    for (const std::size_t successor : next[module]) {
      if (successor == start) {
        keepWayTo(module);
        return true;
      }
      if (!isOut[successor] && distance[successor] == kNone) {
        distance[successor] = distance[module] + 1;
        cameFrom[successor] = module;
        reached.push_back(successor);
      }
    }
    return false;
  }

  void keepWayTo(std::size_t module) {
    best.assign(1, module);
    while (distance[module] != 0) {
      module = cameFrom[module];
      best.push_back(module);
    }
    std::reverse(best.begin(), best.end());
  }

  void takeOut(std::size_t start) {
    std::vector<std::size_t> leaving{start};
    isOut[start] = true;
    while (!leaving.empty()) {
      const std::size_t module = leaving.back();
      leaving.pop_back();
      takeOffNeighbours(next[module], previousCount, leaving);
      takeOffNeighbours(previous[module], nextCount, leaving);
    }
  }

  void takeOffNeighbours(const std::vector<std::size_t>& neighbours,
                         std::vector<std::size_t>& counts, std::vector<std::size_t>& leaving) {
    for (const std::size_t neighbour : neighbours) {
      if (--counts[neighbour] == 0 && !isOut[neighbour]) {
        isOut[neighbour] = true;
        leaving.push_back(neighbour);
      }
    }
  }

  Adjacency next;
  Adjacency previous;
  /// Of each module, without those that are out.
  std::vector<std::size_t> nextCount;
  std::vector<std::size_t> previousCount;
  std::vector<bool> isOut;
  std::vector<std::size_t> distance;
  std::vector<std::size_t> cameFrom;
  std::vector<std::size_t> reached;
  std::vector<std::size_t> best;
  std::size_t linksToLookAt = 0;
};

}  // namespace

std::vector<std::vector<std::size_t>> cyclicParts(const Adjacency& successors) {
  return StrongParts(successors).find();
}

std::vector<std::size_t> shortCycleIn(const std::vector<std::size_t>& part,
                                      const Adjacency& successors) {
  std::vector<std::size_t> cycle = CycleSearch(linksWithin(part, successors)).find();
  for (std::size_t& module : cycle) {
    module = part[module];
  }
  return cycle;
}

}  // namespace Tessaril::Diagnostics
