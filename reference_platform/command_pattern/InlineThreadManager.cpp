#include "reference_platform/command_pattern/InlineThreadManager.h"

#include <stdexcept>

namespace Tessaril::ReferencePlatform {

void InlineThreadManager::start(std::function<void()> job) {
  {
    const std::lock_guard lock(mutex);
    ++runningJobs;
  }
  job();
  job = nullptr;
  const std::lock_guard lock(mutex);
  --runningJobs;
  ++endedJobs;
  jobEnded.notify_all();
}

void InlineThreadManager::waitUntil(const std::function<bool()>& done) {
  std::unique_lock lock(mutex);
  while (true) {
    const std::size_t seen = endedJobs;
    lock.unlock();
    if (done()) {
      return;
    }
    lock.lock();
    if (endedJobs == seen && runningJobs == 0) {
      throw std::logic_error("No job is running that could end the wait");
    }
    jobEnded.wait(lock, [&] { return endedJobs != seen; });
  }
}

}  // namespace Tessaril::ReferencePlatform
