#pragma once

#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "reference_platform/Registration.h"
#include "reference_platform/logging/LogSinks.h"

namespace Tessaril::TestSupport {

/// What kind of thing happened; a test hears only the kinds it asks for.
enum class EventKind {
  /// A command was executed, undone or redone: "A:apply", "A:auto", "A:undoApply".
  Step,
  /// A module emitted its state-changed signal: "A:signal".
  Signal,
  /// The beginning and the end of a run: "cache:begin", "cache:end", "finish(true)".
  Run,
  /// An error was logged: "error{text}".
  Error,
  /// A trace was logged: "trace{text}".
  Trace,
  /// The user was told: "user{text}".
  User,
  /// A module was asked about its policy: "A?necessary", "A?autoPossible".
  Question,
  /// A derived update command was asked: "suppress?A", "cancel?A".
  Hook,
  /// A module was asked for its speed rate: "A?rate".
  Rate,
  /// A module was asked for a command: "A:makeApply", "A:makeAuto(alone)".
  Creation,
  /// A message was asked or cloned: "m?empty", "m:clone".
  Message,
  /// A command was asked for its undo type: "A:apply?undoType".
  UndoType,
  /// The progress of an update moved: "49%".
  Progress,
  /// Whatever a test adds of its own.
  Other,
};

struct Event {
  EventKind kind;
  std::string text;
  std::thread::id thread;
};

/// One log into which everything around a run writes what happens to it, in the order in which it
/// happens. May be written on any thread.
class EventLog {
 public:
  /// Hears steps, signals, runs, errors and what a test adds of its own.
  EventLog();
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;

  /// From now on only events of these kinds are kept.
  void hear(std::initializer_list<EventKind> kinds);
  /// From now on events of these kinds are kept as well.
  void alsoHear(std::initializer_list<EventKind> kinds);
  void add(EventKind kind, const std::string& text);

  /// Everything so far, with a space between events; the log is empty afterwards.
  std::string take();
  std::vector<Event> takeEvents();

 private:
  std::mutex mutex;
  std::vector<EventKind> heard;
  std::vector<Event> events;
};

/// Writes what is logged while it lives into an event log, and keeps the records.
class LogRecorder {
 public:
  explicit LogRecorder(EventLog& log);

  std::vector<ReferencePlatform::LogRecord> errors() const;
  void forgetErrors();

 private:
  EventLog& eventLog;
  mutable std::mutex mutex;
  std::vector<ReferencePlatform::LogRecord> errorRecords;
  ReferencePlatform::Registration registration;
};

/// Calls `body` and says what left it: "nothing", "std: text" for a std::exception, "int: 7", or
/// "unknown".
std::string whatIsThrownBy(const std::function<void()>& body);

}  // namespace Tessaril::TestSupport
