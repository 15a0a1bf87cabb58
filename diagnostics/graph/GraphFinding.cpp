#include "diagnostics/graph/GraphFinding.h"

#include <algorithm>
#include <utility>

#include "diagnostics/graph/ChainNames.h"

namespace Tessaril::Diagnostics {

void sortFindings(std::vector<GraphFinding>& findings) {
  std::stable_sort(
      findings.begin(), findings.end(), [](const GraphFinding& one, const GraphFinding& other) {
        return std::pair(one.severity, one.kind) < std::pair(other.severity, other.kind);
      });
}

std::string severityName(FindingSeverity severity) {
  switch (severity) {
    case FindingSeverity::Error:
      return "error";
    case FindingSeverity::Warning:
      return "warning";
    case FindingSeverity::Remark:
      return "remark";
  }
  return {};
}

std::string kindName(FindingKind kind) {
  switch (kind) {
    case FindingKind::Cycle:
      return "cycle";
    case FindingKind::SelfLink:
      return "selfLink";
    case FindingKind::OneSidedLink:
      return "oneSidedLink";
    case FindingKind::RepeatedEntry:
      return "repeatedEntry";
    case FindingKind::DeadEntry:
      return "deadEntry";
    case FindingKind::MissingModule:
      return "missingModule";
    case FindingKind::NeighbourWithoutRecord:
      return "neighbourWithoutRecord";
    case FindingKind::RepeatedRecord:
      return "repeatedRecord";
    case FindingKind::SeveralRoots:
      return "severalRoots";
    case FindingKind::InsertMode:
      return "insertMode";
    case FindingKind::StartFlag:
      return "startFlag";
    case FindingKind::StartMode:
      return "startMode";
    case FindingKind::ParentChain:
      return "parentChain";
    case FindingKind::Fork:
      return "fork";
    case FindingKind::MergeMode:
      return "mergeMode";
    case FindingKind::MergeChains:
      return "mergeChains";
    case FindingKind::EndNotReached:
      return "endNotReached";
    case FindingKind::NotReached:
      return "notReached";
  }
  return {};
}

std::string findingsText(const std::vector<GraphFinding>& findings) {
  std::string text;
  for (const GraphFinding& finding : findings) {
    text += severityName(finding.severity) + ": " + finding.text + "\n";
  }
  return text;
}

nlohmann::ordered_json toJson(const std::vector<GraphFinding>& findings,
                              const GraphSnapshot& snapshot) {
  using Json = nlohmann::ordered_json;
  const ChainNames names(snapshot);
  Json list = Json::array();
  for (const GraphFinding& finding : findings) {
    Json modules = Json::array();
    for (const std::size_t module : finding.modules) {
      modules.push_back({{"module", module}, {"name", snapshot.modules.at(module).name}});
    }
    Json chains = Json::array();
    for (const Identifier& chain : finding.chains) {
      chains.push_back({{"name", names.nameOf(chain)}, {"id", chain.toString()}});
    }
    list.push_back({{"severity", severityName(finding.severity)},
                    {"kind", kindName(finding.kind)},
                    {"modules", std::move(modules)},
                    {"chains", std::move(chains)},
                    {"text", finding.text}});
  }
  return list;
}

}  // namespace Tessaril::Diagnostics
