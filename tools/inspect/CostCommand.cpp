#include <algorithm>
#include <iterator>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/run/CostReport.h"
#include "tools/inspect/Commands.h"
#include "tools/inspect/RunFile.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::CostReport;
using Diagnostics::ModuleCost;
using Diagnostics::RunReport;

std::vector<RunReport> runsOf(const std::vector<std::string>& files) {
  std::vector<RunReport> all;
  for (const std::string& file : files) {
    std::vector<RunReport> runs = readRuns(file);
    std::move(runs.begin(), runs.end(), std::back_inserter(all));
  }
  return all;
}

bool isTrue(const CostReport& costs) {
  return std::none_of(costs.modules.begin(), costs.modules.end(),
                      [](const ModuleCost& cost) { return cost.liesToProgress(); });
}

}  // namespace

int cost(const CostOptions& options, std::ostream& output) {
  const CostReport costs = Diagnostics::costReport(runsOf(options.runs));
  output << (options.json ? Diagnostics::dumpJson(toJson(costs)) : tableOf(costs));
  return isTrue(costs) ? kFine : kFindings;
}

}  // namespace Tessaril::Inspect
