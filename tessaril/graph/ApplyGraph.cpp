#include "tessaril/graph/ApplyGraph.h"

#include <cstddef>
#include <fstream>
#include <ostream>
#include <typeinfo>
#include <utility>

#include "tessaril/graph/ModuleLinks.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/module/LinkDrain.h"
#include "tessaril/module/LinkSearch.h"
#include "tessaril/module/LiveLinks.h"
#include "tessaril/platform/exceptions/TsException.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {

namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;
using Links = std::vector<std::weak_ptr<ApplyModule>>;
using LinksOf = const Links& (ApplyModule::*)() const;
using InsertMode = ApplyModuleInsertInfo::ApplyGraphInsertMode;

template <typename Matches>
ModulePtr findLive(const Links& links, const Matches& matches) {
  for (const auto& link : links) {
    if (ModulePtr module = link.lock(); module != nullptr && matches(*module)) {
      return module;
    }
  }
  return nullptr;
}

ModulePtr findInChain(const Links& links, const Identifier& chainId) {
  return findLive(links,
                  [&chainId](const ApplyModule& module) { return module.getChainId() == chainId; });
}

/// From `module` along `step` to the last module before it answers null.
template <typename Step>
ModulePtr followToEnd(ModulePtr module, const Step& step) {
  ModulePtr last;
  while (module != nullptr) {
    last = std::move(module);
    module = step(*last);
  }
  return last;
}

/// The module that a chain's first module hangs on, if there is exactly one entry for it and that
/// is live.
ModulePtr onlyParent(const ApplyModule& first) {
  const Links& previous = first.getPreviousApplyModules();
  return previous.size() == 1 ? previous.front().lock() : nullptr;
}

/// A sub-graph with these links stands in a chain: it has at most one neighbour on each side, and
/// not one that shares its owner with the other.
bool standsInChain(const Links& previous, const Links& next) {
  if (previous.size() > 1 || next.size() > 1) {
    return false;
  }
  return previous.empty() || next.empty() || previous.front().owner_before(next.front()) ||
         next.front().owner_before(previous.front());
}

/// Keeps a module no longer than another owner does.
void dropIfLastOwner(ModulePtr& module) {
  if (module.use_count() == 1) {
    module.reset();
  }
}

}  // namespace

// Navigation

ModulePtr ApplyGraph::getStart(ModulePtr module) {
  return followToEnd(std::move(module), [](const ApplyModule& current) {
    return findLive(current.getPreviousApplyModules(), [](const ApplyModule&) { return true; });
  });
}

std::shared_ptr<const ApplyModule> ApplyGraph::getStartConst(
    std::shared_ptr<const ApplyModule> module) {
  return getStart(std::const_pointer_cast<ApplyModule>(std::move(module)));
}

ModulePtr ApplyGraph::getEnd(ModulePtr module) {
  return followToEnd(std::move(module), [](const ApplyModule& current) {
    return findLive(current.getNextApplyModules(),
                    [](const ApplyModule& next) { return !next.isStartOfSideChain(); });
  });
}

ModulePtr ApplyGraph::getFirstModuleOfChain(ModulePtr module) {
  if (module == nullptr || module->getChainId().isNull()) {
    return getStart(std::move(module));
  }
  const Identifier chainId = module->getChainId();
  return followToEnd(std::move(module), [&chainId](const ApplyModule& current) {
    return findInChain(current.getPreviousApplyModules(), chainId);
  });
}

ModulePtr ApplyGraph::getNextModuleWithChainId(ModulePtr module, const Identifier& chainId) {
  return module == nullptr ? nullptr : findInChain(module->getNextApplyModules(), chainId);
}

ModulePtr ApplyGraph::getPreviousModuleWithChainId(ModulePtr module, const Identifier& chainId) {
  return module == nullptr ? nullptr : findInChain(module->getPreviousApplyModules(), chainId);
}

bool ApplyGraph::isInSameGraph(std::shared_ptr<const ApplyModule> a,
                               std::shared_ptr<const ApplyModule> b) {
  return getStartConst(std::move(a)) == getStartConst(std::move(b));
}

