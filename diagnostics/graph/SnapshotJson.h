#pragma once

#include <nlohmann/json.hpp>

#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Diagnostics {

/// "addToChain", "startSideChain", "startFork", "mergeFork"; for a mode that the library does not
/// know, "mode 7".
std::string insertModeName(ApplyModuleInsertInfo::ApplyGraphInsertMode mode);

/// The snapshot as data; docs/diagnostics.md lists the keys. What is not known is null.
nlohmann::ordered_json toJson(const GraphSnapshot& snapshot);

}  // namespace Tessaril::Diagnostics
