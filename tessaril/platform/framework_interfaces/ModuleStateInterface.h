#pragma once

#include "tessaril/platform/Export.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

/// The state of a module as the application sees it; see ModuleState for what each one means.
///
/// A host guarantees this abstract shape and the order of the operations.
class TESSARIL_PLATFORM_EXPORT ModuleStateInterface {
 public:
  virtual ~ModuleStateInterface();

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

 protected:
  ModuleStateInterface() = default;
  ModuleStateInterface(const ModuleStateInterface&) = default;
  ModuleStateInterface& operator=(const ModuleStateInterface&) = default;
};

}  // namespace Tessaril
