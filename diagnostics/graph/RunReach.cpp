#include "diagnostics/graph/RunReach.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>

#include "diagnostics/graph/checks/Wording.h"
#include "diagnostics/graph/links/Cycles.h"
#include "diagnostics/graph/links/LinkTable.h"

// How far an update gets:
//
// 1. Its scope is what the start leads to, without what lies only behind the end; needed is what
//    the end depends on, without what lies only before the start. Forwards only next lists count,
//    backwards only previous lists.
// 2. On the way it goes from the start to needed next modules, until it has passed the end. A
//    module waits for those of its previous modules that are in scope.
// 3. Off the way and behind the end, it takes the side graph of each next module that is not on the
//    way. Within that, modules wait for each other; for what is not in it, they do not. So the
//    first module of a side graph waits for nothing, unless it is on a cycle.
// 4. What the start leads to and is not reached is on a cycle, waits for one, or has lost an end of
//    a link.

namespace Tessaril::Diagnostics {
namespace {

using Marks = std::vector<bool>;

/// `origin` and all that it leads to; through `stop`, unless it is the origin, nothing.
Marks gather(const Adjacency& neighbours, std::size_t origin, std::optional<std::size_t> stop) {
  Marks gathered(neighbours.size(), false);
  gathered[origin] = true;
  std::vector<std::size_t> waiting{origin};
  while (!waiting.empty()) {
    const std::size_t module = waiting.back();
    waiting.pop_back();
    for (const std::size_t neighbour : neighbours[module]) {
      if (!gathered[neighbour]) {
        gathered[neighbour] = true;
        if (neighbour != stop) {
          waiting.push_back(neighbour);
        }
      }
    }
  }
  return gathered;
}

class ReachFinder {
 public:
  ReachFinder(const GraphSnapshot& graph, std::size_t startIndex, std::size_t endIndex)
      : snapshot(graph),
        start(startIndex),
        end(endIndex),
        count(graph.modules.size()),
        next(neighboursOf(graph, &SnapshotModule::next)),
        previous(neighboursOf(graph, &SnapshotModule::previous)),
        waiting(count),
        ledToBy(count),
        scope(gather(next, start, end)),
        needed(gather(previous, end, start)),
        behindStart(gather(next, start, {})),
        behindEnd(gather(next, end, {})),
        beforeStart(gather(previous, start, {})),
        isVisited(count, false),
        isAutoApplied(count, false),
        isCyclic(count, false),
        isBehindCycle(count, false) {
    for (std::size_t module = 0; module < count; ++module) {
      for (const std::size_t awaited : previous[module]) {
        waiting[awaited].push_back(module);
      }
      for (const std::size_t successor : next[module]) {
        ledToBy[successor].push_back(module);
      }
    }
  }

  std::vector<ModuleReach> find() {
    goTheWay();
    findCycles();
    goOffTheWay();
    findWhatIsBehindCycles();
    std::vector<ModuleReach> result;
    for (std::size_t module = 0; module < count; ++module) {
      result.push_back(reachOf(module));
    }
    return result;
  }

 private:
  using LinkQuestion = std::function<bool(std::size_t from, std::size_t to)>;

  /// Visits what becomes ready, from `queue` on, and asks `goesOn` which next modules to queue.
  /// Requires: nothing but what is awaited can be queued.
  void visitReady(std::vector<std::size_t> queue, const Marks& awaited, Marks& visited,
                  const LinkQuestion& goesOn) {
    std::vector<std::size_t> open = countAwaited(awaited, visited);
    Marks isQueued(count, false);
    for (const std::size_t module : queue) {
      isQueued[module] = true;
    }
    const auto visitIfReady = [&](std::size_t module, std::vector<std::size_t>& ready) {
      if (isQueued[module] && open[module] == 0 && !visited[module]) {
        visited[module] = true;
        ready.push_back(module);
      }
    };
    std::vector<std::size_t> ready;
    for (const std::size_t module : queue) {
      visitIfReady(module, ready);
    }
    while (!ready.empty()) {
      const std::size_t module = ready.back();
      ready.pop_back();
      for (const std::size_t successor : next[module]) {
        if (goesOn(module, successor)) {
          isQueued[successor] = true;
          visitIfReady(successor, ready);
        }
      }
      for (const std::size_t waiter : waiting[module]) {
        --open[waiter];
        visitIfReady(waiter, ready);
      }
    }
  }

