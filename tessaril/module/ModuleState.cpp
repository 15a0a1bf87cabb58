#include "tessaril/module/ModuleState.h"

#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {

ModuleState::ModuleState() = default;
ModuleState::~ModuleState() = default;

bool ModuleState::isActive() const { return active; }
bool ModuleState::isConsistent() const { return consistent; }
bool ModuleState::isInputOk() const { return inputOk; }
bool ModuleState::isFrozen() const { return frozen; }
bool ModuleState::isSkipped() const { return skipped; }

Signals::Connection ModuleState::connectToSigStateChanged(const Signals::Slot<void()>& slot) const {
  return sigStateChanged.connect(slot, Signals::ConnectPosition::AtBack);
}

void ModuleState::sendStateChangeSignal() const {
  sigStateChanged.emit();
  if (const auto* object = dynamic_cast<const Object*>(this)) {
    object->emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  }
}

void ModuleState::sendStateChangeSignalsOfFollowingModules() const {}

void ModuleState::setActive(bool value, bool sendSignal) { setFlag(active, value, sendSignal); }

void ModuleState::setConsistent(bool value, bool sendSignal) {
  setFlag(consistent, value, sendSignal && active);
}

void ModuleState::setInputIsOk(bool value, bool sendSignal) {
  setFlag(inputOk, value, sendSignal && active);
}

void ModuleState::setFrozen(bool value, bool sendSignal) { setFlag(frozen, value, sendSignal); }

void ModuleState::setSkipped(bool value, bool sendSignal) { setFlag(skipped, value, sendSignal); }

void ModuleState::setStates(const bool* newActive, const bool* newConsistent,
                            const bool* newInputOk, const bool* newFrozen, const bool* newSkipped) {
  bool changed = false;
  const auto write = [&changed](bool& flag, const bool* value) {
    if (value != nullptr && flag != *value) {
      flag = *value;
      changed = true;
    }
  };
  write(active, newActive);
  write(consistent, newConsistent);
  write(inputOk, newInputOk);
  write(frozen, newFrozen);
  write(skipped, newSkipped);
  if (changed) {
    notify();
  }
}

bool ModuleState::computeIsInputOk() const { return true; }

void ModuleState::computeAndSetInputOk(bool sendSignal) {
  setInputIsOk(computeIsInputOk(), sendSignal);
}

void ModuleState::notify() const {
  sendStateChangeSignal();
  sendStateChangeSignalsOfFollowingModules();
}

void ModuleState::setFlag(bool& flag, bool value, bool notifyIfChanged) {
  if (flag == value) {
    return;
  }
  flag = value;
  if (notifyIfChanged) {
    notify();
  }
}

}  // namespace Tessaril
