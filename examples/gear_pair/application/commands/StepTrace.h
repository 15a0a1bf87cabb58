#pragma once

#include <exception>
#include <string>
#include <thread>

namespace GearPair {

/// Where the last execute of a step's command ran and how it failed, for the table of a run.
class StepTrace {
 public:
  virtual ~StepTrace() = default;

  std::thread::id getThread() const { return thread; }
  /// The sentence of the failure; empty after a success.
  const std::string& getFailure() const { return failure; }

 protected:
  /// Carries out `step`, which may throw.
  template <typename Step>
  void traced(const Step& step) {
    thread = std::this_thread::get_id();
    failure.clear();
    try {
      step();
    } catch (const std::exception& e) {
      failure = e.what();
      throw;
    }
  }

 private:
  std::thread::id thread;
  std::string failure;
};

}  // namespace GearPair
