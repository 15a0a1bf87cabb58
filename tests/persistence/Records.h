#pragma once

#include <string>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril::TestSupport {

/// A filled descriptor of the object's class, for its load and save operations. T: the class whose
/// record is meant, which may be a base of the object's class.
template <typename T>
BaseClassRegister describe(const T& object) {
  BaseClassRegister descriptor;
  T::serialization_register(&descriptor);
  descriptor.object = const_cast<T*>(&object);
  return descriptor;
}

/// Reads a record without a frame, as one of that version.
template <typename T>
void loadRecord(PersistenceArchiver& archiver, T& object, unsigned int version) {
  BaseClassRegister descriptor = describe<T>(object);
  descriptor.version = version;
  descriptor.load(archiver, descriptor);
}

/// The same from an archive that holds nothing else: every byte has to be read.
template <typename T>
void loadRecord(const std::string& archive, T& object, unsigned int version) {
  PersistenceArchiver archiver(archive);
  loadRecord<T>(archiver, object, version);
  archiver.requireEnd();
}

/// An archive with the object's record, without a frame.
template <typename T>
std::string savedRecord(const T& object, unsigned int version) {
  PersistenceArchiver archiver;
  BaseClassRegister descriptor = describe<T>(object);
  descriptor.version = version;
  descriptor.save(archiver, descriptor);
  return archiver.finish();
}

}  // namespace Tessaril::TestSupport
