#include "diagnostics/run/ObservedUpdate.h"

namespace Tessaril::Diagnostics {
namespace {

class ObservedThreads final : public ThreadManager {
 public:
  ObservedThreads(std::shared_ptr<ThreadManager> theThreads,
                  std::shared_ptr<RunRecorder> theRecorder)
      : threads(std::move(theThreads)), recorder(std::move(theRecorder)) {}

  void start(std::function<void()> job) override {
    threads->start([heardBy = recorder, observedJob = std::move(job)] {
      const RunRecorder::SubCommand subCommand = heardBy->subCommandBegins();
      observedJob();
      heardBy->subCommandEnds(subCommand);
    });
  }

  void waitUntil(const std::function<bool()>& done) override { threads->waitUntil(done); }

 private:
  std::shared_ptr<ThreadManager> threads;
  std::shared_ptr<RunRecorder> recorder;
};

}  // namespace

std::shared_ptr<ThreadManager> observed(std::shared_ptr<ThreadManager> threads,
                                        std::shared_ptr<RunRecorder> recorder) {
  if (threads == nullptr) {
    return nullptr;
  }
  return std::make_shared<ObservedThreads>(std::move(threads), std::move(recorder));
}

}  // namespace Tessaril::Diagnostics
