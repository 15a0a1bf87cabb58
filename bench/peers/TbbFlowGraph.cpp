#include "bench/peers/TbbFlowGraph.h"

#include <oneapi/tbb/flow_graph.h>
#include <oneapi/tbb/global_control.h>

#include <atomic>
#include <deque>

namespace Tessaril::Bench {

std::uint64_t buildAndRunTbbFlowGraph(const Shape& shape, std::size_t threads) {
  using Message = oneapi::tbb::flow::continue_msg;
  using Node = oneapi::tbb::flow::continue_node<Message>;

  const oneapi::tbb::global_control limit(oneapi::tbb::global_control::max_allowed_parallelism,
                                          threads);
  std::atomic<std::uint64_t> sum = 0;
  oneapi::tbb::flow::graph graph;
  std::deque<Node> nodes;
  for (Number number = 0; number < shape.modules; ++number) {
    nodes.emplace_back(graph, [&sum, number](const Message& /*message*/) {
      sum.fetch_add(number + std::uint64_t{1}, std::memory_order_relaxed);
    });
  }
  for (const auto& [from, to] : shape.links) {
    oneapi::tbb::flow::make_edge(nodes[from], nodes[to]);
  }
  nodes.front().try_put(Message());
  graph.wait_for_all();
  return sum;
}

}  // namespace Tessaril::Bench
