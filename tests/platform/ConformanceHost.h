#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/platform/command_pattern/ThreadManager.h"

/// What a host lets the conformance tests see and set beyond the declarations of its services.
///
/// A host that runs the tests against its own services implements these functions in one source
/// file. They are called on the test's own thread.
namespace ConformanceHost {

/// One record as it reached the host's log.
struct LoggedRecord {
  enum class Level { Trace, Error };

  Level level;
  std::string text;
  std::string file;
  std::string function;
  int line;

  friend bool operator==(const LoggedRecord&, const LoggedRecord&) = default;
};

/// What is logged while it lives.
class LogCapture {
 public:
  virtual ~LogCapture() = default;
  /// The records since the capture began, in the order in which they were logged; also those of
  /// other threads.
  virtual std::vector<LoggedRecord> getRecords() const = 0;
};

/// Something that is undone at the end of its scope; never empty.
using Scope = std::shared_ptr<void>;

/// Begins to capture log records; never empty.
std::unique_ptr<LogCapture> captureLog();
/// Adds a part to the host's log that throws at every record, for as long as the scope lives.
Scope installFailingSink();

/// Makes `translation` the translation of `text` in `context`, for as long as the scope lives.
Scope installTranslation(const std::string& context, const std::string& text,
                         const std::string& translation);

/// One kind of thread manager that the host has.
struct ThreadManagerKind {
  /// Letters and digits only: it becomes part of test names.
  std::string name;
  std::function<std::shared_ptr<Tessaril::ThreadManager>()> make;
};

/// Every kind of manager that the host has; at least one.
std::vector<ThreadManagerKind> threadManagerKinds();

}  // namespace ConformanceHost
