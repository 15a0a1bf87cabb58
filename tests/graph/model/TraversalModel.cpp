#include "tests/graph/model/TraversalModel.h"

namespace Tessaril::GraphModel {

const Names& neighbours(const Graph& graph, const Name& module, Direction direction) {
  return direction == Direction::Forwards ? graph[module].next : graph[module].previous;
}

bool walkNeighbours(const Graph& graph, const Name& module, Direction direction,
                    const Visitor& visitor) {
  Names stack = neighbours(graph, module, direction);
  NameSet visited;
  while (!stack.empty()) {
    const Name top = stack.back();
    stack.pop_back();
    if (top == kNone || visited.contains(top)) {
      continue;
    }
    visited.insert(top);
    if (!visitor(top)) {
      return false;
    }
    for (const auto& neighbour : neighbours(graph, top, direction)) {
      stack.push_back(neighbour);
    }
  }
  return true;
}

bool walkFromThis(const Graph& graph, const Name& module, Direction direction,
                  const Visitor& visitor) {
  Names stack{module};
  NameSet visited;
  while (!stack.empty()) {
    const Name top = stack.back();
    stack.pop_back();
    if (visited.contains(top)) {
      continue;
    }
    visited.insert(top);
    if (!visitor(top)) {
      return false;
    }
    for (const auto& neighbour : liveOf(neighbours(graph, top, direction))) {
      stack.push_back(neighbour);
    }
  }
  return true;
}

void gather(const Graph& graph, const Name& module, Direction direction, NameSet& modules,
            const Name& stopModule) {
  Names stack = neighbours(graph, module, direction);
  while (!stack.empty()) {
    const Name top = stack.back();
    stack.pop_back();
    if (top == kNone) {
      continue;
    }
    const bool isNew = modules.insert(top).second;
    if (isNew && top != stopModule) {
      for (const auto& neighbour : neighbours(graph, top, direction)) {
        stack.push_back(neighbour);
      }
    }
  }
}

namespace {

bool isReady(const Graph& graph, const Name& module, Direction waitsFor, const NameSet& visited,
             const NameSet& scope) {
  for (const auto& neighbour : liveOf(neighbours(graph, module, waitsFor))) {
    if (!visited.contains(neighbour) && scope.contains(neighbour)) {
      return false;
    }
  }
  return true;
}

const Name& nameOf(const Name& entry) { return entry; }
const Name& nameOf(const std::pair<Name, bool>& entry) { return entry.first; }

/// The first ready entry of the queue; false when there is none.
template <typename Entry>
bool takeReady(const Graph& graph, std::deque<Entry>& queue, Direction waitsFor,
               const NameSet& visited, const NameSet& scope, Entry& result) {
  std::deque<Entry> deferred;
  while (true) {
    if (queue.empty()) {
      return false;
    }
    const Entry front = queue.front();
    queue.pop_front();
    if (visited.contains(nameOf(front))) {
      continue;
    }
    if (!isReady(graph, nameOf(front), waitsFor, visited, scope)) {
      deferred.push_back(front);
      continue;
    }
    for (const auto& entry : deferred) {
      queue.push_back(entry);
    }
    result = front;
    return true;
  }
}

NameSet reach(const Graph& graph, const Name& module, Direction direction, const Name& limit) {
  NameSet modules;
  gather(graph, module, direction, modules, limit);
  modules.insert(module);
  return modules;
}

}  // namespace

Name getNextModuleInOrder(const Graph& graph, Queue& queue, const NameSet& visited,
                          const NameSet& scope) {
  Name result = kNone;
  takeReady(graph, queue, Direction::Backwards, visited, scope, result);
  return result;
}

void forModuleRange(const Graph& graph, const std::function<void(const Name&)>& callback,
                    const Name& start, const Name& end) {
  if (start == kNone) {
    return;
  }
  const NameSet scope = reach(graph, start, Direction::Forwards, end);
  Queue queue{start};
  NameSet allowed;
  if (end != kNone) {
    allowed = reach(graph, end, Direction::Backwards, start);
  }
  NameSet visited;
  while (true) {
    const Name module = getNextModuleInOrder(graph, queue, visited, scope);
    if (module == kNone) {
      return;
    }
    callback(module);
    visited.insert(module);
    for (const auto& next : liveOf(graph[module].next)) {
      if (end != kNone && !allowed.contains(next)) {
        continue;
      }
      queue.push_back(next);
    }
  }
}

void forModuleFullRange(const Graph& graph, const std::function<bool(const Name&, bool)>& callback,
                        const Name& start, const Name& end) {
  if (start == kNone) {
    return;
  }
  NameSet beyond;
  NameSet needed;
  if (end != kNone) {
    gather(graph, end, Direction::Forwards, beyond, kNone);
    needed = reach(graph, end, Direction::Backwards, start);
  }
  const NameSet scope = reach(graph, start, Direction::Forwards, end);
  std::deque<std::pair<Name, bool>> queue{{start, false}};
  NameSet visited;
  std::pair<Name, bool> entry;
  while (takeReady(graph, queue, Direction::Backwards, visited, scope, entry)) {
    const auto [module, outside] = entry;
    visited.insert(module);
    const bool goOn = callback(module, outside);
    if (!goOn) {
      continue;
    }
    for (const auto& next : liveOf(graph[module].next)) {
      if (end != kNone && beyond.contains(next)) {
        continue;
      }
      const bool onTheWay = !outside && (end == kNone || needed.contains(next));
      queue.emplace_back(next, !onTheWay);
    }
  }
}

void forPreviousModules(const Graph& graph, const Visitor& callback, const Name& module) {
  if (module == kNone) {
    return;
  }
  const NameSet scope = reach(graph, module, Direction::Backwards, kNone);
  Queue queue{module};
  NameSet visited;
  Name current;
  while (takeReady(graph, queue, Direction::Forwards, visited, scope, current)) {
    visited.insert(current);
    if (current != module && !callback(current)) {
      continue;
    }
    for (const auto& previous : liveOf(graph[current].previous)) {
      queue.push_back(previous);
    }
  }
}

}  // namespace Tessaril::GraphModel
