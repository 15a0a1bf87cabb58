#include "tessaril/platform/progress/LegacyProgress.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <mutex>
#include <utility>

namespace Tessaril {
namespace {

constexpr double kWhole = 100.0;

/// Relative durations of the rates. An instant command must not take a share from those that one
/// waits for.
constexpr std::array<long long, 6> kWeights{0, 1, 3, 10, 30, 100};

long long weightOf(LegacyProgress::Speed::Rate rate) {
  const auto index = static_cast<std::size_t>(rate);
  return index < kWeights.size() ? kWeights[index] : kWeights[LegacyProgress::Speed::Normal];
}

}  // namespace

void LegacyProgress::Speed::add(Rate rate) { accumulatedWeight += weightOf(rate); }

int LegacyProgress::Speed::getPartitionFromRate(Rate rate) const {
  if (accumulatedWeight == 0) {
    return 100;
  }
  return static_cast<int>(std::min(100LL, weightOf(rate) * 100 / accumulatedWeight));
}

/// What a progress knows, shared with the threads that report to it, so that it outlives them.
///
/// No operation holds two locks, and none holds a lock while slots are called: a report is taken in
/// level by level, and what it carries upwards was computed under the lock of the level below.
class LegacyProgress::State : public std::enable_shared_from_this<State> {
 public:
  /// The stretch of a progress that one sub-progress moves. Both sides hold it; it is in force
  /// while it is the one that the whole holds.
  struct Stretch {
    std::weak_ptr<State> whole;
    double begin;
    double end;
    int repetitions;
  };

  double getValue() const {
    const std::lock_guard lock(mutex);
    return value;
  }

  void setValue(double percent) {
    std::unique_lock lock(mutex);
    if (!advance(std::min(percent, kWhole))) {
      return;
    }
    report(std::move(lock));
  }

  void finish() {
    std::unique_lock lock(mutex);
    inner.reset();
    const bool changed = advance(kWhole) || !finished;
    finished = true;
    repetitionDone = true;
    report(std::move(lock), changed);
  }

  bool isFinished() const {
    const std::lock_guard lock(mutex);
    return finished;
  }

  void reset() {
    {
      const std::lock_guard lock(mutex);
      if (std::exchange(repetitionDone, false)) {
        ++completedRepetitions;
      }
      inner.reset();
      const bool untouched = value == 0.0 && !finished && !stopRequested && messages.empty();
      value = 0.0;
      finished = false;
      stopRequested = false;
      messages.clear();
      if (untouched) {
        return;
      }
    }
    announce();
  }

  void requestStop() {
    {
      const std::lock_guard lock(mutex);
      if (std::exchange(stopRequested, true)) {
        return;
      }
    }
    announce();
  }

  bool isStopRequested() const {
    for (std::shared_ptr<const State> level = shared_from_this(); level; level = level->whole()) {
      const std::lock_guard lock(level->mutex);
      if (level->stopRequested) {
        return true;
      }
    }
    return false;
  }

  void setSubProgress(const std::shared_ptr<State>& sub, int upTo, int repetitions) {
    if (!sub || isPartOf(*sub)) {
      detachSub();
      return;
    }
    sub->joinWhole(replaceInner(upTo, repetitions));
  }

  void detachSub() {
    const std::lock_guard lock(mutex);
    inner.reset();
  }

  void addLogMessage(const LogMessage& message) {
    {
      const std::lock_guard lock(mutex);
      messages.push_back(message);
    }
    announce();
  }

  std::vector<LogMessage> getLogMessages() const {
    const std::lock_guard lock(mutex);
    return messages;
  }

  Signals::Connection connect(const Signals::Slot<void()>& slot) {
    const auto listener = std::make_shared<Listener>(slot);
    const std::lock_guard lock(mutex);
    dropDisconnected();
    listeners.push_back(listener);
    return listener->connection;
  }

  /// The progress itself is gone: nobody is told any more.
  void retire() {
    std::vector<std::shared_ptr<Listener>> leaving;
    {
      const std::lock_guard lock(mutex);
      inner.reset();
      leaving.swap(listeners);
    }
    for (const auto& listener : leaving) {
      listener->connection.disconnect();
    }
  }

 private:
  /// One connected slot. A signal serves one thread at a time, but reports come from many: the
  /// signal only carries the connection, the slot is called beside it.
  struct Listener {
    explicit Listener(const Signals::Slot<void()>& connectedSlot)
        : slot(connectedSlot), connection(carrier.connect([] {})) {}

    Signals::Slot<void()> slot;
    Signals::Signal<void()> carrier;
    Signals::Connection connection;
  };

  /// How far a stretch has been covered, 0 to 1.
  struct Report {
    std::shared_ptr<const Stretch> stretch;
    double covered = 0.0;
  };

  // The operations from here to `report` require that the caller holds the lock.

  bool advance(double percent) {
    if (!(percent > value)) {
      return false;
    }
    value = percent;
    repetitionDone = repetitionDone || value == kWhole;
    return true;
  }

