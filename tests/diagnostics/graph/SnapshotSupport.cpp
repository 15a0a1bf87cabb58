#include "tests/diagnostics/graph/SnapshotSupport.h"

#include <stdexcept>

namespace Tessaril::Diagnostics {
namespace {

std::vector<Path> pathsOf(std::initializer_list<std::string_view> names) {
  std::vector<Path> paths;
  for (const std::string_view name : names) {
    paths.push_back(Path::absolute({std::string(name)}));
  }
  return paths;
}

}  // namespace

GraphSnapshot snapshotOf(const TestSupport::TestGraph& graph) {
  std::vector<std::shared_ptr<const ApplyModule>> modules;
  for (const auto& member : graph) {
    modules.push_back(member.module);
  }
  return snapshotOf(modules, [&graph](const ApplyModule& module) { return graph.nameOf(&module); });
}

ApplyModuleData record(std::string_view name, std::initializer_list<std::string_view> previous,
                       std::initializer_list<std::string_view> next, bool startOfSideChain) {
  ApplyModuleData data;
  data.path = Path::absolute({std::string(name)});
  data.previousPaths = pathsOf(previous);
  data.nextPaths = pathsOf(next);
  data.startOfSideChain = startOfSideChain;
  return data;
}

std::size_t indexOf(const GraphSnapshot& snapshot, std::string_view name) {
  for (std::size_t index = 0; index < snapshot.modules.size(); ++index) {
    if (snapshot.modules[index].name == name) {
      return index;
    }
  }
  throw std::out_of_range("no module is called " + std::string(name));
}

std::string namesOf(const GraphSnapshot& snapshot, const std::vector<std::size_t>& modules) {
  std::string names;
  for (const std::size_t module : modules) {
    names += (names.empty() ? "" : " ") + snapshot.modules.at(module).name;
  }
  return names;
}

std::vector<std::string> textsOf(const std::vector<GraphFinding>& findings, FindingKind kind) {
  std::vector<std::string> texts;
  for (const GraphFinding& finding : findings) {
    if (finding.kind == kind) {
      texts.push_back(finding.text);
    }
  }
  return texts;
}

std::vector<std::string> linesOf(const std::vector<GraphFinding>& findings) {
  std::vector<std::string> lines;
  for (const GraphFinding& finding : findings) {
    lines.push_back(severityName(finding.severity) + ": " + finding.text);
  }
  return lines;
}

}  // namespace Tessaril::Diagnostics
