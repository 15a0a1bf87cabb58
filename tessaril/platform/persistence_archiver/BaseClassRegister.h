#pragma once

#include <memory>

#include "tessaril/platform/persistence_archiver/MapContainer.h"

namespace Tessaril {

class PersistenceArchiver;

/// What the archiver knows of a class (a *class record*), or of one object that is being written or
/// read (a *descriptor*: a copy of the record of its class, with the object filled in). A default
/// one is blank: a descriptor before its class has filled it.
struct BaseClassRegister {
  /// The type id of a blank descriptor.
  static constexpr unsigned int kNoType = 0xBBAFA6C8;
  /// The version of a blank descriptor. To a load operation it means the newest layout.
  static constexpr unsigned int kNoVersion = 0xFFFFFFFF;

  using Operation = void (*)(PersistenceArchiver& archiver, BaseClassRegister& descriptor);
  /// A new object, owned by the caller; null when there is no memory for it.
  using CreateOperation = void* (*)();
  /// The type id of the object's run-time class; kNoType when that class is not registered.
  using DynamicTypeOperation = unsigned int (*)(const void* object);
  using ContainerOperation = std::unique_ptr<PointerMapContainerBase> (*)();

  /// Calls the class's load on the descriptor's object, with the descriptor's version.
  Operation load = nullptr;
  /// Calls the class's save on the descriptor's object.
  Operation save = nullptr;
  /// Null for a class of which no objects are made, as for an abstract one.
  CreateOperation create = nullptr;
  DynamicTypeOperation dynamicType = nullptr;
  /// A new, empty container for shared objects of the class.
  ContainerOperation createContainer = nullptr;
  /// True in the record of every class; false in a blank descriptor.
  bool enabled = false;
  /// Assigned by the archiver when it takes the record; 0 in a record that is being built.
  unsigned int typeId = kNoType;
  /// In a record the registered version; in the class table of an archive, and in a descriptor that
  /// is loaded, the version that was written.
  unsigned int version = kNoVersion;
  /// The version that this program writes.
  unsigned int registeredVersion = kNoVersion;
  /// The object that is written or read, as its registered class. Not owned.
  void* object = nullptr;
};

}  // namespace Tessaril
