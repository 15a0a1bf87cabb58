#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class WORKSHOP_API MapContainer {
 public:
  virtual ~MapContainer() = default;
};

class WORKSHOP_API PointerMapContainerBase : public MapContainer {
 public:
  virtual std::uint32_t numberOf(const void* address) const = 0;
  virtual void keep(std::uint32_t number, std::shared_ptr<const void> object) = 0;
  virtual std::shared_ptr<void> adopt(std::uint32_t number, void* created) = 0;
  virtual std::shared_ptr<void> find(std::uint32_t number) const = 0;
};

template <typename T>
class PointerMapContainer final : public PointerMapContainerBase {
 public:
  std::uint32_t numberOf(const void* address) const override {
    const auto found = numbers.find(address);
    return found != numbers.end() ? found->second.first : 0;
  }
  void keep(std::uint32_t number, std::shared_ptr<const void> object) override {
    const void* const address = object.get();
    numbers.emplace(address, std::pair(number, std::move(object)));
  }
  std::shared_ptr<void> adopt(std::uint32_t number, void* created) override {
    return adopted[number] = std::shared_ptr<T>(static_cast<T*>(created));
  }
  std::shared_ptr<void> find(std::uint32_t number) const override {
    const auto found = adopted.find(number);
    return found != adopted.end() ? found->second : nullptr;
  }

 private:
  std::map<const void*, std::pair<std::uint32_t, std::shared_ptr<const void>>> numbers;
  std::map<std::uint32_t, std::shared_ptr<T>> adopted;
};

}  // namespace Tessaril
