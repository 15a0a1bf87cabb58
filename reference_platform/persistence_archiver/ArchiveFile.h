#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril::ReferencePlatform {

// Files of archives. What goes wrong is an ArchiveException that names the file.

/// Reads an archive whole and checks it; the file is closed afterwards.
TESSARIL_PLATFORM_EXPORT std::unique_ptr<PersistenceArchiver> openArchive(
    const std::filesystem::path& file);
/// Completes the archive and makes it the contents of the file; see replaceFile(). Requires: every
/// block is closed.
TESSARIL_PLATFORM_EXPORT void saveArchive(const std::filesystem::path& file,
                                          PersistenceArchiver& archive);

/// Whole; a pipe to its end. Refused: devices, and what is larger than an archive can be.
TESSARIL_PLATFORM_EXPORT std::string readFile(const std::filesystem::path& file);
/// Gives the file new contents, or makes it. At every moment, whatever fails and whenever the
/// process or the machine stops, the file has either its old contents or the new ones, whole: they
/// are written to a new file in the same directory, brought to the disk, and renamed. A symbolic
/// link stays, and what it leads to is replaced or made; so do the permissions. The owner is who
/// saves, and another hard link keeps the old contents. When it fails the new file is removed; a
/// process that is killed leaves it, named after the file with a dot in front and eight letters
/// or digits behind. Refused: what is write-protected, and what is no regular file, as a device.
TESSARIL_PLATFORM_EXPORT void replaceFile(const std::filesystem::path& file,
                                          std::string_view contents);

}  // namespace Tessaril::ReferencePlatform
