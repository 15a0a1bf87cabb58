#pragma once

#include <functional>

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// Runs jobs, each once, somewhere: on worker threads, or inline.
class TESSARIL_PLATFORM_EXPORT ThreadManager {
 public:
  virtual ~ThreadManager();

  /// Runs `job` now or later, on any thread, and destroys it before it counts as ended. The job
  /// does not throw. Throws CommandStopped, and does not keep the job, when the manager takes no
  /// more jobs.
  virtual void start(std::function<void()> job) = 0;
  /// Waits on the calling thread until `done` answers true; `done` is asked on that thread, first
  /// at once and anew after every job that ends. What a job wrote is visible to the caller once
  /// `done` saw that it ended. May be called from a job, for another job.
  virtual void waitUntil(const std::function<bool()>& done) = 0;

 protected:
  ThreadManager() = default;
  ThreadManager(const ThreadManager&) = default;
  ThreadManager& operator=(const ThreadManager&) = default;
};

}  // namespace Tessaril
