#include "diagnostics/archive/ArchiveInspector.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "diagnostics/archive/ArchiveText.h"
#include "diagnostics/archive/ListedTree.h"

namespace Tessaril::Diagnostics {
namespace {

std::vector<InspectedClass> classesOf(const ArchiveFrames& frames) {
  std::unordered_map<std::string, std::size_t> blocks;
  for (const ArchivedBlock& block : frames.blocks) {
    ++blocks[block.className];
  }
  std::vector<InspectedClass> classes;
  for (const ArchivedClass& archived : frames.classes) {
    InspectedClass inspected{
        archived.name, archived.typeId, archived.version, {}, blocks[shortened(archived.name)]};
    const BaseClassRegister* known = PersistenceArchiver::findFactory(archived.name);
    if (known != nullptr && known->typeId == archived.typeId) {
      inspected.versionHere = known->registeredVersion;
    }
    classes.push_back(std::move(inspected));
  }
  return classes;
}

/// Completes the graph of the records by what is known of the modules.
class StoredGraph {
 public:
  explicit StoredGraph(const DesignListing& listing)
      : design(listing), tree(listing.objects), snapshot(snapshotOf(listing.links)) {
    for (std::size_t i = 0; i < snapshot.modules.size(); ++i) {
      SnapshotModule& module = snapshot.modules[i];
      module.exists = false;
      if (const std::string place = tree.follow(Path(module.name)); !place.empty()) {
        indices.emplace(place, i);
      }
    }
  }

  GraphSnapshot complete() {
    for (const ArchivedObject& object : design.objects) {
      if (object.module) {
        fill(snapshot.modules[indexOf(object)], object);
      }
    }
    for (SnapshotModule& module : snapshot.modules) {
      settle(module.previous);
      settle(module.next);
    }
    return std::move(snapshot);
  }

 private:
  std::size_t indexOf(const ArchivedObject& object) {
    // A name without a place may be that of several objects.
    std::string name = object.path;
    for (int number = 2; !object.hasPlace && indices.contains(name); ++number) {
      name = object.path + " (" + std::to_string(number) + ")";
    }
    const auto [found, isNew] = indices.try_emplace(name, snapshot.modules.size());
    if (isNew) {
      SnapshotModule& module = snapshot.modules.emplace_back();
      module.name = name;
      module.startOfSideChain = object.module->startOfSideChain;
    }
    return found->second;
  }

  static void fill(SnapshotModule& module, const ArchivedObject& object) {
    const ArchivedModule& archived = *object.module;
    module.exists = true;
    module.className = object.className;
    module.flags = archived.flags;
    module.additional = archived.additional;
    module.speedRate = archived.speedRate;
    module.insertMode = archived.insertMode;
    module.chainId = archived.chainId;
    module.mergeChainIds = archived.mergeChainIds;
    // One list serves merges and starts of chains.
    module.startChainId =
        archived.mergeChainIds.empty() ? Identifier() : archived.mergeChainIds.front();
  }

  /// An entry lives when there is a module where it leads to, with a record or without.
  void settle(std::vector<SnapshotLink>& links) const {
    for (SnapshotLink& link : links) {
      const std::string place = tree.follow(Path(link.name));
      const auto found = place.empty() ? indices.end() : indices.find(place);
      const bool lives = found != indices.end() && snapshot.modules[found->second].exists;
      link.module = lives ? std::optional(found->second) : std::nullopt;
    }
  }

  const DesignListing& design;
  ListedTree tree;
  GraphSnapshot snapshot;
  /// By their places; modules without one by their names.
  std::unordered_map<std::string, std::size_t> indices;
};

}  // namespace

ClassStanding InspectedClass::standing() const {
  if (!versionHere) {
    return ClassStanding::Unknown;
  }
  if (version == *versionHere) {
    return ClassStanding::Current;
  }
  return version < *versionHere ? ClassStanding::Older : ClassStanding::Newer;
}

std::vector<ArchiveProblem> InspectedArchive::problems() const {
  std::vector<ArchiveProblem> all = frames.problems;
  for (const ArchiveProblem& problem : design.problems) {
    if (std::find(all.begin(), all.end(), problem) == all.end()) {
      all.push_back(problem);
    }
  }
  return all;
}

InspectedArchive inspectArchive(std::string bytes) {
  InspectedArchive archive;
  archive.frames = framesOf(bytes);
  archive.classes = classesOf(archive.frames);
  archive.design = listDesign(bytes);
  archive.bytes = std::move(bytes);
  const ListedTree tree(archive.design.objects);
  archive.droppedLinks =
      droppedLinks(archive.design.links, [&tree](const Path& path) { return tree.targetOf(path); });
  return archive;
}

GraphSnapshot snapshotOf(const InspectedArchive& archive) {
  return StoredGraph(archive.design).complete();
}

}  // namespace Tessaril::Diagnostics
