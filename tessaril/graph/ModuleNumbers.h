#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "tessaril/graph/ModuleLinks.h"
#include "tessaril/module/AddressNumbers.h"
#include "tessaril/module/LinkList.h"

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// Numbers modules 0, 1, 2, ... in the order in which they are added, so that work that looks at
/// them again and again can be done on numbers. Most modules are held. One that is only known keeps
/// its number when it goes, and what is made at its address later gets another one.
class ModuleNumbers {
 public:
  using Number = AddressNumbers::Number;
  using ModulePtr = std::shared_ptr<ApplyModule>;
  static constexpr Number kNone = AddressNumbers::kNone;
  enum class As { Held, Known };

  ModuleNumbers() = default;
  ModuleNumbers(const ModuleNumbers&) = delete;
  ModuleNumbers& operator=(const ModuleNumbers&) = delete;
  ~ModuleNumbers() {
    for (Number number = 0; number < held.size(); ++number) {
      loadEarly(number + kAhead);
      held[number].reset();
    }
  }

  /// How many numbers ahead of its turn a module should be loaded.
  static constexpr Number kAhead = 8;
  /// Has the processor begin to load the reference count of a module that will be copied or let go
  /// soon. Usually it stands in front of the module.
  void loadEarly(Number number) const {
#if defined(__GNUC__)
    if (number < held.size()) {
      const auto module = reinterpret_cast<std::uintptr_t>(held[number].get());
      // NOLINTNEXTLINE(performance-no-int-to-ptr): there may be no object.
      __builtin_prefetch(reinterpret_cast<const void*>(module - 2 * sizeof(void*)));
    }
#endif
  }

  /// The same for the numbers of the modules that the first entries are for.
  void loadEarly(const LinkList& links) const {
    for (std::size_t place = 0; place < std::min(links.size(), kEntriesLoaded); ++place) {
      numbers.loadEarly(links.address(place));
    }
  }

  std::size_t size() const { return held.size(); }
  /// The module, if it is held; null otherwise.
  const ModulePtr& heldModule(Number number) const { return held[number]; }
  /// Null for a module that has gone.
  ModulePtr module(Number number) const {
    return held[number] != nullptr ? held[number] : known[number].lock();
  }
  bool isLive(Number number) const { return held[number] != nullptr || !known[number].expired(); }
  void hold(Number number) {
    if (held[number] == nullptr) {
      held[number] = known[number].lock();
    }
  }

  /// For modules that are not needed any more, soon before the numbers are cleared.
  void letGo(Number number) { held[number].reset(); }

  /// kNone for a module that has no number.
  Number find(const ApplyModule* module) const {
    const Number number = numbers.find(module);
    return number != kNone && isLive(number) ? number : kNone;
  }

  /// The number of a module, a new one if it has none. Requires: not null.
  Number add(ModulePtr module, As how) {
    const AddressNumbers::Place place = numbers.placeOf(module.get());
    return addAt(place, std::move(module), how);
  }

  /// The number of the module that an entry is for; kNone for one that has expired.
  Number add(const LinkList& links, std::size_t place, As how) {
    const ApplyModule* const address = links.address(place);
    const AddressNumbers::Place at = numbers.placeOf(address);
    const Number number = numbers.at(at);
    if (number != kNone && held[number] != nullptr) {
      return links.isHeldBy(place, held[number]) || links.isLive(place) ? number : kNone;
    }
    ApplyGraph::loadLinksEarly(address);
    ModulePtr module = links.links()[place].lock();
    return module != nullptr ? addAt(at, std::move(module), how) : kNone;
  }

  /// Keeps its memory. What is held is put into `before` instead of being let go.
  void clear(std::vector<ModulePtr>& before) {
    numbers.clear();
    before.clear();
    before.swap(held);
    known.clear();
  }

 private:
  Number addAt(AddressNumbers::Place place, ModulePtr module, As how) {
    const ApplyModule* const address = module.get();
    const Number number = numbers.at(place);
    if (number == kNone) {
      return append(numbers.give(place, address), std::move(module), how);
    }
    if (!isLive(number)) {
      return append(numbers.numberAnew(address), std::move(module), how);
    }
    if (how == As::Held) {
      hold(number);
    }
    return number;
  }

  Number append(Number number, ModulePtr module, As how) {
    if (how == As::Held) {
      held.push_back(std::move(module));
    } else {
      known.resize(std::size_t{number} + 1);
      known[number] = module;
      held.emplace_back();
    }
    return number;
  }

  static constexpr std::size_t kEntriesLoaded = 4;

  AddressNumbers numbers;
  std::vector<ModulePtr> held;
  /// Of those that are not held from the beginning.
  std::vector<std::weak_ptr<ApplyModule>> known;
};

}  // namespace Tessaril
