#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace Tessaril {

class Object;

/// The children of an object by their names, which they keep themselves. Part of Object; not used
/// directly. One block of memory, and none without children: a design has many objects, and some
/// objects have many children.
class ChildTable {
 public:
  /// Null for none.
  Object* find(std::string_view name) const noexcept;
  /// Requires: no child of that name is here. Throws std::bad_alloc, and changes nothing, when
  /// there is no memory for it; never right behind remove().
  void add(Object& child);
  /// Requires: the child is here, under the name that it has now.
  void remove(const Object& child) noexcept;

 private:
  struct Slot {
    std::size_t hash = 0;
    /// Null in a free slot.
    Object* child = nullptr;
  };

  std::size_t slotAfter(std::size_t slot) const noexcept { return (slot + 1) & (slots.size() - 1); }
  void put(Slot added) noexcept;
  void grow();

  /// A child stands at the slot of its hash or behind it, without a free slot between. Their number
  /// is a power of 2, at least twice that of the children.
  std::vector<Slot> slots;
  std::size_t count = 0;
};

}  // namespace Tessaril
