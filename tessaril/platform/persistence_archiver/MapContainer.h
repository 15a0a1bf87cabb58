#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>

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
    const auto found = numbers.find(address);
    return found != numbers.end() ? found->second : 0;
  }

  void keep(std::uint32_t number, std::shared_ptr<const void> object) override {
    numbers.emplace(object.get(), number);
    written.emplace(number, std::move(object));
  }

  std::shared_ptr<void> adopt(std::uint32_t number, void* created) override {
    // As a T, so that it is destroyed as one and std::enable_shared_from_this finds its owner.
    std::shared_ptr<T> object(static_cast<T*>(created));
    adopted.emplace(number, object);
    return object;
  }

  std::shared_ptr<void> find(std::uint32_t number) const override {
    const auto found = adopted.find(number);
    return found != adopted.end() ? found->second : nullptr;
  }

 private:
  std::unordered_map<const void*, std::uint32_t> numbers;
  std::unordered_map<std::uint32_t, std::shared_ptr<const void>> written;
  std::unordered_map<std::uint32_t, std::shared_ptr<T>> adopted;
};

}  // namespace Tessaril
