#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "diagnostics/archive/ArchiveFrames.h"
#include "diagnostics/archive/DesignListing.h"
#include "diagnostics/archive/DroppedLinks.h"
#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Diagnostics {

/// What this process makes of the version in which a class was written. An older one is read as it
/// was written.
enum class ClassStanding { Current, Older, Newer, Unknown };

/// A class that an archive names.
struct InspectedClass {
  std::string name;
  unsigned int typeId = 0;
  /// With which its objects were written.
  unsigned int version = 0;
  /// With which this process writes them; empty for a class that it does not know.
  std::optional<unsigned int> versionHere;
  /// Blocks of the class, those of containers included.
  std::size_t blocks = 0;

  ClassStanding standing() const;
};

/// All that is known of an archive.
struct InspectedArchive {
  /// The archive itself.
  std::string bytes;
  ArchiveFrames frames;
  /// In the order of the class table.
  std::vector<InspectedClass> classes;
  /// Empty where the archiver refuses the archive.
  DesignListing design;
  std::vector<DroppedLink> droppedLinks;

  /// The problems of frames and design, each one once.
  std::vector<ArchiveProblem> problems() const;
};

/// Never throws for what the bytes hold. The classes of the application need not be known; which
/// ones are known here is asked of the registration of this process.
InspectedArchive inspectArchive(std::string bytes);

/// The graph of an archive as restoring it would make it: the links of the records, and of the
/// modules what the archive holds of them. Entries that restoring would drop are dead ones; records
/// that lead to no module describe modules that do not exist; modules without a record stand behind
/// the others, without links of their own.
GraphSnapshot snapshotOf(const InspectedArchive& archive);

}  // namespace Tessaril::Diagnostics
