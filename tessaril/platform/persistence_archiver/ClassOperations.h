#pragma once

#include <memory>
#include <new>
#include <type_traits>
#include <typeinfo>

#include "tessaril/platform/persistence_archiver/BaseClassRegister.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {

/// The operations of a class record that can be told from the class alone. T may be abstract and
/// may lack a default constructor, but it can be destroyed by everyone.
template <typename T>
struct ClassOperations {
  /// By the default constructor, whose exceptions pass on.
  static void* create() { return new (std::nothrow) T(); }

  /// The class is found by the name of the run-time type, so every class needs the hash of its own
  /// name registered. Requires: T has been registered when it is first asked for a T itself; what
  /// it finds then is kept. Any thread.
  static unsigned int dynamicType(const void* object) {
    const std::type_info& type = typeid(*static_cast<const T*>(object));
    if (type != typeid(T)) {
      return typeIdOf(type);
    }
    static const unsigned int ownTypeId = typeIdOf(typeid(T));
    return ownTypeId;
  }

  static std::unique_ptr<PointerMapContainerBase> createContainer() {
    return std::make_unique<PointerMapContainer<T>>();
  }

  /// A record with these operations, enabled, with type id 0; load and save, which are the class's
  /// own affair, are left null, and so is create where T cannot be made by default.
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
