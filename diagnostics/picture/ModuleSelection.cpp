#include "diagnostics/picture/ModuleSelection.h"

#include <algorithm>
#include <iterator>

namespace Tessaril::Diagnostics {
namespace {

using LinkListOf = std::vector<SnapshotLink> SnapshotModule::*;

ModuleSelection selectedOf(const std::vector<bool>& selected) {
  ModuleSelection modules;
  for (std::size_t module = 0; module < selected.size(); ++module) {
    if (selected[module]) {
      modules.push_back(module);
    }
  }
  return modules;
}

/// By breadth, so that every module is met at its least distance.
ModuleSelection reachedFrom(const GraphSnapshot& snapshot, std::size_t module, LinkListOf links,
                            std::optional<std::size_t> depth) {
  std::vector<bool> reached(snapshot.modules.size(), false);
  reached.at(module) = true;
  std::vector<std::size_t> frontier{module};
  for (std::size_t step = 0; !frontier.empty() && (!depth || step < *depth); ++step) {
    std::vector<std::size_t> next;
    for (const std::size_t from : frontier) {
      for (const SnapshotLink& link : snapshot.modules[from].*links) {
        if (link.module && !reached.at(*link.module)) {
          reached[*link.module] = true;
          next.push_back(*link.module);
        }
      }
    }
    frontier = std::move(next);
  }
  return selectedOf(reached);
}

}  // namespace

ModuleSelection modulesOfChain(const GraphSnapshot& snapshot, const Identifier& chain) {
  ModuleSelection modules;
  for (std::size_t module = 0; module < snapshot.modules.size(); ++module) {
    const SnapshotModule& entry = snapshot.modules[module];
    if (entry.insertMode && entry.chainId == chain) {
      modules.push_back(module);
    }
  }
  return modules;
}

ModuleSelection ancestorsOf(const GraphSnapshot& snapshot, std::size_t module,
                            std::optional<std::size_t> depth) {
  return reachedFrom(snapshot, module, &SnapshotModule::previous, depth);
}

ModuleSelection followersOf(const GraphSnapshot& snapshot, std::size_t module,
                            std::optional<std::size_t> depth) {
  return reachedFrom(snapshot, module, &SnapshotModule::next, depth);
}

ModuleSelection neighbourhoodOf(const GraphSnapshot& snapshot, std::size_t module,
                                std::optional<std::size_t> depth) {
  const ModuleSelection ancestors = ancestorsOf(snapshot, module, depth);
  const ModuleSelection followers = followersOf(snapshot, module, depth);
  ModuleSelection both;
  std::set_union(ancestors.begin(), ancestors.end(), followers.begin(), followers.end(),
                 std::back_inserter(both));
  return both;
}

ModuleSelection modulesBetween(const GraphSnapshot& snapshot, std::size_t start, std::size_t end) {
  return inBoth(followersOf(snapshot, start), ancestorsOf(snapshot, end));
}

ModuleSelection inBoth(const ModuleSelection& one, const ModuleSelection& other) {
  ModuleSelection both;
  std::set_intersection(one.begin(), one.end(), other.begin(), other.end(),
                        std::back_inserter(both));
  return both;
}

}  // namespace Tessaril::Diagnostics
