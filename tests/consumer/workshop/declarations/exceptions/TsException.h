#pragma once

#include <exception>
#include <memory>
#include <source_location>
#include <string>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// A message and the place that threw it. No move operations: a copy costs nothing and keeps the
/// source whole.
class WORKSHOP_API TsException : public std::exception {
 public:
  explicit TsException(const std::string& message,
                       const std::source_location& location = std::source_location::current())
      : text(std::make_shared<const std::string>(message)), place(location) {}
  TsException(const TsException&) noexcept = default;
  TsException& operator=(const TsException&) noexcept = default;
  ~TsException() override = default;

  const char* what() const noexcept override;
  const std::string& getMessage() const noexcept { return *text; }
  const std::source_location& getSourceLocation() const noexcept { return place; }

 private:
  std::shared_ptr<const std::string> text;
  std::source_location place;
};

}  // namespace Tessaril
