#include "tests/diagnostics/run/DocumentedUse.h"

#include <ostream>

// The text from here on stands in docs/diagnostics.md.
#include "diagnostics/run/CostReport.h"
#include "diagnostics/run/ObservedUpdate.h"
#include "diagnostics/run/RunEstimate.h"
#include "diagnostics/run/WatchedFactories.h"

namespace Tessaril::Diagnostics {

void explainUpdate(const std::shared_ptr<Object>& design, const std::shared_ptr<ApplyModule>& start,
                   const std::shared_ptr<ApplyModule>& end,
                   const std::vector<std::shared_ptr<ApplyModule>>& modules,
                   const WatchedFactories::FactoryOf& factoryOf, std::ostream& out) {
  const RunRange range{design, start, end, {}};
  out << tableOf(explainBefore(range));

  const auto recorder = std::make_shared<RunRecorder>();
  const WatchedFactories watching(recorder, modules, factoryOf);
  ObservedUpdate<> update(recorder, range);
  update.execute();

  out << tableOf(recorder->getLastReport());
  out << traceOf(recorder->getReports());
  out << tableOf(costReport(recorder->getReports()));
}

}  // namespace Tessaril::Diagnostics
