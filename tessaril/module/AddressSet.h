#pragma once

#include "tessaril/module/AddressTable.h"

// Internal to the library.

namespace Tessaril {

/// A set of addresses in one block of memory.
class AddressSet {
 public:
  struct Slot {
    const void* address = nullptr;
  };
  using Place = AddressTable<Slot>::Place;

  Place placeOf(const void* address) const { return table.placeOf(address); }
  bool isTaken(Place place) const { return table.isTaken(place); }
  /// Requires: the place is that of the address, and free. Not null.
  void take(Place place, const void* address) { table.put(place, {address}); }

  bool contains(const void* address) const { return isTaken(placeOf(address)); }
  /// True if the address is new. Requires: not null.
  bool insert(const void* address) {
    const Place place = placeOf(address);
    if (isTaken(place)) {
      return false;
    }
    take(place, address);
    return true;
  }

 private:
  AddressTable<Slot> table;
};

}  // namespace Tessaril
