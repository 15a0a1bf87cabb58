// Opens a stored design, makes its links, asks its graph what an application asks, and saves it.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "fuzz/Check.h"
#include "fuzz/StoredDesign.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril::Fuzz {
namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;
using Modules = std::vector<ModulePtr>;
using Links = std::vector<std::weak_ptr<ApplyModule>>;
using LinksOf = const Links& (ApplyModule::*)() const;

Modules liveOf(const Links& links) {
  Modules live;
  for (const std::weak_ptr<ApplyModule>& link : links) {
    if (ModulePtr module = link.lock()) {
      live.push_back(std::move(module));
    }
  }
  return live;
}

/// A design with its links made, and what its links look like. Whatever an archive says of the
/// links is made: they may run in circles and be known to one end only.
class LinkedDesign {
 public:
  explicit LinkedDesign(StoredDesign stored)
      : design(std::move(stored)), modules(modulesOf(design)) {
    if (design.root != nullptr) {
      ApplyGraph::restoreApplyGraph(design.root, design.links);
    }
    circular = hasCircle(&ApplyModule::getNextApplyModules) ||
               hasCircle(&ApplyModule::getPreviousApplyModules);
    symmetric =
        bothEndsKnow(&ApplyModule::getNextApplyModules, &ApplyModule::getPreviousApplyModules) &&
        bothEndsKnow(&ApplyModule::getPreviousApplyModules, &ApplyModule::getNextApplyModules);
  }

  const StoredDesign& getDesign() const { return design; }
  const Modules& getModules() const { return modules; }
  bool isCircular() const { return circular; }
  bool isSound() const { return symmetric && !circular; }

  /// The links as the graph has them now. Requires: they do not run in circles.
  std::vector<ApplyModuleData> storeLinks() const {
    std::vector<ApplyModuleData> links;
    ApplyGraph::storeApplyGraph(design.root, {modules.begin(), modules.end()}, links);
    return links;
  }

 private:
  /// Takes away, again and again, the modules that nothing leads to: a circle remains.
  bool hasCircle(LinksOf linksOf) const {
    std::unordered_map<const ApplyModule*, std::size_t> arrivals;
    for (const ModulePtr& module : modules) {
      for (const ModulePtr& neighbour : liveOf((module.get()->*linksOf)())) {
        ++arrivals[neighbour.get()];
      }
    }
    Modules waiting;
    std::copy_if(modules.begin(), modules.end(), std::back_inserter(waiting),
                 [&](const ModulePtr& module) { return !arrivals.contains(module.get()); });
    std::size_t taken = 0;
    for (; !waiting.empty(); ++taken) {
      const ModulePtr module = waiting.back();
      waiting.pop_back();
      for (const ModulePtr& neighbour : liveOf((module.get()->*linksOf)())) {
        if (--arrivals[neighbour.get()] == 0) {
          waiting.push_back(neighbour);
        }
      }
    }
    return taken != modules.size();
  }

  bool bothEndsKnow(LinksOf there, LinksOf back) const {
    return std::all_of(modules.begin(), modules.end(), [&](const ModulePtr& module) {
      const Modules neighbours = liveOf((module.get()->*there)());
      return std::all_of(neighbours.begin(), neighbours.end(), [&](const ModulePtr& neighbour) {
        const Modules known = liveOf((neighbour.get()->*back)());
        return std::find(known.begin(), known.end(), module) != known.end();
      });
    });
  }

  StoredDesign design;
  Modules modules;
  bool circular = false;
  bool symmetric = false;
};

void checkWalks(const ApplyModule& module) {
  ApplyGraph::ModuleSet walked;
  module.forAllFollowingModules([&walked](const ModulePtr& follower) {
    check(walked.insert(follower).second, "a walk visits each follower once");
    return true;
  });
  ApplyGraph::ModuleSet gathered;
  module.gatherAllSuccessors(gathered, nullptr);
  check(walked == gathered, "walking and gathering reach the same followers");

  walked.clear();
  module.forAllPreviousModules([&walked](const ModulePtr& dependency) {
    check(walked.insert(dependency).second, "a walk visits each dependency once");
    return true;
  });
  gathered.clear();
  module.gatherAllDependencies(gathered, nullptr);
  check(walked == gathered, "walking and gathering reach the same dependencies");
}

void askState(const ApplyModule& module) {
  const bool required = module.isDependencyGraphApplyRequired();
  check(!required || module.isDependencyGraphInputOk(false),
        "no apply is required on input that is not usable");
  check(!module.isDependencyGraphConsistent() || module.isConsistent(),
        "a module of a consistent dependency graph is consistent");
  check(!module.isApplyGraphConsistent() || module.isConsistent() || module.isAdditionalModule(),
        "a module of a consistent graph is consistent");
  module.sendStateChangeSignalsOfFollowingModules();
}

