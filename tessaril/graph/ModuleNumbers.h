#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// Numbers the modules of one traversal 0, 1, 2, ... in the order in which they are added, and holds
/// each of them once, so that the rest of the traversal works on numbers.
class ModuleNumbers {
 public:
  using Number = std::uint32_t;
  static constexpr Number kNone = 0xFFFF'FFFF;

  std::size_t size() const { return modules.size(); }
  const std::shared_ptr<ApplyModule>& operator[](Number number) const { return modules[number]; }

  /// kNone for a module that has no number.
  Number find(const ApplyModule* module) const {
    if (slots.empty()) {
      return kNone;
    }
    return slots[slotOf(module)].number;
  }

  /// The module's number, and whether it is new. Requires: not null.
  std::pair<Number, bool> add(std::shared_ptr<ApplyModule> module) {
    if (2 * (modules.size() + 1) > slots.size()) {
      grow();
    }
    Slot& slot = slots[slotOf(module.get())];
    const bool isNew = slot.number == kNone;
    if (isNew) {
      slot = {module.get(), static_cast<Number>(modules.size())};
      modules.push_back(std::move(module));
    }
    return {slot.number, isNew};
  }

 private:
  struct Slot {
    const ApplyModule* module = nullptr;
    Number number = kNone;
  };

  /// The slot that holds the module, or the free one where it belongs. At most half of the slots
  /// are taken.
  std::size_t slotOf(const ApplyModule* module) const {
    const std::uint64_t spread = reinterpret_cast<std::uintptr_t>(module) * 0x9E37'79B9'7F4A'7C15;
    std::size_t at = spread >> shift;
    while (slots[at].number != kNone && slots[at].module != module) {
      at = (at + 1) & (slots.size() - 1);
    }
    return at;
  }

  void grow() {
    constexpr std::size_t kFirstSize = 16;
    constexpr unsigned int kFirstShift = 60;
    shift = slots.empty() ? kFirstShift : shift - 1;
    slots.assign(slots.empty() ? kFirstSize : 2 * slots.size(), Slot{});
    for (std::size_t i = 0; i < modules.size(); ++i) {
      slots[slotOf(modules[i].get())] = {modules[i].get(), static_cast<Number>(i)};
    }
  }

  std::vector<std::shared_ptr<ApplyModule>> modules;
  std::vector<Slot> slots;
  unsigned int shift = 64;
};

}  // namespace Tessaril
