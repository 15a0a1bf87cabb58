#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "tessaril/module/AddressTable.h"

// Internal to the library.

namespace Tessaril {

/// Numbers addresses 0, 1, 2, ... in the order in which they are added.
class AddressNumbers {
 public:
  using Number = std::uint32_t;
  static constexpr Number kNone = 0xFFFF'FFFF;
  struct Slot {
    const void* address = nullptr;
    Number number = kNone;
  };
  using Place = AddressTable<Slot>::Place;

  /// How many numbers have been given.
  std::size_t size() const { return given; }

  /// Keeps its memory.
  void clear() {
    table.clear();
    given = 0;
  }

  /// Where an address has its number, or would have it. Valid until another one gets a number.
  Place placeOf(const void* address) const { return table.placeOf(address); }
  /// See AddressTable.
  void loadEarly(const void* address) const { table.loadEarly(address); }
  /// kNone where the address has no number.
  Number at(Place place) const { return table[place].number; }
  /// A number for an address that has none. Requires: the place is that of the address. Not null.
  Number give(Place place, const void* address) {
    table.put(place, {address, given});
    return given++;
  }

  /// kNone for an address that has no number.
  Number find(const void* address) const { return at(placeOf(address)); }

  /// The number of the address, and whether it is new. Requires: not null.
  std::pair<Number, bool> add(const void* address) {
    const Place place = placeOf(address);
    const Number number = at(place);
    return number != kNone ? std::pair(number, false) : std::pair(give(place, address), true);
  }

  /// Another number for an address that has one: something else is there now.
  Number numberAnew(const void* address) { return table[placeOf(address)].number = given++; }

 private:
  AddressTable<Slot> table;
  Number given = 0;
};

}  // namespace Tessaril
