#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "bench/Shapes.h"
#include "tessaril/module/ApplyModule.h"

namespace Tessaril::Bench {

using ModulePtr = std::shared_ptr<ApplyModule>;

/// A module that knows its number, so that what visits it can tell which one it was.
class NumberedModule : public ApplyModule {
 public:
  explicit NumberedModule(Number moduleNumber) : number(moduleNumber) {}

  const Number number;
  /// For contestants that are led from one module to the next. Beside the number, so that whoever
  /// visits the module has it at hand.
  const NumberedModule* following = nullptr;
};

/// Requires: the module is a NumberedModule.
inline Number numberOf(const ApplyModule& module) {
  return static_cast<const NumberedModule&>(module).number;
}

/// Owns the modules of a shape. They lie in memory as in an application that has been edited for a
/// while: made in an order that has nothing to do with their links, with other blocks between them.
/// They are linked in the order of the shape's links afterwards.
class ModuleGraph {
 public:
  /// Makes the module of a number.
  using Factory = std::function<std::shared_ptr<NumberedModule>(Number)>;

  explicit ModuleGraph(const Shape& shape);
  ModuleGraph(const Shape& shape, const Factory& factory);

  std::size_t size() const { return modules.size(); }
  const ModulePtr& operator[](Number number) const { return modules[number]; }
  const ModulePtr& start() const { return modules.front(); }
  const ModulePtr& end() const { return modules[endNumber]; }

 private:
  std::vector<ModulePtr> modules;
  std::vector<std::unique_ptr<std::byte[]>> fillers;
  Number endNumber;
};

}  // namespace Tessaril::Bench
