#pragma once

#include <string>
#include <typeinfo>

#include "tessaril/platform/persistence_archiver/ClassOperations.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril::ReferencePlatform {

/// Registers one of the services' own classes; returns its record. `create` is needed where T has
/// no default constructor.
template <typename T>
const BaseClassRegister& registerHostClass(const std::string& name, unsigned int version,
                                           BaseClassRegister::Operation load,
                                           BaseClassRegister::Operation save,
                                           BaseClassRegister::CreateOperation create = nullptr) {
  BaseClassRegister record = ClassOperations<T>::makeRecord();
  record.load = load;
  record.save = save;
  if (create != nullptr) {
    record.create = create;
  }
  const BaseClassRegister& stored = *PersistenceArchiver::registerFactory(name, record, version);
  PersistenceArchiver::registerHash(PersistenceArchiver::getHashForName(typeid(T).name()),
                                    stored.typeId);
  return stored;
}

}  // namespace Tessaril::ReferencePlatform
