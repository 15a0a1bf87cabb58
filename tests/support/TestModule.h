#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::TestSupport {

/// What a test module answers to the policy questions. An answer that is not set is left to
/// ApplyModule.
struct PolicyAnswers {
  std::optional<bool> applyNecessary;
  /// Takes the place of applyNecessary where the module is asked with true.
  std::optional<bool> applyNecessaryAsEnd;
  std::optional<bool> applyPossible;
  std::optional<bool> autoApplyNecessary;
  std::optional<bool> autoApplyPossible;
  std::optional<bool> updateInfoRelevant;
  std::optional<bool> updateAlways;
  std::optional<bool> usesSharedResources;
  std::optional<bool> enableDesignSwitch;
  std::optional<LegacyProgress::Speed::Rate> speedRate;
  std::optional<bool> computedInputOk;
};

/// A module with a name, with answers that a test chooses, and with an eye on its graph hook.
class TestModule : public ApplyModule {
 public:
  explicit TestModule(std::string name = {});
  ~TestModule() override;

  const std::string& getModuleName() const;

  bool isApplyNecessary(bool isEndModule) const override;
  bool isApplyPossible() const override;
  bool isAutoApplyNecessary() const override;
  bool isAutoApplyPossible() const override;
  bool isUpdateInfoRelevant(const ApplyUpdateInfo& info) const override;
  bool updateAlways() const override;
  bool usesSharedResources() const override;
  bool enableDesignSwitch() const override;
  LegacyProgress::Speed::Rate getSpeedRate() const override;
  bool computeIsInputOk() const override;

  PolicyAnswers answers;
  /// How often onApplyGraphChanged() was called.
  int graphChanges = 0;
  /// Called by onApplyGraphChanged(), after it has counted; may throw.
  std::function<void(TestModule&)> whenGraphChanges;

 protected:
  void onApplyGraphChanged() override;

 private:
  std::string moduleName;
};

/// A test module that is an object of the parameter tree as well, under its own name.
class ObjectModule : public TestModule, public Object {
 public:
  explicit ObjectModule(const std::string& name);
  ~ObjectModule() override;
};

}  // namespace Tessaril::TestSupport
