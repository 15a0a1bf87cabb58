#pragma once

#include <cstdint>

#include "bench/Shapes.h"

namespace Tessaril::Bench {

/// Builds oneTBB's flow graph of a shape, a continue_node a module, and runs it once, on that many
/// threads at most. Each node's body adds its number plus one to a sum, which is the answer.
std::uint64_t buildAndRunTbbFlowGraph(const Shape& shape, std::size_t threads);

}  // namespace Tessaril::Bench
