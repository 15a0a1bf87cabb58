#include "tools/inspect/InputFile.h"

#include <fstream>
#include <utility>

#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "reference_platform/persistence_archiver/ArchiveLayout.h"
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

bool isArchive(const std::string& file) {
  constexpr std::string_view kMagic = ReferencePlatform::ArchiveLayout::kMagic;
  std::string begin(kMagic.size(), '\0');
  std::ifstream stream(file, std::ios::binary);
  return stream.read(begin.data(), static_cast<std::streamsize>(begin.size())) && begin == kMagic;
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
    const InspectedArchive archive = inspectWholeFile(file);
    if (!archive.design.hasLinks) {
      throw InputError(file + ": no links of its modules are stored");
    }
    return snapshotOf(archive);
  }
  loadLibraries(libraries);
  const LoadedDesign loaded = loadFile(file);
  return Diagnostics::snapshotOf(loaded.links, loaded.treeRoot);
}

}  // namespace Tessaril::Inspect
