#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {

TsException::TsException(const std::string& message, const std::source_location& location)
    : messageText(std::make_shared<const std::string>(message)), thrownAt(location) {}
TsException::TsException(const TsException&) noexcept = default;
TsException& TsException::operator=(const TsException&) noexcept = default;
TsException::~TsException() = default;

const char* TsException::what() const noexcept { return messageText->c_str(); }
const std::string& TsException::getMessage() const noexcept { return *messageText; }
const std::source_location& TsException::getSourceLocation() const noexcept { return thrownAt; }

}  // namespace Tessaril
