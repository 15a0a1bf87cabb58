#include "tessaril/module/ApplyModule.h"

#include <utility>

#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/module/AddressSet.h"
#include "tessaril/module/LinkDrain.h"
#include "tessaril/module/LinkEdits.h"
#include "tessaril/module/LinkSearch.h"
#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/parameterization/Object.h"

// The walks, forwards along next lists and backwards along previous lists alike:
//
// 1. A stack holds what is still to be visited. It starts with the links of the module that is
//    asked, or with that module itself.
// 2. The top entry is taken off. One that has expired or has been visited is passed over.
// 3. The module is visited; the walk ends here if its visitor says so.
// 4. All its links are pushed in list order, so that the last-listed neighbour, and everything that
//    can be reached through it, comes before the earlier ones.
//
// To copy and to lock a weak reference changes counts that other threads may look at, which costs
// more than all else. So links to what has been visited are not pushed, and the last link of a
// module, which would be taken off at once, is followed without being pushed.

namespace Tessaril {

namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;
using ModuleSet = std::unordered_set<std::shared_ptr<ApplyModule>>;

/// How many modules ahead of its turn the memory of a module is asked for.
constexpr std::size_t kAhead = 4;

/// The module of a link, unless it has been visited; null for one that has gone. `linksOf`, here
/// and below: NextLinks or PreviousLinks of the class. As a call it makes a walk take an eighth
/// more instructions.
template <typename LinksOf>
[[gnu::always_inline]] inline std::shared_ptr<ApplyModule> lockNew(
    const ApplyModule* address, const std::weak_ptr<ApplyModule>& link, const LinksOf& linksOf,
    AddressSet& visited) {
  const AddressSet::Place place = visited.placeOf(address);
  if (visited.isTaken(place)) {
    return nullptr;
  }
  linksOf.loadEarly(address);
  std::shared_ptr<ApplyModule> module = link.lock();
  if (module != nullptr) {
    visited.take(place, address);
  }
  return module;
}

template <typename LinksOf>
bool walkNeighbours(const ApplyModule& origin, const LinksOf& linksOf,
                    const ApplyModule::ModuleVisitor& visitor) {
  struct Entry {
    const ApplyModule* address;
    std::weak_ptr<ApplyModule> link;
  };
  AddressSet visited;
  // A visitor may be a listener of signals, who edits the graph or drops modules.
  std::vector<std::shared_ptr<ApplyModule>> held;
  std::vector<Entry> stack;
  const ApplyModule* leading = &origin;
  while (true) {
    std::shared_ptr<ApplyModule> module;
    if (leading != nullptr) {
      const LinkList& links = linksOf(*std::exchange(leading, nullptr));
      const std::size_t count = links.size();
      for (std::size_t place = 0; place + 1 < count; ++place) {
        if (!visited.contains(links.address(place))) {
          stack.push_back({links.address(place), links.links()[place]});
        }
      }
      if (count != 0) {
        module = lockNew(links.address(count - 1), links.links()[count - 1], linksOf, visited);
      }
    } else if (!stack.empty()) {
      module = lockNew(stack.back().address, stack.back().link, linksOf, visited);
      stack.pop_back();
    } else {
      return true;
    }
    if (module == nullptr) {
      continue;
    }
    if (!visitor(module)) {
      return false;
    }
    leading = module.get();
    held.push_back(std::move(module));
  }
}

template <typename LinksOf>
bool walkFromThis(const ApplyModule& origin, const LinksOf& linksOf,
                  const ApplyModule::ModuleRefVisitor& visitor) {
  AddressSet visited;
  std::vector<const ApplyModule*> stack{&origin};
  while (!stack.empty()) {
    const ApplyModule* const module = stack.back();
    stack.pop_back();
    if (stack.size() >= kAhead) {
      linksOf.loadEarly(stack[stack.size() - kAhead]);
    }
    if (!visited.insert(module)) {
      continue;
    }
    if (!visitor(*module)) {
      return false;
    }
    const LinkList& links = linksOf(*module);
    for (std::size_t place = 0; place < links.size(); ++place) {
      const ApplyModule* const neighbour = links.address(place);
      if (!visited.contains(neighbour) && links.isLive(place)) {
        stack.push_back(neighbour);
      }
    }
  }
  return true;
}

/// What is gathered when nothing has been gathered before.
template <typename LinksOf>
std::vector<std::shared_ptr<ApplyModule>> gathered(const ApplyModule& origin,
                                                   const LinksOf& linksOf,
                                                   const ApplyModule* stopModule) {
  std::vector<std::shared_ptr<ApplyModule>> modules;
  AddressSet addresses;
  std::vector<const ApplyModule*> stack{&origin};
  while (!stack.empty()) {
    const LinkList& links = linksOf(*stack.back());
    stack.pop_back();
    for (std::size_t place = 0; place < links.size(); ++place) {
      const ApplyModule* const address = links.address(place);
      std::shared_ptr<ApplyModule> module =
          lockNew(address, links.links()[place], linksOf, addresses);
      if (module != nullptr) {
        modules.push_back(std::move(module));
        if (address != stopModule) {
          stack.push_back(address);
        }
      }
    }
  }
  return modules;
}

template <typename LinksOf>
void gather(const ApplyModule& origin, const LinksOf& linksOf, ModuleSet& modules,
            const std::shared_ptr<ApplyModule>& stopModule) {
  if (modules.empty()) {
    std::vector<std::shared_ptr<ApplyModule>> found = gathered(origin, linksOf, stopModule.get());
    modules.reserve(found.size());
    for (std::shared_ptr<ApplyModule>& module : found) {
      modules.insert(std::move(module));
    }
    return;
  }
  // The set holds what is on the stack.
  std::vector<const ApplyModule*> stack{&origin};
  while (!stack.empty()) {
    const LinkList& links = linksOf(*stack.back());
    stack.pop_back();
    for (const auto& link : links.links()) {
      std::shared_ptr<ApplyModule> module = link.lock();
      const ApplyModule* const address = module.get();
      if (address != nullptr && modules.insert(std::move(module)).second &&
          address != stopModule.get()) {
        stack.push_back(address);
      }
    }
  }
}

std::shared_ptr<ApplyModule> lockFirst(const Links& links) {
  return links.empty() ? nullptr : links.front().lock();
}

}  // namespace

