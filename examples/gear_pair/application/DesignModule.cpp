#include "examples/gear_pair/application/DesignModule.h"

#include <algorithm>
#include <utility>

#include "examples/gear_pair/application/UnitSystemMessage.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace GearPair {

DesignModule::DesignModule(std::string name, std::string stepTitle, Rate speed, Way stepWay)
    : Object(std::move(name)), title(std::move(stepTitle)), rate(speed), way(stepWay) {}

DesignModule::~DesignModule() = default;

const std::string& DesignModule::getTitle() const { return title; }

const StepRecord& DesignModule::getRecord() const { return record; }

void DesignModule::setRecord(StepRecord newRecord) { record = std::move(newRecord); }

bool DesignModule::hasResult() const { return record.result != nullptr; }

std::shared_ptr<const void> DesignModule::inputsInUnits(UnitSystem /*units*/) const {
  return nullptr;
}

bool DesignModule::isUpToDate() const {
  if (!hasResult()) {
    return false;
  }
  const auto inputs = gatherInputs();
  return inputs != nullptr && inputsAreEqual(inputs.get(), record.inputs.get());
}

bool DesignModule::offersUsableResult() const {
  return hasResult() && !isSkipped() && (isFrozen() || (isUpToDate() && computeIsInputOk()));
}

bool DesignModule::isAutoApplyDue(bool mayRunAlone) const {
  return isAutoApplyPossible() && !isUpToDate() && (way == Way::kSide || !mayRunAlone);
}

void DesignModule::refreshFlags() {
  refreshOwnFlags();
  forAllFollowingModules([](const std::shared_ptr<ApplyModule>& follower) {
    if (auto* module = dynamic_cast<DesignModule*>(follower.get())) {
      module->refreshOwnFlags();
    }
    return true;
  });
}

void DesignModule::refreshOwnFlags() {
  setConsistent(isUpToDate(), false);
  computeAndSetInputOk(false);
}

void DesignModule::announce() const {
  sendStateChangeSignal();
  sendStateChangeSignalsOfFollowingModules();
}

bool DesignModule::isApplyNecessary(bool isEndModule) const {
  return (way == Way::kMain || isEndModule) && !isUpToDate();
}

bool DesignModule::isApplyPossible() const {
  return isActive() && !isFrozen() && !isSkipped() && computeIsInputOk();
}

bool DesignModule::isAutoApplyNecessary() const { return way == Way::kSide && !isUpToDate(); }

bool DesignModule::isAutoApplyPossible() const { return isApplyPossible(); }

bool DesignModule::isUpdateInfoRelevant(const Tessaril::ApplyUpdateInfo& info) const {
  auto messages = Tessaril::ApplyUpdateInfo(info).getAllUpdateMessages();
  return std::any_of(messages.begin(), messages.end(), [this](const auto& message) {
    const auto* change = dynamic_cast<const UnitSystemMessage*>(message.get());
    if (change == nullptr || change->isEmpty()) {
      return false;
    }
    const auto inputs = inputsInUnits(change->getUnits());
    return inputs != nullptr && !inputsAreEqual(inputs.get(), record.inputs.get());
  });
}

bool DesignModule::updateAlways() const { return false; }

DesignModule::Rate DesignModule::getSpeedRate() const { return rate; }

bool DesignModule::computeIsInputOk() const {
  const auto& previous = getPreviousApplyModules();
  return std::all_of(previous.begin(), previous.end(), [](const auto& link) {
    const auto module = std::dynamic_pointer_cast<DesignModule>(link.lock());
    return module == nullptr || module->offersUsableResult();
  });
}

void DesignModule::serialization_register(void* descriptor) {
  using Tessaril::BaseClassRegister;
  using Tessaril::PersistenceArchiver;
  *static_cast<BaseClassRegister*>(descriptor) = *Tessaril::registerClass<DesignModule>(
      "GearPair.DesignModule", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<DesignModule*>(target.object)->load(archiver);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const DesignModule*>(source.object)->save(archiver);
      });
}

void DesignModule::save(Tessaril::PersistenceArchiver& archiver) const {
  Tessaril::writeNested<Tessaril::Object>(archiver, *this);
  Tessaril::writeNested<Tessaril::ApplyModule>(archiver, *this);
}

// There is one layout; a newer one is refused before the first module is read.
void DesignModule::load(Tessaril::PersistenceArchiver& archiver) {
  Tessaril::readNested<Tessaril::Object>(archiver, *this);
  Tessaril::readNested<Tessaril::ApplyModule>(archiver, *this);
}

}  // namespace GearPair