std::uint64_t ApplyGraph::computeLevelOfChain(ModulePtr module) {
  if (module != nullptr && module->getChainId().isNull()) {
    return 0;
  }
  ModulePtr first = getFirstModuleOfChain(std::move(module));
  if (first == nullptr) {
    throw TsException("Cannot compute the level of chain which is disconnected from main chain.");
  }
  // The first step down from the main chain needs no look-up: the start chain id alone tells.
  std::uint64_t level = 1;
  Identifier startId = first->getStartChainId();
  while (!startId.isNull()) {
    const ModulePtr parent = getPreviousModuleWithChainId(first, startId);
    if (parent == nullptr) {
      throw TsException(
          "ApplyGraph is not properly constructed. Call ApplyGraph::computeLevelOfChain(module) "
          "after setup ApplyGraph.");
    }
    first = getFirstModuleOfChain(parent);
    startId = first->getStartChainId();
    ++level;
  }
  return level;
}

// Edits of one module

void ApplyGraph::insert(ModulePtr module, ModulePtr previous, ModulePtr next,
                        bool startOfSideChain) {
  if (module == nullptr) {
    return;
  }
  module->setStartOfSideChain(startOfSideChain);
  if (previous != nullptr) {
    module->addPreviousApplyModule(previous);
    if (!previous->replaceNextApplyModule(next, module)) {
      previous->addNextApplyModule(module);
    }
  }
  if (next != nullptr) {
    module->addNextApplyModule(next);
    if (!next->replacePreviousApplyModule(previous, module)) {
      next->addPreviousApplyModule(module);
    }
  }
}

void ApplyGraph::insertAfter(ModulePtr module, ModulePtr anchor) {
  placeAfter(module, module, anchor);
}

void ApplyGraph::insertBefore(ModulePtr module, ModulePtr anchor) {
  placeBefore(module, module, anchor);
}

void ApplyGraph::removeNext(const ModulePtr& module) {
  forEachLive(module->getNextApplyModules(),
              [&](const ModulePtr& next) { next->removePreviousApplyModule(module); });
  module->clearLinks(module->nextApplyModules);
}

void ApplyGraph::removePrevious(const ModulePtr& module) {
  forEachLive(module->getPreviousApplyModules(),
              [&](const ModulePtr& previous) { previous->removeNextApplyModule(module); });
  module->clearLinks(module->previousApplyModules);
}

void ApplyGraph::remove(ModulePtr module) { takeOut(module, module, true); }

void ApplyGraph::replace(ModulePtr oldModule, ModulePtr newModule) {
  if (oldModule == nullptr || newModule == nullptr) {
    return;
  }
  newModule->takeOverLinks(*oldModule);
  forEachLive(newModule->getNextApplyModules(), [&](const ModulePtr& next) {
    next->replacePreviousApplyModule(oldModule, newModule);
  });
  forEachLive(newModule->getPreviousApplyModules(), [&](const ModulePtr& previous) {
    previous->replaceNextApplyModule(oldModule, newModule);
  });
  if (oldModule->isStartOfSideChain()) {
    oldModule->setStartOfSideChain(false);
    newModule->setStartOfSideChain(true);
  }
}

void ApplyGraph::addFork(ModulePtr from, ModulePtr to) {
  if (from == nullptr || to == nullptr) {
    return;
  }
  const Identifier joinedChainId = to->getChainId();
  const ModulePtr first = getFirstModuleOfChain(from);
  const ModulePtr parent = onlyParent(*first);
  if (first->getInsertMode() == InsertMode::StartSideChain && parent != nullptr) {
    first->setStartForkInsertMode(first->getChainId(), parent->getChainId());
  }
  to->addPreviousApplyModule(from);
  from->addNextApplyModule(to);
  std::vector<Identifier> mergedChainIds;
  forEachLive(to->getPreviousApplyModules(),
              [&](const ModulePtr& previous) { mergedChainIds.push_back(previous->getChainId()); });
  to->setMergeForkInsertMode(mergedChainIds, joinedChainId);
}

