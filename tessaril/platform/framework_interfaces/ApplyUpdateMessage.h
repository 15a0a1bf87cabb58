#pragma once

#include <memory>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// A message that travels along an apply graph with the commands that apply its modules.
///
/// Messages may be shared between update infos and threads; who wants to change one works on a
/// clone.
class TESSARIL_PLATFORM_EXPORT ApplyUpdateMessage {
 public:
  virtual ~ApplyUpdateMessage();

  /// A new, independent copy of the same dynamic type; never null.
  virtual std::shared_ptr<ApplyUpdateMessage> clone() const = 0;
  /// True when the message carries nothing that would require an update.
  virtual bool isEmpty() const = 0;
  /// True when the message concerns every following module, also those behind a module at which an
  /// update stops applying.
  virtual bool isGlobal() const = 0;

 protected:
  ApplyUpdateMessage() = default;
  ApplyUpdateMessage(const ApplyUpdateMessage&) = default;
  ApplyUpdateMessage& operator=(const ApplyUpdateMessage&) = default;
};

}  // namespace Tessaril