struct ApplyModule::NextLinks {
  const LinkList& operator()(const ApplyModule& module) const { return nextLinksOf(module); }
  void loadEarly(const ApplyModule* module) const { loadLinksEarly(module); }
};

struct ApplyModule::PreviousLinks {
  const LinkList& operator()(const ApplyModule& module) const { return previousLinksOf(module); }
  void loadEarly(const ApplyModule* module) const { loadLinksEarly(module); }
};

ApplyModule::ApplyModule() = default;
ApplyModule::~ApplyModule() = default;

const Links& ApplyModule::getNextApplyModules() const { return nextLinksOf(*this).links(); }

const Links& ApplyModule::getPreviousApplyModules() const { return previousLinksOf(*this).links(); }

std::shared_ptr<ApplyModule> ApplyModule::getNextApplyModule() const {
  return lockFirst(getNextApplyModules());
}

std::shared_ptr<ApplyModule> ApplyModule::getPreviousApplyModule() const {
  return lockFirst(getPreviousApplyModules());
}

bool ApplyModule::hasNextApplyModule(std::shared_ptr<ApplyModule> module) const {
  return holds(nextLinksOf(*this), module);
}

bool ApplyModule::hasPreviousApplyModule(std::shared_ptr<ApplyModule> module) const {
  return holds(previousLinksOf(*this), module);
}

bool ApplyModule::isAdditionalModule() const { return additionalModule; }

void ApplyModule::setAdditionalModule(bool additional) { additionalModule = additional; }

bool ApplyModule::isStartOfSideChain() const { return startOfSideChain; }

void ApplyModule::setStartOfSideChain(bool start) { startOfSideChain = start; }

const Identifier& ApplyModule::getChainId() const { return insertInfo.getChainId(); }

const Identifier& ApplyModule::getStartChainId() const { return insertInfo.getStartChainId(); }

const std::vector<Identifier>& ApplyModule::getMergeChainIds() const {
  return insertInfo.getMergeChainIds();
}

ApplyModuleInsertInfo::ApplyGraphInsertMode ApplyModule::getInsertMode() const {
  return insertInfo.getInsertMode();
}

void ApplyModule::setAddToChainInsertMode(const Identifier& chainId, bool transferChains) {
  insertInfo.setInsertMode(ApplyModuleInsertInfo::AddToChain);
  insertInfo.setChainId(chainId);
  insertInfo.setTransferChains(transferChains);
}

void ApplyModule::setStartSideChainInsertMode(const Identifier& chainId,
                                              const Identifier& startChainId) {
  setChainStart(ApplyModuleInsertInfo::StartSideChain, chainId, startChainId);
}

void ApplyModule::setStartForkInsertMode(const Identifier& chainId,
                                         const Identifier& startChainId) {
  setChainStart(ApplyModuleInsertInfo::StartFork, chainId, startChainId);
}

