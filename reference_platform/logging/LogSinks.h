#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "reference_platform/Registration.h"
#include "tessaril/platform/Export.h"

namespace Tessaril::ReferencePlatform {

enum class LogLevel { Trace, Error };

/// One call of Logging.
struct LogRecord {
  LogLevel level;
  std::string text;
  /// The source file's name without its ending.
  std::string file;
  /// The full signature of the operation that logged.
  std::string function;
  int line;

  friend bool operator==(const LogRecord&, const LogRecord&) = default;
};

/// Receives records on the thread that logs, one call at a time. What it throws is dropped with
/// that record. What is logged while a sink runs, on the same thread, reaches no sink.
using LogSink = std::function<void(const LogRecord&)>;

/// From now on `sink` receives every record, after the sinks that were added before it; an empty
/// sink receives nothing. May be called at any time on any thread, also while static objects are
/// built or destroyed, and by a sink.
///
/// Once the registration has ended the sink is not called any more: ending it waits for a call on
/// another thread. What the sink holds is released then, at the latest when the records that are
/// being handed out have been. A sink may end its own registration. Requires: two sinks do not end
/// each other's.
TESSARIL_PLATFORM_EXPORT Registration addLogSink(LogSink sink);

/// A sink that writes a record as one line "<LEVEL> <file>:<line> <function>: <text>" and flushes.
/// Requires: the stream outlives the sink's registration.
TESSARIL_PLATFORM_EXPORT LogSink makeStreamSink(std::ostream& stream);

/// Writes every record to the standard error stream.
TESSARIL_PLATFORM_EXPORT Registration addStandardErrorSink();

}  // namespace Tessaril::ReferencePlatform
