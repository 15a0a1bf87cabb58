#include <algorithm>
#include <memory>
#include <unordered_set>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/run/RunEstimate.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tools/inspect/Commands.h"
#include "tools/inspect/InputFile.h"
#include "tools/inspect/ModuleNames.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::EstimatedStep;
using Diagnostics::LoadedDesign;
using Diagnostics::Prospect;
using Diagnostics::RunEstimate;
using ModulePtr = std::shared_ptr<ApplyModule>;

std::string nameOf(const ModulePtr& module) {
  return dynamic_cast<const Object&>(*module).getPath(RequestedPathType::Absolute).toString();
}

ModulePtr moduleNamed(const LoadedDesign& loaded, const std::string& word) {
  std::vector<std::string> names;
  std::transform(loaded.modules.begin(), loaded.modules.end(), std::back_inserter(names), nameOf);
  return loaded.modules[findModule(names, word)];
}

bool hasPrevious(const ModulePtr& module) {
  const auto& links = module->getPreviousApplyModules();
  return std::any_of(links.begin(), links.end(),
                     [](const std::weak_ptr<ApplyModule>& link) { return !link.expired(); });
}

ModulePtr onlyStart(const LoadedDesign& loaded) {
  std::vector<ModulePtr> starts;
  std::copy_if(loaded.modules.begin(), loaded.modules.end(), std::back_inserter(starts),
               [](const ModulePtr& module) { return !hasPrevious(module); });
  if (loaded.modules.empty()) {
    throw InputError("the design has no modules");
  }
  if (starts.empty()) {
    throw InputError("no module is without a previous one; name a start with --from");
  }
  if (starts.size() > 1) {
    throw InputError("both " + nameOf(starts[0]) + " and " + nameOf(starts[1]) +
                     " may be the start; name it with --from");
  }
  return starts.front();
}

/// The first one that does not start a side chain, or null.
ModulePtr nextOnTheWay(const ModulePtr& module) {
  for (const std::weak_ptr<ApplyModule>& link : module->getNextApplyModules()) {
    if (ModulePtr next = link.lock(); next != nullptr && !next->isStartOfSideChain()) {
      return next;
    }
  }
  return nullptr;
}

/// As ApplyGraph::getEnd(), which is not made for the circles that a file may hold.
ModulePtr endOf(const ModulePtr& start) {
  std::unordered_set<ModulePtr> passed{start};
  ModulePtr end = start;
  while (const ModulePtr next = nextOnTheWay(end)) {
    if (!passed.insert(next).second) {
      throw InputError("the next modules lead in a circle; name an end with --to");
    }
    end = next;
  }
  return end;
}

bool isDue(const RunEstimate& estimate) {
  return std::any_of(estimate.steps.begin(), estimate.steps.end(), [](const EstimatedStep& step) {
    return step.prospect == Prospect::FullApply || step.prospect == Prospect::AutoApply;
  });
}

}  // namespace

int explain(const ExplainOptions& options, std::ostream& output) {
  loadLibraries(options.libraries);
  const LoadedDesign loaded = loadFile(options.file);
  const ModulePtr start = options.from ? moduleNamed(loaded, *options.from) : onlyStart(loaded);
  const ModulePtr end = options.to ? moduleNamed(loaded, *options.to) : endOf(start);
  const ModulePtr horizon = options.horizon ? moduleNamed(loaded, *options.horizon) : nullptr;
  const RunEstimate estimate =
      Diagnostics::explainBefore(Diagnostics::RunRange{loaded.design, start, end, horizon});
  output << (options.json ? Diagnostics::dumpJson(toJson(estimate)) : tableOf(estimate));
  return isDue(estimate) ? kFindings : kFine;
}

}  // namespace Tessaril::Inspect