// By value: the start chain may well be the module's own chain so far, which is overwritten first.
void ApplyModule::setChainStart(ApplyModuleInsertInfo::ApplyGraphInsertMode mode,
                                Identifier chainId, Identifier startChainId) {
  insertInfo.setInsertMode(mode);
  insertInfo.setChainId(chainId);
  insertInfo.setStartChainId(startChainId);
}

void ApplyModule::setMergeForkInsertMode(const std::vector<Identifier>& mergeChainIds,
                                         const Identifier& chainId) {
  insertInfo.setInsertMode(ApplyModuleInsertInfo::MergeFork);
  insertInfo.setChainId(chainId);
  insertInfo.setMergeChainIds(mergeChainIds);
}

bool ApplyModule::isApplyNecessary(bool /*isEndModule*/) const { return false; }

bool ApplyModule::isApplyPossible() const { return false; }

bool ApplyModule::isAutoApplyNecessary() const { return true; }

bool ApplyModule::isAutoApplyPossible() const { return true; }

bool ApplyModule::isUpdateInfoRelevant(const ApplyUpdateInfo& info) const {
  return !info.isEmpty();
}

bool ApplyModule::updateAlways() const { return true; }

bool ApplyModule::usesSharedResources() const { return false; }

bool ApplyModule::enableDesignSwitch() const { return false; }

LegacyProgress::Speed::Rate ApplyModule::getSpeedRate() const { return speedRate; }

void ApplyModule::setApplyCmdFactory(std::shared_ptr<ApplyCmdFactory> factory) {
  applyCmdFactory = std::move(factory);
}

bool ApplyModule::hasApplyCmdFactory() const { return applyCmdFactory != nullptr; }

std::shared_ptr<CommandBase> ApplyModule::createApplyCommand(std::shared_ptr<Object> object) {
  return hasApplyCmdFactory() ? applyCmdFactory->createApplyCommand(std::move(object)) : nullptr;
}

std::shared_ptr<CommandBase> ApplyModule::createAutoApplyCommand(std::shared_ptr<Object> object,
                                                                 bool mayRunAlone) {
  return hasApplyCmdFactory()
             ? applyCmdFactory->createAutoApplyCommand(std::move(object), mayRunAlone)
             : nullptr;
}

std::shared_ptr<CommandBase> ApplyModule::createMessageHandlingCmd(
    std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message, bool flag) {
  return hasApplyCmdFactory() ? applyCmdFactory->createMessageHandlingCmd(std::move(object),
                                                                          std::move(message), flag)
                              : nullptr;
}

bool ApplyModule::forAllFollowingModules(ModuleVisitor visitor) const {
  return walkNeighbours(*this, NextLinks(), visitor);
}

bool ApplyModule::forAllPreviousModules(ModuleVisitor visitor) const {
  return walkNeighbours(*this, PreviousLinks(), visitor);
}

bool ApplyModule::forThisAndAllFollowingModules(ModuleRefVisitor visitor) const {
  return walkFromThis(*this, NextLinks(), visitor);
}

bool ApplyModule::forThisAndAllPreviousModules(ModuleRefVisitor visitor) const {
  return walkFromThis(*this, PreviousLinks(), visitor);
}

void ApplyModule::gatherAllDependencies(ModuleSet& modules,
                                        const std::shared_ptr<ApplyModule>& stopModule) const {
  gather(*this, PreviousLinks(), modules, stopModule);
}

void ApplyModule::gatherAllSuccessors(ModuleSet& modules,
                                      const std::shared_ptr<ApplyModule>& stopModule) const {
  gather(*this, NextLinks(), modules, stopModule);
}

bool ApplyModule::hasAsAncestor(const ApplyModule& module) const {
  return !forThisAndAllPreviousModules(
      [&module](const ApplyModule& visited) { return &visited != &module; });
}

bool ApplyModule::hasAsAncestor(std::shared_ptr<ApplyModule> module) const {
  return module != nullptr && hasAsAncestor(*module);
}

bool ApplyModule::isApplyGraphConsistent() const {
  return forThisAndAllFollowingModules([](const ApplyModule& visited) {
    return visited.isConsistent() || visited.isAdditionalModule();
  });
}

bool ApplyModule::isDependencyGraphConsistent() const {
  return forThisAndAllPreviousModules(
      [](const ApplyModule& visited) { return visited.isConsistent(); });
}

