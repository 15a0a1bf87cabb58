#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tests/support/EventLog.h"

namespace Tessaril::TestSupport {

/// A message that writes into an event log what is asked of it. Its text tells its descent: the
/// clone of "m" is "m'", the clone of that "m''".
class ScriptedMessage : public ApplyUpdateMessage {
 public:
  ScriptedMessage(EventLog& log, std::string text, bool empty, bool global);

  std::shared_ptr<ApplyUpdateMessage> clone() const override;
  bool isEmpty() const override;
  bool isGlobal() const override;

  std::string text;
  /// Called by clone(), after it has written into the log; may throw. Clones have it as well.
  std::function<void()> whenCloned;

 private:
  EventLog& eventLog;
  bool empty;
  bool global;
};

std::shared_ptr<ScriptedMessage> makeMessage(EventLog& log, const std::string& text);
std::shared_ptr<ScriptedMessage> makeEmptyMessage(EventLog& log, const std::string& text);
std::shared_ptr<ScriptedMessage> makeGlobalMessage(EventLog& log, const std::string& text);

/// The texts of the messages, in order, with a comma between them; "-" for none.
std::string messageTexts(ApplyUpdateInfo& info);
/// The same without the marks of descent: "m" for "m''".
std::string messageNames(ApplyUpdateInfo& info);

}  // namespace Tessaril::TestSupport
