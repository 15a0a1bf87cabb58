#include <mutex>
#include <stdexcept>
#include <utility>

#include "reference_platform/command_pattern/InlineThreadManager.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "reference_platform/logging/LogSinks.h"
#include "reference_platform/translation/Catalogue.h"
#include "tests/platform/ConformanceHost.h"

namespace ConformanceHost {
namespace {

namespace Reference = Tessaril::ReferencePlatform;

LoggedRecord::Level levelOf(Reference::LogLevel level) {
  return level == Reference::LogLevel::Error ? LoggedRecord::Level::Error
                                             : LoggedRecord::Level::Trace;
}

class SinkCapture final : public LogCapture {
 public:
  std::vector<LoggedRecord> getRecords() const override {
    const std::lock_guard lock(mutex);
    return records;
  }

 private:
  void take(const Reference::LogRecord& record) {
    const std::lock_guard lock(mutex);
    records.push_back(
        {levelOf(record.level), record.text, record.file, record.function, record.line});
  }

  mutable std::mutex mutex;
  std::vector<LoggedRecord> records;
  /// Last, so that nothing is taken any more when the records go.
  Reference::Registration registration =
      Reference::addLogSink([this](const Reference::LogRecord& record) { take(record); });
};

Scope asScope(Reference::Registration registration) {
  return std::make_shared<Reference::Registration>(std::move(registration));
}

template <typename Manager, typename... Arguments>
ThreadManagerKind kind(std::string name, Arguments... arguments) {
  return {std::move(name), [=] { return std::make_shared<Manager>(arguments...); }};
}

}  // namespace

std::unique_ptr<LogCapture> captureLog() { return std::make_unique<SinkCapture>(); }

Scope installFailingSink() {
  return asScope(Reference::addLogSink(
      [](const Reference::LogRecord&) { throw std::runtime_error("The sink is broken"); }));
}

Scope installTranslation(const std::string& context, const std::string& text,
                         const std::string& translation) {
  Reference::Catalogue catalogue;
  catalogue.add(context, text, translation);
  return asScope(Reference::installCatalogue(std::move(catalogue)));
}

std::vector<ThreadManagerKind> threadManagerKinds() {
  using Reference::SteppingThreadManager;
  return {
      kind<Reference::InlineThreadManager>("Inline"),
      kind<Reference::WorkerPoolThreadManager>("OneWorker", std::size_t{1}),
      kind<Reference::WorkerPoolThreadManager>("FourWorkers", std::size_t{4}),
      kind<SteppingThreadManager>("SteppingOnOwnThreads", SteppingThreadManager::Where::OwnThread),
      kind<SteppingThreadManager>("SteppingInline", SteppingThreadManager::Where::Inline)};
}

}  // namespace ConformanceHost