bool ApplyModule::isDependencyGraphInputOk(bool strictForThis) const {
  return forThisAndAllPreviousModules([this, strictForThis](const ApplyModule& visited) {
    if (!visited.isActive() || visited.isFrozen() || visited.isSkipped() || visited.isInputOk()) {
      return true;
    }
    return visited.isAdditionalModule() && !(strictForThis && &visited == this);
  });
}

bool ApplyModule::isDependencyGraphApplyNecessary(bool necessaryForThis) const {
  return !forThisAndAllPreviousModules([this, necessaryForThis](const ApplyModule& visited) {
    return !visited.isApplyNecessary(&visited == this && necessaryForThis);
  });
}

bool ApplyModule::isDependencyGraphApplyRequired() const {
  return isDependencyGraphInputOk(false) && isDependencyGraphApplyNecessary(true);
}

void ApplyModule::sendStateChangeSignalsOfFollowingModules() const {
  forAllFollowingModules([](const std::shared_ptr<ApplyModule>& follower) {
    follower->sendStateChangeSignal();
    return true;
  });
}

void ApplyModule::onApplyGraphChanged() {}

void ApplyModule::addNextApplyModule(const std::shared_ptr<ApplyModule>& module) {
  addLink(nextApplyModules, module, nullptr);
}

void ApplyModule::addNextApplyModule(const std::shared_ptr<ApplyModule>& module,
                                     KnownLinks& known) {
  addLink(nextApplyModules, module, &known);
}

void ApplyModule::addPreviousApplyModule(const std::shared_ptr<ApplyModule>& module) {
  addLink(previousApplyModules, module, nullptr);
}

void ApplyModule::addPreviousApplyModule(const std::shared_ptr<ApplyModule>& module,
                                         KnownLinks& known) {
  addLink(previousApplyModules, module, &known);
}

void ApplyModule::removeNextApplyModule(const std::shared_ptr<ApplyModule>& module) {
  removeLink(nextApplyModules, module);
}

void ApplyModule::removePreviousApplyModule(const std::shared_ptr<ApplyModule>& module) {
  removeLink(previousApplyModules, module);
}

bool ApplyModule::replaceNextApplyModule(const std::shared_ptr<ApplyModule>& oldModule,
                                         const std::shared_ptr<ApplyModule>& newModule) {
  return replaceLink(nextApplyModules, oldModule, newModule);
}

bool ApplyModule::replacePreviousApplyModule(const std::shared_ptr<ApplyModule>& oldModule,
                                             const std::shared_ptr<ApplyModule>& newModule) {
  return replaceLink(previousApplyModules, oldModule, newModule);
}

void ApplyModule::addLink(LinkList& links, const std::shared_ptr<ApplyModule>& module,
                          KnownLinks* known) {
  if (module == nullptr || module.get() == this) {
    return;
  }
  settleLinks();
  if (known != nullptr ? !known->isNew(links, module) : holds(links, module)) {
    return;
  }
  links.add(module);
  LinkEdits::add();
  onApplyGraphChanged();
}

void ApplyModule::removeLink(LinkList& links, const std::shared_ptr<ApplyModule>& module) {
  if (linkDrain == nullptr || !linkDrain->takeOut(links, module)) {
    settleLinks();
    const std::size_t found = findLink(links, module);
    if (found == links.size()) {
      return;
    }
    links.erase(found, found + 1);
  }
  LinkEdits::add();
  onApplyGraphChanged();
}

// Neither duplicates nor a null new module are refused: the graph operations that replace have seen
// to duplicates, and a replaced entry has to keep its place.
bool ApplyModule::replaceLink(LinkList& links, const std::shared_ptr<ApplyModule>& oldModule,
                              const std::shared_ptr<ApplyModule>& newModule) {
  if (newModule.get() == this) {
    return false;
  }
  settleLinks();
  const std::size_t found = findLink(links, oldModule);
  if (found == links.size()) {
    return false;
  }
  links.set(found, newModule);
  LinkEdits::add();
  onApplyGraphChanged();
  return true;
}

void ApplyModule::clearLinks(LinkList& links) {
  settleLinks();
  links.clear();
  LinkEdits::add();
}

void ApplyModule::takeOverLinks(ApplyModule& other) {
  settleLinks();
  other.settleLinks();
  // A module that is replaced by itself loses its lists.
  nextApplyModules.swap(other.nextApplyModules);
  previousApplyModules.swap(other.previousApplyModules);
  other.nextApplyModules.clear();
  other.previousApplyModules.clear();
  LinkEdits::add();
}

void ApplyModule::settleLinkDrain() const { linkDrain->settle(); }

}  // namespace Tessaril
