#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The graphs that are measured, described once and built for each contestant alike.
namespace Tessaril::Bench {

using Number = std::uint32_t;

struct Shape {
  std::string name;
  /// Modules are numbered from 0 on. Module 0 leads to all others.
  std::size_t modules = 0;
  /// From, to. They join the list of next modules of the one and the list of previous modules of
  /// the other in this order.
  std::vector<std::pair<Number, Number>> links;
  std::vector<Number> sideChainStarts = {};
  /// Nothing lies behind it.
  Number end = 0;
};

/// One module after the other.
Shape chain(std::size_t modules);
/// Two chains, with a rung from each module of the one to its neighbour in the other.
Shape ladder(std::size_t modules);
/// A main chain; a side chain of ten modules hangs from every tenth.
Shape sideChains(std::size_t modules);
/// A module leads to twenty merges and to a chain of twenty, each of which leads to a merge as
/// well; the merges lead to one module, which leads to twenty merges, and so on. So up to twenty
/// wait at once, while a module has two links on each side on average.
Shape merges(std::size_t modules);
/// Half of the modules are merges that are queued at once, and wait for the last module of a chain
/// that is as long.
Shape starvingMerges(std::size_t modules);
/// Each module follows two or three random earlier ones, 2.5 on average: one of the hundred before
/// it, the others from anywhere. So there are long ways as well as short ones, and much waits.
Shape randomLinks(std::size_t modules);
/// One module spreads to all others, which merge in the last.
Shape fan(std::size_t modules);

/// All of the above.
std::vector<Shape> allShapes(std::size_t modules);
/// Chain, ladder and side chains: what most designs look like.
bool isLinear(const Shape& shape);

/// The order in which the modules of a graph of that size are made: any but theirs.
std::vector<Number> shuffled(std::size_t modules);

}  // namespace Tessaril::Bench
