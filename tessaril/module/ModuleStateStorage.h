#pragma once

#include "tessaril/Export.h"

namespace Tessaril {

class ModuleState;

/// A snapshot of a module's five flags, to put them back, or swap them, after an operation.
class TESSARIL_APPLY_EXPORT ModuleStateStorage {
 public:
  /// All five flags false, which differs from a new module's flags.
  ModuleStateStorage();
  /// The same as storeStates(state).
  explicit ModuleStateStorage(const ModuleState& state);

  /// Keeps what the module answers; an overridden getter is honoured.
  void storeStates(const ModuleState& state);
  /// Writes all five kept flags. The module notifies once if any of them changed.
  void restoreStates(ModuleState& state) const;
  /// Swaps the module's flags with the kept ones; the module notifies as in restoreStates().
  /// Twice is as if it had never been called.
  void storeAndRestoreStates(ModuleState& state);

  /// The kept consistent flag.
  bool isConsistent() const;

 private:
  bool consistent = false;
  bool inputOk = false;
  bool active = false;
  bool skipped = false;
  bool frozen = false;
};

}  // namespace Tessaril
