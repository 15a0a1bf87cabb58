#pragma once

#include <string>

#include "tessaril/platform/persistence_archiver/ClassOperations.h"

namespace Workshop {

/// Registers one of the services' own classes and describes it.
template <typename T>
void describe(void* descriptor, const std::string& name,
              Tessaril::BaseClassRegister::CreateOperation create,
              Tessaril::BaseClassRegister::Operation load,
              Tessaril::BaseClassRegister::Operation save) {
  using Tessaril::PersistenceArchiver;
  auto record = Tessaril::ClassOperations<T>::makeRecord();
  record.create = create;
  record.load = load;
  record.save = save;
  const auto* kept = PersistenceArchiver::registerFactory(name, record, 1);
  PersistenceArchiver::registerHash(PersistenceArchiver::getHashForName(typeid(T).name()),
                                    kept->typeId);
  *static_cast<Tessaril::BaseClassRegister*>(descriptor) = *kept;
}

}  // namespace Workshop
