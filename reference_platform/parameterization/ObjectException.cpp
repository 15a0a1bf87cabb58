#include "tessaril/platform/parameterization/ObjectException.h"

namespace Tessaril {

ObjectException::ObjectException(const std::string& message, const std::source_location& location)
    : TsException(message, location) {}
ObjectException::ObjectException(const ObjectException&) noexcept = default;
ObjectException& ObjectException::operator=(const ObjectException&) noexcept = default;
ObjectException::~ObjectException() = default;

}  // namespace Tessaril
