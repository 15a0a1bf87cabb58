#pragma once

#include <string>
#include <utility>

namespace Tessaril {

class LogMessage {
 public:
  enum Type { Info = 0, Warning = 1, Error = 2 };

  LogMessage(std::string messageText, Type messageType, std::string messageDetails)
      : text(std::move(messageText)), type(messageType), details(std::move(messageDetails)) {}

  const std::string& getText() const noexcept { return text; }
  Type getType() const noexcept { return type; }
  const std::string& getDetails() const noexcept { return details; }

  friend bool operator==(const LogMessage&, const LogMessage&) = default;

 private:
  std::string text;
  Type type;
  std::string details;
};

}  // namespace Tessaril
