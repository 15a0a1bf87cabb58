#include <deque>
#include <map>
#include <mutex>

#include "Casts.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {
namespace {

struct KnownClass {
  std::string name;
  BaseClassRegister record;
};

/// Never destroyed: libraries may look their classes up to the very end.
struct Registry {
  std::mutex mutex;
  std::map<unsigned int, KnownClass> byTypeId;
  std::map<unsigned int, unsigned int> typeIdOfHash;
  std::map<unsigned int, unsigned int> hashOfTypeId;
  /// The bases of each class.
  std::map<unsigned int, std::map<unsigned int, std::unique_ptr<Caster>>> casters;
};

Registry& registry() {
  static Registry& kept = *new Registry;
  return kept;
}

}  // namespace

unsigned int PersistenceArchiver::getHashForName(const std::string& name) {
  unsigned int hash = 5381;
  for (const char letter : name) {
    hash = hash * 33 + static_cast<unsigned char>(letter);
  }
  hash ^= hash >> 15;
  return hash == 0 || hash == BaseClassRegister::kNoType ? 1 : hash;
}

BaseClassRegister* PersistenceArchiver::registerFactory(const std::string& name,
                                                        const BaseClassRegister& record,
                                                        unsigned int version) {
  const unsigned int typeId = getHashForName(name);
  const std::lock_guard lock(registry().mutex);
  const auto [place, isNew] = registry().byTypeId.emplace(typeId, KnownClass{name, record});
  KnownClass& kept = place->second;
  if (isNew) {
    kept.record.typeId = typeId;
    kept.record.version = kept.record.registeredVersion = version;
    kept.record.object = nullptr;
  } else if (kept.name != name || kept.record.registeredVersion != version) {
    throw ArchiveException("The class " + name + " in version " + std::to_string(version) +
                           " cannot be told from " + kept.name + " in version " +
                           std::to_string(kept.record.registeredVersion));
  }
  return &kept.record;
}

const BaseClassRegister* PersistenceArchiver::findFactory(const std::string& name) {
  const std::lock_guard lock(registry().mutex);
  const auto found = registry().byTypeId.find(getHashForName(name));
  return found != registry().byTypeId.end() && found->second.name == name ? &found->second.record
                                                                          : nullptr;
}

std::string PersistenceArchiver::getRegisteredName(unsigned int typeId) {
  const std::lock_guard lock(registry().mutex);
  const auto found = registry().byTypeId.find(typeId);
  return found != registry().byTypeId.end() ? found->second.name : std::string();
}

unsigned int PersistenceArchiver::getHashForType(unsigned int hash) {
  const std::lock_guard lock(registry().mutex);
  const auto found = registry().typeIdOfHash.find(hash);
  return found != registry().typeIdOfHash.end() ? found->second : BaseClassRegister::kNoType;
}

void PersistenceArchiver::registerHash(unsigned int hash, unsigned int typeId) {
  const std::lock_guard lock(registry().mutex);
  const auto type = registry().typeIdOfHash.find(hash);
  const auto other = registry().hashOfTypeId.find(typeId);
  if ((type != registry().typeIdOfHash.end() && type->second != typeId) ||
      (other != registry().hashOfTypeId.end() && other->second != hash)) {
    throw ArchiveException("A class has one type, and a type one class");
  }
  registry().typeIdOfHash[hash] = typeId;
  registry().hashOfTypeId[typeId] = hash;
}

bool PersistenceArchiver::registerCaster(unsigned int derivedId, unsigned int baseId,
                                         Caster* caster) {
  std::unique_ptr<Caster> owned(caster);
  const std::lock_guard lock(registry().mutex);
  const auto& known = registry().byTypeId;
  if (!owned || derivedId == baseId || !known.contains(derivedId) || !known.contains(baseId)) {
    return false;
  }
  registry().casters[derivedId].try_emplace(baseId, std::move(owned));
  return true;
}

unsigned int PersistenceArchiver::getCurrentVersion(unsigned int typeId) {
  constexpr unsigned int kCurrent = 7;
  const std::lock_guard lock(registry().mutex);
  const auto found = registry().byTypeId.find(typeId);
  return found != registry().byTypeId.end() ? found->second.record.registeredVersion : kCurrent;
}

}  // namespace Tessaril

namespace Workshop {

std::optional<std::vector<const Tessaril::Caster*>> castsBetween(unsigned int derivedId,
                                                                 unsigned int baseId) {
  const std::lock_guard lock(Tessaril::registry().mutex);
  std::map<unsigned int, std::vector<const Tessaril::Caster*>> ways{{derivedId, {}}};
  for (std::deque<unsigned int> open{derivedId}; !open.empty(); open.pop_front()) {
    for (const auto& [base, caster] : Tessaril::registry().casters[open.front()]) {
      auto way = ways[open.front()];
      way.push_back(caster.get());
      if (ways.try_emplace(base, std::move(way)).second) {
        open.push_back(base);
      }
    }
  }
  const auto found = ways.find(baseId);
  return found != ways.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace Workshop