  std::vector<std::size_t> countAwaited(const Marks& awaited, const Marks& visited) const {
    std::vector<std::size_t> open(count, 0);
    for (std::size_t module = 0; module < count; ++module) {
      for (const std::size_t other : previous[module]) {
        open[module] += awaited[other] && !visited[other] ? 1 : 0;
      }
    }
    return open;
  }

  void goTheWay() {
    visitReady({start}, scope, isVisited,
               [this](std::size_t from, std::size_t to) { return from != end && needed[to]; });
  }

  /// What an update auto-applies with the side graph in which it lies.
  bool isOffTheWay(std::size_t module) const {
    return !isVisited[module] && !(needed[module] && scope[module]);
  }

  bool isLeftOver(std::size_t module) const {
    return behindStart[module] && !isVisited[module] && !isAutoApplied[module];
  }

  /// Among the modules that the start leads to and that were not visited on the way.
  void findCycles() {
    Adjacency links(count);
    for (std::size_t module = 0; module < count; ++module) {
      for (const std::size_t awaited : previous[module]) {
        if (isLeftOver(module) && isLeftOver(awaited)) {
          links[awaited].push_back(module);
          isCyclic[module] = isCyclic[module] || module == awaited;
        }
      }
    }
    for (const auto& part : cyclicParts(links)) {
      for (const std::size_t module : part) {
        isCyclic[module] = true;
      }
    }
  }

  void goOffTheWay() {
    Marks leftOver(count, false);
    std::vector<std::size_t> queue;
    for (std::size_t module = 0; module < count; ++module) {
      leftOver[module] = isLeftOver(module);
    }
    for (std::size_t module = 0; module < count; ++module) {
      if (leftOver[module] && startsSideGraph(module)) {
        isAutoApplied[module] = true;
        queue.insert(queue.end(), next[module].begin(), next[module].end());
      }
    }
    queue.erase(std::remove_if(queue.begin(), queue.end(),
                               [this](std::size_t module) { return !isOffTheWay(module); }),
                queue.end());
    visitReady(std::move(queue), leftOver, isAutoApplied,
               [this](std::size_t /*from*/, std::size_t to) { return isOffTheWay(to); });
  }

  bool startsSideGraph(std::size_t module) const {
    return isOffTheWay(module) && !isCyclic[module] &&
           std::any_of(ledToBy[module].begin(), ledToBy[module].end(), [&](std::size_t from) {
             return isVisited[from] && (from == end || !needed[module]);
           });
  }

  void findWhatIsBehindCycles() {
    std::vector<std::size_t> found;
    for (std::size_t module = 0; module < count; ++module) {
      if (isCyclic[module]) {
        found.push_back(module);
      }
    }
    while (!found.empty()) {
      const std::size_t module = found.back();
      found.pop_back();
      for (const std::size_t waiter : waiting[module]) {
        if (isLeftOver(waiter) && !isCyclic[waiter] && !isBehindCycle[waiter]) {
          isBehindCycle[waiter] = true;
          found.push_back(waiter);
        }
      }
    }
  }

  ModuleReach reachOf(std::size_t module) const {
    ModuleReach result{RunReach::OnTheWay, needed[module], {}};
    if (!snapshot.modules[module].exists) {
      result.reach = RunReach::Missing;
    } else if (isVisited[module] || isAutoApplied[module]) {
      result.reach = reachOfVisited(module);
    } else if (behindStart[module]) {
      explainLeftOver(module, result);
    } else if (beforeStart[module]) {
      result.reach = RunReach::BeforeStart;
    } else {
      explainNotBehindStart(module, result);
    }
    return result;
  }

