#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Inspect {

/// The place of the name that the user means: the whole name, or its end behind a "/". Throws
/// InputError for none and for several.
std::size_t findModule(const std::vector<std::string>& names, const std::string& word);
std::size_t findModule(const Diagnostics::GraphSnapshot& snapshot, const std::string& word);

/// The chain that the user means: "main", a name such as "chain 1", or an identifier. Throws
/// InputError for one that no module is on.
Identifier findChain(const Diagnostics::GraphSnapshot& snapshot, const std::string& word);

}  // namespace Tessaril::Inspect
