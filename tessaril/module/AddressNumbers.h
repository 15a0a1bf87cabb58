#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Internal to the library.

namespace Tessaril {

/// Numbers addresses 0, 1, 2, ... in the order in which they are added: a set of addresses in one
/// block of memory.
class AddressNumbers {
 public:
  using Number = std::uint32_t;
  static constexpr Number kNone = 0xFFFF'FFFF;

  /// How many numbers have been given.
  std::size_t size() const { return given; }

  /// Keeps its memory.
  void clear() {
    slots.assign(slots.size(), Slot());
    taken = 0;
    given = 0;
  }

  /// kNone for an address that has no number.
  Number find(const void* address) const { return slots[slotOf(address)].number; }

  /// The number of the address, and whether it is new.
  std::pair<Number, bool> add(const void* address) {
    Slot* slot = &slots[slotOf(address)];
    if (slot->number != kNone) {
      return {slot->number, false};
    }
    // At most half of the slots are taken.
    if (taken >= slots.size() / 2) {
      grow();
      slot = &slots[slotOf(address)];
    }
    *slot = {address, given};
    ++taken;
    return {given++, true};
  }

  /// Another number for an address that has one: something else is there now.
  Number numberAnew(const void* address) { return slots[slotOf(address)].number = given++; }

 private:
  struct Slot {
    const void* address = nullptr;
    Number number = kNone;
  };
  static constexpr std::size_t kFirstSize = 32;
  static constexpr unsigned int kFirstShift = 64 - 5;

  /// The slot that holds the address, or the free one where it belongs.
  std::size_t slotOf(const void* address) const {
    // The upper bits of the product depend on all bits of the address.
    const std::uint64_t product = reinterpret_cast<std::uintptr_t>(address) * 0x9E37'79B9'7F4A'7C15;
    std::size_t at = product >> shift;
    while (slots[at].number != kNone && slots[at].address != address) {
      at = (at + 1) & (slots.size() - 1);
    }
    return at;
  }

  void grow() {
    const std::vector<Slot> old = std::exchange(slots, std::vector<Slot>(2 * slots.size()));
    --shift;
    for (const Slot& slot : old) {
      if (slot.number != kNone) {
        slots[slotOf(slot.address)] = slot;
      }
    }
  }

  std::vector<Slot> slots = std::vector<Slot>(kFirstSize);
  unsigned int shift = kFirstShift;
  std::size_t taken = 0;
  Number given = 0;
};

}  // namespace Tessaril
