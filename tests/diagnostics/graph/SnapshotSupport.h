#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/graph/GraphFinding.h"
#include "diagnostics/graph/GraphSnapshot.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tests/support/GraphText.h"

namespace Tessaril::Diagnostics {

/// All modules of a graph under the names that it knows, in the order in which they were made.
GraphSnapshot snapshotOf(const TestSupport::TestGraph& graph);

/// A record of paths below the root.
ApplyModuleData record(std::string_view name, std::initializer_list<std::string_view> previous,
                       std::initializer_list<std::string_view> next, bool startOfSideChain = false);

std::size_t indexOf(const GraphSnapshot& snapshot, std::string_view name);
/// "A B", in the order given.
std::string namesOf(const GraphSnapshot& snapshot, const std::vector<std::size_t>& modules);
/// The texts of the findings of one kind.
std::vector<std::string> textsOf(const std::vector<GraphFinding>& findings, FindingKind kind);
/// "error: ..." for each finding.
std::vector<std::string> linesOf(const std::vector<GraphFinding>& findings);

}  // namespace Tessaril::Diagnostics
