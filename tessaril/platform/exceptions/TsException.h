#pragma once

#include <exception>
#include <memory>
#include <source_location>
#include <string>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// The application's base exception: a message and the place in the source that threw it.
///
/// A host guarantees that what() equals the message, that the location is the one given, and that
/// copying (which happens while an exception is in flight) does not throw.
class TESSARIL_PLATFORM_EXPORT TsException : public std::exception {
 public:
  explicit TsException(const std::string& message,
                       const std::source_location& location = std::source_location::current());
  TsException(const TsException&) noexcept;
  TsException& operator=(const TsException&) noexcept;
  ~TsException() override;

  const char* what() const noexcept override;
  const std::string& getMessage() const noexcept;
  const std::source_location& getSourceLocation() const noexcept;

 private:
  /// Shared, so that copying cannot throw; never empty.
  std::shared_ptr<const std::string> messageText;
  std::source_location thrownAt;
};

}  // namespace Tessaril
