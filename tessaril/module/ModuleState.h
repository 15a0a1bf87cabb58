#pragma once

#include "tessaril/Export.h"
#include "tessaril/platform/framework_interfaces/ModuleStateInterface.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

class PersistenceArchiver;

/// The state of one step of a design process: five flags and a signal that announces their changes.
///
/// - active: the step takes part in updates;
/// - consistent: its result matches its present input and settings;
/// - input ok: its input is usable;
/// - frozen, skipped: set by the user of the design.
///
/// The flags are independent of one another. "To notify" means, here and below: first
/// sendStateChangeSignal(), then sendStateChangeSignalsOfFollowingModules(), both virtual, so that
/// a module of a graph also announces the change for the modules that follow it. A setter writes
/// its flag first and notifies then; what a slot throws reaches the caller with the flag already
/// written.
///
/// All operations take constant time, the notification of followers aside. No locking: one thread
/// at a time; slots are called on the thread that changes the flag, before the setter returns.
class TESSARIL_APPLY_EXPORT ModuleState : public ModuleStateInterface {
 public:
  /// Inactive, consistent, input ok, not frozen, not skipped.
  ModuleState();
  ModuleState(const ModuleState&) = delete;
  ModuleState& operator=(const ModuleState&) = delete;
  /// Drops the connections of the state-changed signal.
  ~ModuleState() override;

  bool isActive() const override;
  bool isConsistent() const override;
  bool isInputOk() const override;
  bool isFrozen() const override;
  bool isSkipped() const;

  /// Connects `slot` behind the slots that are connected already.
  Signals::Connection connectToSigStateChanged(const Signals::Slot<void()>& slot) const override;

  /// Emits the state-changed signal. When the concrete object is also an Object of the parameter
  /// tree, that object's tree-changed signal follows, with the reason "state changed".
  void sendStateChangeSignal() const override;
  /// Nothing here: a lone state has no followers.
  void sendStateChangeSignalsOfFollowingModules() const override;

  /// Notifies if the flag changes and `sendSignal` is true.
  void setActive(bool value, bool sendSignal) override;
  /// Notifies if the flag changes, `sendSignal` is true and the module is active: an inactive
  /// module's result concerns nobody until it is activated. The active flag itself counts; an
  /// overridden isActive() is not asked.
  void setConsistent(bool value, bool sendSignal) override;
  /// Notifies under the same conditions as setConsistent().
  void setInputIsOk(bool value, bool sendSignal);
  /// Notifies if the flag changes and `sendSignal` is true.
  void setFrozen(bool value, bool sendSignal);
  /// Notifies if the flag changes and `sendSignal` is true.
  void setSkipped(bool value, bool sendSignal);

  /// Writes several flags at once; a null pointer leaves its flag as it is. Notifies once if at
  /// least one flag changed, active or not.
  void setStates(const bool* newActive, const bool* newConsistent, const bool* newInputOk,
                 const bool* newFrozen, const bool* newSkipped);

  /// Decides whether the module's input is usable. True here; modules with input override it.
  bool computeIsInputOk() const override;
  /// The same as setInputIsOk(computeIsInputOk(), sendSignal).
  void computeAndSetInputOk(bool sendSignal);

  // Stored records; docs/format.md lists their fields. Loading sends no signal.

  /// True when the class is known to the archiver, which it is from the load of the library on.
  static const bool s_force_serialization_registration;
  /// Fills the class record of "ModuleState" into the BaseClassRegister that `descriptor` points
  /// to.
  static void serialization_register(void* descriptor);

 private:
  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);

  static const unsigned int s_serialization_type_id;

  void notify() const;
  void setFlag(bool& flag, bool value, bool notifyIfChanged);

  Signals::Signal<void()> sigStateChanged;
  bool active = false;
  bool consistent = true;
  bool inputOk = true;
  bool frozen = false;
  bool skipped = false;
};

}  // namespace Tessaril
