#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/command_pattern/ThreadManager.h"

namespace Workshop {

/// Waits for jobs, wherever they run.
class WORKSHOP_API WaitingManager : public Tessaril::ThreadManager {
 public:
  void waitUntil(const std::function<bool()>& done) override;

 protected:
  void runAndTell(std::function<void()> job);

 private:
  std::mutex mutex;
  std::condition_variable jobEnded;
  std::uint64_t endedJobs = 0;
};

/// Runs each job at once.
class WORKSHOP_API AtOnce final : public WaitingManager {
 public:
  void start(std::function<void()> job) override { runAndTell(std::move(job)); }
};

/// Runs each job on a thread of its own, and waits for all of them before it goes.
class WORKSHOP_API ThreadPerJob final : public WaitingManager {
 public:
  ~ThreadPerJob() override;
  void start(std::function<void()> job) override;

 private:
  std::mutex threadsMutex;
  std::vector<std::thread> threads;
};

}  // namespace Workshop
