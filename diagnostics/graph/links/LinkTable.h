#pragma once

#include <cstddef>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

// How the modules of a snapshot are linked. Internal to what looks at links.

namespace Tessaril::Diagnostics {

/// All live entries in both lists that stand for one link.
struct TableLink {
  std::size_t from = 0;
  std::size_t to = 0;
  /// Entries for `to` in the next list of `from`.
  std::size_t nextEntries = 0;
  /// Entries for `from` in the previous list of `to`.
  std::size_t previousEntries = 0;
};

/// Neighbours by the indices of modules.
using Adjacency = std::vector<std::vector<std::size_t>>;

/// False where a module is not there, or is only named as a neighbour: its lists say nothing then.
bool hasKnownLists(const GraphSnapshot& snapshot, const SnapshotModule& module);
/// False for a dead entry, and for one that leads to a module that is not there.
bool isLive(const GraphSnapshot& snapshot, const SnapshotLink& entry);

/// The live entries of one list of every module, each neighbour once, in list order. The module
/// itself may be among them. Throws std::out_of_range for an entry with an index that the snapshot
/// does not have. Linear.
Adjacency neighboursOf(const GraphSnapshot& snapshot,
                       std::vector<SnapshotLink> SnapshotModule::*list);

/// Each link of a snapshot once. Entries of modules that are not there are left out: restoring
/// passes them over.
class LinkTable {
 public:
  explicit LinkTable(const GraphSnapshot& snapshot);

  /// Ordered by `from`, then by `to`; links of modules with themselves among them.
  const std::vector<TableLink>& links() const { return allLinks; }
  /// Logarithmic. Requires: there is such a link.
  const TableLink& find(std::size_t from, std::size_t to) const;
  /// Each neighbour once, ascending, whichever end knows of the link; without links of modules with
  /// themselves.
  const Adjacency& successors() const { return allSuccessors; }
  const Adjacency& predecessors() const { return allPredecessors; }

 private:
  std::vector<TableLink> allLinks;
  Adjacency allSuccessors;
  Adjacency allPredecessors;
};

}  // namespace Tessaril::Diagnostics
