#include "tessaril/engine/UpdateOrder.h"

#include <algorithm>
#include <utility>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/module/LinkEdits.h"

namespace Tessaril {

UpdateOrder::UpdateOrder()
    : editsSeen(LinkEdits::count()),
      next{&ApplyModule::getNextApplyModules, &Node::next},
      previous{&ApplyModule::getPreviousApplyModules, &Node::previous} {}

UpdateOrder::~UpdateOrder() = default;

// What the run before has visited lives until the ways back from the end are known: a module that
// nobody else holds any more is still found there.
void UpdateOrder::begin(const ModulePtr& start, const ModulePtr& end) {
  keepSavedQueue();
  std::vector<ModulePtr> queued = modulesOf(moduleQueue.modules());
  queued.push_back(start);
  const std::vector<ModulePtr> saved = modulesOf(savedModuleQueue);
  forget();

  const Number endNumber = numberOf(end);
  const Number startNumber = numberOf(start);
  nodes[endNumber].isOnTheWay = true;
  gather(endNumber, startNumber, previous,
         [this](Number met) { return !std::exchange(nodes[met].isOnTheWay, true); });
  modulesBefore.clear();
  nodes[startNumber].isInRange = true;
  gather(startNumber, endNumber, next,
         [this](Number met) { return !std::exchange(nodes[met].isInRange, true); });

  for (std::size_t i = 0; i < saved.size(); ++i) {
    savedModuleQueue[i] = numberOf(saved[i]);
  }
  for (const ModulePtr& module : queued) {
    queue(numberOf(module));
  }
}

void UpdateOrder::forget() {
  for (SubGraph* active = innermost; active != nullptr; active = active->outer) {
    active->end();
  }
  editsSeen = LinkEdits::count();
  nodes.clear();
  next.neighbours.clear();
  previous.neighbours.clear();
  moduleQueue.clear();
  noteReopened();
  upstreamIsKnown = false;
  rangeOrder.clear();
  modules.clear(modulesBefore);
}

// The graph

void UpdateOrder::followEdits() {
  const std::uint64_t edits = LinkEdits::count();
  if (edits == editsSeen) {
    return;
  }
  editsSeen = edits;
  ++edition;
  next.neighbours.clear();
  previous.neighbours.clear();
  noteReopened();
  upstreamIsKnown = false;
  rangeOrder.clear();
  refillQueues();
}

void UpdateOrder::refillQueues() {
  keepSavedQueue();
  const std::vector<Number> queued = moduleQueue.modules();
  moduleQueue.clear();
  std::for_each(queued.begin(), queued.end(), [this](Number number) { queue(number); });
  for (SubGraph* active = innermost; active != nullptr; active = active->outer) {
    active->refill();
  }
}

UpdateOrder::List UpdateOrder::readAnew(Side& side, Number number) {
  List list{static_cast<std::uint32_t>(side.neighbours.size()), 0, edition};
  for (const auto& link : (*modules[number].*side.linksOf)()) {
    if (ModulePtr neighbour = link.lock()) {
      side.neighbours.push_back(numberOf(std::move(neighbour)));
    }
  }
  list.end = static_cast<std::uint32_t>(side.neighbours.size());
  nodes[number].*side.list = list;
  return list;
}

/// Calls `meet` with every module that a link leads to, once a link, and goes on from those for
/// which it answers true; not from `stop`.
template <typename Meet>
void UpdateOrder::gather(Number from, Number stop, Side& side, const Meet& meet) {
  stack.assign(1, from);
  while (!stack.empty()) {
    const Number number = stack.back();
    stack.pop_back();
    const List list = read(side, number);
    for (std::uint32_t i = list.begin; i != list.end; ++i) {
      const Number met = side.neighbours[i];
      if (meet(met) && met != stop) {
        stack.push_back(met);
      }
    }
  }
}

bool UpdateOrder::isUpstreamOf(const ModulePtr& horizon, Number number) {
  followEdits();
  if (!upstreamIsKnown) {
    upstream.clear();
    upstream.insert(numberOf(horizon));
    gather(numberOf(horizon), kNone, previous, [this](Number met) { return upstream.insert(met); });
    upstreamIsKnown = true;
  }
  return upstream.contains(number);
}

// The queue

auto UpdateOrder::searchInRange() {
  return [this](Number number, std::uint32_t& searched) {
    return isVisited(number)
               ? kNone
               : findBefore(number, searched, [](const Node& node, Number /*neighbour*/) {
                   return node.isInRange && !node.isVisited;
                 });
  };
}

auto UpdateOrder::searchIn(const NumberSet& scope) {
  return [this, &scope](Number number, std::uint32_t& searched) {
    return isVisited(number)
               ? kNone
               : findBefore(number, searched, [&scope](const Node& node, Number neighbour) {
                   return !node.isVisited && scope.contains(neighbour);
                 });
  };
}

void UpdateOrder::queue(Number number) { moduleQueue.push(number, false, searchInRange()); }

std::optional<UpdateOrder::Number> UpdateOrder::takeNext() {
  followEdits();
  const auto taken = moduleQueue.take([this](Number number) { return isVisited(number); });
  if (!taken) {
    moduleQueue.drop();
    return std::nullopt;
  }
  return taken->module;
}

void UpdateOrder::setVisited(Number number) {
  if (std::exchange(nodes[number].isVisited, true)) {
    return;
  }
  moduleQueue.noteVisited(number, searchInRange());
  for (SubGraph* active = innermost; active != nullptr; active = active->outer) {
    active->work->queue.noteVisited(number, searchIn(active->work->scope));
  }
}

void UpdateOrder::setUnvisited(const ModulePtr& module) {
  const Number number = modules.find(module.get());
  if (number == kNone || !std::exchange(nodes[number].isVisited, false)) {
    return;
  }
  noteReopened();
  refillQueues();
}

void UpdateOrder::noteReopened() {
  closed.clear();
  ++reopenings;
}

void UpdateOrder::saveQueue() {
  moduleQueue.save();
  queueKnowsSaved = true;
}

void UpdateOrder::keepSavedQueue() {
  if (queueKnowsSaved) {
    savedModuleQueue = moduleQueue.savedModules();
    queueKnowsSaved = false;
  }
}

void UpdateOrder::restoreQueue() {
  keepSavedQueue();
  moduleQueue.clear();
  for (const Number number : savedModuleQueue) {
    queue(number);
  }
}

std::vector<UpdateOrder::ModulePtr> UpdateOrder::modulesOf(
    const std::vector<Number>& numbers) const {
  std::vector<ModulePtr> found;
  for (const Number number : numbers) {
    found.push_back(modules[number]);
  }
  return found;
}

// Sub-graphs

UpdateOrder::SubGraph::SubGraph(UpdateOrder& theOrder, Number root)
    : order(theOrder), outer(theOrder.innermost) {
  order.followEdits();
  if (order.idle.empty()) {
    work = std::make_unique<Work>();
  } else {
    work = std::move(order.idle.back());
    order.idle.pop_back();
  }
  order.innermost = this;
  reopenings = order.reopenings;
  const auto join = [this](Number number) {
    const bool isNew = work->scope.insert(number);
    if (isNew) {
      work->members.push_back(number);
    }
    return isNew && !order.closed.contains(number);
  };
  // Nothing comes of a root that was visited before.
  if (!order.isVisited(root)) {
    order.gather(root, kNone, order.next, join);
    join(root);
  }
  queue(root);
}

UpdateOrder::SubGraph::~SubGraph() {
  order.innermost = outer;
  work->queue.clear();
  work->scope.clear();
  work->members.clear();
  order.idle.push_back(std::move(work));
}

void UpdateOrder::SubGraph::queue(Number number) {
  work->queue.push(number, false, order.searchIn(work->scope));
}

void UpdateOrder::SubGraph::queueNextOf(Number number) {
  if (!isOver) {
    order.forEachNext(number, [this](Number following) { queue(following); });
  }
}

std::optional<UpdateOrder::Number> UpdateOrder::SubGraph::takeNext() {
  if (isOver) {
    return std::nullopt;
  }
  order.followEdits();
  const auto taken = work->queue.take([this](Number number) { return order.isVisited(number); });
  if (taken) {
    return taken->module;
  }
  const std::vector<Number>& members = work->members;
  if (reopenings == order.reopenings &&
      std::all_of(members.begin(), members.end(),
                  [this](Number number) { return order.isVisited(number); })) {
    std::for_each(members.begin(), members.end(),
                  [this](Number number) { order.closed.insert(number); });
  }
  return std::nullopt;
}

void UpdateOrder::SubGraph::refill() {
  const std::vector<Number> queued = work->queue.modules();
  work->queue.clear();
  std::for_each(queued.begin(), queued.end(), [this](Number number) { queue(number); });
}

void UpdateOrder::SubGraph::end() {
  work->queue.clear();
  isOver = true;
}

// The order of a range
//
// Made anew for every module that an update asks it for, which is the rule, it costs what the range
// costs. But behind a module that leads only to the next one, which follows only from it, the order
// from the next one on is the rest of the order from this one on:
// - The scope loses the module alone, when nothing in it leads back there.
// - Of the ways back from the end, those that end at the next module instead of at this one are the
//   same, when no other module on them follows from this one.

bool UpdateOrder::Counts::add(Number number) {
  if (in.insert(number)) {
    of.resize(std::max(of.size(), std::size_t{number} + 1));
    of[number] = 1;
    return true;
  }
  ++of[number];
  return false;
}

void UpdateOrder::findRangeOrder(Number from, Number end) {
  followEdits();
  for (; end == rangeEnd && rangeBegin < rangeOrder.size(); ++rangeBegin) {
    if (rangeOrder[rangeBegin] == from) {
      return;
    }
    if (!leadsOnlyOn(rangeBegin)) {
      break;
    }
  }
  makeRangeOrder(from, end);
}

bool UpdateOrder::leadsOnlyOn(std::size_t place) {
  if (place + 1 == rangeOrder.size()) {
    return false;
  }
  const Number number = rangeOrder[place];
  const Number following = rangeOrder[place + 1];
  const List onward = read(next, number);
  const List back = read(previous, following);
  return number != rangeEnd && following != rangeEnd && onward.size() == 1 &&
         next.neighbours[onward.begin] == following && back.size() == 1 &&
         previous.neighbours[back.begin] == number && metForwards[number] == (place == 0 ? 0 : 1) &&
         metBackwards[number] == 1;
}

void UpdateOrder::makeRangeOrder(Number from, Number end) {
  metForwards.clear();
  metBackwards.clear();
  rangeScope.clear();
  rangeVisited.clear();
  rangeQueue.clear();
  rangeOrder.clear();
  rangeBegin = 0;
  rangeEnd = end;

  gather(from, end, next, [this](Number met) {
    rangeScope.insert(met);
    return metForwards.add(met);
  });
  rangeScope.insert(from);
  gather(end, from, previous, [this](Number met) { return metBackwards.add(met); });

  const auto search = [this](Number number, std::uint32_t& searched) {
    return findBefore(number, searched, [this](const Node& /*node*/, Number neighbour) {
      return rangeScope.contains(neighbour) && !rangeVisited.contains(neighbour);
    });
  };
  const auto isVisitedHere = [this](Number number) { return rangeVisited.contains(number); };
  rangeQueue.push(from, false, search);
  while (const auto taken = rangeQueue.take(isVisitedHere)) {
    rangeOrder.push_back(taken->module);
    rangeVisited.insert(taken->module);
    rangeQueue.noteVisited(taken->module, search);
    const List list = read(next, taken->module);
    for (std::uint32_t i = list.begin; i != list.end; ++i) {
      const Number following = next.neighbours[i];
      if (following == end || metBackwards[following] != 0) {
        rangeQueue.push(following, false, search);
      }
    }
  }
}

}  // namespace Tessaril