void ApplyGraph::removeFork(ModulePtr from, ModulePtr to) {
  if (from == nullptr || to == nullptr) {
    return;
  }
  const Identifier chainId = from->getChainId();
  const ModulePtr last = getPreviousModuleWithChainId(to, chainId);
  if (last == nullptr) {
    return;
  }
  const ModulePtr first = getFirstModuleOfChain(from);
  bool branched = false;
  followToEnd(first, [&](const ApplyModule& current) {
    branched = branched || current.getNextApplyModules().size() > 1;
    return findInChain(current.getNextApplyModules(), chainId);
  });
  to->removePreviousApplyModule(last);
  last->removeNextApplyModule(to);
  if (to->getPreviousApplyModules().size() == 1) {
    to->setAddToChainInsertMode(to->getChainId(), false);
  }
  const ModulePtr parent = onlyParent(*first);
  if (!branched && !chainId.isNull() && first->getInsertMode() == InsertMode::StartFork &&
      parent != nullptr) {
    first->setStartSideChainInsertMode(first->getChainId(), parent->getChainId());
  }
}

// Edits of a sub-graph

void ApplyGraph::insertSubGraph(ModulePtr start, ModulePtr end, ModulePtr previous, ModulePtr next,
                                bool startOfSideChain) {
  if (start == nullptr || end == nullptr) {
    return;
  }
  start->addPreviousApplyModule(previous);
  linkBetween(start, end, previous, next);
  if (startOfSideChain) {
    start->setStartOfSideChain(true);
  }
}

/// All links of a sub-graph between two neighbours but that from its start to the previous one.
void ApplyGraph::linkBetween(const ModulePtr& start, const ModulePtr& end,
                             const ModulePtr& previous, const ModulePtr& next) {
  end->addNextApplyModule(next);
  if (previous != nullptr && !previous->replaceNextApplyModule(next, start)) {
    previous->addNextApplyModule(start);
  }
  if (next != nullptr && !next->replacePreviousApplyModule(previous, end)) {
    next->addPreviousApplyModule(end);
  }
}

void ApplyGraph::insertSubGraphAfter(ModulePtr start, ModulePtr end, ModulePtr anchor) {
  placeAfter(start, end, anchor);
}

void ApplyGraph::insertSubGraphBefore(ModulePtr start, ModulePtr end, ModulePtr anchor) {
  placeBefore(start, end, anchor);
}

// No flag moves here: what followed the anchor as a side chain goes on as one behind the sub-graph.
void ApplyGraph::placeAfter(const ModulePtr& start, const ModulePtr& end, const ModulePtr& anchor) {
  if (start == nullptr || end == nullptr || anchor == nullptr ||
      holds(getPreviousLinks(*start), anchor)) {
    return;
  }
  removeNext(end);
  removePrevious(start);
  KnownLinks nextOfEnd;
  forEachLive(anchor->getNextApplyModules(), [&](const ModulePtr& next) {
    end->addNextApplyModule(next, nextOfEnd);
    next->replacePreviousApplyModule(anchor, end);
  });
  start->addPreviousApplyModule(anchor);
  anchor->clearLinks(anchor->nextApplyModules);
  anchor->addNextApplyModule(start);
}

// The flag moves: the sub-graph now comes first in the chain that the anchor began.
void ApplyGraph::placeBefore(const ModulePtr& start, const ModulePtr& end,
                             const ModulePtr& anchor) {
  if (start == nullptr || end == nullptr || anchor == nullptr ||
      holds(getNextLinks(*end), anchor)) {
    return;
  }
  removeNext(end);
  removePrevious(start);
  KnownLinks previousOfStart;
  forEachLive(anchor->getPreviousApplyModules(), [&](const ModulePtr& previous) {
    start->addPreviousApplyModule(previous, previousOfStart);
    previous->replaceNextApplyModule(anchor, start);
  });
  end->addNextApplyModule(anchor);
  anchor->clearLinks(anchor->previousApplyModules);
  anchor->addPreviousApplyModule(end);
  if (anchor->isStartOfSideChain()) {
    anchor->setStartOfSideChain(false);
    start->setStartOfSideChain(true);
  }
}

void ApplyGraph::removeSubGraph(ModulePtr start, ModulePtr end) { takeOut(start, end, false); }

