#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

// How names are written into a picture. Internal to the picture.

namespace Tessaril::Diagnostics {

/// Well-formed UTF-8 that XML accepts: what is not gets the replacement character, and line breaks
/// and tabs become spaces.
std::string cleanText(std::string_view text);

/// At most `most` characters, the middle taken out: names of a series differ at their ends.
/// Requires: well-formed UTF-8, at least three characters.
std::string shortened(const std::string& text, std::size_t most);

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
