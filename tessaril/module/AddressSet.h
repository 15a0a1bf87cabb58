#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Internal to the library.

namespace Tessaril {

/// A set of addresses in one block of memory.
class AddressSet {
 public:
  bool contains(const void* address) const { return slots[slotOf(address)] != nullptr; }

  /// True if the address is new. Requires: not null.
  bool insert(const void* address) {
    const void** slot = &slots[slotOf(address)];
    if (*slot != nullptr) {
      return false;
    }
    // At most half of the slots are taken.
    if (++count > slots.size() / 2) {
      grow();
      slot = &slots[slotOf(address)];
    }
    *slot = address;
    return true;
  }

 private:
  static constexpr std::size_t kFirstSize = 32;
  static constexpr unsigned int kFirstShift = 64 - 5;

  /// The slot that holds the address, or the free one where it belongs.
  std::size_t slotOf(const void* address) const {
    // The upper bits of the product depend on all bits of the address.
    const std::uint64_t product = reinterpret_cast<std::uintptr_t>(address) * 0x9E37'79B9'7F4A'7C15;
    std::size_t at = product >> shift;
    while (slots[at] != nullptr && slots[at] != address) {
      at = (at + 1) & (slots.size() - 1);
    }
    return at;
  }

  void grow() {
    const std::vector<const void*> old =
        std::exchange(slots, std::vector<const void*>(4 * slots.size()));
    shift -= 2;
    for (const void* address : old) {
      if (address != nullptr) {
        slots[slotOf(address)] = address;
      }
    }
  }

  std::vector<const void*> slots = std::vector<const void*>(kFirstSize);
  unsigned int shift = kFirstShift;
  std::size_t count = 0;
};

}  // namespace Tessaril
