#pragma once

#include <deque>
#include <functional>
#include <utility>

#include "tests/graph/model/GraphModel.h"

/// The walks and the ordered traversals, step by step and without any haste, over the plain graphs
/// of GraphModel. This literal form stays beside the product for good: the product may become
/// faster, never different, and only a second opinion that nobody tunes can tell.
namespace Tessaril::GraphModel {

enum class Direction { Forwards, Backwards };

/// The neighbours on that side, dead entries included.
const Names& neighbours(const Graph& graph, const Name& module, Direction direction);

/// What a walk visits, in order, until the visitor answers false.
using Visitor = std::function<bool(const Name&)>;
bool walkNeighbours(const Graph& graph, const Name& module, Direction direction,
                    const Visitor& visitor);
bool walkFromThis(const Graph& graph, const Name& module, Direction direction,
                  const Visitor& visitor);
void gather(const Graph& graph, const Name& module, Direction direction, NameSet& modules,
            const Name& stopModule);

using Queue = std::deque<Name>;

Name getNextModuleInOrder(const Graph& graph, Queue& queue, const NameSet& visited,
                          const NameSet& scope);
void forModuleRange(const Graph& graph, const std::function<void(const Name&)>& callback,
                    const Name& start, const Name& end);
void forModuleFullRange(const Graph& graph, const std::function<bool(const Name&, bool)>& callback,
                        const Name& start, const Name& end);
void forPreviousModules(const Graph& graph, const Visitor& callback, const Name& module);

}  // namespace Tessaril::GraphModel
