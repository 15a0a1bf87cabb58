#include "bench/peers/BoostGraph.h"

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/depth_first_search.hpp>
#include <boost/graph/reverse_graph.hpp>
#include <boost/graph/topological_sort.hpp>
#include <iterator>
#include <numeric>
#include <vector>

#include "bench/VisitHash.h"

namespace Tessaril::Bench {

namespace {

struct NumberedVertex {
  Number number = 0;
};
using Graph =
    boost::adjacency_list<boost::vecS, boost::vecS, boost::bidirectionalS, NumberedVertex>;
using Vertex = boost::graph_traits<Graph>::vertex_descriptor;

class HashingVisitor : public boost::default_dfs_visitor {
 public:
  explicit HashingVisitor(VisitHash& visited) : hash(&visited) {}

  template <typename AnyGraph>
  void discover_vertex(Vertex vertex, const AnyGraph& graph) {
    hash->add(graph[vertex].number);
  }

 private:
  VisitHash* hash;
};

template <typename AnyGraph>
std::uint64_t visit(const AnyGraph& graph, Vertex from) {
  std::vector<boost::default_color_type> colors(num_vertices(graph));
  VisitHash hash;
  boost::depth_first_visit(
      graph, from, HashingVisitor(hash),
      boost::make_iterator_property_map(colors.begin(), get(boost::vertex_index, graph)));
  return hash.value();
}

}  // namespace

struct BoostGraph::Data {
  Graph graph;
  Vertex start = 0;
  Vertex end = 0;
};

BoostGraph::BoostGraph(const Shape& shape, Layout layout) : data(std::make_unique<Data>()) {
  std::vector<Number> order(shape.modules);
  std::iota(order.begin(), order.end(), Number{0});
  if (layout == Layout::Scattered) {
    order = shuffled(shape.modules);
  }

  std::vector<Vertex> vertices(shape.modules);
  for (const Number number : order) {
    vertices[number] = add_vertex(NumberedVertex{number}, data->graph);
  }
  for (auto link = shape.links.rbegin(); link != shape.links.rend(); ++link) {
    add_edge(vertices[link->first], vertices[link->second], data->graph);
  }
  data->start = vertices[0];
  data->end = vertices[shape.end];
}

BoostGraph::~BoostGraph() = default;

std::uint64_t BoostGraph::visitFollowers() const { return visit(data->graph, data->start); }

std::uint64_t BoostGraph::visitDependencies() const {
  return visit(boost::make_reverse_graph(data->graph), data->end);
}

std::uint64_t BoostGraph::sortTopologically() const {
  std::vector<Vertex> lastFirst;
  lastFirst.reserve(num_vertices(data->graph));
  boost::topological_sort(data->graph, std::back_inserter(lastFirst));
  VisitHash hash;
  for (auto vertex = lastFirst.rbegin(); vertex != lastFirst.rend(); ++vertex) {
    hash.add(data->graph[*vertex].number);
  }
  return hash.value();
}

}  // namespace Tessaril::Bench
