#pragma once

#include <string>
#include <vector>

#include "tests/support/GraphText.h"

/// Checks what every well-formed graph keeps. Each violation is one sentence; where an edit is
/// meant to break an invariant, its test names the sentences it expects:
///
///   EXPECT_THAT(linkViolations(g), IsEmpty());
///   EXPECT_THAT(linkViolations(g), ElementsAre("A -> B is not known to B"));
namespace Tessaril::TestSupport {

/// Both ends record each link, once, and no module is linked with itself. Dead entries are well
/// formed; links to modules outside of the graph are not looked at from that side.
///
///   "A -> B is not known to B"            "A -> A links a module with itself"
///   "A -> B is not known to A"
///   "A -> B stands twice in A"            (or "thrice", or "4 times")
///   "A -> B stands twice in B"
std::vector<std::string> linkViolations(const TestGraph& graph);

/// Flags, modes and chain ids fit the links. Sound for graphs that were placed by insert mode and
/// edited since; a graph with several previous modules per module and no modes is not.
///
///   "S starts a side chain but follows nothing"
///   "S starts a side chain within its chain"      its chain goes on backwards
///   "S is in side mode but not flagged"           although its chain begins with it
///   "M is in merge mode but has 1 previous"       or 0
///   "M has 2 previous but is not in merge mode"
///   "M merges main+wheel but follows cutter+main"
std::vector<std::string> chainViolations(const TestGraph& graph);

}  // namespace Tessaril::TestSupport
