#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "diagnostics/archive/DesignListing.h"
#include "diagnostics/archive/DroppedLinks.h"

// Internal.

namespace Tessaril::Diagnostics {

/// Follows paths from the root of a tree, as the tree of the listed objects would.
class ListedTree {
 public:
  /// Requires: the objects live longer than this.
  explicit ListedTree(const std::vector<ArchivedObject>& listed);

  /// The absolute path, without "..", of what a path leads to; empty where it leads nowhere.
  std::string follow(const Path& path) const;
  PathTarget targetOf(const Path& path) const;

 private:
  void addLevels(std::string path);

  std::unordered_map<std::string, const ArchivedObject*> objects;
  /// Places of objects, and of what is above them; that of the root is not among them.
  std::unordered_set<std::string> levels;
};

}  // namespace Tessaril::Diagnostics
