#include <gmock/gmock.h>

#include <stdexcept>

#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/TestModule.h"

namespace Tessaril::TestSupport {
namespace {

TEST(TestModuleTest, UnsetAnswersAreThoseOfAnyModule) {
  const TestModule module("M");
  const ApplyModule plain;
  EXPECT_EQ(module.getModuleName(), "M");
  EXPECT_EQ(module.isApplyNecessary(true), plain.isApplyNecessary(true));
  EXPECT_EQ(module.isApplyPossible(), plain.isApplyPossible());
  EXPECT_EQ(module.isAutoApplyNecessary(), plain.isAutoApplyNecessary());
  EXPECT_EQ(module.isAutoApplyPossible(), plain.isAutoApplyPossible());
  EXPECT_EQ(module.isUpdateInfoRelevant({}), plain.isUpdateInfoRelevant({}));
  EXPECT_EQ(module.updateAlways(), plain.updateAlways());
  EXPECT_EQ(module.usesSharedResources(), plain.usesSharedResources());
  EXPECT_EQ(module.enableDesignSwitch(), plain.enableDesignSwitch());
  EXPECT_EQ(module.getSpeedRate(), plain.getSpeedRate());
  EXPECT_EQ(module.computeIsInputOk(), plain.computeIsInputOk());
}

TEST(TestModuleTest, SetAnswersAreGiven) {
  TestModule module;
  const auto rate = static_cast<LegacyProgress::Speed::Rate>(1);
  module.answers = {.applyNecessary = true,
                    .applyNecessaryAsEnd = false,
                    .applyPossible = true,
                    .autoApplyNecessary = false,
                    .autoApplyPossible = false,
                    .updateInfoRelevant = true,
                    .updateAlways = false,
                    .usesSharedResources = true,
                    .enableDesignSwitch = true,
                    .speedRate = rate,
                    .computedInputOk = false};
  EXPECT_TRUE(module.isApplyNecessary(false));
  EXPECT_FALSE(module.isApplyNecessary(true));
  EXPECT_TRUE(module.isApplyPossible());
  EXPECT_FALSE(module.isAutoApplyNecessary());
  EXPECT_FALSE(module.isAutoApplyPossible());
  EXPECT_TRUE(module.isUpdateInfoRelevant({}));
  EXPECT_FALSE(module.updateAlways());
  EXPECT_TRUE(module.usesSharedResources());
  EXPECT_TRUE(module.enableDesignSwitch());
  EXPECT_EQ(module.getSpeedRate(), rate);
  EXPECT_FALSE(module.computeIsInputOk());
}

TEST(TestModuleTest, GraphChangesAreCountedAndHandedOn) {
  TestModule module;
  module.whenGraphChanges = [](TestModule&) { throw std::runtime_error("hook"); };
  EXPECT_THROW(PrivateLinks::addNext(module, std::make_shared<TestModule>()), std::runtime_error);
  EXPECT_EQ(module.graphChanges, 1);
}

TEST(TestModuleTest, AnObjectModuleIsAnObjectToo) {
  const std::shared_ptr<ApplyModule> module = std::make_shared<ObjectModule>("M");
  const auto object = std::dynamic_pointer_cast<Object>(module);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->getName(), "M");
  EXPECT_EQ(object->shared_from_this(), object);
}

TEST(PrivateLinksTest, FieldsCanBeWrittenDirectly) {
  TestModule module;
  PrivateLinks::nextList(module).add(nullptr);
  PrivateLinks::previousList(module).add(nullptr);
  PrivateLinks::previousList(module).add(nullptr);
  PrivateLinks::setSpeedRate(module, static_cast<LegacyProgress::Speed::Rate>(1));
  PrivateLinks::insertInfo(module).setTransferChains(true);
  EXPECT_EQ(module.getNextApplyModules().size(), 1U);
  EXPECT_EQ(module.getPreviousApplyModules().size(), 2U);
  EXPECT_EQ(module.getSpeedRate(), static_cast<LegacyProgress::Speed::Rate>(1));
  EXPECT_EQ(module.graphChanges, 0);
}

}  // namespace
}  // namespace Tessaril::TestSupport
