#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// Something that an archive keeps per class, and owns.
class TESSARIL_PLATFORM_EXPORT MapContainer {
 public:
  MapContainer();
  MapContainer(const MapContainer&) = delete;
  MapContainer& operator=(const MapContainer&) = delete;
  virtual ~MapContainer();
};

/// The shared objects of one class that an archive has written or read, by their numbers in the
/// archive. It shares their ownership, so that no address is used twice while the archive lives.
class TESSARIL_PLATFORM_EXPORT PointerMapContainerBase : public MapContainer {
 public:
  PointerMapContainerBase();
  ~PointerMapContainerBase() override;

  /// The number of the object at that address; 0 when it is not here.
  virtual std::uint32_t numberOf(const void* address) const = 0;
  /// Requires: the number is new here.
  virtual void keep(std::uint32_t number, std::shared_ptr<const void> object) = 0;
  /// Takes over an object of the class that a create operation made, as its first owner.
  virtual std::shared_ptr<void> adopt(std::uint32_t number, void* created) = 0;
  /// The object that was adopted under that number; null for none.
  virtual std::shared_ptr<void> find(std::uint32_t number) const = 0;
};

/// T: the registered class of the objects.
template <typename T>
class PointerMapContainer final : public PointerMapContainerBase {
 public:
  std::uint32_t numberOf(const void* address) const override {
    return slots.empty() ? 0 : slots[slotOf(address)].number;
  }

  void keep(std::uint32_t number, std::shared_ptr<const void> object) override {
    // At most half of the slots are taken.
    if (2 * (written.size() + 1) > slots.size()) {
      grow();
    }
    const void* const address = object.get();
    written.push_back(std::move(object));
    if (Slot& slot = slots[slotOf(address)]; slot.number == 0) {
      slot = {address, number};
    }
  }

  std::shared_ptr<void> adopt(std::uint32_t number, void* created) override {
    // As a T, so that it is destroyed as one and std::enable_shared_from_this finds its owner.
    std::shared_ptr<T> object(static_cast<T*>(created));
    adopted.emplace(placeOf(number), number, object);
    return object;
  }

  std::shared_ptr<void> find(std::uint32_t number) const override {
    const auto found = placeOf(number);
    return found != adopted.end() && found->first == number ? found->second : nullptr;
  }

 private:
  struct Slot {
    const void* address = nullptr;
    /// 0 in a free slot.
    std::uint32_t number = 0;
  };
  using Adopted = std::vector<std::pair<std::uint32_t, std::shared_ptr<T>>>;

  /// The slot that holds the address, or the free one where it belongs.
  std::size_t slotOf(const void* address) const {
    // The upper half of the product depends on all bits of the address.
    const std::uint64_t product = reinterpret_cast<std::uintptr_t>(address) * 0x9E37'79B9'7F4A'7C15;
    std::size_t at = product >> 32 & (slots.size() - 1);
    while (slots[at].number != 0 && slots[at].address != address) {
      at = (at + 1) & (slots.size() - 1);
    }
    return at;
  }

  void grow() {
    constexpr std::size_t kFirstSize = 16;
    std::vector<Slot> old(slots.empty() ? kFirstSize : 2 * slots.size());
    old.swap(slots);
    for (const Slot& slot : old) {
      if (slot.number != 0) {
        slots[slotOf(slot.address)] = slot;
      }
    }
  }

  /// Of the first object whose number is not smaller.
  typename Adopted::const_iterator placeOf(std::uint32_t number) const {
    // They come in the order of their numbers, so that most belong at the end.
    if (adopted.empty() || adopted.back().first < number) {
      return adopted.end();
    }
    return std::lower_bound(adopted.begin(), adopted.end(), number,
                            [](const auto& entry, std::uint32_t key) { return entry.first < key; });
  }

  /// The numbers by the addresses; a power of 2.
  std::vector<Slot> slots;
  std::vector<std::shared_ptr<const void>> written;
  /// In the order of their numbers.
  Adopted adopted;
};

}  // namespace Tessaril
