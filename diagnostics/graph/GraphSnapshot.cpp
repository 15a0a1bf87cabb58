#include "diagnostics/graph/GraphSnapshot.h"

#include <cxxabi.h>

#include <cstdlib>
#include <typeinfo>
#include <unordered_map>
#include <unordered_set>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Diagnostics {
namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;

std::string classNameOf(const ApplyModule& module) {
  const char* const mangled = typeid(module).name();
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> readable(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  return status == 0 ? readable.get() : mangled;
}

/// Everything that the module itself knows, but its links and its name.
void describe(const std::shared_ptr<const ApplyModule>& module, SnapshotModule& entry) {
  entry.className = classNameOf(*module);
  entry.module = module;
  entry.flags = SnapshotFlags{module->isActive(), module->isConsistent(), module->isInputOk(),
                              module->isFrozen(), module->isSkipped()};
  entry.startOfSideChain = module->isStartOfSideChain();
  entry.additional = module->isAdditionalModule();
  entry.insertMode = module->getInsertMode();
  entry.chainId = module->getChainId();
  entry.startChainId = module->getStartChainId();
  entry.mergeChainIds = module->getMergeChainIds();
  entry.speedRate = static_cast<int>(module->getSpeedRate());
}

/// Keeps names unique by counting those that are taken already.
class UniqueNames {
 public:
  std::string make(const std::string& wanted) {
    std::string name = wanted;
    while (!taken.insert(name).second) {
      name = wanted + " (" + std::to_string(++repetitions[wanted] + 1) + ")";
    }
    return name;
  }

 private:
  std::unordered_set<std::string> taken;
  std::unordered_map<std::string, std::size_t> repetitions;
};

/// What the module is called in the parameter tree; empty for a module that is no object.
std::string nameInTree(const ApplyModule& module) {
  const auto* object = dynamic_cast<const Object*>(&module);
  if (object == nullptr) {
    return {};
  }
  return object->getParent() == nullptr ? object->getName()
                                        : object->getPath(RequestedPathType::Absolute).toString();
}

/// Walks live links by breadth, and gives each module the number of its place.
class LiveGraphReader {
 public:
  explicit LiveGraphReader(const ModuleNaming& moduleNaming) : naming(moduleNaming) {}

  GraphSnapshot read(const std::vector<std::shared_ptr<const ApplyModule>>& starts) {
    for (const auto& module : starts) {
      if (module != nullptr) {
        indexOf(module);
      }
    }
    for (std::size_t place = 0; place < snapshot.modules.size(); ++place) {
      const std::shared_ptr<const ApplyModule> module = snapshot.modules[place].module;
      std::vector<SnapshotLink> next = entriesOf(module->getNextApplyModules());
      std::vector<SnapshotLink> previous = entriesOf(module->getPreviousApplyModules());
      snapshot.modules[place].next = std::move(next);
      snapshot.modules[place].previous = std::move(previous);
    }
    return std::move(snapshot);
  }

 private:
  std::vector<SnapshotLink> entriesOf(const Links& links) {
    std::vector<SnapshotLink> entries;
    entries.reserve(links.size());
    for (const auto& link : links) {
      SnapshotLink& entry = entries.emplace_back();
      if (const std::shared_ptr<ApplyModule> module = link.lock()) {
        entry.module = indexOf(module);
        entry.name = snapshot.modules[*entry.module].name;
      }
    }
    return entries;
  }

  std::size_t indexOf(const std::shared_ptr<const ApplyModule>& module) {
    const auto [place, isNew] = indices.emplace(module.get(), snapshot.modules.size());
    if (isNew) {
      SnapshotModule& entry = snapshot.modules.emplace_back();
      describe(module, entry);
      entry.name = names.make(wantedName(*module));
    }
    return place->second;
  }

  std::string wantedName(const ApplyModule& module) const {
    std::string name = naming ? naming(module) : std::string();
    if (name.empty()) {
      name = nameInTree(module);
    }
    return name.empty() ? "module " + std::to_string(snapshot.modules.size()) : name;
  }

  const ModuleNaming& naming;
  GraphSnapshot snapshot;
  UniqueNames names;
  std::unordered_map<const ApplyModule*, std::size_t> indices;
};

/// Finds the modules that records speak of, by the text of their paths.
class RecordReader {
 public:
  explicit RecordReader(const Object* searchRoot) : root(searchRoot) { snapshot.stored = true; }

  GraphSnapshot read(const std::vector<ApplyModuleData>& records) {
    for (const ApplyModuleData& record : records) {
      ++describedModule(record.path).recordCount;
    }
    for (const ApplyModuleData& record : records) {
      std::vector<SnapshotLink> previous = entriesOf(record.previousPaths);
      std::vector<SnapshotLink> next = entriesOf(record.nextPaths);
      SnapshotModule& entry = describedModule(record.path);
      entry.previous = std::move(previous);
      entry.next = std::move(next);
      entry.startOfSideChain = record.startOfSideChain;
    }
    return std::move(snapshot);
  }

 private:
  std::shared_ptr<const ApplyModule> find(const Path& path) const {
    return root == nullptr ? nullptr
                           : std::dynamic_pointer_cast<const ApplyModule>(
                                 root->getObject(path, GetObjectBehavior::ReturnNull));
  }

  SnapshotModule& describedModule(const Path& path) {
    const std::string name = path.toString();
    const auto place = indices.find(name);
    return snapshot.modules[place != indices.end() ? place->second : add(name, find(path))];
  }

  /// A module that another path leads to as well is the same one.
  std::size_t add(const std::string& name, const std::shared_ptr<const ApplyModule>& module) {
    const std::size_t added = snapshot.modules.size();
    const std::size_t index =
        module == nullptr ? added : modules.emplace(module.get(), added).first->second;
    indices.emplace(name, index);
    if (index == added) {
      SnapshotModule& entry = snapshot.modules.emplace_back();
      if (module != nullptr) {
        describe(module, entry);
      }
      entry.exists = module != nullptr || root == nullptr;
      entry.name = name;
    }
    return index;
  }

  std::vector<SnapshotLink> entriesOf(const std::vector<Path>& paths) {
    std::vector<SnapshotLink> entries;
    entries.reserve(paths.size());
    for (const Path& path : paths) {
      SnapshotLink& entry = entries.emplace_back();
      entry.name = path.toString();
      entry.module = neighbour(path, entry.name);
    }
    return entries;
  }

  /// Empty where the entry is dead.
  std::optional<std::size_t> neighbour(const Path& path, const std::string& name) {
    if (const auto place = indices.find(name); place != indices.end()) {
      const bool exists = snapshot.modules[place->second].exists;
      return exists ? std::optional(place->second) : std::nullopt;
    }
    const std::shared_ptr<const ApplyModule> module = find(path);
    return module == nullptr ? std::nullopt : std::optional(add(name, module));
  }

  const Object* root;
  GraphSnapshot snapshot;
  /// By the texts of paths.
  std::unordered_map<std::string, std::size_t> indices;
  std::unordered_map<const ApplyModule*, std::size_t> modules;
};

}  // namespace

GraphSnapshot snapshotOf(const std::vector<std::shared_ptr<const ApplyModule>>& modules,
                         const ModuleNaming& naming) {
  return LiveGraphReader(naming).read(modules);
}

GraphSnapshot snapshotOf(const std::vector<ApplyModuleData>& records,
                         const std::shared_ptr<const Object>& root) {
  return RecordReader(root.get()).read(records);
}

}  // namespace Tessaril::Diagnostics
