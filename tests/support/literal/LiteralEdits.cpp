#include "tests/support/literal/LiteralEdits.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tests/support/PrivateLinks.h"

namespace Tessaril::Literal {

namespace {

using TestSupport::PrivateLinks::announceGraphChange;
using TestSupport::PrivateLinks::nextList;
using TestSupport::PrivateLinks::previousList;
using TestSupport::PrivateLinks::setStartOfSideChain;

using Links = LinkList::Links;

Links::const_iterator findLink(const LinkList& links, const ModulePtr& module) {
  return std::find_if(links.links().begin(), links.links().end(),
                      [&](const auto& link) { return link.lock() == module; });
}

std::size_t placeOf(const LinkList& links, Links::const_iterator found) {
  return static_cast<std::size_t>(found - links.links().begin());
}

/// `links` is one of the two lists of `owner`.
void addLink(ApplyModule& owner, LinkList& links, const ModulePtr& module) {
  if (module == nullptr || module.get() == &owner ||
      findLink(links, module) != links.links().end()) {
    return;
  }
  links.add(module);
  announceGraphChange(owner);
}

void removeLink(ApplyModule& owner, LinkList& links, const ModulePtr& module) {
  const auto found = findLink(links, module);
  if (found == links.links().end()) {
    return;
  }
  const std::size_t place = placeOf(links, found);
  links.erase(place, place + 1);
  announceGraphChange(owner);
}

bool replaceLink(ApplyModule& owner, LinkList& links, const ModulePtr& oldModule,
                 const ModulePtr& newModule) {
  if (newModule.get() == &owner) {
    return false;
  }
  const auto found = findLink(links, oldModule);
  if (found == links.links().end()) {
    return false;
  }
  links.set(placeOf(links, found), newModule);
  announceGraphChange(owner);
  return true;
}

void addNext(const ModulePtr& module, const ModulePtr& next) {
  addLink(*module, nextList(*module), next);
}
void addPrevious(const ModulePtr& module, const ModulePtr& previous) {
  addLink(*module, previousList(*module), previous);
}
void removeNext(const ModulePtr& module, const ModulePtr& next) {
  removeLink(*module, nextList(*module), next);
}
void removePrevious(const ModulePtr& module, const ModulePtr& previous) {
  removeLink(*module, previousList(*module), previous);
}
bool replaceNext(const ModulePtr& module, const ModulePtr& oldNext, const ModulePtr& newNext) {
  return replaceLink(*module, nextList(*module), oldNext, newNext);
}
bool replacePrevious(const ModulePtr& module, const ModulePtr& oldPrevious,
                     const ModulePtr& newPrevious) {
  return replaceLink(*module, previousList(*module), oldPrevious, newPrevious);
}

template <typename Visit>
void forEachLive(const Links& links, const Visit& visit) {
  for (std::size_t i = 0; i < links.size(); ++i) {
    if (const ModulePtr module = links[i].lock()) {
      visit(module);
    }
  }
}

void cutNext(const ModulePtr& module) {
  forEachLive(nextList(*module).links(),
              [&](const ModulePtr& next) { removePrevious(next, module); });
  nextList(*module).clear();
}

void cutPrevious(const ModulePtr& module) {
  forEachLive(previousList(*module).links(),
              [&](const ModulePtr& previous) { removeNext(previous, module); });
  previousList(*module).clear();
}

}  // namespace

void insert(ModulePtr module, ModulePtr previous, ModulePtr next, bool startOfSideChain) {
  if (module == nullptr) {
    return;
  }
  setStartOfSideChain(*module, startOfSideChain);
  if (previous != nullptr) {
    addPrevious(module, previous);
    if (!replaceNext(previous, next, module)) {
      addNext(previous, module);
    }
  }
  if (next != nullptr) {
    addNext(module, next);
    if (!replacePrevious(next, previous, module)) {
      addPrevious(next, module);
    }
  }
}

void insertAfter(ModulePtr module, ModulePtr anchor) {
  if (module == nullptr || anchor == nullptr) {
    return;
  }
  if (module->hasPreviousApplyModule(anchor)) {
    return;
  }
  cutNext(module);
  cutPrevious(module);
  forEachLive(nextList(*anchor).links(), [&](const ModulePtr& next) {
    addNext(module, next);
    replacePrevious(next, anchor, module);
  });
  addPrevious(module, anchor);
  nextList(*anchor).clear();
  addNext(anchor, module);
}

void insertBefore(ModulePtr module, ModulePtr anchor) {
  if (module == nullptr || anchor == nullptr) {
    return;
  }
  if (module->hasNextApplyModule(anchor)) {
    return;
  }
  cutNext(module);
  cutPrevious(module);
  forEachLive(previousList(*anchor).links(), [&](const ModulePtr& previous) {
    addPrevious(module, previous);
    replaceNext(previous, anchor, module);
  });
  addNext(module, anchor);
  previousList(*anchor).clear();
  addPrevious(anchor, module);
  if (anchor->isStartOfSideChain()) {
    setStartOfSideChain(*anchor, false);
    setStartOfSideChain(*module, true);
  }
}

void remove(ModulePtr module) {
  if (module == nullptr) {
    return;
  }
  const Links previousModules = previousList(*module).links();
  const Links nextModules = nextList(*module).links();
  forEachLive(previousModules, [&](const ModulePtr& previous) {
    removeNext(previous, module);
    removePrevious(module, previous);
    forEachLive(nextModules, [&](const ModulePtr& next) { addNext(previous, next); });
  });
  forEachLive(nextModules, [&](const ModulePtr& next) {
    removePrevious(next, module);
    removeNext(module, next);
    if (module->isStartOfSideChain()) {
      setStartOfSideChain(*next, true);
    }
    forEachLive(previousModules, [&](const ModulePtr& previous) { addPrevious(next, previous); });
  });
  setStartOfSideChain(*module, false);
}

void replace(ModulePtr oldModule, ModulePtr newModule) {
  if (oldModule == nullptr || newModule == nullptr) {
    return;
  }
  if (oldModule != newModule) {
    nextList(*newModule) = nextList(*oldModule);
    previousList(*newModule) = previousList(*oldModule);
  }
  nextList(*oldModule).clear();
  previousList(*oldModule).clear();
  forEachLive(nextList(*newModule).links(),
              [&](const ModulePtr& next) { replacePrevious(next, oldModule, newModule); });
  forEachLive(previousList(*newModule).links(),
              [&](const ModulePtr& previous) { replaceNext(previous, oldModule, newModule); });
  if (oldModule->isStartOfSideChain()) {
    setStartOfSideChain(*oldModule, false);
    setStartOfSideChain(*newModule, true);
  }
}

}  // namespace Tessaril::Literal