  RunReach reachOfVisited(std::size_t module) const {
    if (isVisited[module] && scope[module] && needed[module]) {
      return RunReach::OnTheWay;
    }
    return behindEnd[module] ? RunReach::BehindEnd : RunReach::OffTheWay;
  }

  void explainLeftOver(std::size_t module, ModuleReach& result) const {
    result.reach = isCyclic[module]        ? RunReach::OnCycle
                   : isBehindCycle[module] ? RunReach::BehindCycle
                                           : RunReach::BrokenLink;
    for (const std::size_t awaited : previous[module]) {
      const bool counts = isCyclic[module]        ? isCyclic[awaited]
                          : isBehindCycle[module] ? isCyclic[awaited] || isBehindCycle[awaited]
                                                  : isLeftOver(awaited);
      if (counts) {
        result.because.push_back(awaited);
      }
    }
    if (result.because.empty()) {
      result.because = ledToBy[module];
    }
  }

  void explainNotBehindStart(std::size_t module, ModuleReach& result) const {
    for (const std::size_t other : previous[module]) {
      if (behindStart[other]) {
        result.because.push_back(other);
      }
    }
    const bool isBroken = !result.because.empty();
    result.reach = isBroken ? RunReach::BrokenLink : RunReach::NotBehindStart;
    if (!isBroken) {
      result.because = previous[module];
    }
  }

  const GraphSnapshot& snapshot;
  const std::size_t start;
  const std::size_t end;
  const std::size_t count;
  const Adjacency next;
  const Adjacency previous;
  /// The modules that name a module as previous.
  Adjacency waiting;
  /// The modules that name a module as next.
  Adjacency ledToBy;
  const Marks scope;
  const Marks needed;
  const Marks behindStart;
  const Marks behindEnd;
  const Marks beforeStart;
  Marks isVisited;
  Marks isAutoApplied;
  Marks isCyclic;
  Marks isBehindCycle;
};

FindingSeverity severityOf(const ModuleReach& reach) {
  switch (reach.reach) {
    case RunReach::OnCycle:
    case RunReach::BehindCycle:
    case RunReach::BrokenLink:
    case RunReach::Missing:
      return FindingSeverity::Error;
    case RunReach::NotBehindStart:
      return reach.isNeeded ? FindingSeverity::Warning : FindingSeverity::Remark;
    case RunReach::OnTheWay:
    case RunReach::OffTheWay:
    case RunReach::BehindEnd:
    case RunReach::BeforeStart:
      return FindingSeverity::Remark;
  }
  return FindingSeverity::Remark;
}

/// Says why, of modules that are not on the way.
class ReasonText {
 public:
  ReasonText(const GraphSnapshot& graph, std::size_t startIndex, std::size_t endIndex)
      : snapshot(graph), start(nameOf(graph, startIndex)), end(nameOf(graph, endIndex)) {}

  std::string of(std::size_t module, const ModuleReach& reach) const {
    const std::string name = nameOf(snapshot, module);
    const std::string reasons = listed(snapshot, reach.because);
    const bool isOneReason = reach.because.size() == 1;
    switch (reach.reach) {
      case RunReach::NotBehindStart:
        return name + " is not behind the start, " + start + ": " +
               (reach.because.empty() ? "it follows nothing" : "it follows only " + reasons) +
               ". " + end + " depends on it and takes its results as they are.";
      case RunReach::OnCycle:
        return name + " is on a circle: it waits for " +
               (isOneReason && reach.because.front() == module
                    ? "itself."
                    : reasons + ", and " + (isOneReason ? "that" : "those") + " for it.");
      case RunReach::BehindCycle:
        return name + " is behind a circle: it waits for " + reasons + ", where no update gets to.";
      case RunReach::BrokenLink:
        return name + " is behind a link that only one end knows, at " + reasons +
               " or before that.";
      case RunReach::Missing:
        return name + " does not exist; there is only a record of it.";
      case RunReach::OnTheWay:
      case RunReach::OffTheWay:
      case RunReach::BehindEnd:
      case RunReach::BeforeStart:
        return ofAll({module}, reach.reach);
    }
    return {};
  }

