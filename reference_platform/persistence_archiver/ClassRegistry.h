#pragma once

#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tessaril/platform/persistence_archiver/BaseClassRegister.h"
#include "tessaril/platform/persistence_archiver/Caster.h"

namespace Tessaril::ReferencePlatform {

/// The classes of the process that can be stored, and what derives from what. All threads.
class ClassRegistry {
 public:
  /// The way from a class to one of its bases, a caster a step.
  using CasterPath = std::vector<const Caster*>;

  /// Made when it is first asked for, whichever library's initialisers ask; never destroyed.
  static ClassRegistry& get();

  BaseClassRegister* add(const std::string& name, const BaseClassRegister& record,
                         unsigned int version);
  const BaseClassRegister* find(unsigned int typeId) const;
  std::string nameOf(unsigned int typeId) const;

  void addHash(unsigned int hash, unsigned int typeId);
  unsigned int typeOfHash(unsigned int hash) const;

  bool addCaster(unsigned int derivedId, unsigned int baseId, std::unique_ptr<Caster> caster);
  /// Empty for a class itself; none where no casters lead from the one to the other.
  std::optional<CasterPath> pathToBase(unsigned int typeId, unsigned int baseId) const;

 private:
  struct Factory {
    std::string name;
    BaseClassRegister record;
  };
  using Bases = std::vector<std::pair<unsigned int, std::unique_ptr<Caster>>>;

  mutable std::shared_mutex mutex;
  /// By type id. The records keep their addresses.
  std::unordered_map<unsigned int, Factory> factories;
  std::unordered_map<unsigned int, unsigned int> typeIdsByHash;
  std::unordered_set<unsigned int> typeIdsWithHash;
  /// By the derived class.
  std::unordered_map<unsigned int, Bases> basesOf;
};

}  // namespace Tessaril::ReferencePlatform
