#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "diagnostics/archive/ArchiveFrames.h"
#include "diagnostics/graph/GraphSnapshot.h"
#include "tessaril/persistence/ApplyModuleData.h"

namespace Tessaril::Diagnostics {

/// What an archive holds of a module, whatever the class of the module.
struct ArchivedModule {
  SnapshotFlags flags;
  bool additional = false;
  /// The value of LegacyProgress::Speed::Rate.
  int speedRate = 0;
  ApplyModuleInsertInfo::ApplyGraphInsertMode insertMode = ApplyModuleInsertInfo::AddToChain;
  Identifier chainId;
  std::vector<Identifier> mergeChainIds;
  /// What the record of the module says; the links, which come later, decide.
  bool startOfSideChain = false;

  friend bool operator==(const ArchivedModule&, const ArchivedModule&) = default;
};

/// An object of the parameter tree, as an archive holds it.
struct ArchivedObject {
  /// In the tree in which the design was saved; just the name where nothing tells the place.
  std::string path;
  bool hasPlace = false;
  std::string className;
  std::size_t begin = 0;
  /// The first byte behind its block.
  std::size_t end = 0;
  /// Empty for an object that is no module.
  std::optional<ArchivedModule> module;
  /// Where the values stand that are its class's own: neither base parts nor objects of the tree.
  /// First bytes, and first bytes behind.
  std::vector<std::pair<std::size_t, std::size_t>> ownValues;
};

/// A design as an archive holds it.
struct DesignListing {
  /// Parents before their children, in the order of the archive.
  std::vector<ArchivedObject> objects;
  /// In the order of the archive.
  std::vector<ApplyModuleData> links;
  /// False where the archive holds no list of links behind its root object.
  bool hasLinks = false;
  /// What the application keeps behind the links, or what nothing is known of.
  std::size_t bytesBehind = 0;
  /// What kept the reading from going on; what was read before it stands all the same. Empty: all
  /// of it was read.
  std::vector<ArchiveProblem> problems;
};

/// Whether the class is one of those of the library whose objects are values of others: neither
/// base parts nor shared objects.
bool isValueClass(unsigned int typeId);

/// Lists the design of an archive without the classes of its application: those derive from classes
/// of the library and write their base parts first, each in a block, so the blocks at the beginning
/// of an object tell what it is. Where nothing but the links tells under which objects modules
/// stand, as in a design that keeps its modules as members, the links are asked.
///
/// Objects that an application keeps among the values of its own classes are not seen. What the
/// archiver refuses is refused here too: a problem and nothing else. Never throws for what the
/// bytes hold. Nearly linear in the bytes.
DesignListing listDesign(const std::string& bytes);

}  // namespace Tessaril::Diagnostics
