#pragma once

#include <concepts>
#include <memory>
#include <utility>

#include "diagnostics/guards/GraphGuard.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"

namespace Tessaril::Diagnostics {

/// A module that tells a guard when its links are edited, and when it is asked, notified, changed
/// or has to make a command: `Module` itself, with the same arguments, answers and effects.
///
/// Requires: `Module` declares none of the virtual operations below final, and its overrides are
/// not private. To the archiver it is a class of its own, which nobody has registered: designs with
/// guarded modules cannot be saved, and a design that is opened has none.
template <std::derived_from<ApplyModule> Module>
class GuardedModule : public Module {
 public:
  /// Requires: `theGuard` is not null.
  template <typename... Arguments>
  explicit GuardedModule(std::shared_ptr<GraphGuard> theGuard, Arguments&&... arguments)
      : Module(std::forward<Arguments>(arguments)...), guard(std::move(theGuard)) {}

  bool isActive() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isActive");
    return Module::isActive();
  }
  bool isConsistent() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isConsistent");
    return Module::isConsistent();
  }
  bool isInputOk() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isInputOk");
    return Module::isInputOk();
  }
  bool isFrozen() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isFrozen");
    return Module::isFrozen();
  }
  bool computeIsInputOk() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "computeIsInputOk");
    return Module::computeIsInputOk();
  }
  bool isApplyNecessary(bool isEndModule) const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isApplyNecessary");
    return Module::isApplyNecessary(isEndModule);
  }
  bool isApplyPossible() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isApplyPossible");
    return Module::isApplyPossible();
  }
  bool isAutoApplyNecessary() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isAutoApplyNecessary");
    return Module::isAutoApplyNecessary();
  }
  bool isAutoApplyPossible() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isAutoApplyPossible");
    return Module::isAutoApplyPossible();
  }
  bool isUpdateInfoRelevant(const ApplyUpdateInfo& info) const override {
    const GuardedWork guardedWork = begin(Kind::Question, "isUpdateInfoRelevant");
    return Module::isUpdateInfoRelevant(info);
  }
  bool updateAlways() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "updateAlways");
    return Module::updateAlways();
  }
  bool usesSharedResources() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "usesSharedResources");
    return Module::usesSharedResources();
  }
  bool enableDesignSwitch() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "enableDesignSwitch");
    return Module::enableDesignSwitch();
  }
  LegacyProgress::Speed::Rate getSpeedRate() const override {
    const GuardedWork guardedWork = begin(Kind::Question, "getSpeedRate");
    return Module::getSpeedRate();
  }
  bool isDependencyGraphApplyNecessary(bool necessaryForThis) const override {
    const GuardedWork guardedWork = begin(Kind::Walk, "isDependencyGraphApplyNecessary");
    return Module::isDependencyGraphApplyNecessary(necessaryForThis);
  }

  Signals::Connection connectToSigStateChanged(const Signals::Slot<void()>& slot) const override {
    const GuardedWork guardedWork = begin(Kind::Operation, "connectToSigStateChanged");
    return Module::connectToSigStateChanged(slot);
  }
  void sendStateChangeSignal() const override {
    const GuardedWork guardedWork = begin(Kind::Operation, "sendStateChangeSignal");
    Module::sendStateChangeSignal();
  }
  // No walk to the guard: listeners may edit the graph, outside of a run.
  void sendStateChangeSignalsOfFollowingModules() const override {
    const GuardedWork guardedWork =
        begin(Kind::Operation, "sendStateChangeSignalsOfFollowingModules");
    Module::sendStateChangeSignalsOfFollowingModules();
  }
  void setActive(bool theValue, bool sendSignal) override {
    const GuardedWork guardedWork = begin(Kind::Operation, "setActive");
    Module::setActive(theValue, sendSignal);
  }
  void setConsistent(bool theValue, bool sendSignal) override {
    const GuardedWork guardedWork = begin(Kind::Operation, "setConsistent");
    Module::setConsistent(theValue, sendSignal);
  }

  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> theObject) override {
    const GuardedWork guardedWork = begin(Kind::Operation, "createApplyCommand");
    return Module::createApplyCommand(std::move(theObject));
  }
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> theObject,
                                                      bool mayRunAlone) override {
    const GuardedWork guardedWork = begin(Kind::Operation, "createAutoApplyCommand");
    return Module::createAutoApplyCommand(std::move(theObject), mayRunAlone);
  }
  std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> theObject, std::shared_ptr<ApplyUpdateMessage> theMessage,
      bool theFlag) override {
    const GuardedWork guardedWork = begin(Kind::Operation, "createMessageHandlingCmd");
    return Module::createMessageHandlingCmd(std::move(theObject), std::move(theMessage), theFlag);
  }

 protected:
  void onApplyGraphChanged() override {
    const GuardedWork guardedWork(*guard, guard->beginHook(*this));
    Module::onApplyGraphChanged();
  }

 private:
  using Kind = GraphWork::Kind;

  GuardedWork begin(Kind kind, const char* operation) const {
    return GuardedWork(*guard, guard->beginWork(kind, operation, this));
  }

  std::shared_ptr<GraphGuard> guard;
};

/// A module that `guard` watches; without one, a plain `Module`. So an application decides in one
/// place whether its modules are guarded.
template <std::derived_from<ApplyModule> Module, typename... Arguments>
std::shared_ptr<Module> makeGuardedModule(const std::shared_ptr<GraphGuard>& guard,
                                          Arguments&&... arguments) {
  if (guard == nullptr) {
    return std::make_shared<Module>(std::forward<Arguments>(arguments)...);
  }
  return std::make_shared<GuardedModule<Module>>(guard, std::forward<Arguments>(arguments)...);
}

}  // namespace Tessaril::Diagnostics
