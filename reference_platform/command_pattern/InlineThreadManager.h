#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "tessaril/platform/command_pattern/ThreadManager.h"

namespace Tessaril::ReferencePlatform {

/// Runs each job inside start, on the thread that calls it: no second thread at all.
///
/// May be used from several threads at once.
class TESSARIL_PLATFORM_EXPORT InlineThreadManager : public ThreadManager {
 public:
  void start(std::function<void()> job) override;
  /// Throws std::logic_error when `done` is false and no job is running that could still change it.
  void waitUntil(const std::function<bool()>& done) override;

 private:
  std::mutex mutex;
  std::condition_variable jobEnded;
  std::size_t runningJobs = 0;
  std::size_t endedJobs = 0;
};

}  // namespace Tessaril::ReferencePlatform
