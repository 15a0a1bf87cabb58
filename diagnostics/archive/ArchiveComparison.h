#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "diagnostics/archive/ArchiveInspector.h"

namespace Tessaril::Diagnostics {

/// One fact that is another one in the second archive.
struct ChangedFact {
  /// "class", "active", "consistent", "input ok", "frozen", "skipped", "additional", "speed rate",
  /// "insert mode", "chain", "merge chains", "start of a side chain", "order of previous modules",
  /// "order of next modules", "own values".
  std::string what;
  /// Empty where the fact is too long for a line, as of an order or of an application's own values.
  std::string before;
  std::string after;

  friend bool operator==(const ChangedFact&, const ChangedFact&) = default;
};

struct ChangedObject {
  std::string path;
  std::vector<ChangedFact> facts;

  friend bool operator==(const ChangedObject&, const ChangedObject&) = default;
};

/// An object that only one of the archives has.
struct NamedObject {
  std::string path;
  std::string className;

  friend bool operator==(const NamedObject&, const NamedObject&) = default;
};

/// A link that stands in one of the archives, or in more lists there.
struct ComparedLink {
  std::string from;
  std::string to;
  /// In the list of next modules of `from`.
  bool inNext = false;
  /// In the list of previous modules of `to`.
  bool inPrevious = false;

  friend bool operator==(const ComparedLink&, const ComparedLink&) = default;
};

struct ComparedClass {
  std::string name;
  /// Empty in the archive that does not name the class.
  std::optional<unsigned int> versionBefore;
  std::optional<unsigned int> versionAfter;

  friend bool operator==(const ComparedClass&, const ComparedClass&) = default;
};

/// What a second archive has otherwise than a first one. All lists: first what the first archive
/// has, in its order, then what only the second one has, in its order.
struct ArchiveComparison {
  std::vector<ComparedClass> classes;
  std::vector<NamedObject> removedObjects;
  std::vector<NamedObject> addedObjects;
  std::vector<ChangedObject> changedObjects;
  std::vector<ComparedLink> removedLinks;
  std::vector<ComparedLink> addedLinks;
  /// Whether the application's bytes behind the links differ.
  bool bytesBehindDiffer = false;

  bool isEmpty() const;
};

/// Objects are the same when their paths are; of several with one path, the first is the same as
/// the first, and so on. An application's own values are compared as bytes, frames and numbers of
/// new shared objects left out, since those depend on what stands before: a value that refers to a
/// shared object may be reported as changed when only the number is another one. Requires: neither
/// archive has problems, or what was not read counts as not there.
ArchiveComparison compareArchives(const InspectedArchive& first, const InspectedArchive& second);

}  // namespace Tessaril::Diagnostics