void ApplyGraph::takeOut(const ModulePtr& start, const ModulePtr& end, bool handOnStartFlag) {
  if (start == nullptr || end == nullptr) {
    return;
  }
  if (standsInChain(start->getPreviousApplyModules(), end->getNextApplyModules())) {
    takeOutOfChain(start, end, handOnStartFlag);
    return;
  }
  const Links previousModules = start->getPreviousApplyModules();
  const Links nextModules = end->getNextApplyModules();
  {
    const LinkDrain drain(start->linkDrain, start->previousApplyModules);
    forEachLive(previousModules, [&](const ModulePtr& previous) {
      previous->removeNextApplyModule(start);
      start->removePreviousApplyModule(previous);
      KnownLinks nextOfPrevious;
      forEachLive(nextModules, [&](const ModulePtr& next) {
        previous->addNextApplyModule(next, nextOfPrevious);
      });
    });
  }
  {
    const LinkDrain drain(end->linkDrain, end->nextApplyModules);
    forEachLive(nextModules, [&](const ModulePtr& next) {
      next->removePreviousApplyModule(end);
      end->removeNextApplyModule(next);
      if (handOnStartFlag && start->isStartOfSideChain()) {
        next->setStartOfSideChain(true);
      }
      KnownLinks previousOfNext;
      forEachLive(previousModules, [&](const ModulePtr& previous) {
        next->addPreviousApplyModule(previous, previousOfNext);
      });
    });
  }
  start->setStartOfSideChain(false);
}

/// takeOut() with a neighbour on each side, or none. To hold both costs less than to lock the links
/// to them again and again. Yet what a hook drops is gone after the hook, as if links alone led
/// there.
void ApplyGraph::takeOutOfChain(const ModulePtr& start, const ModulePtr& end,
                                bool handOnStartFlag) {
  ModulePtr previous = start->getPreviousApplyModule();
  ModulePtr next = end->getNextApplyModule();
  if (previous != nullptr) {
    previous->removeNextApplyModule(start);
    dropIfLastOwner(next);
    start->removePreviousApplyModule(previous);
    dropIfLastOwner(next);
    previous->addNextApplyModule(next);
    dropIfLastOwner(next);
    dropIfLastOwner(previous);
    // It may have owned the next one.
    dropIfLastOwner(next);
  }
  if (next != nullptr) {
    next->removePreviousApplyModule(end);
    dropIfLastOwner(previous);
    end->removeNextApplyModule(next);
    dropIfLastOwner(previous);
    if (handOnStartFlag && start->isStartOfSideChain()) {
      next->setStartOfSideChain(true);
    }
    next->addPreviousApplyModule(previous);
  }
  start->setStartOfSideChain(false);
}

bool ApplyGraph::moveStartOfSubChain(ModulePtr sideStart, ModulePtr oldParent,
                                     ModulePtr newParent) {
  if (sideStart == nullptr || oldParent == nullptr || newParent == nullptr ||
      newParent == sideStart || !holds(getPreviousLinks(*sideStart), oldParent) ||
      !holds(getNextLinks(*oldParent), sideStart)) {
    return false;
  }
  sideStart->replacePreviousApplyModule(oldParent, newParent);
  oldParent->removeNextApplyModule(sideStart);
  newParent->addNextApplyModule(sideStart);
  return true;
}

// Placement by insert mode

void ApplyGraph::insertAccordingToInsertMode(ModulePtr module, ModulePtr anchor) {
  insertSubGraphAccordingToInsertMode(module, module, std::move(anchor));
}

void ApplyGraph::insertAccordingToInsertMode(ModulePtr module,
                                             const std::vector<ModulePtr>& previousModules,
                                             ModulePtr next) {
  insertSubGraphAccordingToInsertMode(module, module, previousModules, std::move(next));
}

void ApplyGraph::insertSubGraphAccordingToInsertMode(ModulePtr start, ModulePtr end,
                                                     ModulePtr anchor) {
  if (start == nullptr || end == nullptr) {
    return;
  }
  switch (start->getInsertMode()) {
    case InsertMode::AddToChain:
      addSubGraphToChain(start, end, anchor);
      break;
    case InsertMode::StartSideChain:
    case InsertMode::StartFork:
      startChainWithSubGraph(start, end, anchor);
      break;
    case InsertMode::MergeFork:
      break;
  }
}

void ApplyGraph::addSubGraphToChain(const ModulePtr& start, const ModulePtr& end,
                                    const ModulePtr& anchor) {
  const Identifier chainId = start->getChainId();
  const ModulePtr chainNext = getNextModuleWithChainId(anchor, chainId);
  if (const ModulePtr oldNext = getNextModuleWithChainId(end, chainId)) {
    end->removeNextApplyModule(oldNext);
    oldNext->removePreviousApplyModule(end);
  }
  if (const ModulePtr oldPrevious = getPreviousModuleWithChainId(start, chainId)) {
    start->removePreviousApplyModule(oldPrevious);
    oldPrevious->removeNextApplyModule(start);
  }
  if (!start->insertInfo.getTransferChains()) {
    insertSubGraph(start, end, anchor, chainNext, false);
    return;
  }
  placeAfter(start, end, anchor);
  start->insertInfo.setTransferChains(false);
}

