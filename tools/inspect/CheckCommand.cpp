#include <algorithm>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/archive/ArchiveText.h"
#include "diagnostics/graph/GraphChecker.h"
#include "diagnostics/graph/RunReach.h"
#include "tools/inspect/Commands.h"
#include "tools/inspect/InputFile.h"
#include "tools/inspect/ModuleNames.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::FindingSeverity;
using Diagnostics::GraphFinding;
using Diagnostics::GraphSnapshot;

std::vector<GraphFinding> findingsOf(const GraphSnapshot& snapshot, const CheckOptions& options) {
  std::vector<GraphFinding> findings = checkGraph(snapshot);
  if (options.from && options.to) {
    const std::vector<GraphFinding> ofRun =
        checkRun(snapshot, findModule(snapshot, *options.from), findModule(snapshot, *options.to));
    findings.insert(findings.end(), ofRun.begin(), ofRun.end());
    Diagnostics::sortFindings(findings);
  }
  return findings;
}

/// Some edits leave on purpose what a remark is about.
bool isFine(const std::vector<GraphFinding>& findings) {
  return std::all_of(findings.begin(), findings.end(), [](const GraphFinding& finding) {
    return finding.severity == FindingSeverity::Remark;
  });
}

std::string summary(const GraphSnapshot& snapshot, const std::vector<GraphFinding>& findings) {
  const std::string modules = std::to_string(snapshot.modules.size()) +
                              (snapshot.modules.size() == 1 ? " module" : " modules");
  const std::string found = findings.empty()       ? "nothing found"
                            : findings.size() == 1 ? "1 finding"
                                                   : std::to_string(findings.size()) + " findings";
  return modules + ": " + found + "\n";
}

}  // namespace

int check(const CheckOptions& options, std::ostream& output) {
  const GraphSnapshot snapshot = graphOf(options.file, options.libraries);
  const std::vector<GraphFinding> findings = findingsOf(snapshot, options);
  if (options.json) {
    output << Diagnostics::dumpJson(toJson(findings, snapshot));
  } else {
    for (const GraphFinding& finding : findings) {
      output << severityName(finding.severity) << ": " << Diagnostics::oneLine(finding.text)
             << "\n";
    }
    output << summary(snapshot, findings);
  }
  return isFine(findings) ? kFine : kFindings;
}

}  // namespace Tessaril::Inspect
