#include "tests/support/TestModule.h"

#include <utility>

namespace Tessaril::TestSupport {

TestModule::TestModule(std::string name) : moduleName(std::move(name)) {}
TestModule::~TestModule() = default;

const std::string& TestModule::getModuleName() const { return moduleName; }

bool TestModule::isApplyNecessary(bool isEndModule) const {
  if (isEndModule && answers.applyNecessaryAsEnd) {
    return *answers.applyNecessaryAsEnd;
  }
  return answers.applyNecessary.value_or(ApplyModule::isApplyNecessary(isEndModule));
}

bool TestModule::isApplyPossible() const {
  return answers.applyPossible.value_or(ApplyModule::isApplyPossible());
}

bool TestModule::isAutoApplyNecessary() const {
  return answers.autoApplyNecessary.value_or(ApplyModule::isAutoApplyNecessary());
}

bool TestModule::isAutoApplyPossible() const {
  return answers.autoApplyPossible.value_or(ApplyModule::isAutoApplyPossible());
}

bool TestModule::isUpdateInfoRelevant(const ApplyUpdateInfo& info) const {
  return answers.updateInfoRelevant ? *answers.updateInfoRelevant
                                    : ApplyModule::isUpdateInfoRelevant(info);
}

bool TestModule::updateAlways() const {
  return answers.updateAlways.value_or(ApplyModule::updateAlways());
}

bool TestModule::usesSharedResources() const {
  return answers.usesSharedResources.value_or(ApplyModule::usesSharedResources());
}

bool TestModule::enableDesignSwitch() const {
  return answers.enableDesignSwitch.value_or(ApplyModule::enableDesignSwitch());
}

LegacyProgress::Speed::Rate TestModule::getSpeedRate() const {
  return answers.speedRate.value_or(ApplyModule::getSpeedRate());
}

bool TestModule::computeIsInputOk() const {
  return answers.computedInputOk.value_or(ApplyModule::computeIsInputOk());
}

void TestModule::onApplyGraphChanged() {
  ++graphChanges;
  if (whenGraphChanges) {
    whenGraphChanges(*this);
  }
}

ObjectModule::ObjectModule(const std::string& name) : TestModule(name), Object(name) {}
ObjectModule::~ObjectModule() = default;

}  // namespace Tessaril::TestSupport
