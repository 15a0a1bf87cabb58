#pragma once

#include <vector>

#include "diagnostics/graph/GraphFinding.h"
#include "diagnostics/graph/links/LinkTable.h"

// Internal to the checker. Each check appends its findings, in the order of the modules.

namespace Tessaril::Diagnostics {

/// Cycles, self links, one-sided links, repeated and dead entries.
void checkLinks(const GraphSnapshot& snapshot, const LinkTable& table,
                std::vector<GraphFinding>& findings);
/// Records without a module, neighbours without a record, modules with several.
void checkRecords(const GraphSnapshot& snapshot, const LinkTable& table,
                  std::vector<GraphFinding>& findings);
/// Several roots within one connected part.
void checkRoots(const GraphSnapshot& snapshot, const LinkTable& table,
                std::vector<GraphFinding>& findings);

}  // namespace Tessaril::Diagnostics
