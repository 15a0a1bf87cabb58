#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Diagnostics {

/// Some of the modules of a snapshot: their indices, ascending, each once.
using ModuleSelection = std::vector<std::size_t>;

/// The modules whose chain is known to be `chain`; the invalid identifier selects the main chain.
ModuleSelection modulesOfChain(const GraphSnapshot& snapshot, const Identifier& chain);

// The walks follow entries that are not dead: to ancestors along previous entries, to followers
// along next entries, as an update does. A one-sided link leads in one direction only. Each is
// linear in the modules and entries reached; an index that the snapshot does not have, in an entry
// as well, throws std::out_of_range.

/// The module and everything it is computed from, at most `depth` steps away where that is given.
ModuleSelection ancestorsOf(const GraphSnapshot& snapshot, std::size_t module,
                            std::optional<std::size_t> depth = {});
/// The module and everything that is computed from it.
ModuleSelection followersOf(const GraphSnapshot& snapshot, std::size_t module,
                            std::optional<std::size_t> depth = {});
/// The ancestors and the followers.
ModuleSelection neighbourhoodOf(const GraphSnapshot& snapshot, std::size_t module,
                                std::optional<std::size_t> depth = {});
/// What an update from `start` to `end` walks through: the followers of `start` that are ancestors
/// of `end`. Empty when no way leads from one to the other.
ModuleSelection modulesBetween(const GraphSnapshot& snapshot, std::size_t start, std::size_t end);

/// What is in both; for a depth within a chain, say.
ModuleSelection inBoth(const ModuleSelection& one, const ModuleSelection& other);

}  // namespace Tessaril::Diagnostics
