#include "reference_platform/logging/LogSinks.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "reference_platform/logging/SinkRegistry.h"

namespace Tessaril::ReferencePlatform {
namespace {

/// A sink of this thread is running. Records that it logs itself go nowhere: handing them out could
/// go round in circles, or lock up against a sink that runs on another thread.
thread_local bool handingOut = false;

class HandingOut {
 public:
  HandingOut() noexcept { handingOut = true; }
  HandingOut(const HandingOut&) = delete;
  HandingOut& operator=(const HandingOut&) = delete;
  ~HandingOut() { handingOut = false; }
};

const char* nameOf(LogLevel level) { return level == LogLevel::Error ? "ERROR" : "TRACE"; }

}  // namespace

/// One sink, called under a lock of its own, which its removal takes as well.
class SinkRegistry::Entry {
 public:
  explicit Entry(LogSink addedSink) : sink(std::move(addedSink)) {}

  void take(const LogRecord& record) noexcept {
    const std::lock_guard lock(mutex);
    if (!active) {
      return;
    }
    try {
      sink(record);
    } catch (...) {  // NOLINT(bugprone-empty-catch): logging must not fail those who log
    }
  }

  void deactivate() noexcept {
    const std::lock_guard lock(mutex);
    active = false;
  }

 private:
  /// Recursive, so that a sink may end its own registration.
  std::recursive_mutex mutex;
  LogSink sink;
  bool active = true;
};

SinkRegistry& SinkRegistry::get() {
  static auto* const registry = new SinkRegistry;
  return *registry;
}

Registration SinkRegistry::add(LogSink sink) {
  if (!sink) {
    return {};
  }
  const auto entry = std::make_shared<Entry>(std::move(sink));
  Registration registration([this, entry] { remove(entry); });
  const std::lock_guard lock(mutex);
  auto extended = std::make_shared<Entries>(*entries);
  extended->push_back(entry);
  entries = std::move(extended);
  listening = true;
  return registration;
}

void SinkRegistry::hand(const LogRecord& record) noexcept {
  if (handingOut) {
    return;
  }
  const HandingOut scope;
  const auto present = snapshot();
  for (const auto& entry : *present) {
    entry->take(record);
  }
}

void SinkRegistry::remove(const std::shared_ptr<Entry>& entry) noexcept {
  {
    const std::lock_guard lock(mutex);
    auto shortened = std::make_shared<Entries>(*entries);
    std::erase(*shortened, entry);
    listening = !shortened->empty();
    entries = std::move(shortened);
  }
  entry->deactivate();
}

std::shared_ptr<const SinkRegistry::Entries> SinkRegistry::snapshot() const noexcept {
  const std::lock_guard lock(mutex);
  return entries;
}

Registration addLogSink(LogSink sink) { return SinkRegistry::get().add(std::move(sink)); }

LogSink makeStreamSink(std::ostream& stream) {
  return [&stream](const LogRecord& record) {
    stream << nameOf(record.level) << ' ' << record.file << ':' << record.line << ' '
           << record.function << ": " << record.text << std::endl;
  };
}

Registration addStandardErrorSink() { return addLogSink(makeStreamSink(std::cerr)); }

}  // namespace Tessaril::ReferencePlatform
