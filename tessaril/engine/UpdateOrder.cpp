#include "tessaril/engine/UpdateOrder.h"

#include <algorithm>
#include <utility>

#include "tessaril/graph/ModuleLinks.h"
#include "tessaril/module/ApplyModule.h"

namespace Tessaril {

UpdateOrder::UpdateOrder()
    : next{&ApplyGraph::getNextLinks, &Lists::next},
      previous{&ApplyGraph::getPreviousLinks, &Lists::previous} {}

UpdateOrder::~UpdateOrder() = default;

// The range of the run before and what it has visited live until the ways back from the end are
// known: a module of them that nobody else holds any more is still found there.
void UpdateOrder::begin(const ModulePtr& start, const ModulePtr& end) {
  keepSavedQueue();
  std::vector<ModulePtr> queued = modulesOf(edits ? moduleQueue.modules() : restingQueue);
  queued.push_back(start);
  const std::vector<ModulePtr> saved = modulesOf(savedModuleQueue);
  forget();

  rangeEdition = edition;
  endNumber = numberOf(end, As::Held);
  startNumber = numberOf(start, As::Held);
  gather(endNumber, startNumber, previous, As::Held,
         [this](Number met) { return ++nodes[met].metBackwards == 1; });
  modulesBefore.clear();
  gather(startNumber, endNumber, next, As::Held,
         [this](Number met) { return ++nodes[met].metForwards == 1; });
  for (Node& node : nodes) {
    node.isOnTheWay = node.metBackwards != 0;
    node.isInRange = node.metForwards != 0;
  }
  nodes[endNumber].isOnTheWay = true;
  nodes[startNumber].isInRange = true;

  savedModuleQueue.clear();
  for (const ModulePtr& module : saved) {
    savedModuleQueue.push_back(numberOf(module, As::Held));
  }
  moduleQueue.expect(next.neighbours.size() + queued.size(), modules.size());
  for (const ModulePtr& module : queued) {
    queue(numberOf(module, As::Held));
  }
}

/// What is queued asks for these lists, one module after the other. Here one does not wait for the
/// memory of the other.
void UpdateOrder::readPrevious(const std::vector<Number>& numbers) {
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    loadAhead(previous, numbers, i);
    read(previous, numbers[i]);
  }
}

/// To be called with every place before the list there is read. Has the processor begin to load,
/// for those to come, first the list, then its entries, then the numbers of their modules.
void UpdateOrder::loadAhead(const Side& side, const std::vector<Number>& numbers,
                            std::size_t place) const {
  constexpr std::size_t kListsAhead = 8;
  constexpr std::size_t kEntriesAhead = 4;
  constexpr std::size_t kNumbersAhead = 2;
  if (place + kListsAhead >= numbers.size()) {
    return;
  }
  ApplyGraph::loadLinksEarly(modules.heldModule(numbers[place + kListsAhead]).get());
  if (const ModulePtr& near = modules.heldModule(numbers[place + kEntriesAhead])) {
    side.linksOf(*near).loadEarly();
  }
  if (const ModulePtr& nearer = modules.heldModule(numbers[place + kNumbersAhead])) {
    modules.loadEarly(side.linksOf(*nearer));
  }
}

void UpdateOrder::forget() {
  for (SubGraph* active = innermost; active != nullptr; active = active->outer) {
    active->end();
  }
  if (!edits) {
    edits.emplace();
  }
  editsSeen = edits->count();
  restingQueue.clear();
  for (Number number = 0; number < nodes.size(); ++number) {
    if (!nodes[number].isVisited && !nodes[number].isInRange) {
      modules.letGo(number);
    }
  }
  nodes.clear();
  lists.clear();
  next.neighbours.clear();
  previous.neighbours.clear();
  moduleQueue.clear();
  noteReopened();
  upstreamIsKnown = false;
  range.order.clear();
  modules.clear(modulesBefore);
}

void UpdateOrder::rest() {
  if (!edits || innermost != nullptr) {
    return;
  }
  keepSavedQueue();
  restingQueue = moduleQueue.modules();
  moduleQueue = OrderedQueue();
  edits.reset();
  lists = {};
  next.neighbours = {};
  previous.neighbours = {};
  reached = {};
  closed = NumberSet();
  ++reopenings;
  idle.clear();
  upstreamIsKnown = false;
  upstream = NumberSet();
  range = Range();
  modulesBefore = {};
}

void UpdateOrder::wake() {
  edits.emplace();
  editsSeen = edits->count();
  ++edition;
  makeNodes();
  for (const Number number : std::exchange(restingQueue, {})) {
    queue(number);
  }
}

// The graph

UpdateOrder::Number UpdateOrder::numberOf(const ModulePtr& module, As how) {
  const Number number = modules.add(module, how);
  makeNodes();
  return number;
}

void UpdateOrder::makeNodes() {
  if (nodes.size() == modules.size()) {
    return;
  }
  nodes.resize(modules.size());
  lists.resize(modules.size());
}

