#include "tessaril/commands/ApplyUpdateInfo.h"

#include <algorithm>
#include <iterator>

#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"

namespace Tessaril {

ApplyUpdateInfo::ApplyUpdateInfo() = default;

ApplyUpdateInfo::ApplyUpdateInfo(const std::list<std::shared_ptr<ApplyUpdateMessage>>& messages) {
  std::copy_if(messages.begin(), messages.end(), std::back_inserter(updateMessages),
               [](const auto& message) { return message != nullptr; });
}

ApplyUpdateInfo::ApplyUpdateInfo(const ApplyUpdateInfo&) = default;

ApplyUpdateInfo::ApplyUpdateInfo(ApplyUpdateInfo&& other) noexcept {
  updateMessages.swap(other.updateMessages);
}

ApplyUpdateInfo::~ApplyUpdateInfo() = default;

ApplyUpdateInfo& ApplyUpdateInfo::operator=(const ApplyUpdateInfo& other) {
  if (this != &other) {
    auto messages = other.updateMessages;
    updateMessages.swap(messages);
  }
  return *this;
}

ApplyUpdateInfo& ApplyUpdateInfo::operator=(ApplyUpdateInfo&& other) noexcept {
  if (this != &other) {
    updateMessages.clear();
    updateMessages.swap(other.updateMessages);
  }
  return *this;
}

void ApplyUpdateInfo::clear() { updateMessages.clear(); }

ApplyUpdateInfo ApplyUpdateInfo::clone() {
  ApplyUpdateInfo result;
  for (const auto& message : updateMessages) {
    result.updateMessages.push_back(message->clone());
  }
  return result;
}

std::list<std::shared_ptr<const ApplyUpdateMessage>> ApplyUpdateInfo::getAllUpdateMessages() {
  return {updateMessages.begin(), updateMessages.end()};
}

bool ApplyUpdateInfo::isEmpty() const {
  return std::all_of(updateMessages.begin(), updateMessages.end(),
                     [](const auto& message) { return message->isEmpty(); });
}

}  // namespace Tessaril
