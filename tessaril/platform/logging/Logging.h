#pragma once

#include <string>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// The application's log. A static service: the library logs without being handed a log.
///
/// `file` is a source file's name without its ending, `function` the full signature of the
/// operation that logs. A host guarantees that logging may happen on any thread, never throws to
/// the caller for the sake of a failing sink, and costs little while nobody listens.
class TESSARIL_PLATFORM_EXPORT Logging {
 public:
  Logging() = delete;

  static void logTRACE(const std::string& text, const std::string& file,
                       const std::string& function, int line);
  static void logERROR(const std::string& text, const std::string& file,
                       const std::string& function, int line);
};

}  // namespace Tessaril
