#pragma once

#include "tessaril/Export.h"

namespace Tessaril {

/// What every update command does when a sub-command fails: keep the state that has been reached,
/// log the failure and end the run in order (the default), or throw the failure at whoever runs the
/// update. In the same way, a failing auto apply is logged and the run goes on, or it is thrown.
///
/// An object of this class sets the policy for its scope. The policy is one for the whole process
/// and takes no lock: change it while no update runs.
class TESSARIL_APPLY_EXPORT ExceptionPolicy {
 public:
  explicit ExceptionPolicy(bool preserveState);
  ExceptionPolicy(const ExceptionPolicy&) = delete;
  ExceptionPolicy& operator=(const ExceptionPolicy&) = delete;
  /// Puts the policy back that it found.
  ~ExceptionPolicy();

  static bool preservesState();
  static void setPreservesState(bool preserveState);

 private:
  bool before;
};

}  // namespace Tessaril
