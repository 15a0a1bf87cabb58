#pragma once

#include <iosfwd>
#include <memory>

#include "diagnostics/run/WatchedFactories.h"

namespace Tessaril::Diagnostics {

/// What docs/diagnostics.md shows of the use of the explainer.
void explainUpdate(const std::shared_ptr<Object>& design, const std::shared_ptr<ApplyModule>& start,
                   const std::shared_ptr<ApplyModule>& end,
                   const std::vector<std::shared_ptr<ApplyModule>>& modules,
                   const WatchedFactories::FactoryOf& factoryOf, std::ostream& out);

}  // namespace Tessaril::Diagnostics
