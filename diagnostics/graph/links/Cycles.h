#pragma once

#include "diagnostics/graph/links/LinkTable.h"

// Internal to what looks at links.

namespace Tessaril::Diagnostics {

/// The strongly connected parts of at least two modules: within one, every module leads to every
/// other. Each part is ascending; the parts are ordered by their first modules. Linear.
std::vector<std::vector<std::size_t>> cyclicParts(const Adjacency& successors);

/// The shortest cycle within one of these parts, beginning with its first module in the order of
/// indices. In a part where looking for it would take many times the time of reading the part, the
/// shortest one that was found until then.
std::vector<std::size_t> shortCycleIn(const std::vector<std::size_t>& part,
                                      const Adjacency& successors);

}  // namespace Tessaril::Diagnostics
