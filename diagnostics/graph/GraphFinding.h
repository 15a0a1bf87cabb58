#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Diagnostics {

enum class FindingSeverity {
  /// The order of the graph, or what it will be after restoring, is broken.
  Error,
  /// What the graph says about itself contradicts its links; some operation will not do what is
  /// expected of it.
  Warning,
  /// Unusual, but some edits leave a graph so on purpose.
  Remark,
};

enum class FindingKind {
  // Links
  Cycle,
  SelfLink,
  OneSidedLink,
  RepeatedEntry,
  DeadEntry,
  // Stored records
  MissingModule,
  NeighbourWithoutRecord,
  RepeatedRecord,
  // Shape
  SeveralRoots,
  // Flags, insert modes and chain ids
  InsertMode,
  StartFlag,
  StartMode,
  ParentChain,
  Fork,
  MergeMode,
  MergeChains,
  // An update
  EndNotReached,
  NotReached,
};

/// Something that a person who looks after a graph should know.
struct GraphFinding {
  FindingKind kind = FindingKind::Cycle;
  FindingSeverity severity = FindingSeverity::Error;
  /// Indices into the snapshot, what the sentence is about first. A cycle's modules stand in their
  /// order, the first not repeated at the end.
  std::vector<std::size_t> modules;
  /// The chains that the sentence names.
  std::vector<Identifier> chains;
  /// One line of UTF-8: one sentence or two. Of many modules it names a few; what a line cannot
  /// show of their names is replaced.
  std::string text;

  friend bool operator==(const GraphFinding&, const GraphFinding&) = default;
};

/// Errors first, then warnings, then remarks; within each in the order of FindingKind, and else as
/// they were.
void sortFindings(std::vector<GraphFinding>& findings);

/// "error", "warning", "remark".
std::string severityName(FindingSeverity severity);
/// "cycle", "selfLink", ...: the kind's name with a small first letter.
std::string kindName(FindingKind kind);

/// A line for each finding, "error: ...", in the order given. Empty where there is none.
std::string findingsText(const std::vector<GraphFinding>& findings);
/// A list with the same facts; docs/diagnostics.md lists the keys. Requires: the findings are those
/// of that snapshot.
nlohmann::ordered_json toJson(const std::vector<GraphFinding>& findings,
                              const GraphSnapshot& snapshot);

}  // namespace Tessaril::Diagnostics
