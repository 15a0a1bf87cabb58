#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Inspect {

/// The place of the name that the user means: the whole name, or its end behind a "/". Throws
/// InputError for none and for several.
std::size_t findModule(const std::vector<std::string>& names, const std::string& word);
std::size_t findModule(const Diagnostics::GraphSnapshot& snapshot, const std::string& word);

/// Finds many modules of one graph, by the same rule.
class ModulesByName {
 public:
  explicit ModulesByName(const Diagnostics::GraphSnapshot& snapshot);

  /// Empty for none and for several.
  std::optional<std::size_t> find(const std::string& word) const;

 private:
  std::unordered_map<std::string, std::size_t> whole;
  /// What stands behind a "/" of a name; empty for what several names end with.
  std::unordered_map<std::string, std::optional<std::size_t>> ends;
};

/// The chain that the user means: "main", a name such as "chain 1", or an identifier. Throws
/// InputError for one that no module is on.
Identifier findChain(const Diagnostics::GraphSnapshot& snapshot, const std::string& word);

}  // namespace Tessaril::Inspect
