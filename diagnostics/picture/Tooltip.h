#pragma once

#include <string>

#include "diagnostics/graph/ChainNames.h"
#include "diagnostics/picture/ModuleLook.h"

// Internal to the picture.

namespace Tessaril::Diagnostics {

/// Everything that is known of a module, a fact a line. `mark` may be null.
std::string tooltipOf(const SnapshotModule& module, const Signs& signs, const RunMark* mark,
                      const ChainNames& chains);

}  // namespace Tessaril::Diagnostics
