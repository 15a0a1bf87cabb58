#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"

#include <algorithm>
#include <utility>

#include "tessaril/platform/command_pattern/CommandStopped.h"

namespace Tessaril::ReferencePlatform {
namespace {

/// The pool that the present thread works for; null on every other thread.
thread_local const WorkerPoolThreadManager* employer = nullptr;

}  // namespace

WorkerPoolThreadManager::WorkerPoolThreadManager(std::size_t count)
    : workerCount(std::max<std::size_t>(1, count)) {
  workers.reserve(workerCount);
  try {
    for (std::size_t index = 0; index < workerCount; ++index) {
      workers.emplace_back([this] { work(); });
    }
  } catch (...) {
    shutDown();
    throw;
  }
}

WorkerPoolThreadManager::~WorkerPoolThreadManager() { shutDown(); }

void WorkerPoolThreadManager::start(std::function<void()> job) {
  const std::lock_guard lock(mutex);
  if (!accepting) {
    throw CommandStopped("The worker pool has been shut down and takes no more jobs");
  }
  queue.push_back(std::move(job));
  changed.notify_all();
}

void WorkerPoolThreadManager::waitUntil(const std::function<bool()>& done) {
  const bool helps = employer == this;
  std::unique_lock lock(mutex);
  while (true) {
    const std::size_t seen = endedJobs;
    lock.unlock();
    if (done()) {
      return;
    }
    lock.lock();
    changed.wait(lock, [&] { return endedJobs != seen || (helps && !queue.empty()); });
    if (endedJobs == seen) {
      runFront(lock);
    }
  }
}

void WorkerPoolThreadManager::shutDown() {
  {
    const std::lock_guard lock(mutex);
    accepting = false;
    changed.notify_all();
  }
  for (std::thread& worker : workers) {
    worker.join();
  }
  workers.clear();
}

std::size_t WorkerPoolThreadManager::getWorkerCount() const noexcept { return workerCount; }

void WorkerPoolThreadManager::work() {
  employer = this;
  std::unique_lock lock(mutex);
  while (true) {
    changed.wait(lock, [this] { return !queue.empty() || !accepting; });
    if (queue.empty()) {
      return;
    }
    runFront(lock);
  }
}

/// Runs the job at the front without the lock. What the job owns is gone before it counts as ended.
void WorkerPoolThreadManager::runFront(std::unique_lock<std::mutex>& lock) {
  std::function<void()> job = std::move(queue.front());
  queue.pop_front();
  lock.unlock();
  job();
  job = nullptr;
  lock.lock();
  ++endedJobs;
  changed.notify_all();
}

}  // namespace Tessaril::ReferencePlatform
