#pragma once

#include <cstddef>
#include <memory>

namespace Tessaril {

class Object;

namespace Diagnostics {

class GraphGuard;

/// What docs/diagnostics.md shows of the use of a guard.
std::size_t buildAndUpdate(const std::shared_ptr<Object>& design,
                           const std::shared_ptr<GraphGuard>& guard);

}  // namespace Diagnostics
}  // namespace Tessaril
