#include "diagnostics/graph/links/LinkTable.h"

#include <algorithm>
#include <tuple>

namespace Tessaril::Diagnostics {
namespace {

/// A link with one entry each, in any order.
std::vector<TableLink> entriesOf(const GraphSnapshot& snapshot) {
  std::vector<TableLink> entries;
  for (std::size_t index = 0; index < snapshot.modules.size(); ++index) {
    const SnapshotModule& module = snapshot.modules[index];
    if (!module.exists) {
      continue;
    }
    for (const SnapshotLink& entry : module.next) {
      if (isLive(snapshot, entry)) {
        entries.push_back({index, *entry.module, 1, 0});
      }
    }
    for (const SnapshotLink& entry : module.previous) {
      if (isLive(snapshot, entry)) {
        entries.push_back({*entry.module, index, 0, 1});
      }
    }
  }
  return entries;
}

bool comesBefore(const TableLink& one, const TableLink& other) {
  return std::tie(one.from, one.to) < std::tie(other.from, other.to);
}

}  // namespace

bool hasKnownLists(const GraphSnapshot& snapshot, const SnapshotModule& module) {
  return module.exists && (!snapshot.stored || module.recordCount > 0);
}

bool isLive(const GraphSnapshot& snapshot, const SnapshotLink& entry) {
  return entry.module.has_value() && snapshot.modules.at(*entry.module).exists;
}

Adjacency neighboursOf(const GraphSnapshot& snapshot,
                       std::vector<SnapshotLink> SnapshotModule::*list) {
  const std::size_t count = snapshot.modules.size();
  Adjacency neighbours(count);
  std::vector<std::size_t> lastSeenBy(count, count);
  for (std::size_t index = 0; index < count; ++index) {
    if (!snapshot.modules[index].exists) {
      continue;
    }
    for (const SnapshotLink& entry : snapshot.modules[index].*list) {
      if (isLive(snapshot, entry) && lastSeenBy[*entry.module] != index) {
        lastSeenBy[*entry.module] = index;
        neighbours[index].push_back(*entry.module);
      }
    }
  }
  return neighbours;
}

LinkTable::LinkTable(const GraphSnapshot& snapshot)
    : allSuccessors(snapshot.modules.size()), allPredecessors(snapshot.modules.size()) {
  std::vector<TableLink> entries = entriesOf(snapshot);
  std::sort(entries.begin(), entries.end(), comesBefore);
  for (const TableLink& entry : entries) {
    if (allLinks.empty() || allLinks.back().from != entry.from || allLinks.back().to != entry.to) {
      allLinks.push_back({entry.from, entry.to, 0, 0});
    }
    allLinks.back().nextEntries += entry.nextEntries;
    allLinks.back().previousEntries += entry.previousEntries;
  }
  for (const TableLink& link : allLinks) {
    if (link.from != link.to) {
      allSuccessors[link.from].push_back(link.to);
      allPredecessors[link.to].push_back(link.from);
    }
  }
}

const TableLink& LinkTable::find(std::size_t from, std::size_t to) const {
  return *std::lower_bound(allLinks.begin(), allLinks.end(), TableLink{from, to, 0, 0},
                           comesBefore);
}

}  // namespace Tessaril::Diagnostics
