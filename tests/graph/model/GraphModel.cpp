#include "tests/graph/model/GraphModel.h"

#include <algorithm>
#include <utility>

#include "tests/support/PrivateLinks.h"

namespace Tessaril::GraphModel {

namespace {

Names namesOf(const TestSupport::TestGraph& graph,
              const std::vector<std::weak_ptr<ApplyModule>>& links) {
  Names names;
  for (const auto& link : links) {
    names.push_back(graph.nameOf(link.lock()));
  }
  return names;
}

/// Steps as long as there is somewhere to go.
template <typename Step>
Name lastOfWalk(Name current, std::size_t moduleCount, const Step& step) {
  for (std::size_t steps = 0;; ++steps) {
    const Name following = step(current);
    if (following == kNone) {
      return current;
    }
    if (steps > moduleCount) {
      throw CircularWalk("round and round past " + current);
    }
    current = following;
  }
}

}  // namespace

Names liveOf(const Names& list) {
  Names live;
  for (const auto& name : list) {
    if (name != kNone) {
      live.push_back(name);
    }
  }
  return live;
}

bool holds(const Names& list, const Name& module) {
  return std::find(list.begin(), list.end(), module) != list.end();
}

std::string shown(const Name& module, const Names& previous, const Names& next) {
  std::string text = " " + module + "[";
  for (const auto& name : previous) {
    text += name + " ";
  }
  text += "|";
  for (const auto& name : next) {
    text += " " + name;
  }
  return text + "]";
}

Graph::Graph(const TestSupport::TestGraph& graph) {
  for (const auto& member : graph) {
    auto& module = all[member.name];
    const auto& origin = *member.module;
    module.previous = namesOf(graph, origin.getPreviousApplyModules());
    module.next = namesOf(graph, origin.getNextApplyModules());
    module.chain = TestSupport::chainName(origin.getChainId());
    for (const auto& id : origin.getMergeChainIds()) {
      module.mergeChains.push_back(TestSupport::chainName(id));
    }
    module.mode = static_cast<Mode>(origin.getInsertMode());
    module.transferChains = TestSupport::PrivateLinks::insertInfo(origin).getTransferChains();
    module.startOfSideChain = origin.isStartOfSideChain();
  }
}

void Graph::drop(const Name& name) {
  all.erase(name);
  for (auto& [other, module] : all) {
    std::replace(module.previous.begin(), module.previous.end(), name, kNone);
    std::replace(module.next.begin(), module.next.end(), name, kNone);
  }
}

std::string Graph::describe() const {
  constexpr const char* kModes[] = {"add", "side", "fork", "merge"};
  std::string text;
  for (const auto& [name, module] : all) {
    text += name + ": previous";
    for (const auto& previous : module.previous) {
      text += " " + previous;
    }
    text += ", next";
    for (const auto& next : module.next) {
      text += " " + next;
    }
    text += ", chain " + module.chain + ", " + kModes[static_cast<int>(module.mode)];
    for (const auto& chain : module.mergeChains) {
      text += " " + chain;
    }
    text += module.transferChains ? ", transfer" : "";
    text += module.startOfSideChain ? ", start\n" : "\n";
  }
  return text;
}

// A module's own lists

void Graph::changed(const Name& owner) {
  calls += (calls.empty() ? "" : " ") + owner;
  for (const auto& name : watched) {
    if (contains(name)) {
      calls += shown(name, all.at(name).previous, all.at(name).next);
    }
  }
  if (callsUntilFailure > 0 && --callsUntilFailure == 0) {
    throw HookFailure("the hook of " + owner);
  }
}

void Graph::add(const Name& owner, List list, const Name& module) {
  Names& names = all.at(owner).*list;
  if (module != kNone && module != owner && !holds(names, module)) {
    names.push_back(module);
    changed(owner);
  }
}

void Graph::erase(const Name& owner, List list, const Name& module) {
  Names& names = all.at(owner).*list;
  const auto place = std::find(names.begin(), names.end(), module);
  if (place != names.end()) {
    names.erase(place);
    changed(owner);
  }
}

bool Graph::exchange(const Name& owner, List list, const Name& oldModule, const Name& newModule) {
  Names& names = all.at(owner).*list;
  const auto place = std::find(names.begin(), names.end(), oldModule);
  if (newModule == owner || place == names.end()) {
    return false;
  }
  *place = newModule;
  changed(owner);
  return true;
}

// Navigation

Name Graph::getStart(const Name& module) const {
  return lastOfWalk(module, all.size(), [this](const Name& current) {
    const Names live = liveOf(all.at(current).previous);
    return live.empty() ? kNone : live.front();
  });
}

Name Graph::getEnd(const Name& module) const {
  return lastOfWalk(module, all.size(), [this](const Name& current) {
    for (const auto& next : liveOf(all.at(current).next)) {
      if (!all.at(next).startOfSideChain) {
        return next;
      }
    }
    return kNone;
  });
}

Name Graph::getNextModuleWithChainId(const Name& module, const Name& chain) const {
  if (module == kNone) {
    return kNone;
  }
  for (const auto& next : liveOf(all.at(module).next)) {
    if (all.at(next).chain == chain) {
      return next;
    }
  }
  return kNone;
}

Name Graph::getPreviousModuleWithChainId(const Name& module, const Name& chain) const {
  if (module == kNone) {
    return kNone;
  }
  for (const auto& previous : liveOf(all.at(module).previous)) {
    if (all.at(previous).chain == chain) {
      return previous;
    }
  }
  return kNone;
}

Name Graph::getFirstModuleOfChain(const Name& module) const {
  const Name chain = all.at(module).chain;
  if (chain == "main") {
    return getStart(module);
  }
  return lastOfWalk(module, all.size(), [&](const Name& current) {
    return getPreviousModuleWithChainId(current, chain);
  });
}

// Edits of one module

void Graph::insert(const Name& module, const Name& previous, const Name& next,
                   bool startOfSideChain) {
  if (module == kNone) {
    return;
  }
  all.at(module).startOfSideChain = startOfSideChain;
  if (previous != kNone) {
    addPrevious(module, previous);
    if (!exchangeNext(previous, next, module)) {
      addNext(previous, module);
    }
  }
  if (next != kNone) {
    addNext(module, next);
    if (!exchangePrevious(next, previous, module)) {
      addPrevious(next, module);
    }
  }
}

void Graph::removeNext(const Name& module) {
  for (const auto& next : liveOf(all.at(module).next)) {
    erasePrevious(next, module);
  }
  all.at(module).next.clear();
}

void Graph::removePrevious(const Name& module) {
  for (const auto& previous : liveOf(all.at(module).previous)) {
    eraseNext(previous, module);
  }
  all.at(module).previous.clear();
}

void Graph::insertAfter(const Name& module, const Name& anchor) {
  if (module == kNone || anchor == kNone || holds(all.at(module).previous, anchor)) {
    return;
  }
  removeNext(module);
  removePrevious(module);
  for (const auto& next : liveOf(all.at(anchor).next)) {
    addNext(module, next);
    exchangePrevious(next, anchor, module);
  }
  addPrevious(module, anchor);
  all.at(anchor).next.clear();
  addNext(anchor, module);
}

void Graph::insertBefore(const Name& module, const Name& anchor) {
  if (module == kNone || anchor == kNone || holds(all.at(module).next, anchor)) {
    return;
  }
  removeNext(module);
  removePrevious(module);
  for (const auto& previous : liveOf(all.at(anchor).previous)) {
    addPrevious(module, previous);
    exchangeNext(previous, anchor, module);
  }
  addNext(module, anchor);
  all.at(anchor).previous.clear();
  addPrevious(anchor, module);
  if (all.at(anchor).startOfSideChain) {
    all.at(anchor).startOfSideChain = false;
    all.at(module).startOfSideChain = true;
  }
}

void Graph::remove(const Name& module) {
  if (module == kNone) {
    return;
  }
  const Names previousModules = liveOf(all.at(module).previous);
  const Names nextModules = liveOf(all.at(module).next);
  for (const auto& previous : previousModules) {
    eraseNext(previous, module);
    erasePrevious(module, previous);
    for (const auto& next : nextModules) {
      addNext(previous, next);
    }
  }
  for (const auto& next : nextModules) {
    erasePrevious(next, module);
    eraseNext(module, next);
    if (all.at(module).startOfSideChain) {
      all.at(next).startOfSideChain = true;
    }
    for (const auto& previous : previousModules) {
      addPrevious(next, previous);
    }
  }
  all.at(module).startOfSideChain = false;
}

void Graph::replace(const Name& oldModule, const Name& newModule) {
  if (oldModule == kNone || newModule == kNone) {
    return;
  }
  if (oldModule != newModule) {
    all.at(newModule).next = all.at(oldModule).next;
    all.at(newModule).previous = all.at(oldModule).previous;
  }
  all.at(oldModule).next.clear();
  all.at(oldModule).previous.clear();
  for (const auto& next : liveOf(all.at(newModule).next)) {
    exchangePrevious(next, oldModule, newModule);
  }
  for (const auto& previous : liveOf(all.at(newModule).previous)) {
    exchangeNext(previous, oldModule, newModule);
  }
  if (all.at(oldModule).startOfSideChain) {
    all.at(oldModule).startOfSideChain = false;
    all.at(newModule).startOfSideChain = true;
  }
}

void Graph::setStartChain(const Name& module, Mode mode, const Name& startChain) {
  all.at(module).mode = mode;
  all.at(module).mergeChains = startChain == "main" ? Names{} : Names{startChain};
}

void Graph::setAddToChain(const Name& module) {
  all.at(module).mode = Mode::AddToChain;
  all.at(module).transferChains = false;
}

void Graph::addFork(const Name& from, const Name& to) {
  if (from == kNone || to == kNone) {
    return;
  }
  const Name first = getFirstModuleOfChain(from);
  const Names hangsOn = all.at(first).previous;
  if (all.at(first).mode == Mode::StartSideChain && hangsOn.size() == 1 && hangsOn[0] != kNone) {
    setStartChain(first, Mode::StartFork, all.at(hangsOn[0]).chain);
  }
  addPrevious(to, from);
  addNext(from, to);
  all.at(to).mode = Mode::MergeFork;
  all.at(to).mergeChains.clear();
  for (const auto& previous : liveOf(all.at(to).previous)) {
    all.at(to).mergeChains.push_back(all.at(previous).chain);
  }
}

bool Graph::removeFork(const Name& from, const Name& to) {
  if (from == kNone || to == kNone) {
    return false;
  }
  const Name chain = all.at(from).chain;
  const Name first = getFirstModuleOfChain(from);
  bool branched = false;
  lastOfWalk(first, all.size(), [&](const Name& current) {
    branched = branched || all.at(current).next.size() > 1;
    return getNextModuleWithChainId(current, chain);
  });
  const Name last = getPreviousModuleWithChainId(to, chain);
  if (last == kNone) {
    return false;
  }
  erasePrevious(to, last);
  eraseNext(last, to);
  if (all.at(to).previous.size() == 1) {
    setAddToChain(to);
  }
  const Names hangsOn = all.at(first).previous;
  if (!branched && chain != "main" && all.at(first).mode == Mode::StartFork &&
      hangsOn.size() == 1 && hangsOn[0] != kNone) {
    setStartChain(first, Mode::StartSideChain, all.at(hangsOn[0]).chain);
  }
  return true;
}

// Edits of a sub-graph

void Graph::insertSubGraph(const Name& start, const Name& end, const Name& previous,
                           const Name& next, bool startOfSideChain) {
  if (start == kNone || end == kNone) {
    return;
  }
  addPrevious(start, previous);
  addNext(end, next);
  if (previous != kNone && !exchangeNext(previous, next, start)) {
    addNext(previous, start);
  }
  if (next != kNone && !exchangePrevious(next, previous, end)) {
    addPrevious(next, end);
  }
  if (startOfSideChain) {
    all.at(start).startOfSideChain = true;
  }
}

void Graph::insertSubGraphAfter(const Name& start, const Name& end, const Name& anchor) {
  if (start == kNone || end == kNone || anchor == kNone || holds(all.at(start).previous, anchor)) {
    return;
  }
  removeNext(end);
  removePrevious(start);
  for (const auto& next : liveOf(all.at(anchor).next)) {
    addNext(end, next);
    exchangePrevious(next, anchor, end);
  }
  addPrevious(start, anchor);
  all.at(anchor).next.clear();
  addNext(anchor, start);
}

void Graph::insertSubGraphBefore(const Name& start, const Name& end, const Name& anchor) {
  if (start == kNone || end == kNone || anchor == kNone || holds(all.at(end).next, anchor)) {
    return;
  }
  removeNext(end);
  removePrevious(start);
  for (const auto& previous : liveOf(all.at(anchor).previous)) {
    addPrevious(start, previous);
    exchangeNext(previous, anchor, start);
  }
  addNext(end, anchor);
  all.at(anchor).previous.clear();
  addPrevious(anchor, end);
  if (all.at(anchor).startOfSideChain) {
    all.at(anchor).startOfSideChain = false;
    all.at(start).startOfSideChain = true;
  }
}

void Graph::removeSubGraph(const Name& start, const Name& end) {
  if (start == kNone || end == kNone) {
    return;
  }
  const Names previousModules = liveOf(all.at(start).previous);
  const Names nextModules = liveOf(all.at(end).next);
  for (const auto& previous : previousModules) {
    eraseNext(previous, start);
    erasePrevious(start, previous);
    for (const auto& next : nextModules) {
      addNext(previous, next);
    }
  }
  for (const auto& next : nextModules) {
    erasePrevious(next, end);
    eraseNext(end, next);
    for (const auto& previous : previousModules) {
      addPrevious(next, previous);
    }
  }
  all.at(start).startOfSideChain = false;
}

bool Graph::moveStartOfSubChain(const Name& sideStart, const Name& oldParent,
                                const Name& newParent) {
  if (sideStart == kNone || oldParent == kNone || newParent == kNone || newParent == sideStart ||
      !holds(all.at(sideStart).previous, oldParent) || !holds(all.at(oldParent).next, sideStart)) {
    return false;
  }
  exchangePrevious(sideStart, oldParent, newParent);
  eraseNext(oldParent, sideStart);
  addNext(newParent, sideStart);
  return true;
}

// Placement

void Graph::place(const Name& start, const Name& end, const Name& anchor) {
  if (start == kNone || end == kNone) {
    return;
  }
  const Mode mode = all.at(start).mode;
  const Name chain = all.at(start).chain;
  const Name chainNext = getNextModuleWithChainId(anchor, chain);
  if (mode == Mode::AddToChain) {
    const Name oldNext = getNextModuleWithChainId(end, chain);
    if (oldNext != kNone) {
      eraseNext(end, oldNext);
      erasePrevious(oldNext, end);
    }
    const Name oldPrevious = getPreviousModuleWithChainId(start, chain);
    if (oldPrevious != kNone) {
      erasePrevious(start, oldPrevious);
      eraseNext(oldPrevious, start);
    }
    if (all.at(start).transferChains) {
      insertSubGraphAfter(start, end, anchor);
      all.at(start).transferChains = false;
    } else {
      insertSubGraph(start, end, anchor, chainNext, false);
    }
  } else if (mode == Mode::StartSideChain || mode == Mode::StartFork) {
    if (chainNext == kNone) {
      insert(start, anchor, kNone, mode == Mode::StartSideChain);
    } else if (chainNext != start) {
      if (start == end) {
        insertBefore(start, chainNext);
      } else {
        insertSubGraphBefore(start, end, chainNext);
      }
      if (all.at(chainNext).mode == Mode::StartSideChain || mode == Mode::StartFork) {
        setAddToChain(chainNext);
      }
    }
  }
}

void Graph::place(const Name& start, const Name& end, const Names& previousModules,
                  const Name& next) {
  if (start == kNone || end == kNone) {
    return;
  }
  if (next != kNone) {
    removePrevious(next);
  }
  for (const auto& previous : previousModules) {
    if (previous == kNone) {
      continue;
    }
    const Name chain = all.at(start).chain;
    if (all.at(previous).chain == chain) {
      for (const auto& successor : liveOf(all.at(previous).next)) {
        if (all.at(successor).chain == chain) {
          eraseNext(previous, successor);
          erasePrevious(successor, previous);
          addNext(end, successor);
          addPrevious(successor, end);
        }
      }
    }
    insertSubGraph(start, end, previous, next, false);
  }
}

}  // namespace Tessaril::GraphModel
