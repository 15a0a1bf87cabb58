#include "diagnostics/guards/GuardedUpdate.h"

namespace Tessaril::Diagnostics {
namespace {

class GuardedThreads final : public ThreadManager {
 public:
  GuardedThreads(std::shared_ptr<ThreadManager> theThreads, std::shared_ptr<GraphGuard> theGuard,
                 const void* theUpdate)
      : threads(std::move(theThreads)), guard(std::move(theGuard)), update(theUpdate) {}

  void start(std::function<void()> job) override {
    threads->start([toldGuard = guard, toldUpdate = update, guardedJob = std::move(job)] {
      toldGuard->subCommandBegins(toldUpdate);
      guardedJob();
      toldGuard->subCommandEnds(toldUpdate);
    });
  }

  void waitUntil(const std::function<bool()>& done) override { threads->waitUntil(done); }

 private:
  std::shared_ptr<ThreadManager> threads;
  std::shared_ptr<GraphGuard> guard;
  const void* update;
};

}  // namespace

std::shared_ptr<ThreadManager> guarded(std::shared_ptr<ThreadManager> threads,
                                       std::shared_ptr<GraphGuard> guard, const void* update) {
  if (threads == nullptr) {
    return nullptr;
  }
  return std::make_shared<GuardedThreads>(std::move(threads), std::move(guard), update);
}

}  // namespace Tessaril::Diagnostics
