#pragma once

#include <vector>

#include "diagnostics/graph/GraphFinding.h"

namespace Tessaril::Diagnostics {

/// Looks for what is wrong, or odd, in the links, chains and records of a graph. A graph that was
/// placed by insert mode and edited with care has no findings. Errors come first, then warnings,
/// then remarks; within each, in the order of FindingKind and of the modules.
///
/// - Cycles: one for each part of the graph in which every module leads to every other. It is the
///   shortest cycle of that part; in a part too entangled to search it whole, a short one.
/// - Links: a module linked with itself, links that only one end knows, modules that stand in a
///   list twice, dead entries.
/// - Stored records: modules that are named but not there, or described not at all or twice.
/// - Several roots that lead into one graph.
/// - Where the insert information is known: start-of-side-chain flags and insert modes that
///   contradict the links or one another, chains whose parent chain their first module does not
///   follow, and merges that follow other chains than they say.
///
/// Takes time nearly in proportion to the modules and entries, without recursion. Looks at the
/// snapshot only, never at the modules behind it. Throws std::out_of_range for an entry with an
/// index that the snapshot does not have.
std::vector<GraphFinding> checkGraph(const GraphSnapshot& snapshot);

}  // namespace Tessaril::Diagnostics