  Report makeReport() const {
    if (!outer) {
      return {};
    }
    const double runs = repetitionDone ? 1.0 : value / kWhole;
    return {outer, std::min(1.0, (completedRepetitions + runs) / outer->repetitions)};
  }

  void dropDisconnected() {
    std::erase_if(listeners,
                  [](const auto& listener) { return !listener->connection.isConnected(); });
  }

  /// Moves every progress above, then tells the slots from here upwards: a slot that throws does
  /// not keep a value from moving.
  void report(std::unique_lock<std::mutex> lock, bool changedHere = true) {
    Report upwards = makeReport();
    lock.unlock();
    std::vector<std::shared_ptr<State>> changed;
    if (changedHere) {
      changed.push_back(shared_from_this());
    }
    while (upwards.stretch) {
      const std::shared_ptr<State> above = upwards.stretch->whole.lock();
      if (!above || !above->takeIn(upwards)) {
        break;
      }
      changed.push_back(above);
    }
    for (const auto& level : changed) {
      level->announce();
    }
  }

  /// Moves the value as `report` of a sub-progress says and turns it into the report for the level
  /// above. False when the value did not move.
  bool takeIn(Report& report) {
    const std::lock_guard lock(mutex);
    if (inner != report.stretch) {
      return false;
    }
    const Stretch& stretch = *report.stretch;
    const double target = report.covered == 1.0
                              ? stretch.end
                              : stretch.begin + (stretch.end - stretch.begin) * report.covered;
    if (!advance(target)) {
      return false;
    }
    report = makeReport();
    return true;
  }

  void announce() {
    std::vector<std::shared_ptr<Listener>> told;
    {
      const std::lock_guard lock(mutex);
      dropDisconnected();
      told = listeners;
    }
    for (const auto& listener : told) {
      if (listener->connection.isConnected()) {
        listener->slot();
      }
    }
  }

  std::shared_ptr<const Stretch> replaceInner(int upTo, int repetitions) {
    const std::lock_guard lock(mutex);
    const double end = std::min(static_cast<double>(upTo), kWhole);
    inner = std::make_shared<const Stretch>(
        Stretch{weak_from_this(), value, end, std::max(1, repetitions)});
    return inner;
  }

  void joinWhole(std::shared_ptr<const Stretch> stretch) {
    const std::lock_guard lock(mutex);
    outer = std::move(stretch);
    completedRepetitions = 0;
    repetitionDone = false;
  }

  /// The progress that this one moves at present; empty for none.
  std::shared_ptr<State> whole() const {
    std::shared_ptr<const Stretch> joined;
    {
      const std::lock_guard lock(mutex);
      joined = outer;
    }
    std::shared_ptr<State> above = joined ? joined->whole.lock() : nullptr;
    if (!above) {
      return nullptr;
    }
    const std::lock_guard lock(above->mutex);
    return above->inner == joined ? above : nullptr;
  }

  bool isPartOf(const State& other) const {
    for (std::shared_ptr<const State> level = shared_from_this(); level; level = level->whole()) {
      if (level.get() == &other) {
        return true;
      }
    }
    return false;
  }

  mutable std::mutex mutex;
  double value = 0.0;
  bool finished = false;
  bool stopRequested = false;
  std::vector<LogMessage> messages;
  std::vector<std::shared_ptr<Listener>> listeners;
  /// The stretch of this progress that a sub-progress moves; empty for none.
  std::shared_ptr<const Stretch> inner;
  /// The stretch of another progress that this one moves; out of force once the other replaced it.
  std::shared_ptr<const Stretch> outer;
  /// Runs from 0 to 100 since `outer` was joined, without the present one.
  int completedRepetitions = 0;
  /// The present run has reached 100 since `outer` was joined.
  bool repetitionDone = false;
};

LegacyProgress::LegacyProgress() : state(std::make_shared<State>()) {}
LegacyProgress::~LegacyProgress() { state->retire(); }

double LegacyProgress::getValue() const { return state->getValue(); }
void LegacyProgress::setValue(double percent) { state->setValue(percent); }
void LegacyProgress::reset() { state->reset(); }
void LegacyProgress::finish() { state->finish(); }
bool LegacyProgress::isFinished() const { return state->isFinished(); }
void LegacyProgress::requestStop() { state->requestStop(); }
bool LegacyProgress::isStopRequested() const { return state->isStopRequested(); }

void LegacyProgress::setSubProgress(LegacyProgress* subProgress, int upTo, int repetitions) {
  state->setSubProgress(subProgress != nullptr ? subProgress->state : nullptr, upTo, repetitions);
}

void LegacyProgress::addLogMessage(const LogMessage& message) { state->addLogMessage(message); }
std::vector<LogMessage> LegacyProgress::getLogMessages() const { return state->getLogMessages(); }

Signals::Connection LegacyProgress::connectToSigChanged(const Signals::Slot<void()>& slot) {
  return state->connect(slot);
}

}  // namespace Tessaril
