#include "reference_platform/persistence_archiver/ClassRegistry.h"

#include <algorithm>
#include <deque>
#include <mutex>

#include "tessaril/platform/identifiers/Identifier.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/parameterization/Path.h"
#include "tessaril/platform/persistence_archiver/ArchiveException.h"
#include "tessaril/platform/persistence_archiver/BaseClassRegister.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril::ReferencePlatform {

ClassRegistry& ClassRegistry::get() {
  static ClassRegistry& registry = *new ClassRegistry;
  return registry;
}

BaseClassRegister* ClassRegistry::add(const std::string& name, const BaseClassRegister& record,
                                      unsigned int version) {
  const unsigned int typeId = PersistenceArchiver::getHashForName(name);
  const std::unique_lock lock(mutex);
  const auto [place, isNew] = factories.try_emplace(typeId, Factory{name, record});
  Factory& factory = place->second;
  if (factory.name != name) {
    throw ArchiveException("The classes \"" + factory.name + "\" and \"" + name +
                           "\" have the same type id; one needs another name");
  }
  if (isNew) {
    factory.record.typeId = typeId;
    factory.record.version = version;
    factory.record.registeredVersion = version;
    factory.record.object = nullptr;
  } else if (factory.record.registeredVersion != version) {
    throw ArchiveException("The class \"" + name + "\" is registered with version " +
                           std::to_string(factory.record.registeredVersion) + " already, and not " +
                           std::to_string(version));
  }
  return &factory.record;
}

const BaseClassRegister* ClassRegistry::find(unsigned int typeId) const {
  const std::shared_lock lock(mutex);
  const auto found = factories.find(typeId);
  return found != factories.end() ? &found->second.record : nullptr;
}

std::string ClassRegistry::nameOf(unsigned int typeId) const {
  const std::shared_lock lock(mutex);
  const auto found = factories.find(typeId);
  return found != factories.end() ? found->second.name : std::string();
}

void ClassRegistry::addHash(unsigned int hash, unsigned int typeId) {
  const std::unique_lock lock(mutex);
  const auto known = typeIdsByHash.find(hash);
  if (known != typeIdsByHash.end()) {
    if (known->second != typeId) {
      throw ArchiveException("Two run-time types have the same hash " + std::to_string(hash));
    }
    return;
  }
  if (typeIdsWithHash.contains(typeId)) {
    const auto factory = factories.find(typeId);
    throw ArchiveException("Two run-time types are registered as the class \"" +
                           (factory != factories.end() ? factory->second.name : std::string()) +
                           "\"; one needs another name");
  }
  typeIdsByHash.emplace(hash, typeId);
  typeIdsWithHash.insert(typeId);
}

unsigned int ClassRegistry::typeOfHash(unsigned int hash) const {
  const std::shared_lock lock(mutex);
  const auto found = typeIdsByHash.find(hash);
  return found != typeIdsByHash.end() ? found->second : BaseClassRegister::kNoType;
}

bool ClassRegistry::addCaster(unsigned int derivedId, unsigned int baseId,
                              std::unique_ptr<Caster> caster) {
  const std::unique_lock lock(mutex);
  if (caster == nullptr || derivedId == baseId || !factories.contains(derivedId) ||
      !factories.contains(baseId)) {
    return false;
  }
  Bases& bases = basesOf[derivedId];
  if (std::none_of(bases.begin(), bases.end(),
                   [&](const auto& base) { return base.first == baseId; })) {
    bases.emplace_back(baseId, std::move(caster));
  }
  return true;
}

std::optional<ClassRegistry::CasterPath> ClassRegistry::pathToBase(unsigned int typeId,
                                                                   unsigned int baseId) const {
  if (typeId == baseId) {
    return CasterPath();
  }
  const std::shared_lock lock(mutex);
  std::deque<std::pair<unsigned int, CasterPath>> waiting{{typeId, {}}};
  std::unordered_set<unsigned int> seen{typeId};
  while (!waiting.empty()) {
    auto [reached, path] = std::move(waiting.front());
    waiting.pop_front();
    if (reached == baseId) {
      return path;
    }
    const auto bases = basesOf.find(reached);
    if (bases == basesOf.end()) {
      continue;
    }
    for (const auto& [base, caster] : bases->second) {
      if (seen.insert(base).second) {
        CasterPath longer = path;
        longer.push_back(caster.get());
        waiting.emplace_back(base, std::move(longer));
      }
    }
  }
  return std::nullopt;
}

namespace {

template <typename T>
bool isRegistered() {
  BaseClassRegister descriptor;
  T::serialization_register(&descriptor);
  return descriptor.typeId != BaseClassRegister::kNoType;
}

/// The services' own classes are known from the load of their library on, and not only when one of
/// their objects is first written or read. In this file, which whoever reads an archive is linked
/// with: a file of its own would be left out of a program that is linked with a static library.
[[maybe_unused]] const bool hostClassesAreRegistered =
    isRegistered<Identifier>() && isRegistered<Path>() && isRegistered<Object>();

}  // namespace

}  // namespace Tessaril::ReferencePlatform
