#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Internal to the library.

namespace Tessaril {

/// A hash table of addresses in one block of memory, with what `Slot` keeps beside them. Nothing is
/// taken out but all at once.
///
/// `Slot`: has a member `const void* address`, null as long as the slot is free.
template <typename Slot>
class AddressTable {
 public:
  /// Where an address stands, or would stand. Valid until another one is put in.
  using Place = std::size_t;

  Place placeOf(const void* address) const {
    Place place = firstPlaceOf(address);
    while (slots[place].address != address && slots[place].address != nullptr) {
      place = (place + 1) & (slots.size() - 1);
    }
    return place;
  }
  /// Has the processor begin to load the place of an address that will be looked for soon.
  void loadEarly(const void* address) const {
#if defined(__GNUC__)
    __builtin_prefetch(&slots[firstPlaceOf(address)]);
#endif
  }
  bool isTaken(Place place) const { return slots[place].address != nullptr; }
  const Slot& operator[](Place place) const { return slots[place]; }
  Slot& operator[](Place place) { return slots[place]; }

  /// Requires: the place is that of the slot's address, which is not null, and free.
  void put(Place place, const Slot& slot) {
    // At most half of the slots are taken.
    if (++count > slots.size() / 2) {
      grow();
      place = placeOf(slot.address);
    }
    slots[place] = slot;
  }

  /// Keeps its memory.
  void clear() {
    slots.assign(slots.size(), Slot());
    count = 0;
  }

 private:
  static constexpr unsigned int kFirstBits = 5;
  /// Of a large table a half that stays free costs more, in the caches, than growing once more.
  static constexpr std::size_t kLarge = 32768;

  Place firstPlaceOf(const void* address) const {
    // The upper bits of the product depend on all bits of the address.
    const std::uint64_t product = reinterpret_cast<std::uintptr_t>(address) * 0x9E37'79B9'7F4A'7C15;
    return product >> shift;
  }

  void grow() {
    const unsigned int moreBits = slots.size() < kLarge ? 2 : 1;
    const std::vector<Slot> old = std::exchange(slots, std::vector<Slot>(slots.size() << moreBits));
    shift -= moreBits;
    for (const Slot& slot : old) {
      if (slot.address != nullptr) {
        slots[placeOf(slot.address)] = slot;
      }
    }
  }

  std::vector<Slot> slots = std::vector<Slot>(std::size_t{1} << kFirstBits);
  unsigned int shift = 64 - kFirstBits;
  std::size_t count = 0;
};

}  // namespace Tessaril
