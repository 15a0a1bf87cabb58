#include "bench/ModuleGraph.h"

#include <random>

#include "tests/support/PrivateLinks.h"

namespace Tessaril::Bench {

namespace PrivateLinks = TestSupport::PrivateLinks;

ModuleGraph::ModuleGraph(const Shape& shape)
    : ModuleGraph(shape, [](Number number) { return std::make_shared<NumberedModule>(number); }) {}

// The lists are written directly: neither hooks nor checks for duplicates are wanted here.
ModuleGraph::ModuleGraph(const Shape& shape, const Factory& factory)
    : modules(shape.modules), endNumber(shape.end) {
  std::mt19937_64 random(shape.modules);
  for (const Number number : shuffled(shape.modules)) {
    modules[number] = factory(number);
    fillers.push_back(std::make_unique<std::byte[]>(16 + random() % 256));
  }
  for (const auto& [from, to] : shape.links) {
    PrivateLinks::nextList(*modules[from]).add(modules[to]);
    PrivateLinks::previousList(*modules[to]).add(modules[from]);
  }
  for (const Number start : shape.sideChainStarts) {
    PrivateLinks::setStartOfSideChain(*modules[start], true);
  }
}

}  // namespace Tessaril::Bench
