#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

// How names are written into a picture. Internal to the picture.

namespace Tessaril::Diagnostics {

/// Knows which folder all modules of a snapshot lie in, if they lie in one.
class DisplayNames {
 public:
  explicit DisplayNames(const GraphSnapshot& snapshot);

  /// Without the common folder.
  std::string longName(std::string_view name) const;
  /// What follows the last folder, unless another module is called the same.
  std::string shortName(std::string_view name) const;

 private:
  std::string_view withoutFolder(std::string_view name) const;

  std::string folder;
  std::vector<std::string> ambiguousLeaves;
};

}  // namespace Tessaril::Diagnostics
