#pragma once

#include <string>
#include <vector>

#include "diagnostics/archive/ArchiveInspector.h"
#include "diagnostics/archive/DesignLoader.h"
#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Inspect {

/// Opens the libraries of an application, for the classes of its designs.
void loadLibraries(const std::vector<std::string>& libraries);

/// Whatever can be told of the file. Throws InputError for one that cannot be read, or is no
/// archive at all.
Diagnostics::InspectedArchive inspectFile(const std::string& file);
/// The same, but throws InputError for one that is damaged, newer, or holds no design.
Diagnostics::InspectedArchive inspectWholeFile(const std::string& file);

/// Whether a file of that name is there and begins like an archive.
bool isArchive(const std::string& file);

/// The design as its application would have it. Throws InputError where it cannot be read with the
/// classes that are known.
Diagnostics::LoadedDesign loadFile(const std::string& file);

/// The graph of a saved design. With libraries, its modules are those of the application and can be
/// asked; without, what the file says of them. Throws InputError for a file that holds no links.
Diagnostics::GraphSnapshot graphOf(const std::string& file,
                                   const std::vector<std::string>& libraries);

}  // namespace Tessaril::Inspect
