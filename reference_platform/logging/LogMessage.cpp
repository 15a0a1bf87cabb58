#include "tessaril/platform/logging/LogMessage.h"

#include <utility>

namespace Tessaril {

LogMessage::LogMessage(std::string text, Type type, std::string details)
    : messageText(std::move(text)), messageType(type), messageDetails(std::move(details)) {}

const std::string& LogMessage::getText() const noexcept { return messageText; }
LogMessage::Type LogMessage::getType() const noexcept { return messageType; }
const std::string& LogMessage::getDetails() const noexcept { return messageDetails; }

}  // namespace Tessaril
