#include "tools/inspect/InputFile.h"

#include <utility>

#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "tools/inspect/Commands.h"

namespace Tessaril::Inspect {

using Diagnostics::InspectedArchive;
using Diagnostics::LoadedDesign;

void loadLibraries(const std::vector<std::string>& libraries) {
  for (const std::string& library : libraries) {
    Diagnostics::loadApplicationLibrary(library);
  }
}

InspectedArchive inspectFile(const std::string& file) {
  InspectedArchive archive = Diagnostics::inspectArchive(ReferencePlatform::readFile(file));
  // Without a whole head there is nothing to be shown.
  if (!archive.frames.formatVersion) {
    throw InputError(file + ": " + archive.frames.problems.front().toString());
  }
  return archive;
}

InspectedArchive inspectWholeFile(const std::string& file) {
  InspectedArchive archive = inspectFile(file);
  if (const auto problems = archive.problems(); !problems.empty()) {
    throw InputError(file + ": " + problems.front().toString());
  }
  return archive;
}

LoadedDesign loadFile(const std::string& file) {
  const std::string bytes = ReferencePlatform::readFile(file);
  try {
    return Diagnostics::loadDesign(bytes);
  } catch (const std::exception& e) {
    throw InputError(file + ": " + e.what());
  }
}

Diagnostics::GraphSnapshot graphOf(const std::string& file,
                                   const std::vector<std::string>& libraries) {
  if (libraries.empty()) {
    return snapshotOf(inspectWholeFile(file));
  }
  loadLibraries(libraries);
  const LoadedDesign loaded = loadFile(file);
  return Diagnostics::snapshotOf(loaded.links, loaded.treeRoot);
}

}  // namespace Tessaril::Inspect
