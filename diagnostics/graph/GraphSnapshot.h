#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril {

class ApplyModule;
class Object;
struct ApplyModuleData;

namespace Diagnostics {

/// One entry of a module's link list.
struct SnapshotLink {
  /// Index into GraphSnapshot::modules. Empty for a dead entry.
  std::optional<std::size_t> module;
  /// The name of what the entry leads to. Of a dead entry the path that its record holds; empty in
  /// a live graph, where a dead entry has forgotten what it led to.
  std::string name;

  friend bool operator==(const SnapshotLink&, const SnapshotLink&) = default;
};

/// What the getters of ModuleState answered.
struct SnapshotFlags {
  bool active = false;
  bool consistent = true;
  bool inputOk = true;
  bool frozen = false;
  bool skipped = false;

  friend bool operator==(const SnapshotFlags&, const SnapshotFlags&) = default;
};

/// One module, with what is known of it.
struct SnapshotModule {
  /// Unique in its snapshot.
  std::string name;
  /// As in the source, with its namespaces: "Gears::MeshModule". Empty where only a record is
  /// known.
  std::string className;
  /// False where a record names a module, but the tree in which it was looked up has none there.
  bool exists = true;
  /// How many stored records describe the module; the links are those of the last one, which is
  /// what restoring them leaves. 0 in a live graph, and for a module that is found only because
  /// records name it as a neighbour: its own links are not known then.
  std::size_t recordCount = 0;
  /// The module itself, kept alive by the snapshot. Null where only a record is known.
  std::shared_ptr<const ApplyModule> module;

  /// Empty where only a record is known.
  std::optional<SnapshotFlags> flags;
  bool startOfSideChain = false;
  bool additional = false;

  /// Empty where only a record is known; the three that follow say nothing then.
  std::optional<ApplyModuleInsertInfo::ApplyGraphInsertMode> insertMode;
  Identifier chainId;
  Identifier startChainId;
  std::vector<Identifier> mergeChainIds;
  /// The value of LegacyProgress::Speed::Rate. Empty where only a record is known.
  std::optional<int> speedRate;

  /// In list order, with dead and repeated entries.
  std::vector<SnapshotLink> previous;
  std::vector<SnapshotLink> next;
};

/// A graph of modules as it was at one moment: plain data, which tools filter, change and build by
/// hand as they need. All of it refers to modules by their index.
struct GraphSnapshot {
  std::vector<SnapshotModule> modules;
  /// True when the links are those of stored records.
  bool stored = false;
};

/// The name of a module; an empty text leaves the name to the snapshot.
using ModuleNaming = std::function<std::string(const ApplyModule&)>;

/// Everything that can be reached from `modules` along next and previous entries, by breadth: the
/// given modules first, then what they lead to, next entries before previous ones. Null modules are
/// passed over.
///
/// A module is called what `naming` says, else its path in the parameter tree, else, where it is an
/// object outside of any tree, its own name, else "module 3", counted from 1 in the order of the
/// snapshot. A name that is taken gets " (2)" behind it.
///
/// Asks the modules for their flags, and calls nothing else of theirs but getSpeedRate(); passes on
/// what these throw. Linear in the modules and entries. On the graph's thread, as any walk.
GraphSnapshot snapshotOf(const std::vector<std::shared_ptr<const ApplyModule>>& modules,
                         const ModuleNaming& naming = {});

/// The graph that `records` describe, in their order; a module with several records stands where
/// its first one does. Modules are called by their paths.
///
/// With a `root`, each path is looked up under it: what is found there is asked for all that the
/// records do not hold, and an entry is dead when nothing is found, as it would be dropped on
/// restoring. Modules that are found, but only as neighbours, follow behind the others, in the
/// order in which the records name them, without links. Without a `root`, an entry is dead when no
/// record describes the module that it names.
GraphSnapshot snapshotOf(const std::vector<ApplyModuleData>& records,
                         const std::shared_ptr<const Object>& root = nullptr);

}  // namespace Diagnostics
}  // namespace Tessaril
