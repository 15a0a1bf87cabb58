#include "diagnostics/graph/GraphChecker.h"

#include <algorithm>

#include "diagnostics/graph/checks/ChainChecks.h"
#include "diagnostics/graph/checks/LinkChecks.h"
#include "diagnostics/graph/checks/LinkTable.h"

namespace Tessaril::Diagnostics {

std::vector<GraphFinding> checkGraph(const GraphSnapshot& snapshot) {
  const LinkTable table(snapshot);
  std::vector<GraphFinding> findings;
  checkLinks(snapshot, table, findings);
  checkRecords(snapshot, table, findings);
  checkRoots(snapshot, table, findings);
  checkChains(snapshot, findings);
  std::stable_sort(
      findings.begin(), findings.end(), [](const GraphFinding& one, const GraphFinding& other) {
        return std::pair(one.severity, one.kind) < std::pair(other.severity, other.kind);
      });
  return findings;
}

}  // namespace Tessaril::Diagnostics
