#include <utility>

#include "bench/instructions/Design.h"
#include "bench/instructions/Item.h"
#include "tessaril/graph/ApplyGraph.h"

namespace Tessaril::Bench {

namespace {

constexpr std::size_t kModules = 10'000;

/// Adds the number of modules that it visits to what it is given.
using Traversal = std::function<void(const Design&, std::size_t&)>;

Item traversalItem(std::string name, const Shape& shape, std::size_t modules, Traversal traversal) {
  return {std::move(name), modules, [shape, traversal = std::move(traversal)] {
            const auto design = std::make_shared<const Design>(shape);
            const auto visited = std::make_shared<std::size_t>(0);
            return Work{[=] { traversal(*design, *visited); }, [=] { return *visited; }};
          }};
}

void rangeToEnd(const Design& design, std::size_t& visited) {
  ApplyGraph::forSemanticOrderedModuleRange(
      [&](const std::shared_ptr<ApplyModule>& /*module*/) { ++visited; }, design.start(),
      design.end());
}

void rangeWithoutEnd(const Design& design, std::size_t& visited) {
  ApplyGraph::forSemanticOrderedModuleRange(
      [&](const std::shared_ptr<ApplyModule>& /*module*/) { ++visited; }, design.start(), nullptr);
}

void fullRange(const Design& design, std::size_t& visited) {
  ApplyGraph::forSemanticOrderedModuleFullRange(
      [&](const std::shared_ptr<ApplyModule>& /*module*/, bool /*isOffTheWay*/) {
        ++visited;
        return true;
      },
      design.start(), design.end());
}

void previousModules(const Design& design, std::size_t& visited) {
  ApplyGraph::forSemanticOrderedPreviousModules(
      [&](const std::shared_ptr<ApplyModule>& /*module*/) {
        ++visited;
        return true;
      },
      design.end());
}

}  // namespace

std::vector<Item> traversalItems() {
  // What hangs from the end of the main chain lies behind the end.
  const std::size_t behindEnd = 10;
  return {
      traversalItem("range-chain", chain(kModules), kModules, rangeToEnd),
      traversalItem("range-random", randomLinks(kModules), kModules, rangeWithoutEnd),
      traversalItem("range-starving", starvingMerges(kModules), kModules, rangeWithoutEnd),
      traversalItem("full-range", sideChains(kModules), kModules - behindEnd, fullRange),
      traversalItem("previous-modules", merges(kModules), kModules - 1, previousModules),
  };
}

}  // namespace Tessaril::Bench
