// The ordered traversals, and an empty task a module in order.

#include <utility>

#include "bench/ModuleGraph.h"
#include "bench/Paired.h"
#include "bench/Shapes.h"
#include "bench/VisitHash.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/literal/LiteralTraversal.h"
#ifdef TESSARIL_BENCH_BOOSTGRAPH
#include "bench/peers/BoostGraph.h"
#endif
#ifdef TESSARIL_BENCH_OCCTFUNCTIONS
#include "bench/peers/OcctFunctions.h"
#endif
#ifdef TESSARIL_BENCH_TBBFLOWGRAPH
#include "bench/peers/TbbFlowGraph.h"
#endif

namespace Tessaril::Bench {

namespace {

using RangeCallback = std::function<void(ModulePtr)>;
using FullRangeCallback = std::function<bool(ModulePtr, bool)>;
using PreviousCallback = std::function<bool(ModulePtr)>;
template <typename Callback>
using Traversal = std::function<void(Callback)>;

constexpr const char* kBoost = "Boost.Graph";
constexpr const char* kBoostInOrder = "Boost.Graph, in order";
constexpr const char* kOcct = "OpenCASCADE";
constexpr const char* kOcctWithStatus = "OpenCASCADE, with status";
constexpr const char* kTbb = "oneTBB";
constexpr const char* kTbbParallel = "oneTBB, two threads";

/// One module as a traversal presented it.
struct Visit {
  ModulePtr module;
  bool isOutside = false;
};
using Visits = std::vector<Visit>;

// Each kind of callback, to do something with the visits, and to be called with them barely.

RangeCallback callback(const RangeCallback& /*kind*/, const auto& use) {
  return [&use](const ModulePtr& module) { use(module, false); };
}

FullRangeCallback callback(const FullRangeCallback& /*kind*/, const auto& use) {
  return [&use](const ModulePtr& module, bool isOutside) {
    use(module, isOutside);
    return true;
  };
}

PreviousCallback callback(const PreviousCallback& /*kind*/, const auto& use) {
  return [&use](const ModulePtr& module) {
    use(module, false);
    return true;
  };
}

void call(const RangeCallback& callback, const Visit& visit) { callback(visit.module); }
void call(const FullRangeCallback& callback, const Visit& visit) {
  callback(visit.module, visit.isOutside);
}
void call(const PreviousCallback& callback, const Visit& visit) { callback(visit.module); }

template <typename Callback>
std::uint64_t hashOf(const Traversal<Callback>& traversal) {
  VisitHash hash;
  traversal(callback(Callback(), [&hash](const ModulePtr& module, bool isOutside) {
    hash.add(2 * numberOf(*module) + (isOutside ? 1 : 0));
  }));
  return hash.value();
}

template <typename Callback>
Visits visitsOf(const Traversal<Callback>& traversal) {
  Visits visits;
  traversal(callback(Callback(), [&visits](const ModulePtr& module, bool isOutside) {
    visits.push_back({module, isOutside});
  }));
  return visits;
}

/// What looking at every waiting module again would take seconds or minutes for is left out.
bool isLiteralAffordable(const Shape& shape) {
  return shape.modules <= 10'000 ||
         (shape.modules <= 100'000 && shape.name != "starving" && shape.name != "random");
}

template <typename Callback>
void measureTraversal(Paired& paired, Comparison measured, const Shape& shape,
                      const Traversal<Callback>& library, const Traversal<Callback>& literal,
                      const std::vector<Contestant>& peers = {}) {
  if (!paired.wants(measured.work, shape.name, shape.modules)) {
    return;
  }
  const Visits visits = visitsOf(library);
  measured.shape = shape.name;
  measured.size = shape.modules;
  measured.units = visits.size();
  measured.contestants = {{kLibrary, [&] { return hashOf(library); }},
                          {kFloor, [&] {
                             return hashOf(Traversal<Callback>([&visits](const Callback& callback) {
                               for (const Visit& visit : visits) {
                                 call(callback, visit);
                               }
                             }));
                           }}};
  if (isLiteralAffordable(shape)) {
    measured.contestants.push_back({kLiteral, [&] { return hashOf(literal); }});
  }
  measured.contestants.insert(measured.contestants.end(), peers.begin(), peers.end());
  paired.compare(measured);
}

std::vector<Bound> boundsOfForwards(const Shape& shape) {
  std::vector<Bound> bounds;
  if (isLinear(shape) && shape.modules == 1'000) {
    bounds.push_back({kLiteral, 0.45});
  } else if (shape.name == "random" && shape.modules == 10'000) {
    bounds.push_back({kLiteral, 0.12});
  } else if (shape.name == "starving" && shape.modules == 10'000) {
    bounds.push_back({kLiteral, 0.001});
  }
  if (shape.modules == 100'000) {
    if (shape.name == "chain" || shape.name == "merges") {
      bounds.push_back({kBoost, 2});
    } else if (shape.name == "random") {
      bounds.push_back({kBoost, 4});
    }
  }
  return bounds;
}

void measureTraversals(Paired& paired, const Shape& shape) {
  const ModuleGraph graph(shape);
  std::vector<Contestant> peers;
#ifdef TESSARIL_BENCH_BOOSTGRAPH
  const BoostGraph scattered(shape, BoostGraph::Layout::Scattered);
  const BoostGraph inOrder(shape, BoostGraph::Layout::InOrder);
  peers = {{.name = kBoost,
            .run = [&] { return scattered.sortTopologically(); },
            .order = "topological, scattered"},
           {.name = kBoostInOrder,
            .run = [&] { return inOrder.sortTopologically(); },
            .order = "topological, in order"}};
#endif

  measureTraversal<RangeCallback>(
      paired, {.work = "range", .bounds = boundsOfForwards(shape)}, shape,
      [&](RangeCallback use) {
        ApplyGraph::forSemanticOrderedModuleRange(std::move(use), graph.start(), nullptr);
      },
      [&](RangeCallback use) {
        Literal::forSemanticOrderedModuleRange(std::move(use), graph.start(), nullptr);
      },
      peers);
  measureTraversal<FullRangeCallback>(
      paired, {.work = "full range", .bounds = boundsOfForwards(shape)}, shape,
      [&](FullRangeCallback use) {
        ApplyGraph::forSemanticOrderedModuleFullRange(std::move(use), graph.start(), graph.end());
      },
      [&](FullRangeCallback use) {
        Literal::forSemanticOrderedModuleFullRange(std::move(use), graph.start(), graph.end());
      },
      peers);
  measureTraversal<RangeCallback>(
      paired, {.work = "range to an end"}, shape,
      [&](RangeCallback use) {
        ApplyGraph::forSemanticOrderedModuleRange(std::move(use), graph.start(), graph.end());
      },
      [&](RangeCallback use) {
        Literal::forSemanticOrderedModuleRange(std::move(use), graph.start(), graph.end());
      });
  measureTraversal<PreviousCallback>(
      paired, {.work = "previous modules"}, shape,
      [&](PreviousCallback use) {
        ApplyGraph::forSemanticOrderedPreviousModules(std::move(use), graph.end());
      },
      [&](PreviousCallback use) {
        Literal::forSemanticOrderedPreviousModules(std::move(use), graph.end());
      });
}

/// The task adds its module's number plus one to a sum.
void measureEmptyTasks(Paired& paired, const Shape& shape) {
  Comparison measured{.work = "empty task",
                      .shape = shape.name,
                      .size = shape.modules,
                      .bounds = {{kOcct, 0.15}, {kTbb, 1.5}}};
  if (!paired.wants(measured.work, measured.shape, measured.size)) {
    return;
  }
  const ModuleGraph graph(shape);
  measured.contestants = {
      {kLibrary, [&] {
         std::uint64_t sum = 0;
         ApplyGraph::forSemanticOrderedModuleRange(
             [&sum](const ModulePtr& module) { sum += numberOf(*module) + std::uint64_t{1}; },
             graph.start(), nullptr);
         return sum;
       }}};
#ifdef TESSARIL_BENCH_OCCTFUNCTIONS
  const OcctFunctions functions(shape);
  measured.contestants.push_back({kOcct, [&] { return functions.execute(); }});
  measured.contestants.push_back({.name = kOcctWithStatus,
                                  .run = [&] { return functions.executeWithStatus(); },
                                  .prepare = [&] { functions.resetStatus(); }});
#endif
#ifdef TESSARIL_BENCH_TBBFLOWGRAPH
  measured.contestants.push_back({kTbb, [&] { return buildAndRunTbbFlowGraph(shape, 1); }});
  measured.contestants.push_back({kTbbParallel, [&] { return buildAndRunTbbFlowGraph(shape, 2); }});
#endif
  paired.compare(measured);
}

void nameMissingPeers([[maybe_unused]] Paired& paired) {
#ifndef TESSARIL_BENCH_BOOSTGRAPH
  paired.missing(kBoost);
#endif
#ifndef TESSARIL_BENCH_OCCTFUNCTIONS
  paired.missing(kOcct);
#endif
#ifndef TESSARIL_BENCH_TBBFLOWGRAPH
  paired.missing(kTbb);
#endif
}

}  // namespace

}  // namespace Tessaril::Bench

int main(int argc, char** argv) {
  using namespace Tessaril::Bench;
  Paired paired(argc, argv);
  nameMissingPeers(paired);
  for (const std::size_t size : paired.sizes()) {
    for (const Shape& shape : allShapes(size)) {
      measureTraversals(paired, shape);
    }
  }
  for (const Shape& shape : allShapes(1'000)) {
    measureEmptyTasks(paired, shape);
  }
  paired.boundGrowth("range", 1'000, 1'000'000, 10);
  paired.boundGrowth("full range", 1'000, 1'000'000, 10);
  return paired.finish();
}
