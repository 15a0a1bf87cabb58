#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tessaril/persistence/ApplyModuleData.h"

namespace Tessaril::Diagnostics {

/// What restoring the links would leave out, or would not use.
struct DroppedLink {
  /// The module whose record it is.
  std::string record;
  /// The path of the neighbour that is left out; a path may be empty. None where the whole record
  /// is left out.
  std::optional<std::string> neighbour;
  /// Whether the neighbour stands in the list of next modules.
  bool isNext = false;
  /// True where the path leads to an object that is no module, false where it leads nowhere.
  bool leadsToObject = false;
  /// True where a later record of the same module counts.
  bool isReplaced = false;

  /// One sentence.
  std::string toString() const;

  friend bool operator==(const DroppedLink&, const DroppedLink&) = default;
};

enum class PathTarget { Nothing, OtherObject, Module };

/// In the order of the records. `find` says, for every path once or several times, what a path
/// leads to from the root of the tree.
std::vector<DroppedLink> droppedLinks(const std::vector<ApplyModuleData>& records,
                                      const std::function<PathTarget(const Path&)>& find);

}  // namespace Tessaril::Diagnostics
