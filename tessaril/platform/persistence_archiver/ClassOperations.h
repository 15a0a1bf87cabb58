#pragma once

#include <memory>
#include <new>
#include <type_traits>
#include <typeinfo>

#include "tessaril/platform/persistence_archiver/BaseClassRegister.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {

/// The operations of a class record that can be told from the class alone. T needs no more than to
/// be an object type; what it cannot do is left null.
template <typename T>
struct ClassOperations {
  static void* create() { return new (std::nothrow) T(); }

  static unsigned int dynamicType(const void* object) {
    static const unsigned int ownTypeId = typeIdOf(typeid(T));
    const std::type_info& type = typeid(*static_cast<const T*>(object));
    return type == typeid(T) ? ownTypeId : typeIdOf(type);
  }

  static std::unique_ptr<PointerMapContainerBase> createContainer() {
    return std::make_unique<PointerMapContainer<T>>();
  }

  /// A record with these operations, enabled, with type id 0; load and save are left to the class.
  static BaseClassRegister makeRecord() {
    BaseClassRegister record;
    if constexpr (std::is_default_constructible_v<T>) {
      record.create = create;
    }
    record.dynamicType = dynamicType;
    record.createContainer = createContainer;
    record.enabled = true;
    record.typeId = 0;
    return record;
  }

 private:
  static unsigned int typeIdOf(const std::type_info& type) {
    return PersistenceArchiver::getHashForType(PersistenceArchiver::getHashForName(type.name()));
  }
};

}  // namespace Tessaril
