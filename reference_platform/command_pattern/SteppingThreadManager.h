#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <vector>

#include "tessaril/platform/command_pattern/ThreadManager.h"

namespace Tessaril::ReferencePlatform {

/// Keeps jobs until someone says which one is to run: for tests that name their interleavings.
///
/// start numbers the jobs 1, 2, 3 … in the order of the calls and runs nothing. A job runs inside
/// complete or waitUntil, which return or go on only when it has ended; nothing runs at any other
/// moment, and nothing ever waits for time to pass.
class TESSARIL_PLATFORM_EXPORT SteppingThreadManager : public ThreadManager {
 public:
  using JobNumber = std::size_t;

  /// Where a job runs: each on a thread of its own, which has ended when the job counts as ended,
  /// or on the thread that completes it.
  enum class Where { OwnThread, Inline };

  explicit SteppingThreadManager(Where where = Where::OwnThread);

  void start(std::function<void()> job) override;
  /// Runs waiting jobs, one after the other, until `done` answers true: first those named by
  /// completeInOrder, in that order, then the rest as they were started. Throws std::logic_error
  /// when `done` is still false and no job is left.
  void waitUntil(const std::function<bool()>& done) override;

  /// Runs the waiting job of that number now. Throws std::out_of_range when none waits under it.
  void complete(JobNumber number);
  /// What waitUntil is to prefer from now on. A number under which no job waits is passed over.
  void completeInOrder(std::vector<JobNumber> numbers);
  /// Called by waitUntil, on the waiting thread, before it runs a job, with the job's number. Two
  /// threads that wait may both have chosen the same job; one of them runs it then. Empty: nothing
  /// is called.
  void setBeforeStep(std::function<void(JobNumber)> action);

  /// The numbers of the jobs that wait, in ascending order.
  std::vector<JobNumber> getWaitingJobs() const;
  /// From now on start throws CommandStopped; the jobs that wait can still be completed.
  void refuseJobs();

 private:
  /// False where no job waits under that number.
  bool runIfWaiting(JobNumber number);
  JobNumber chooseNext() const;
  void run(const std::function<void()>& job) const;

  const Where where;
  mutable std::mutex mutex;
  std::condition_variable jobEnded;
  std::map<JobNumber, std::function<void()>> waiting;
  std::vector<JobNumber> preferred;
  std::function<void(JobNumber)> beforeStep;
  JobNumber lastNumber = 0;
  std::size_t runningJobs = 0;
  std::size_t endedJobs = 0;
  bool accepting = true;
};

}  // namespace Tessaril::ReferencePlatform
