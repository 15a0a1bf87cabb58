#include "tessaril/module/ModuleStateStorage.h"

#include "tessaril/module/ModuleState.h"

namespace Tessaril {

ModuleStateStorage::ModuleStateStorage() = default;
ModuleStateStorage::ModuleStateStorage(const ModuleState& state) { storeStates(state); }

void ModuleStateStorage::storeStates(const ModuleState& state) {
  active = state.isActive();
  consistent = state.isConsistent();
  inputOk = state.isInputOk();
  frozen = state.isFrozen();
  skipped = state.isSkipped();
}

void ModuleStateStorage::restoreStates(ModuleState& state) const {
  state.setStates(&active, &consistent, &inputOk, &frozen, &skipped);
}

void ModuleStateStorage::storeAndRestoreStates(ModuleState& state) {
  const ModuleStateStorage current(state);
  restoreStates(state);
  *this = current;
}

bool ModuleStateStorage::isConsistent() const { return consistent; }

}  // namespace Tessaril
