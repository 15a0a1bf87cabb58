#pragma once

#include <memory>

#include "tessaril/platform/persistence_archiver/MapContainer.h"

namespace Tessaril {

class PersistenceArchiver;

struct BaseClassRegister {
  static constexpr unsigned int kNoType = 0xBBAFA6C8;
  static constexpr unsigned int kNoVersion = 0xFFFFFFFF;

  using Operation = void (*)(PersistenceArchiver& archiver, BaseClassRegister& descriptor);
  using CreateOperation = void* (*)();
  using DynamicTypeOperation = unsigned int (*)(const void* object);
  using ContainerOperation = std::unique_ptr<PointerMapContainerBase> (*)();

  Operation load = nullptr;
  Operation save = nullptr;
  CreateOperation create = nullptr;
  DynamicTypeOperation dynamicType = nullptr;
  ContainerOperation createContainer = nullptr;
  bool enabled = false;
  unsigned int typeId = kNoType;
  unsigned int version = kNoVersion;
  unsigned int registeredVersion = kNoVersion;
  void* object = nullptr;
};

}  // namespace Tessaril
