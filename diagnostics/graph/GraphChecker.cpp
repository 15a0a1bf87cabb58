#include "diagnostics/graph/GraphChecker.h"

#include "diagnostics/graph/checks/ChainChecks.h"
#include "diagnostics/graph/checks/LinkChecks.h"
#include "diagnostics/graph/links/LinkTable.h"

namespace Tessaril::Diagnostics {

std::vector<GraphFinding> checkGraph(const GraphSnapshot& snapshot) {
  const LinkTable table(snapshot);
  std::vector<GraphFinding> findings;
  checkLinks(snapshot, table, findings);
  checkRecords(snapshot, table, findings);
  checkRoots(snapshot, table, findings);
  checkChains(snapshot, findings);
  sortFindings(findings);
  return findings;
}

}  // namespace Tessaril::Diagnostics
