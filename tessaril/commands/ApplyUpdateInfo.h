#pragma once

#include <list>
#include <memory>

#include "tessaril/Export.h"

namespace Tessaril {

class ApplyUpdateMessage;

/// The update messages that travel with a command: an ordered list, oldest first.
///
/// Copies share the message objects; only clone() makes new ones, so code that changes a message
/// works on a clone. The list never holds a null message. An info belongs to one command at a time;
/// it takes no lock.
class TESSARIL_APPLY_EXPORT ApplyUpdateInfo {
 public:
  ApplyUpdateInfo();
  /// Holds the given messages in that order; null entries are left out.
  explicit ApplyUpdateInfo(const std::list<std::shared_ptr<ApplyUpdateMessage>>& messages);
  ApplyUpdateInfo(const ApplyUpdateInfo& other);
  /// Leaves `other` empty.
  ApplyUpdateInfo(ApplyUpdateInfo&& other) noexcept;
  ~ApplyUpdateInfo();

  ApplyUpdateInfo& operator=(const ApplyUpdateInfo& other);
  /// Leaves `other` empty, unless it is this info itself.
  ApplyUpdateInfo& operator=(ApplyUpdateInfo&& other) noexcept;

  void clear();

  /// An info with a clone of each message, in the same order. When a message's clone throws, this
  /// info is unchanged.
  ApplyUpdateInfo clone();

  /// The messages themselves, not copies, in list order.
  std::list<std::shared_ptr<const ApplyUpdateMessage>> getAllUpdateMessages();

  /// True when no message carries anything that would require an update. The messages are asked in
  /// order until one is not empty.
  bool isEmpty() const;

 private:
  std::list<std::shared_ptr<ApplyUpdateMessage>> updateMessages;
};

}  // namespace Tessaril
