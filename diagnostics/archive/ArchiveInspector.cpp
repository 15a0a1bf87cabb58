#include "diagnostics/archive/ArchiveInspector.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

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
        archived.name, archived.typeId, archived.version, {}, blocks[archived.name]};
    const BaseClassRegister* known = PersistenceArchiver::findFactory(archived.name);
    if (known != nullptr && known->typeId == archived.typeId) {
      inspected.versionHere = known->registeredVersion;
    }
    classes.push_back(std::move(inspected));
  }
  return classes;
}

/// The absolute form of a path that starts at the root; empty for one that leads nowhere.
std::string absoluteForm(const Path& path) {
  std::vector<std::string> names;
  for (const std::string& name : path.getNames()) {
    if (name != "..") {
      names.push_back(name);
    } else if (names.empty()) {
      return {};
    } else {
      names.pop_back();
    }
  }
  return path.isEmpty() ? std::string() : Path::absolute(std::move(names)).toString();
}

/// Looks for what a path leads to among the listed objects.
class ObjectsByPath {
 public:
  explicit ObjectsByPath(const DesignListing& design) {
    for (const ArchivedObject& object : design.objects) {
      if (object.hasPlace) {
        objects.try_emplace(object.path, &object);
      }
    }
  }

  const ArchivedObject* find(const Path& path) const {
    const auto found = objects.find(absoluteForm(path));
    return found == objects.end() ? nullptr : found->second;
  }
  bool isModule(const Path& path) const {
    const ArchivedObject* object = find(path);
    return object != nullptr && object->module.has_value();
  }

 private:
  std::unordered_map<std::string, const ArchivedObject*> objects;
};

class DroppedLinkSearch {
 public:
  explicit DroppedLinkSearch(const DesignListing& listing) : design(listing), objects(listing) {
    for (std::size_t i = 0; i < design.links.size(); ++i) {
      lastRecord[absoluteForm(design.links[i].path)] = i;
    }
  }

  std::vector<DroppedLink> search() {
    for (std::size_t i = 0; i < design.links.size(); ++i) {
      lookAt(design.links[i], i);
    }
    return std::move(dropped);
  }

 private:
  void lookAt(const ApplyModuleData& record, std::size_t index) {
    const std::string module = record.path.toString();
    if (!objects.isModule(record.path)) {
      dropped.push_back({module, {}, false, objects.find(record.path) != nullptr, false});
    } else if (lastRecord.at(absoluteForm(record.path)) != index) {
      dropped.push_back({module, {}, false, false, true});
    } else {
      lookAtList(module, record.previousPaths, false);
      lookAtList(module, record.nextPaths, true);
    }
  }

  void lookAtList(const std::string& module, const std::vector<Path>& list, bool isNext) {
    for (const Path& path : list) {
      if (!objects.isModule(path)) {
        dropped.push_back({module, path.toString(), isNext, objects.find(path) != nullptr, false});
      }
    }
  }

  const DesignListing& design;
  ObjectsByPath objects;
  std::unordered_map<std::string, std::size_t> lastRecord;
  std::vector<DroppedLink> dropped;
};

/// Completes the graph of the records by what is known of the modules.
class StoredGraph {
 public:
  explicit StoredGraph(const DesignListing& listing)
      : design(listing), snapshot(snapshotOf(listing.links)) {
    for (std::size_t i = 0; i < snapshot.modules.size(); ++i) {
      SnapshotModule& module = snapshot.modules[i];
      module.exists = false;
      indices.emplace(absoluteForm(Path(module.name)), i);
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
      const auto found = indices.find(absoluteForm(Path(link.name)));
      const bool lives = found != indices.end() && snapshot.modules[found->second].exists;
      link.module = lives ? std::optional(found->second) : std::nullopt;
    }
  }

  const DesignListing& design;
  GraphSnapshot snapshot;
  /// By absolute path; modules without a place by their names.
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

std::string DroppedLink::toString() const {
  const std::string where =
      leadsToObject ? "leads to an object that is no module" : "leads nowhere";
  if (isReplaced) {
    return record + " has another record behind this one, and that one counts";
  }
  if (!neighbour) {
    return record + " " + where + ", so its record is left out";
  }
  return record + ": " + (neighbour->empty() ? "the empty path" : *neighbour) + ", a " +
         (isNext ? "next" : "previous") + " module, " + where + ", so the link is dropped";
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
  archive.droppedLinks = DroppedLinkSearch(archive.design).search();
  return archive;
}

GraphSnapshot snapshotOf(const InspectedArchive& archive) {
  return StoredGraph(archive.design).complete();
}

}  // namespace Tessaril::Diagnostics
