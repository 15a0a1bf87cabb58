#include "tests/support/EventLog.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace Tessaril::TestSupport {

EventLog::EventLog()
    : heard{EventKind::Step, EventKind::Signal, EventKind::Run, EventKind::Error,
            EventKind::Other} {}

void EventLog::hear(std::initializer_list<EventKind> kinds) {
  const std::lock_guard lock(mutex);
  heard = kinds;
}

void EventLog::alsoHear(std::initializer_list<EventKind> kinds) {
  const std::lock_guard lock(mutex);
  heard.insert(heard.end(), kinds);
}

void EventLog::add(EventKind kind, const std::string& text) {
  const std::lock_guard lock(mutex);
  if (std::find(heard.begin(), heard.end(), kind) != heard.end()) {
    events.push_back({kind, text, std::this_thread::get_id()});
  }
}

std::string EventLog::take() {
  std::string result;
  for (const Event& event : takeEvents()) {
    result += (result.empty() ? "" : " ") + event.text;
  }
  return result;
}

std::vector<Event> EventLog::takeEvents() {
  const std::lock_guard lock(mutex);
  return std::exchange(events, {});
}

LogRecorder::LogRecorder(EventLog& log)
    : eventLog(log), registration(ReferencePlatform::addLogSink([this](const auto& record) {
        if (record.level == ReferencePlatform::LogLevel::Trace) {
          eventLog.add(EventKind::Trace, "trace{" + record.text + "}");
          return;
        }
        eventLog.add(EventKind::Error, "error{" + record.text + "}");
        const std::lock_guard lock(mutex);
        errorRecords.push_back(record);
      })) {}

std::vector<ReferencePlatform::LogRecord> LogRecorder::errors() const {
  const std::lock_guard lock(mutex);
  return errorRecords;
}

void LogRecorder::forgetErrors() {
  const std::lock_guard lock(mutex);
  errorRecords.clear();
}

std::string whatIsThrownBy(const std::function<void()>& body) {
  try {
    body();
  } catch (const std::exception& e) {
    return std::string("std: ") + e.what();
  } catch (int number) {
    return "int: " + std::to_string(number);
  } catch (...) {
    return "unknown";
  }
  return "nothing";
}

}  // namespace Tessaril::TestSupport
