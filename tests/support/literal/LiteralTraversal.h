#pragma once

#include <functional>
#include <memory>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/literal/LiteralWalks.h"

/// The ordered traversals of ApplyGraph: a queue whose waiting entries are looked at again after
/// every ready one.
namespace Tessaril::Literal {

using ModuleQueue = ApplyGraph::ModuleQueue;

ModulePtr getNextModuleInOrder(ModuleQueue& queue, const ModuleSet& visited,
                               const ModuleSet& scope);
void forSemanticOrderedModuleRange(std::function<void(ModulePtr)> callback, ModulePtr start,
                                   ModulePtr end);
void forSemanticOrderedModuleFullRange(std::function<bool(ModulePtr, bool)> callback,
                                       ModulePtr start, ModulePtr end);
void forSemanticOrderedPreviousModules(std::function<bool(ModulePtr)> callback, ModulePtr module);

}  // namespace Tessaril::Literal