void ApplyGraph::startChainWithSubGraph(const ModulePtr& start, const ModulePtr& end,
                                        const ModulePtr& anchor) {
  const bool isSideChain = start->getInsertMode() == InsertMode::StartSideChain;
  const ModulePtr chainNext = getNextModuleWithChainId(anchor, start->getChainId());
  if (chainNext == nullptr) {
    insert(start, anchor, nullptr, isSideChain);
    return;
  }
  if (chainNext == start) {
    return;
  }
  placeBefore(start, end, chainNext);
  if (!isSideChain || chainNext->getInsertMode() == InsertMode::StartSideChain) {
    chainNext->setAddToChainInsertMode(chainNext->getChainId(), false);
  }
}

void ApplyGraph::insertSubGraphAccordingToInsertMode(ModulePtr start, ModulePtr end,
                                                     const std::vector<ModulePtr>& previousModules,
                                                     ModulePtr next) {
  if (start == nullptr || end == nullptr) {
    return;
  }
  if (next != nullptr) {
    removePrevious(next);
  }
  KnownLinks previousOfStart;
  for (const ModulePtr& previous : previousModules) {
    if (previous == nullptr) {
      continue;
    }
    if (previous->getChainId() == start->getChainId()) {
      takeOverSuccessorsInChain(end, previous);
    }
    // The other links that are made here can add `end` to the previous list of `start`, but no
    // other module.
    if (previous == end) {
      start->addPreviousApplyModule(previous);
    } else {
      start->addPreviousApplyModule(previous, previousOfStart);
    }
    linkBetween(start, end, previous, next);
  }
}

void ApplyGraph::takeOverSuccessorsInChain(const ModulePtr& end, const ModulePtr& previous) {
  const Identifier chainId = previous->getChainId();
  const Links successors = previous->getNextApplyModules();
  const LinkDrain drain(previous->linkDrain, previous->nextApplyModules);
  KnownLinks nextOfEnd;
  forEachLive(successors, [&](const ModulePtr& successor) {
    if (successor->getChainId() == chainId) {
      previous->removeNextApplyModule(successor);
      successor->removePreviousApplyModule(previous);
      end->addNextApplyModule(successor, nextOfEnd);
      successor->addPreviousApplyModule(end);
    }
  });
}

// Diagnosis

namespace {

void describe(std::ostream& stream, const ApplyModule& module) {
  const auto* object = dynamic_cast<const Object*>(&module);
  if (object == nullptr) {
    stream << "No Object: " << typeid(module).name() << std::endl;
    return;
  }
  stream << "Name: " << object->getName() << (module.isStartOfSideChain() ? " (S)" : " ")
         << " AbsolutePath: " << object->getPath(RequestedPathType::Absolute).toString()
         << std::endl;
}

void describeNeighbours(std::ostream& stream, const Links& links) {
  forEachLive(links, [&stream](const ModulePtr& neighbour) {
    stream << "    ";
    describe(stream, *neighbour);
  });
}

void writeNode(std::ostream& stream, const ApplyModule& module) {
  stream << "Node:" << std::endl << "=====" << std::endl;
  describe(stream, module);
  stream << "  Previous Nodes:" << std::endl << "  ---------------" << std::endl;
  describeNeighbours(stream, module.getPreviousApplyModules());
  stream << "  Next Nodes:" << std::endl << "  -----------" << std::endl;
  describeNeighbours(stream, module.getNextApplyModules());
  stream << std::endl;
}

}  // namespace

void ApplyGraph::write(std::shared_ptr<const ApplyModule> module, const std::string& fileName) {
  const std::shared_ptr<const ApplyModule> start = getStartConst(std::move(module));
  if (start == nullptr) {
    return;
  }
  std::ofstream file(fileName, std::ios::out | std::ios::trunc);
  start->forThisAndAllFollowingModules([&file](const ApplyModule& node) {
    writeNode(file, node);
    return true;
  });
  file.close();
}

}  // namespace Tessaril
