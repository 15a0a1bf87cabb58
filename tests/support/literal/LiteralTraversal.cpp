#include "tests/support/literal/LiteralTraversal.h"

#include <queue>
#include <utility>
#include <vector>

namespace Tessaril::Literal {

namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;
using LinksOf = const Links& (ApplyModule::*)() const;
/// A module, and whether it lies off the way to the end.
using FlaggedModule = std::pair<ModulePtr, bool>;

const ModulePtr& moduleOf(const ModulePtr& entry) { return entry; }
const ModulePtr& moduleOf(const FlaggedModule& entry) { return entry.first; }

template <LinksOf kWaitsFor>
bool isReady(const ApplyModule& module, const ModuleSet& visited, const ModuleSet& scope) {
  for (const auto& link : (module.*kWaitsFor)()) {
    const ModulePtr neighbour = link.lock();
    if (neighbour != nullptr && !visited.contains(neighbour) && scope.contains(neighbour)) {
      return false;
    }
  }
  return true;
}

/// The first ready entry of the queue, or an entry without a module.
template <LinksOf kWaitsFor, typename Entry>
Entry takeNextInOrder(std::queue<Entry>& queue, const ModuleSet& visited, const ModuleSet& scope) {
  std::vector<Entry> deferred;
  while (!queue.empty()) {
    const Entry entry = queue.front();
    queue.pop();
    const ModulePtr& module = moduleOf(entry);
    if (module == nullptr || visited.contains(module)) {
      continue;
    }
    if (!isReady<kWaitsFor>(*module, visited, scope)) {
      deferred.push_back(entry);
      continue;
    }
    for (const Entry& waiting : deferred) {
      queue.push(waiting);
    }
    return entry;
  }
  return Entry();
}

}  // namespace

ModulePtr getNextModuleInOrder(ModuleQueue& queue, const ModuleSet& visited,
                               const ModuleSet& scope) {
  return takeNextInOrder<&ApplyModule::getPreviousApplyModules>(queue, visited, scope);
}

void forSemanticOrderedModuleRange(std::function<void(ModulePtr)> callback, ModulePtr start,
                                   ModulePtr end) {
  if (start == nullptr) {
    return;
  }
  ModuleSet scope;
  gatherAllSuccessors(*start, scope, end);
  scope.insert(start);
  ModuleQueue queue;
  queue.push(start);
  ModuleSet allowed;
  if (end != nullptr) {
    gatherAllDependencies(*end, allowed, start);
    allowed.insert(end);
  }
  ModuleSet visited;
  while (const ModulePtr module = getNextModuleInOrder(queue, visited, scope)) {
    callback(module);
    visited.insert(module);
    for (const auto& link : module->getNextApplyModules()) {
      const ModulePtr next = link.lock();
      if (next == nullptr) {
        continue;
      }
      if (end != nullptr && !allowed.contains(next)) {
        continue;
      }
      queue.push(next);
    }
  }
}

void forSemanticOrderedModuleFullRange(std::function<bool(ModulePtr, bool)> callback,
                                       ModulePtr start, ModulePtr end) {
  if (start == nullptr) {
    return;
  }
  ModuleSet beyond;
  ModuleSet needed;
  if (end != nullptr) {
    gatherAllSuccessors(*end, beyond, nullptr);
    gatherAllDependencies(*end, needed, start);
    needed.insert(end);
  }
  ModuleSet scope;
  gatherAllSuccessors(*start, scope, end);
  scope.insert(start);
  std::queue<FlaggedModule> queue;
  queue.push({start, false});
  ModuleSet visited;
  while (true) {
    const auto [module, outside] =
        takeNextInOrder<&ApplyModule::getPreviousApplyModules>(queue, visited, scope);
    if (module == nullptr) {
      return;
    }
    visited.insert(module);
    const bool goOn = callback(module, outside);
    if (!goOn) {
      continue;
    }
    for (const auto& link : module->getNextApplyModules()) {
      const ModulePtr next = link.lock();
      if (next == nullptr) {
        continue;
      }
      if (end != nullptr && beyond.contains(next)) {
        continue;
      }
      const bool onTheWay = !outside && (end == nullptr || needed.contains(next));
      queue.push({next, !onTheWay});
    }
  }
}

void forSemanticOrderedPreviousModules(std::function<bool(ModulePtr)> callback, ModulePtr module) {
  if (module == nullptr) {
    return;
  }
  ModuleSet scope;
  gatherAllDependencies(*module, scope, nullptr);
  scope.insert(module);
  ModuleQueue queue;
  queue.push(module);
  ModuleSet visited;
  while (const ModulePtr current =
             takeNextInOrder<&ApplyModule::getNextApplyModules>(queue, visited, scope)) {
    visited.insert(current);
    if (current != module && !callback(current)) {
      continue;
    }
    for (const auto& link : current->getPreviousApplyModules()) {
      if (const ModulePtr previous = link.lock()) {
        queue.push(previous);
      }
    }
  }
}

}  // namespace Tessaril::Literal
