#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace Tessaril {

/// An exception of which only the text counts. It derives from std::exception directly, so that it
/// cannot be caught as any more special type: that of the failure whose text it carries on, say.
class ApplyFailure final : public std::exception {
 public:
  explicit ApplyFailure(const std::string& text) : message(text) {}

  const char* what() const noexcept override { return message.what(); }

 private:
  // A string that can be copied without throwing.
  std::runtime_error message;
};

}  // namespace Tessaril
