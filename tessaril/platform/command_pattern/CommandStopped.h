#pragma once

#include <source_location>
#include <string>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {

/// Thrown where a command is not started because a stop was requested.
class TESSARIL_PLATFORM_EXPORT CommandStopped : public TsException {
 public:
  explicit CommandStopped(const std::string& message,
                          const std::source_location& location = std::source_location::current());
  CommandStopped(const CommandStopped&) noexcept;
  CommandStopped& operator=(const CommandStopped&) noexcept;
  ~CommandStopped() override;
};

}  // namespace Tessaril
