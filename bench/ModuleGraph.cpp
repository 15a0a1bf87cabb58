#include "bench/ModuleGraph.h"

#include <random>

#include "tests/support/PrivateLinks.h"

namespace Tessaril::Bench {

namespace PrivateLinks = TestSupport::PrivateLinks;

ModuleGraph::ModuleGraph(const Shape& shape)
    : ModuleGraph(shape, [](Number number) { return std::make_shared<NumberedModule>(number); }) {}

// The lists are written directly: linking a hub through ApplyGraph looks at all its neighbours for
// each new one.
ModuleGraph::ModuleGraph(const Shape& shape, const Factory& factory)
    : modules(shape.modules), endNumber(shape.end) {
  std::mt19937_64 random(shape.modules);
  for (const Number number : shuffled(shape.modules, 1)) {
    modules[number] = factory(number);
    fillers.push_back(std::make_unique<std::byte[]>(16 + random() % 256));
  }
  makeRoomForLinks(shape);
  for (const auto& [from, to] : shape.links) {
    PrivateLinks::nextList(*modules[from]).push_back(modules[to]);
    PrivateLinks::previousList(*modules[to]).push_back(modules[from]);
  }
  for (const Number start : shape.sideChainStarts) {
    PrivateLinks::setStartOfSideChain(*modules[start], true);
  }
}

void ModuleGraph::makeRoomForLinks(const Shape& shape) {
  std::vector<std::size_t> nextCounts(shape.modules);
  std::vector<std::size_t> previousCounts(shape.modules);
  for (const auto& [from, to] : shape.links) {
    ++nextCounts[from];
    ++previousCounts[to];
  }
  for (const Number number : shuffled(shape.modules, 2)) {
    PrivateLinks::nextList(*modules[number]).reserve(nextCounts[number]);
    PrivateLinks::previousList(*modules[number]).reserve(previousCounts[number]);
  }
}

}  // namespace Tessaril::Bench
