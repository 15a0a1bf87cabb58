#pragma once

#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

class ModuleStateInterface {
 public:
  virtual ~ModuleStateInterface() = default;

  virtual bool isActive() const = 0;
  virtual bool isConsistent() const = 0;
  virtual bool isInputOk() const = 0;
  virtual bool isFrozen() const = 0;
  virtual Signals::Connection connectToSigStateChanged(const Signals::Slot<void()>& slot) const = 0;
  virtual void sendStateChangeSignal() const = 0;
  virtual void sendStateChangeSignalsOfFollowingModules() const = 0;
  virtual void setActive(bool value, bool sendSignal) = 0;
  virtual void setConsistent(bool value, bool sendSignal) = 0;
  virtual bool computeIsInputOk() const = 0;
};

}  // namespace Tessaril
