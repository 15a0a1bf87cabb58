#include "tests/diagnostics/guards/DocumentedGuards.h"

// The text from here on stands in docs/diagnostics.md.
#include "diagnostics/guards/GuardedModule.h"
#include "diagnostics/guards/GuardedUpdate.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Diagnostics {

struct Step : ApplyModule, Object {
  using Object::Object;
};

// With a null guard, all of this is as without guards.
std::size_t buildAndUpdate(const std::shared_ptr<Object>& design,
                           const std::shared_ptr<GraphGuard>& guard) {
  const auto floor = makeGuardedModule<Step>(guard, "floor");
  const auto walls = makeGuardedModule<Step>(guard, "walls");
  design->addChild(floor);
  design->addChild(walls);
  ApplyGraph::insertAfter(walls, floor);

  makeGuardedUpdate(guard, design, floor, walls, nullptr)->execute();

  const GuardedWalk walk(guard, "counting the steps");
  std::size_t steps = 0;
  ApplyGraph::forSemanticOrderedModuleRange([&steps](const auto&) { ++steps; }, floor, nullptr);
  return steps;
}

}  // namespace Tessaril::Diagnostics
