#include "tests/platform/ConformanceHost.h"

#include <mutex>
#include <stdexcept>

#include "HostControls.h"
#include "ThreadManagers.h"

namespace ConformanceHost {
namespace {

class Capture final : public LogCapture {
 public:
  std::vector<LoggedRecord> getRecords() const override {
    const std::lock_guard lock(mutex);
    return records;
  }

 private:
  void take(const Workshop::Record& record) {
    const std::lock_guard lock(mutex);
    records.push_back({record.isError ? LoggedRecord::Level::Error : LoggedRecord::Level::Trace,
                       record.text, record.file, record.function, record.line});
  }

  mutable std::mutex mutex;
  std::vector<LoggedRecord> records;
  std::shared_ptr<void> listening =
      Workshop::listenToLog([this](const Workshop::Record& record) { take(record); });
};

}  // namespace

std::unique_ptr<LogCapture> captureLog() { return std::make_unique<Capture>(); }

Scope installFailingSink() {
  return Workshop::listenToLog(
      [](const Workshop::Record&) { throw std::runtime_error("This listener fails"); });
}

Scope installTranslation(const std::string& context, const std::string& text,
                         const std::string& translation) {
  return Workshop::addTranslation(context, text, translation);
}

std::vector<ThreadManagerKind> threadManagerKinds() {
  return {{"AtOnce", [] { return std::make_shared<Workshop::AtOnce>(); }},
          {"ThreadPerJob", [] { return std::make_shared<Workshop::ThreadPerJob>(); }}};
}

}  // namespace ConformanceHost
