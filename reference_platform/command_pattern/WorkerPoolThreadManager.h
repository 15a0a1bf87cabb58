#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "tessaril/platform/command_pattern/ThreadManager.h"

namespace Tessaril::ReferencePlatform {

/// Runs jobs on a fixed number of worker threads, in the order in which they were started.
///
/// May be used from several threads at once. A job that waits for another job runs queued jobs
/// itself meanwhile, so a pool of one worker does not lock up on nested runs.
class TESSARIL_PLATFORM_EXPORT WorkerPoolThreadManager : public ThreadManager {
 public:
  /// Zero workers count as one.
  explicit WorkerPoolThreadManager(std::size_t workerCount = 1);
  WorkerPoolThreadManager(const WorkerPoolThreadManager&) = delete;
  WorkerPoolThreadManager& operator=(const WorkerPoolThreadManager&) = delete;
  /// Shuts down. Requires: not called from a job of this pool.
  ~WorkerPoolThreadManager() override;

  void start(std::function<void()> job) override;
  void waitUntil(const std::function<bool()>& done) override;

  /// Takes no more jobs, runs those that are queued, and returns when the last one has ended. Does
  /// nothing the second time. Requires: called by one thread, and not from a job of this pool.
  void shutDown();

  std::size_t getWorkerCount() const noexcept;

 private:
  void work();
  void runFront(std::unique_lock<std::mutex>& lock);

  const std::size_t workerCount;
  std::mutex mutex;
  /// A job was queued, a job has ended, or the shutdown has begun.
  std::condition_variable changed;
  std::deque<std::function<void()>> queue;
  std::size_t endedJobs = 0;
  bool accepting = true;
  std::vector<std::thread> workers;
};

}  // namespace Tessaril::ReferencePlatform
