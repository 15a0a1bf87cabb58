#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/logging/LogMessage.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

/// The progress of one command: a value from 0 to 100 percent, a stop request, and messages for the
/// user.
///
/// A progress may be a sub-progress of another: its 0 to 100 then moves the parent through a
/// stretch of the parent's own value. A host guarantees that value, finish, stop request and
/// messages may be reported and asked from any thread, that the value never runs backwards while a
/// run goes on, and that parent and sub-progress may be destroyed in either order.
class TESSARIL_PLATFORM_EXPORT LegacyProgress {
 public:
  /// Sums up the weights of commands by their rates.
  class TESSARIL_PLATFORM_EXPORT Speed {
   public:
    /// How long a command usually takes. Only the order and the value 3 are fixed; what each one
    /// weighs is the host's affair. (The reference: 0, 1, 3, 10, 30 and 100, instant first.)
    enum Rate : std::int32_t {
      Instant = 0,
      VeryFast = 1,
      Fast = 2,
      Normal = 3,
      Slow = 4,
      VerySlow = 5
    };

    void add(Rate rate);
    /// The share, in whole percent of the accumulated weight rounded down, that one command of
    /// `rate` has, at most 100; 100 when nothing of any weight has been added.
    int getPartitionFromRate(Rate rate) const;

   private:
    long long accumulatedWeight = 0;
  };

  LegacyProgress();
  LegacyProgress(const LegacyProgress&) = delete;
  LegacyProgress& operator=(const LegacyProgress&) = delete;
  ~LegacyProgress();

  /// Percent, 0 to 100.
  double getValue() const;
  /// Clamped to 0 to 100; a value below the present one, or not a number, changes nothing.
  void setValue(double percent);
  /// Back to 0, without stop request, messages and sub-progress: the beginning of a new run. The
  /// slots stay connected, and so does the progress that this one is a part of, which keeps its
  /// value.
  void reset();
  /// Sets the value to 100 and detaches the sub-progress. A stop request stays.
  void finish();
  /// True from finish() to reset(); the value 100 alone does not finish.
  bool isFinished() const;

  /// Asks the command to stop at the next opportunity.
  void requestStop();
  /// True once a stop has been requested here or at a progress that this one is a part of.
  bool isStopRequested() const;

  /// From now on `subProgress` moves this progress from its present value up to `upTo` percent, in
  /// `repetitions` equal stretches, one for each time that the sub-progress runs from 0 to 100. An
  /// earlier sub-progress is detached. Null detaches only, and so does a progress that this one is
  /// itself a part of. Below the present value, `upTo` counts as the present value; less than one
  /// repetition counts as one.
  ///
  /// With n repetitions, done of them complete, this value is
  /// present + (upTo - present) * (done + sub-value / 100) / n. A repetition is complete once the
  /// sub-progress has reached 100 since it was attached; its reset() then begins the next one. A
  /// reset() before that begins the same repetition again, and this value waits until the
  /// sub-progress has caught up. A finish() of the sub-progress counts even where it stood at 100
  /// when it was attached.
  void setSubProgress(LegacyProgress* subProgress, int upTo, int repetitions);

  /// Messages stay with the progress they were handed to.
  void addLogMessage(const LogMessage& message);
  std::vector<LogMessage> getLogMessages() const;

  /// Emitted on the reporting thread after each change of value, finish, stop request or messages,
  /// without a lock held: slots may ask and report. When a sub-progress reports, its own slots are
  /// called first, then those of the progress it is a part of; by then both values have moved. Two
  /// threads that report at the same time call the slots at the same time. A slot that throws ends
  /// the emission and the exception reaches the reporter. A slot must not be disconnected by one
  /// thread while another one reports, nor may this progress be destroyed under its own report.
  Signals::Connection connectToSigChanged(const Signals::Slot<void()>& slot);

 private:
  class State;
  std::shared_ptr<State> state;
};

}  // namespace Tessaril
