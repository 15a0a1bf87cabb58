#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "diagnostics/graph/GraphFinding.h"

namespace Tessaril::Diagnostics {

/// Where a module lies, seen from an update of the range from a start to an end.
enum class RunReach {
  /// The update gets there on its way to the end: the module is applied if it needs it.
  OnTheWay,
  /// The end does not depend on it. It is no more than auto-applied, after something was applied.
  OffTheWay,
  /// The same, for what follows the end.
  BehindEnd,
  /// The start depends on it. The update takes its results as they are, as with the next one.
  BeforeStart,
  /// The start does not lead to it.
  NotBehindStart,
  /// It waits for itself, by way of others or not.
  OnCycle,
  /// It waits for a module on a cycle, or for one that does.
  BehindCycle,
  /// The start leads to it, but over a link that is missing in a list.
  BrokenLink,
  /// There is no such module, only a record.
  Missing,
};

/// "on the way", "off the way", "behind the end", "before the start", "not behind the start",
/// "on a cycle", "behind a cycle", "behind a broken link", "missing".
std::string reachName(RunReach reach);

struct ModuleReach {
  RunReach reach = RunReach::OnTheWay;
  /// The end depends on the module, as far as previous lists tell: what an update misses there, the
  /// end misses.
  bool isNeeded = false;
  /// The modules that are the reason: those it waits for, or the previous ones that the start does
  /// not lead to either. Each once, in list order.
  std::vector<std::size_t> because;

  friend bool operator==(const ModuleReach&, const ModuleReach&) = default;
};

/// One for each module, in the order of the snapshot, by the links alone: what modules answer to an
/// update's questions decides what is done to those that are reached.
///
/// On the way to the end it is exactly the modules that an update visits, as long as every link is
/// known to both its ends: over a next entry alone, an auto apply off the way may get onto the way
/// before its turn. Off the way an update may get past a cycle from the one side chain and not from
/// another; what waits for a cycle there counts as behind it. Linear. Throws std::out_of_range for
/// an index that the snapshot does not have.
std::vector<ModuleReach> runReach(const GraphSnapshot& snapshot, std::size_t start,
                                  std::size_t end);

/// What such an update never applies, with the reason, ordered by sortFindings(). That the end
/// itself is not reached is an error, and so is any module on a cycle, behind one, behind a broken
/// link or missing. A module that is neither behind the start nor before it is a warning where the
/// end depends on it all the same. Each of these has a finding of its own; the others, which such
/// an update passes by as it should, share a remark for each place in which they lie.
std::vector<GraphFinding> checkRun(const GraphSnapshot& snapshot, std::size_t start,
                                   std::size_t end);

}  // namespace Tessaril::Diagnostics
