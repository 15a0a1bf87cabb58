#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "tessaril/module/AddressNumbers.h"

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// Numbers the modules of one traversal 0, 1, 2, ... in the order in which they are added, and
/// holds each of them once, so that the rest of the traversal works on numbers.
class ModuleNumbers {
 public:
  using Number = AddressNumbers::Number;
  static constexpr Number kNone = AddressNumbers::kNone;

  std::size_t size() const { return modules.size(); }
  const std::shared_ptr<ApplyModule>& operator[](Number number) const { return modules[number]; }

  /// Keeps its memory. The modules are put into `before` instead of being let go.
  void clear(std::vector<std::shared_ptr<ApplyModule>>& before) {
    numbers.clear();
    before.clear();
    before.swap(modules);
  }

  /// kNone for a module that has no number.
  Number find(const ApplyModule* module) const { return numbers.find(module); }

  /// The module's number, and whether it is new. Requires: not null.
  std::pair<Number, bool> add(std::shared_ptr<ApplyModule> module) {
    const auto added = numbers.add(module.get());
    if (added.second) {
      modules.push_back(std::move(module));
    }
    return added;
  }

 private:
  AddressNumbers numbers;
  std::vector<std::shared_ptr<ApplyModule>> modules;
};

}  // namespace Tessaril
