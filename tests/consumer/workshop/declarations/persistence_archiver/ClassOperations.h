#pragma once

#include <memory>
#include <new>
#include <type_traits>
#include <typeinfo>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {

template <typename T>
struct ClassOperations {
  static BaseClassRegister makeRecord() {
    BaseClassRegister record;
    if constexpr (std::is_default_constructible_v<T>) {
      record.create = [] { return static_cast<void*>(new (std::nothrow) T()); };
    }
    record.dynamicType = [](const void* object) {
      const char* const name = typeid(*static_cast<const T*>(object)).name();
      return PersistenceArchiver::getHashForType(PersistenceArchiver::getHashForName(name));
    };
    record.createContainer = []() -> std::unique_ptr<PointerMapContainerBase> {
      return std::make_unique<PointerMapContainer<T>>();
    };
    record.enabled = true;
    record.typeId = 0;
    return record;
  }
};

}  // namespace Tessaril
