#pragma once

#include <string>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class WORKSHOP_API Logging {
 public:
  Logging() = delete;

  static void logTRACE(const std::string& text, const std::string& file,
                       const std::string& function, int line);
  static void logERROR(const std::string& text, const std::string& file,
                       const std::string& function, int line);
};

}  // namespace Tessaril
