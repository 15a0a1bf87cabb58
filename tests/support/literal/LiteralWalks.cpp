#include "tests/support/literal/LiteralWalks.h"

#include <deque>
#include <vector>

namespace Tessaril::Literal {

namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;
using LinksOf = const Links& (ApplyModule::*)() const;

template <LinksOf kLinksOf>
bool walkNeighbours(const ApplyModule& origin, const ApplyModule::ModuleVisitor& visitor) {
  std::deque<std::weak_ptr<ApplyModule>> stack;
  std::unordered_set<ModulePtr> visited;
  for (const auto& link : (origin.*kLinksOf)()) {
    stack.push_back(link);
  }
  while (!stack.empty()) {
    const ModulePtr module = stack.back().lock();
    stack.pop_back();
    if (module == nullptr) {
      continue;
    }
    if (!visited.insert(module).second) {
      continue;
    }
    if (!visitor(module)) {
      return false;
    }
    for (const auto& link : (module.get()->*kLinksOf)()) {
      stack.push_back(link);
    }
  }
  return true;
}

template <LinksOf kLinksOf>
bool walkFromThis(const ApplyModule& origin, const ApplyModule::ModuleRefVisitor& visitor) {
  std::deque<const ApplyModule*> stack;
  std::unordered_set<const ApplyModule*> visited;
  stack.push_back(&origin);
  while (!stack.empty()) {
    const ApplyModule* module = stack.back();
    stack.pop_back();
    if (!visited.insert(module).second) {
      continue;
    }
    if (!visitor(*module)) {
      return false;
    }
    for (const auto& link : (module->*kLinksOf)()) {
      if (const ModulePtr neighbour = link.lock()) {
        stack.push_back(neighbour.get());
      }
    }
  }
  return true;
}

template <LinksOf kLinksOf>
void gather(const ApplyModule& origin, ModuleSet& modules, const ModulePtr& stopModule) {
  std::deque<std::weak_ptr<ApplyModule>> stack;
  for (const auto& link : (origin.*kLinksOf)()) {
    stack.push_back(link);
  }
  while (!stack.empty()) {
    const ModulePtr module = stack.back().lock();
    stack.pop_back();
    if (module == nullptr) {
      continue;
    }
    const bool isNew = modules.insert(module).second;
    if (isNew && module != stopModule) {
      for (const auto& link : (module.get()->*kLinksOf)()) {
        stack.push_back(link);
      }
    }
  }
}

}  // namespace

bool forAllFollowingModules(const ApplyModule& origin, ApplyModule::ModuleVisitor visitor) {
  return walkNeighbours<&ApplyModule::getNextApplyModules>(origin, visitor);
}

bool forAllPreviousModules(const ApplyModule& origin, ApplyModule::ModuleVisitor visitor) {
  return walkNeighbours<&ApplyModule::getPreviousApplyModules>(origin, visitor);
}

bool forThisAndAllFollowingModules(const ApplyModule& origin,
                                   ApplyModule::ModuleRefVisitor visitor) {
  return walkFromThis<&ApplyModule::getNextApplyModules>(origin, visitor);
}

bool forThisAndAllPreviousModules(const ApplyModule& origin,
                                  ApplyModule::ModuleRefVisitor visitor) {
  return walkFromThis<&ApplyModule::getPreviousApplyModules>(origin, visitor);
}

void gatherAllDependencies(const ApplyModule& origin, ModuleSet& modules,
                           const ModulePtr& stopModule) {
  gather<&ApplyModule::getPreviousApplyModules>(origin, modules, stopModule);
}

void gatherAllSuccessors(const ApplyModule& origin, ModuleSet& modules,
                         const ModulePtr& stopModule) {
  gather<&ApplyModule::getNextApplyModules>(origin, modules, stopModule);
}

bool hasAsAncestor(const ApplyModule& origin, const ApplyModule& module) {
  return !forThisAndAllPreviousModules(
      origin, [&module](const ApplyModule& visited) { return &visited != &module; });
}

bool hasAsAncestor(const ApplyModule& origin, const ModulePtr& module) {
  return module != nullptr && hasAsAncestor(origin, *module);
}

bool isApplyGraphConsistent(const ApplyModule& origin) {
  return forThisAndAllFollowingModules(origin, [](const ApplyModule& visited) {
    return visited.isConsistent() || visited.isAdditionalModule();
  });
}

bool isDependencyGraphConsistent(const ApplyModule& origin) {
  return forThisAndAllPreviousModules(
      origin, [](const ApplyModule& visited) { return visited.isConsistent(); });
}

bool isDependencyGraphInputOk(const ApplyModule& origin, bool strictForThis) {
  return forThisAndAllPreviousModules(origin, [&origin, strictForThis](const ApplyModule& visited) {
    if (!visited.isActive()) {
      return true;
    }
    if (visited.isFrozen()) {
      return true;
    }
    if (visited.isSkipped()) {
      return true;
    }
    if (visited.isInputOk()) {
      return true;
    }
    if (strictForThis && &visited == &origin) {
      return false;
    }
    return visited.isAdditionalModule();
  });
}

bool isDependencyGraphApplyNecessary(const ApplyModule& origin, bool necessaryForThis) {
  return !forThisAndAllPreviousModules(
      origin, [&origin, necessaryForThis](const ApplyModule& visited) {
        return !visited.isApplyNecessary(&visited == &origin ? necessaryForThis : false);
      });
}

void sendStateChangeSignalsOfFollowingModules(const ApplyModule& origin) {
  forAllFollowingModules(origin, [](const ModulePtr& follower) {
    follower->sendStateChangeSignal();
    return true;
  });
}

}  // namespace Tessaril::Literal
