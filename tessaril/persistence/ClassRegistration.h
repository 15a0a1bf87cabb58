#pragma once

#include <string>
#include <string_view>
#include <typeinfo>

#include "tessaril/platform/persistence_archiver/ClassOperations.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {

/// Makes class T known to the archiver, the first time that it is called for T, and returns the
/// record that the archiver keeps; later calls return the same record whatever their arguments.
/// For T's static serialization_register, which copies the record into the descriptor it is given:
///
///     void Step::serialization_register(void* descriptor) {
///       *static_cast<BaseClassRegister*>(descriptor) = *registerClass<Step>(
///           "MyApplication.Step", 1,
///           [](PersistenceArchiver& archiver, BaseClassRegister& target) {
///             static_cast<Step*>(target.object)->load(archiver, target.version);
///           },
///           [](PersistenceArchiver& archiver, BaseClassRegister& source) {
///             static_cast<const Step*>(source.object)->save(archiver, source.version);
///           });
///     }
///
/// The two operations are made there because save and load are T's own affair. Without `create`,
/// objects are made by T's default constructor, if it has one. BaseClassRegister::kNoVersion stands
/// for the archiver's current version. What the archiver throws passes on, and the next call tries
/// again. Any thread.
///
/// The run-time class of an object is found by the name of its type. Unnamed namespaces can
/// hold several of one name, which nothing tells apart: let T, and what derives from it, stand in
/// named ones.
template <typename T>
BaseClassRegister* registerClass(std::string_view name, unsigned int version,
                                 BaseClassRegister::Operation load,
                                 BaseClassRegister::Operation save,
                                 BaseClassRegister::CreateOperation create = nullptr) {
  static BaseClassRegister* const registered = [&] {
    BaseClassRegister record = ClassOperations<T>::makeRecord();
    record.load = load;
    record.save = save;
    if (create != nullptr) {
      record.create = create;
    }
    record.version = version != BaseClassRegister::kNoVersion
                         ? version
                         : PersistenceArchiver::getCurrentVersion(0);
    record.registeredVersion = record.version;
    BaseClassRegister* const stored =
        PersistenceArchiver::registerFactory(std::string(name), record, record.version);
    PersistenceArchiver::registerHash(PersistenceArchiver::getHashForName(typeid(T).name()),
                                      stored->typeId);
    return stored;
  }();
  return registered;
}

/// Registers T through its serialization_register; returns its type id.
template <typename T>
unsigned int registeredTypeId() {
  BaseClassRegister descriptor;
  T::serialization_register(&descriptor);
  return descriptor.typeId;
}

/// Makes known to the archiver that Derived derives from Base, so that an object of Derived can be
/// read through pointers to Base. Both are registered first. True when the archiver took it.
template <typename Base, typename Derived>
bool registerBaseClass() {
  BaseClassRegister ignored;
  Base::serialization_register(&ignored);
  Derived::serialization_register(&ignored);
  const auto typeIdOf = [](const std::type_info& type) {
    return PersistenceArchiver::getHashForType(PersistenceArchiver::getHashForName(type.name()));
  };
  unsigned int derivedId = typeIdOf(typeid(Derived));
  unsigned int baseId = typeIdOf(typeid(Base));
  // A class that cannot be found takes the id of the other one, which no archiver accepts.
  if (derivedId == BaseClassRegister::kNoType) {
    derivedId = baseId;
  }
  if (baseId == BaseClassRegister::kNoType) {
    baseId = derivedId;
  }
  return PersistenceArchiver::registerCaster(derivedId, baseId, new CasterAccess<Base, Derived>);
}

}  // namespace Tessaril
