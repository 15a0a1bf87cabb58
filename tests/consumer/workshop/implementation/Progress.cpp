#include <algorithm>
#include <mutex>

#include "tessaril/platform/progress/LegacyProgress.h"

namespace Tessaril {

namespace {

/// One lock for all progresses, so that a report moves a whole and its parts together.
std::mutex& progressMutex() {
  static std::mutex& kept = *new std::mutex;
  return kept;
}

using Slots = Signals::SlotTable<>;
using Changed = std::vector<std::shared_ptr<Slots>>;

}  // namespace

/// All fields but the slots are read and written under the lock.
struct LegacyProgress::Node {
  double value = 0;
  bool isFinished = false;
  bool isStopRequested = false;
  std::vector<LogMessage> messages;

  Node* whole = nullptr;
  Node* part = nullptr;
  // The stretch that the part moves this one through.
  double from = 0;
  double upTo = 0;
  double repetitions = 1;
  double complete = 0;
  /// The part has come to its end since it was attached or began anew.
  bool isPartThrough = false;

  const std::shared_ptr<Slots> slots = std::make_shared<Slots>();

  void detachPart() {
    if (part != nullptr) {
      part->whole = nullptr;
      part = nullptr;
    }
  }

  /// Moves what this one is a part of; those that moved join `changed`.
  void moveWhole(bool isThrough, Changed& changed) const {
    if (whole == nullptr) {
      return;
    }
    whole->isPartThrough = whole->isPartThrough || isThrough;
    const double inPart = whole->isPartThrough ? 1 : value / 100;
    const double done = std::min(whole->repetitions, whole->complete + inPart);
    const double moved = whole->from + (whole->upTo - whole->from) * done / whole->repetitions;
    if (moved > whole->value) {
      whole->value = moved;
      changed.push_back(whole->slots);
      whole->moveWhole(moved >= 100, changed);
    }
  }

  /// Makes a change under the lock and tells about it without.
  template <typename Change>
  void report(const Change& change) {
    Changed changed;
    {
      const std::lock_guard lock(progressMutex());
      change(changed);
    }
    for (const auto& table : changed) {
      table->call();
    }
  }
};

LegacyProgress::LegacyProgress() : node(std::make_unique<Node>()) {}

LegacyProgress::~LegacyProgress() {
  {
    const std::lock_guard lock(progressMutex());
    node->detachPart();
    if (node->whole != nullptr) {
      node->whole->detachPart();
    }
  }
  node->slots->clear();
}

double LegacyProgress::getValue() const {
  const std::lock_guard lock(progressMutex());
  return node->value;
}

void LegacyProgress::setValue(double percent) {
  node->report([&](Changed& changed) {
    if (percent > node->value && node->value < 100) {
      node->value = std::min(percent, 100.0);
      changed.push_back(node->slots);
      node->moveWhole(node->value >= 100, changed);
    }
  });
}

void LegacyProgress::finish() {
  node->report([&](Changed& changed) {
    if (!node->isFinished || node->value < 100) {
      changed.push_back(node->slots);
    }
    node->isFinished = true;
    node->value = 100;
    node->detachPart();
    node->moveWhole(true, changed);
  });
}

void LegacyProgress::reset() {
  node->report([&](Changed& changed) {
    if (node->value > 0 || node->isFinished || node->isStopRequested || !node->messages.empty()) {
      changed.push_back(node->slots);
    }
    node->value = 0;
    node->isFinished = false;
    node->isStopRequested = false;
    node->messages.clear();
    node->detachPart();
    if (node->whole != nullptr && node->whole->isPartThrough) {
      node->whole->isPartThrough = false;
      node->whole->complete += 1;
    }
  });
}

bool LegacyProgress::isFinished() const {
  const std::lock_guard lock(progressMutex());
  return node->isFinished;
}

void LegacyProgress::requestStop() {
  node->report([&](Changed& changed) {
    if (!node->isStopRequested) {
      node->isStopRequested = true;
      changed.push_back(node->slots);
    }
  });
}

bool LegacyProgress::isStopRequested() const {
  const std::lock_guard lock(progressMutex());
  for (const Node* asked = node.get(); asked != nullptr; asked = asked->whole) {
    if (asked->isStopRequested) {
      return true;
    }
  }
  return false;
}

void LegacyProgress::setSubProgress(LegacyProgress* subProgress, int upTo, int repetitions) {
  const std::lock_guard lock(progressMutex());
  node->detachPart();
  if (subProgress == nullptr) {
    return;
  }
  for (const Node* above = node.get(); above != nullptr; above = above->whole) {
    if (above == subProgress->node.get()) {
      return;
    }
  }
  if (subProgress->node->whole != nullptr) {
    subProgress->node->whole->detachPart();
  }
  node->part = subProgress->node.get();
  node->part->whole = node.get();
  node->from = node->value;
  node->upTo = std::clamp<double>(upTo, node->value, 100);
  node->repetitions = std::max(repetitions, 1);
  node->complete = 0;
  node->isPartThrough = false;
}

void LegacyProgress::addLogMessage(const LogMessage& message) {
  node->report([&](Changed& changed) {
    node->messages.push_back(message);
    changed.push_back(node->slots);
  });
}

std::vector<LogMessage> LegacyProgress::getLogMessages() const {
  const std::lock_guard lock(progressMutex());
  return node->messages;
}

Signals::Connection LegacyProgress::connectToSigChanged(const Signals::Slot<void()>& slot) {
  return {node->slots, node->slots->add(slot, Signals::ConnectPosition::AtBack)};
}

namespace {

/// 0, 1, 3, 7, 15, 31.
long long weightOf(LegacyProgress::Speed::Rate rate) { return (1LL << rate) - 1; }

}  // namespace

void LegacyProgress::Speed::add(Rate rate) { weight += weightOf(rate); }

int LegacyProgress::Speed::getPartitionFromRate(Rate rate) const {
  return weight == 0 ? 100 : static_cast<int>(std::min(100LL, 100 * weightOf(rate) / weight));
}

}  // namespace Tessaril
