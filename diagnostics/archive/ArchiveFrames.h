#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril::Diagnostics {

/// One sentence about an archive, in words that need no look at a manual.
struct ArchiveProblem {
  /// Where it is; empty where the sentence says so itself, or it is nowhere in particular.
  std::optional<std::size_t> byte;
  std::string text;

  /// "byte 20: ..."
  std::string toString() const;

  friend bool operator==(const ArchiveProblem&, const ArchiveProblem&) = default;
};

/// A block as its frame says.
struct ArchivedBlock {
  std::size_t begin = 0;
  /// The first byte behind it. In an archive that is cut it may lie behind the last byte there is.
  std::size_t end = 0;
  /// 0 for a block that no other one encloses.
  std::size_t depth = 0;
  /// An absurdly long name is shortened.
  std::string className;

  friend bool operator==(const ArchivedBlock&, const ArchivedBlock&) = default;
};

/// What can be told of an archive from its bytes alone, whatever classes it holds: its head, its
/// class table, and its blocks.
struct ArchiveFrames {
  std::size_t size = 0;
  // What the head says, as far as it is there.
  std::optional<unsigned int> formatVersion;
  std::optional<std::size_t> statedSize;
  std::optional<std::size_t> classTableAt;
  /// In the order of the class table. Empty where that is cut off or damaged.
  std::vector<ArchivedClass> classes;
  /// In the order in which they begin. Those of a class that the class table names; where there is
  /// none, of a class that is registered in this process.
  std::vector<ArchivedBlock> blocks;
  /// Why the archive would be refused, first; then what else is wrong with it, as far as it shows.
  /// Empty: the archiver accepts it, and every block lies within the one around it.
  std::vector<ArchiveProblem> problems;
};

/// Looks at bytes that may be damaged, cut, or no archive at all, and never throws for them. A
/// block is recognised by the type id in its frame, wherever it stands, so that nothing need be
/// known of what is around it; a changed value in between shows in the checksum only, without a
/// place. Linear in the bytes.
ArchiveFrames framesOf(std::string_view bytes);

}  // namespace Tessaril::Diagnostics
