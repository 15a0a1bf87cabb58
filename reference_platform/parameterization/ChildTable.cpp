#include "tessaril/platform/parameterization/ChildTable.h"

#include <functional>

#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {
namespace {

constexpr std::size_t kFirstSize = 8;

std::size_t hashOf(std::string_view name) { return std::hash<std::string_view>()(name); }

}  // namespace

Object* ChildTable::find(std::string_view name) const noexcept {
  if (count == 0) {
    return nullptr;
  }
  const std::size_t hash = hashOf(name);
  std::size_t at = hash & (slots.size() - 1);
  while (slots[at].child != nullptr) {
    if (slots[at].hash == hash && slots[at].child->getName() == name) {
      return slots[at].child;
    }
    at = slotAfter(at);
  }
  return nullptr;
}

void ChildTable::add(Object& child) {
  if (2 * (count + 1) > slots.size()) {
    grow();
  }
  put({hashOf(child.getName()), &child});
  ++count;
}

void ChildTable::remove(const Object& child) noexcept {
  std::size_t free = hashOf(child.getName()) & (slots.size() - 1);
  while (slots[free].child != &child) {
    free = slotAfter(free);
  }
  // Those behind it move up, or a search would end at the free slot before it reaches them.
  for (std::size_t at = slotAfter(free); slots[at].child != nullptr; at = slotAfter(at)) {
    const std::size_t distance = (at - slots[at].hash) & (slots.size() - 1);
    if (distance >= ((at - free) & (slots.size() - 1))) {
      slots[free] = slots[at];
      free = at;
    }
  }
  slots[free] = Slot();
  --count;
}

void ChildTable::put(Slot added) noexcept {
  std::size_t at = added.hash & (slots.size() - 1);
  while (slots[at].child != nullptr) {
    at = slotAfter(at);
  }
  slots[at] = added;
}

void ChildTable::grow() {
  std::vector<Slot> old(slots.empty() ? kFirstSize : 2 * slots.size());
  old.swap(slots);
  for (const Slot& slot : old) {
    if (slot.child != nullptr) {
      put(slot);
    }
  }
}

}  // namespace Tessaril