/// Walks in order; circles end these walks but do not hold them.
Modules inOrder(const ModulePtr& start, const ModulePtr& end) {
  Modules order;
  ApplyGraph::forSemanticOrderedModuleRange(
      [&order](const ModulePtr& module) { order.push_back(module); }, start, end);
  ApplyGraph::forSemanticOrderedModuleFullRange([](const ModulePtr&, bool) { return true; }, start,
                                                end);
  ApplyGraph::forSemanticOrderedPreviousModules([](const ModulePtr&) { return true; }, start);
  return order;
}

void checkOrder(const ModulePtr& start) {
  const Modules order = inOrder(start, nullptr);
  ApplyGraph::ModuleSet reached{start};
  start->gatherAllSuccessors(reached, nullptr);
  check(ApplyGraph::ModuleSet(order.begin(), order.end()) == reached &&
            order.size() == reached.size(),
        "the ordered walk visits every follower, once");
  ApplyGraph::ModuleSet visited;
  for (const ModulePtr& module : order) {
    for (const ModulePtr& previous : liveOf(module->getPreviousApplyModules())) {
      check(visited.contains(previous) || !reached.contains(previous),
            "the ordered walk visits a module behind what it is computed from");
    }
    visited.insert(module);
  }
}

/// Questions whose walks circles would hold for ever.
void askPlace(const ModulePtr& module, const ModulePtr& other) {
  const ModulePtr start = ApplyGraph::getStart(module);
  check(ApplyGraph::isInSameGraph(module, start), "a module is in the graph of its start");
  ApplyGraph::isInSameGraph(module, other);
  ApplyGraph::getEnd(module);
  ApplyGraph::getFirstModuleOfChain(module);
  try {
    ApplyGraph::computeLevelOfChain(module);
  } catch (const TsException&) {
    // Chains that are not linked to the parents that they name.
  }
}

void askGraph(const LinkedDesign& linked) {
  const Modules& modules = linked.getModules();
  for (std::size_t i = 0; i < modules.size(); ++i) {
    const ModulePtr& module = modules[i];
    const ModulePtr& other = modules[modules.size() - 1 - i];
    checkWalks(*module);
    askState(*module);
    inOrder(module, other);
    module->hasAsAncestor(other);
    if (!linked.isCircular()) {
      askPlace(module, other);
    }
    if (linked.isSound()) {
      checkOrder(module);
    }
  }
}

/// Links that both ends know come back whole from what is stored of them.
void checkStoredLinks(const LinkedDesign& linked) {
  const std::vector<ApplyModuleData> links = linked.storeLinks();
  if (!linked.isSound()) {
    return;
  }
  const std::string stored = saveDesign({linked.getDesign().root, links, {}});
  const LinkedDesign reopened(openDesign(stored));
  check(reopened.isSound(), "links that both ends know stay so");
  check(saveDesign({reopened.getDesign().root, reopened.storeLinks(), {}}) == stored,
        "a graph that is stored, restored and stored again is the same");
  const auto hasLinksOf = [](const ModulePtr& a, const ModulePtr& b, LinksOf linksOf) {
    const auto pathsOf = [linksOf](const ApplyModule& module) {
      std::vector<Path> paths;
      for (const ModulePtr& neighbour : liveOf((module.*linksOf)())) {
        paths.push_back(
            dynamic_cast<const Object&>(*neighbour).getPath(RequestedPathType::Absolute));
      }
      return paths;
    };
    return pathsOf(*a) == pathsOf(*b);
  };
  for (std::size_t i = 0; i < linked.getModules().size(); ++i) {
    const ModulePtr& before = linked.getModules()[i];
    const ModulePtr& after = reopened.getModules()[i];
    check(hasLinksOf(before, after, &ApplyModule::getNextApplyModules) &&
              hasLinksOf(before, after, &ApplyModule::getPreviousApplyModules),
          "restored links are the stored ones, in their order");
    check(before->isStartOfSideChain() == after->isStartOfSideChain(),
          "the start of a side chain is stored with the graph");
  }
}

void openAndSave(const std::string& bytes) {
  StoredDesign design;
  try {
    design = openDesign(bytes);
  } catch (const TsException&) {
    return;
  }
  const std::string saved = saveDesign(design);
  check(saveDesign(openDesign(saved)) == saved, "a saved design is read as it was written");

  const LinkedDesign linked(std::move(design));
  check(saveDesign(linked.getDesign()) == saved, "making the links changes nothing else");
  askGraph(linked);
  if (!linked.isCircular()) {
    checkStoredLinks(linked);
  }
}

}  // namespace
}  // namespace Tessaril::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Tessaril::Fuzz::openAndSave(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
