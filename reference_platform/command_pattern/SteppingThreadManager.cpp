#include "reference_platform/command_pattern/SteppingThreadManager.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "tessaril/platform/command_pattern/CommandStopped.h"

namespace Tessaril::ReferencePlatform {

SteppingThreadManager::SteppingThreadManager(Where whereJobsRun) : where(whereJobsRun) {}

void SteppingThreadManager::start(std::function<void()> job) {
  const std::lock_guard lock(mutex);
  if (!accepting) {
    throw CommandStopped("The stepping thread manager takes no more jobs");
  }
  waiting.emplace(++lastNumber, std::move(job));
}

void SteppingThreadManager::waitUntil(const std::function<bool()>& done) {
  while (true) {
    std::unique_lock lock(mutex);
    const std::size_t seen = endedJobs;
    lock.unlock();
    if (done()) {
      return;
    }
    lock.lock();
    if (!waiting.empty()) {
      const JobNumber next = chooseNext();
      const auto action = beforeStep;
      lock.unlock();
      if (action) {
        action(next);
      }
      // Another thread that waits may have taken the same job meanwhile; then there is more to
      // wait.
      runIfWaiting(next);
    } else if (runningJobs > 0) {
      jobEnded.wait(lock, [&] { return endedJobs != seen; });
    } else if (endedJobs == seen) {
      throw std::logic_error("No job is left that could end the wait");
    }
  }
}

void SteppingThreadManager::complete(JobNumber number) {
  if (!runIfWaiting(number)) {
    throw std::out_of_range("No job waits under the number " + std::to_string(number));
  }
}

bool SteppingThreadManager::runIfWaiting(JobNumber number) {
  std::unique_lock lock(mutex);
  auto node = waiting.extract(number);
  if (node.empty()) {
    return false;
  }
  ++runningJobs;
  lock.unlock();
  run(node.mapped());
  node.mapped() = nullptr;
  lock.lock();
  --runningJobs;
  ++endedJobs;
  jobEnded.notify_all();
  return true;
}

void SteppingThreadManager::completeInOrder(std::vector<JobNumber> numbers) {
  const std::lock_guard lock(mutex);
  preferred = std::move(numbers);
}

void SteppingThreadManager::setBeforeStep(std::function<void(JobNumber)> action) {
  const std::lock_guard lock(mutex);
  beforeStep = std::move(action);
}

std::vector<SteppingThreadManager::JobNumber> SteppingThreadManager::getWaitingJobs() const {
  const std::lock_guard lock(mutex);
  std::vector<JobNumber> numbers;
  numbers.reserve(waiting.size());
  for (const auto& entry : waiting) {
    numbers.push_back(entry.first);
  }
  return numbers;
}

void SteppingThreadManager::refuseJobs() {
  const std::lock_guard lock(mutex);
  accepting = false;
}

SteppingThreadManager::JobNumber SteppingThreadManager::chooseNext() const {
  const auto named = std::find_if(preferred.begin(), preferred.end(),
                                  [this](JobNumber number) { return waiting.count(number) > 0; });
  return named != preferred.end() ? *named : waiting.begin()->first;
}

void SteppingThreadManager::run(const std::function<void()>& job) const {
  if (where == Where::Inline) {
    job();
  } else {
    std::thread(job).join();
  }
}

}  // namespace Tessaril::ReferencePlatform
