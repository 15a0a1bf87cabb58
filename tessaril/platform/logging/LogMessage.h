#pragma once

#include <string>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// A message for the user of a running command, handed to its progress.
class TESSARIL_PLATFORM_EXPORT LogMessage {
 public:
  enum Type { Info = 0, Warning = 1, Error = 2 };

  /// `details` is a longer text shown on request; empty for none.
  LogMessage(std::string text, Type type, std::string details);

  const std::string& getText() const noexcept;
  Type getType() const noexcept;
  const std::string& getDetails() const noexcept;

  friend bool operator==(const LogMessage&, const LogMessage&) = default;

 private:
  std::string messageText;
  Type messageType;
  std::string messageDetails;
};

}  // namespace Tessaril