void UpdateOrder::followEdits() {
  if (!edits) {
    wake();
    return;
  }
  const std::uint64_t count = edits->count();
  if (count == editsSeen) {
    return;
  }
  editsSeen = count;
  ++edition;
  next.neighbours.clear();
  previous.neighbours.clear();
  noteReopened();
  upstreamIsKnown = false;
  range.order.clear();
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

UpdateOrder::List UpdateOrder::readAnew(Side& side, Number number, As how) {
  List list{static_cast<std::uint32_t>(side.neighbours.size()), 0, edition};
  const ModulePtr& held = modules.heldModule(number);
  const ModulePtr meanwhile = held != nullptr ? nullptr : modules.module(number);
  if (const ApplyModule* const module = held != nullptr ? held.get() : meanwhile.get()) {
    const LinkList& links = side.linksOf(*module);
    for (std::size_t place = 0; place < links.size(); ++place) {
      if (const Number neighbour = modules.add(links, place, how); neighbour != kNone) {
        side.neighbours.push_back(neighbour);
      }
    }
    makeNodes();
  }
  list.end = static_cast<std::uint32_t>(side.neighbours.size());
  lists[number].*side.list = list;
  return list;
}

/// Calls `meet` with every module that a link leads to, once a link, and goes on from those for
/// which it answers true; not from `stop`.
template <typename Meet>
void UpdateOrder::gather(Number from, Number stop, Side& side, As how, const Meet& meet) {
  reached.assign(1, from);
  for (std::size_t place = 0; place < reached.size(); ++place) {
    loadAhead(side, reached, place);
    const List list = read(side, reached[place], how);
    for (std::uint32_t i = list.begin; i != list.end; ++i) {
      const Number met = side.neighbours[i];
      if (modules.isLive(met) && meet(met) && met != stop) {
        reached.push_back(met);
      }
    }
  }
}

bool UpdateOrder::isUpstreamOf(const ModulePtr& horizon, Number number) {
  followEdits();
  if (!upstreamIsKnown) {
    upstream.clear();
    upstream.insert(numberOf(horizon));
    gather(numberOf(horizon), kNone, previous, As::Known,
           [this](Number met) { return upstream.insert(met); });
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

void UpdateOrder::queue(Number number) {
  modules.loadEarly(number);
  moduleQueue.push(number, false, searchInRange());
}

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
  modules.hold(number);
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
  followEdits();
  noteReopened();
  refillQueues();
}

void UpdateOrder::noteReopened() {
  closed.clear();
  ++reopenings;
}

void UpdateOrder::saveQueue() {
  followEdits();
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
  followEdits();
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
    if (ModulePtr live = module(number)) {
      found.push_back(std::move(live));
    }
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
      holdMeanwhile(number);
    }
    return isNew && !order.closed.contains(number);
  };
  // Nothing comes of a root that was visited before.
  if (!order.isVisited(root)) {
    order.gather(root, kNone, order.next, As::Known, join);
    join(root);
    order.readPrevious(work->members);
  }
  queue(root);
}

UpdateOrder::SubGraph::~SubGraph() {
  order.innermost = outer;
  work->queue.clear();
  work->scope.clear();
  work->members.clear();
  work->held.clear();
  order.idle.push_back(std::move(work));
}

void UpdateOrder::SubGraph::holdMeanwhile(Number number) {
  if (order.modules.heldModule(number) == nullptr) {
    work->held.push_back(order.modules.module(number));
  }
}

void UpdateOrder::SubGraph::queue(Number number) {
  if (!work->scope.contains(number)) {
    holdMeanwhile(number);
  }
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
  for (; end == range.end && range.begin < range.order.size(); ++range.begin) {
    if (range.order[range.begin] == from) {
      return;
    }
    if (!leadsOnlyOn(range.begin)) {
      break;
    }
  }
  makeRangeOrder(from, end);
}

bool UpdateOrder::leadsOnlyOn(std::size_t place) {
  if (place + 1 == range.order.size()) {
    return false;
  }
  const Number number = range.order[place];
  const Number following = range.order[place + 1];
  const List onward = read(next, number);
  const List back = read(previous, following);
  const Node& node = nodes[number];
  const std::uint32_t metForwards = range.isWhole ? node.metForwards : range.metForwards[number];
  const std::uint32_t metBackwards = range.isWhole ? node.metBackwards : range.metBackwards[number];
  return number != range.end && following != range.end && onward.size() == 1 &&
         next.neighbours[onward.begin] == following && back.size() == 1 &&
         previous.neighbours[back.begin] == number && metForwards == (place == 0 ? 0 : 1) &&
         metBackwards == 1;
}

void UpdateOrder::gatherRange(Number from, Number end) {
  range.metForwards.clear();
  range.metBackwards.clear();
  range.scope.clear();
  gather(from, end, next, As::Known, [this](Number met) {
    range.scope.insert(met);
    return range.metForwards.add(met);
  });
  range.scope.insert(from);
  gather(end, from, previous, As::Known,
         [this](Number met) { return range.metBackwards.add(met); });
}

void UpdateOrder::makeRangeOrder(Number from, Number end) {
  range.visited.clear();
  range.queue.clear();
  range.order.clear();
  range.begin = 0;
  range.end = end;
  range.isWhole = from == startNumber && end == endNumber && edition == rangeEdition;
  if (!range.isWhole) {
    gatherRange(from, end);
  }
  const auto search = [this](Number number, std::uint32_t& searched) {
    return findBefore(number, searched, [this](const Node& node, Number neighbour) {
      return (range.isWhole ? node.isInRange : range.scope.contains(neighbour)) &&
             !range.visited.contains(neighbour);
    });
  };
  const auto isVisitedHere = [this](Number number) { return range.visited.contains(number); };
  const auto leadsToEnd = [this](Number number) {
    return number == range.end ||
           (range.isWhole ? nodes[number].isOnTheWay : range.metBackwards[number] != 0);
  };
  range.queue.push(from, false, search);
  while (const auto taken = range.queue.take(isVisitedHere)) {
    range.order.push_back(taken->module);
    range.visited.insert(taken->module);
    range.queue.noteVisited(taken->module, search);
    const List list = read(next, taken->module);
    for (std::uint32_t i = list.begin; i != list.end; ++i) {
      const Number following = next.neighbours[i];
      if (leadsToEnd(following) && !range.visited.contains(following)) {
        range.queue.push(following, false, search);
      }
    }
  }
}

}  // namespace Tessaril
