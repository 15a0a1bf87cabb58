#pragma once

#include <source_location>
#include <string>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {

/// Thrown where the parameter tree cannot do what was asked: a path that leads nowhere, a name that
/// is taken, an object that is no part of the tree.
class TESSARIL_PLATFORM_EXPORT ObjectException : public TsException {
 public:
  explicit ObjectException(const std::string& message,
                           const std::source_location& location = std::source_location::current());
  ObjectException(const ObjectException&) noexcept;
  ObjectException& operator=(const ObjectException&) noexcept;
  ~ObjectException() override;
};

}  // namespace Tessaril
