#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "examples/gear_pair/application/UnitSystemMessage.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(UnitSystem, IsChangedByTheModulesThatWriteTexts) {
  DesignSession session = inlineSession();
  session.update();
  session.setUnitSystem(UnitSystem::kUsCustomary);
  const RunAccount expected{
      {"report", "message handled"}, {"drawing", "message handled"}, {"plan", "message handled"}};
  EXPECT_EQ(session.getAccount(), expected);
  const auto design = session.design();
  EXPECT_THAT(*design->report()->getResult(), HasSubstr("lbf·in"));
  EXPECT_THAT(*design->drawing()->getResult(), HasSubstr("a = 3.035"));
  EXPECT_THAT(*design->plan()->getResult(), Not(HasSubstr(" mm")));
}

TEST(UnitSystem, LeavesNothingToApply) {
  DesignSession session = inlineSession();
  session.update();
  session.setUnitSystem(UnitSystem::kUsCustomary);
  for (const auto& module : session.design()->getModules()) {
    EXPECT_EQ(flagsOf(*module), "aci..") << module->getName();
  }
  EXPECT_EQ(updated(session), "");
}

TEST(UnitSystem, GivesTheTextsOfADesignThatHadItFromTheStart) {
  DesignSession changed = inlineSession();
  changed.update();
  changed.setUnitSystem(UnitSystem::kUsCustomary);
  DesignSession fresh = inlineSession();
  fresh.setUnitSystem(UnitSystem::kUsCustomary);
  EXPECT_TRUE(fresh.getAccount().empty()) << "no module had a text yet";
  fresh.update();
  EXPECT_EQ(difference(Snapshot(*changed.design()), Snapshot(*fresh.design())), "");
}

TEST(UnitSystem, ChangesTheUnitsOfAnOldTextAndNothingElse) {
  DesignSession session = inlineSession();
  session.update();
  session.setUnitSystem(UnitSystem::kUsCustomary);
  const std::string report = *session.design()->report()->getResult();
  session.undo();
  session.set("torque=300 Nm");
  session.setUnitSystem(UnitSystem::kUsCustomary);
  EXPECT_EQ(*session.design()->report()->getResult(), report) << "still that of the old torque";
  EXPECT_EQ(updated(session), "strength:apply report:apply");
  EXPECT_NE(*session.design()->report()->getResult(), report);
}

TEST(UnitSystem, LeavesAFrozenTextAlone) {
  DesignSession session = inlineSession();
  session.update();
  const auto drawing = session.design()->drawing();
  const auto sheet = drawing->getResult();
  session.setFlag(drawing, ModuleFlag::kFrozen, true);
  session.setUnitSystem(UnitSystem::kUsCustomary);
  EXPECT_EQ(drawing->getResult(), sheet);
  EXPECT_EQ(session.getAccount().count("drawing"), 0U);
  EXPECT_FALSE(drawing->isConsistent());
}

TEST(UnitSystem, MessageIsGlobalAndEmptyWhereNothingChanges) {
  const UnitSystemMessage change(UnitSystem::kMetric, UnitSystem::kUsCustomary);
  EXPECT_TRUE(change.isGlobal());
  EXPECT_FALSE(change.isEmpty());
  EXPECT_TRUE(UnitSystemMessage(UnitSystem::kMetric, UnitSystem::kMetric).isEmpty());
  const auto copy = std::dynamic_pointer_cast<UnitSystemMessage>(change.clone());
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy.get(), &change);
  EXPECT_EQ(copy->getUnits(), UnitSystem::kUsCustomary);
}

TEST(UnitSystem, MessageIsRelevantForATextInOtherUnits) {
  DesignSession session = inlineSession();
  session.update();
  const auto infoOf = [](UnitSystem from, UnitSystem to) {
    return Tessaril::ApplyUpdateInfo({std::make_shared<UnitSystemMessage>(from, to)});
  };
  const auto toUs = infoOf(UnitSystem::kMetric, UnitSystem::kUsCustomary);
  const auto design = session.design();
  EXPECT_TRUE(design->report()->isUpdateInfoRelevant(toUs));
  EXPECT_TRUE(design->drawing()->isUpdateInfoRelevant(toUs));
  EXPECT_FALSE(design->mesh()->isUpdateInfoRelevant(toUs));
  EXPECT_FALSE(design->report()->isUpdateInfoRelevant(Tessaril::ApplyUpdateInfo()));
  EXPECT_FALSE(
      design->report()->isUpdateInfoRelevant(infoOf(UnitSystem::kUsCustomary, UnitSystem::kMetric)))
      << "the text is in these units already";
}

}  // namespace
}  // namespace GearPair