  /// Of modules that all lie in one place and that the end does not miss.
  std::string ofAll(const std::vector<std::size_t>& modules, RunReach reach) const {
    const bool isOne = modules.size() == 1;
    const std::string names = listed(snapshot, modules) + (isOne ? " is " : " are ");
    const std::string autoApplied =
        isOne ? "It is auto-applied at most." : "They are auto-applied at most.";
    const std::string them = isOne ? "it" : "them";
    switch (reach) {
      case RunReach::OffTheWay:
        return names + "off the way: " + end + " does not depend on " + them + ". " + autoApplied;
      case RunReach::BehindEnd:
        return names + "behind the end, " + end + ". " + autoApplied;
      case RunReach::BeforeStart:
        return names + "before the start, " + start + ": " + (isOne ? "its" : "their") +
               " results are taken as they are.";
      case RunReach::NotBehindStart:
        return names + "not behind the start, " + start + "; " + end + " does not depend on " +
               them + ".";
      default:
        return names + reachName(reach) + ".";
    }
  }

 private:
  const GraphSnapshot& snapshot;
  const std::string start;
  const std::string end;
};

GraphFinding findingOf(std::size_t module, const ModuleReach& reach, const ReasonText& reason) {
  GraphFinding finding{
      FindingKind::NotReached, severityOf(reach), {module}, {}, reason.of(module, reach)};
  finding.modules.insert(finding.modules.end(), reach.because.begin(), reach.because.end());
  return finding;
}

}  // namespace

std::string reachName(RunReach reach) {
  switch (reach) {
    case RunReach::OnTheWay:
      return "on the way";
    case RunReach::OffTheWay:
      return "off the way";
    case RunReach::BehindEnd:
      return "behind the end";
    case RunReach::BeforeStart:
      return "before the start";
    case RunReach::NotBehindStart:
      return "not behind the start";
    case RunReach::OnCycle:
      return "on a cycle";
    case RunReach::BehindCycle:
      return "behind a cycle";
    case RunReach::BrokenLink:
      return "behind a broken link";
    case RunReach::Missing:
      return "missing";
  }
  return {};
}

std::vector<ModuleReach> runReach(const GraphSnapshot& snapshot, std::size_t start,
                                  std::size_t end) {
  if (std::max(start, end) >= snapshot.modules.size()) {
    throw std::out_of_range("the snapshot has no module of that index");
  }
  return ReachFinder(snapshot, start, end).find();
}

std::vector<GraphFinding> checkRun(const GraphSnapshot& snapshot, std::size_t start,
                                   std::size_t end) {
  const std::vector<ModuleReach> reaches = runReach(snapshot, start, end);
  const ReasonText reason(snapshot, start, end);
  std::vector<GraphFinding> findings;
  std::map<RunReach, std::vector<std::size_t>> unremarkable;
  for (std::size_t module = 0; module < reaches.size(); ++module) {
    const ModuleReach& reach = reaches[module];
    if (reach.reach == RunReach::OnTheWay) {
      continue;
    }
    if (module == end) {
      GraphFinding finding = findingOf(module, reach, reason);
      finding.kind = FindingKind::EndNotReached;
      finding.severity = FindingSeverity::Error;
      finding.text =
          "an update from " + nameOf(snapshot, start) + " does not get to its end: " + finding.text;
      findings.push_back(std::move(finding));
    } else if (severityOf(reach) == FindingSeverity::Remark) {
      unremarkable[reach.reach].push_back(module);
    } else {
      findings.push_back(findingOf(module, reach, reason));
    }
  }
  for (auto& [place, modules] : unremarkable) {
    std::string text = reason.ofAll(modules, place);
    findings.push_back({FindingKind::NotReached,
                        FindingSeverity::Remark,
                        std::move(modules),
                        {},
                        std::move(text)});
  }
  sortFindings(findings);
  return findings;
}

}  // namespace Tessaril::Diagnostics
