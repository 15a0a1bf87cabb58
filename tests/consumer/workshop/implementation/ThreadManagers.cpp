#include "ThreadManagers.h"

#include <utility>

namespace Workshop {

void WaitingManager::runAndTell(std::function<void()> job) {
  job();
  job = nullptr;
  const std::lock_guard lock(mutex);
  ++endedJobs;
  jobEnded.notify_all();
}

void WaitingManager::waitUntil(const std::function<bool()>& done) {
  std::unique_lock lock(mutex);
  for (;;) {
    const std::uint64_t seen = endedJobs;
    lock.unlock();
    if (done()) {
      return;
    }
    lock.lock();
    jobEnded.wait(lock, [&] { return endedJobs != seen; });
  }
}

ThreadPerJob::~ThreadPerJob() {
  for (;;) {
    std::vector<std::thread> ending;
    {
      const std::lock_guard lock(threadsMutex);
      ending.swap(threads);
    }
    if (ending.empty()) {
      return;
    }
    for (std::thread& thread : ending) {
      thread.join();
    }
  }
}

void ThreadPerJob::start(std::function<void()> job) {
  const std::lock_guard lock(threadsMutex);
  threads.emplace_back([this, job = std::move(job)]() mutable { runAndTell(std::move(job)); });
}

}  // namespace Workshop
