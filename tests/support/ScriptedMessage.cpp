#include "tests/support/ScriptedMessage.h"

#include <algorithm>
#include <utility>

namespace Tessaril::TestSupport {

ScriptedMessage::ScriptedMessage(EventLog& log, std::string messageText, bool isEmptyMessage,
                                 bool isGlobalMessage)
    : text(std::move(messageText)), eventLog(log), empty(isEmptyMessage), global(isGlobalMessage) {}

std::shared_ptr<ApplyUpdateMessage> ScriptedMessage::clone() const {
  eventLog.add(EventKind::Message, text + ":clone");
  if (whenCloned) {
    whenCloned();
  }
  auto copy = std::make_shared<ScriptedMessage>(*this);
  copy->text += "'";
  return copy;
}

bool ScriptedMessage::isEmpty() const {
  eventLog.add(EventKind::Message, text + "?empty");
  return empty;
}

bool ScriptedMessage::isGlobal() const {
  eventLog.add(EventKind::Message, text + "?global");
  return global;
}

std::shared_ptr<ScriptedMessage> makeMessage(EventLog& log, const std::string& text) {
  return std::make_shared<ScriptedMessage>(log, text, false, false);
}

std::shared_ptr<ScriptedMessage> makeEmptyMessage(EventLog& log, const std::string& text) {
  return std::make_shared<ScriptedMessage>(log, text, true, false);
}

std::shared_ptr<ScriptedMessage> makeGlobalMessage(EventLog& log, const std::string& text) {
  return std::make_shared<ScriptedMessage>(log, text, false, true);
}

std::string messageTexts(ApplyUpdateInfo& info) {
  std::string texts;
  for (const auto& message : info.getAllUpdateMessages()) {
    texts += (texts.empty() ? "" : ",") + dynamic_cast<const ScriptedMessage&>(*message).text;
  }
  return texts.empty() ? "-" : texts;
}

std::string messageNames(ApplyUpdateInfo& info) {
  std::string names = messageTexts(info);
  std::erase(names, '\'');
  return names;
}

}  // namespace Tessaril::TestSupport
