#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "reference_platform/logging/LogSinks.h"

namespace Tessaril::ReferencePlatform {

/// The sinks of the process, between those who add them and those who log.
class SinkRegistry {
 public:
  /// Never destroyed: destructors of static objects may log.
  static SinkRegistry& get();

  Registration add(LogSink sink);
  /// False while nobody listens; costs next to nothing.
  bool hasSinks() const noexcept { return listening.load(std::memory_order_relaxed); }
  void hand(const LogRecord& record) noexcept;

 private:
  class Entry;
  using Entries = std::vector<std::shared_ptr<Entry>>;

  void remove(const std::shared_ptr<Entry>& entry) noexcept;
  std::shared_ptr<const Entries> snapshot() const noexcept;

  mutable std::mutex mutex;
  /// Replaced as a whole, so that records are handed out without the lock.
  std::shared_ptr<const Entries> entries = std::make_shared<const Entries>();
  std::atomic<bool> listening = false;
};

}  // namespace Tessaril::ReferencePlatform
