#pragma once

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

#include "tessaril/platform/persistence_archiver/ClassOperations.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

// What the tests need to store classes of their own.

namespace Tessaril::PlatformTests {

/// Registers T, which has public operations save(archiver) and load(archiver, version), and fills
/// the descriptor. For T's serialization_register.
template <typename T>
void registerStored(void* descriptor, const std::string& name, unsigned int version) {
  static const BaseClassRegister& kept = [&]() -> const BaseClassRegister& {
    BaseClassRegister record = ClassOperations<T>::makeRecord();
    record.load = [](PersistenceArchiver& archiver, BaseClassRegister& target) {
      static_cast<T*>(target.object)->load(archiver, target.version);
    };
    record.save = [](PersistenceArchiver& archiver, BaseClassRegister& source) {
      static_cast<const T*>(source.object)->save(archiver);
    };
    const BaseClassRegister& stored = *PersistenceArchiver::registerFactory(name, record, version);
    PersistenceArchiver::registerHash(PersistenceArchiver::getHashForName(typeid(T).name()),
                                      stored.typeId);
    return stored;
  }();
  *static_cast<BaseClassRegister*>(descriptor) = kept;
}

template <typename T>
BaseClassRegister descriptorOf() {
  BaseClassRegister descriptor;
  T::serialization_register(&descriptor);
  return descriptor;
}

/// Makes known that Derived derives from Base, both registered.
template <typename Base, typename Derived>
bool registerStoredBase() {
  return PersistenceArchiver::registerCaster(
      descriptorOf<Derived>().typeId, descriptorOf<Base>().typeId, new CasterAccess<Base, Derived>);
}

/// The message of the Exception that the action throws; a failure when it throws none.
template <typename Exception, typename Action>
std::string messageOf(const Action& action) {
  try {
    action();
  } catch (const Exception& exception) {
    return exception.what();
  }
  ADD_FAILURE() << "Nothing was thrown";
  return {};
}

template <typename Action>
std::string refusal(const Action& action) {
  return messageOf<ArchiveException>(action);
}

}  // namespace Tessaril::PlatformTests
