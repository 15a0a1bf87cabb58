#pragma once

#include <source_location>
#include <string>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {

/// Thrown where an archive cannot be read or written: it is cut, damaged, written by a newer
/// format, holds what this program does not know, or the file system refuses. The message names the
/// place.
class TESSARIL_PLATFORM_EXPORT ArchiveException : public TsException {
 public:
  explicit ArchiveException(const std::string& message,
                            const std::source_location& location = std::source_location::current());
  ArchiveException(const ArchiveException&) noexcept;
  ArchiveException& operator=(const ArchiveException&) noexcept;
  ~ArchiveException() override;
};

}  // namespace Tessaril
