#include "tessaril/module/ModuleStateStorage.h"

#include "tessaril/module/ModuleState.h"

namespace Tessaril {

ModuleStateStorage::ModuleStateStorage() = default;
ModuleStateStorage::ModuleStateStorage(const ModuleState& state) { storeStates(state); }
ModuleStateStorage::ModuleStateStorage(const ModuleStateStorage&) = default;
ModuleStateStorage& ModuleStateStorage::operator=(const ModuleStateStorage&) = default;
ModuleStateStorage& ModuleStateStorage::operator=(ModuleStateStorage&&) noexcept = default;
ModuleStateStorage::~ModuleStateStorage() = default;

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
