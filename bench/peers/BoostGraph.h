#pragma once

#include <cstdint>
#include <memory>

#include "bench/Shapes.h"

namespace Tessaril::Bench {

/// A shape as adjacency_list<vecS, vecS, bidirectionalS>. Neighbours stand the other way round than
/// in the shape's lists: Boost's depth first visit takes the first one first, ours the last one, so
/// that both visit in the same order.
class BoostGraph {
 public:
  /// Scattered: vertices and their edge lists are made in the shuffled order in which a
  /// ModuleGraph makes modules and link lists. Otherwise in the order of their numbers, which is
  /// the best that can be.
  enum class Layout { Scattered, InOrder };

  BoostGraph(const Shape& shape, Layout layout);
  ~BoostGraph();

  /// A VisitHash of depth_first_visit from the start along out edges.
  std::uint64_t visitFollowers() const;
  /// The same from the end along in edges.
  std::uint64_t visitDependencies() const;
  /// A VisitHash of the vertices as topological_sort orders them.
  std::uint64_t sortTopologically() const;

 private:
  struct Data;
  std::unique_ptr<Data> data;
};

}  // namespace Tessaril::Bench
