#include <gtest/gtest.h>

#include "examples/gear_pair/application/ToothFormCache.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

Requirements requirementsOf(const std::string& assignment) {
  DesignInput input = soundDesign();
  setValue(input, assignment);
  return deriveRequirements(input);
}

TEST(ToothFormCache, ComputesAFormOnce) {
  ToothFormCache cache;
  cache.beginUpdate();
  const Requirements requirements = deriveRequirements(soundDesign());
  const auto form = cache.toothForm(requirements, Member::kPinion);
  EXPECT_EQ(*form, computeToothForm(requirements, Member::kPinion));
  EXPECT_EQ(cache.toothForm(requirements, Member::kPinion), form);
  EXPECT_NE(cache.toothForm(requirements, Member::kWheel), form);
  EXPECT_EQ(cache.getHits(), 1);
  EXPECT_EQ(cache.getMisses(), 2);
}

TEST(ToothFormCache, KnowsWhatTeethDoNotDependOn) {
  ToothFormCache cache;
  cache.beginUpdate();
  const auto form = cache.toothForm(requirementsOf("torque=10 Nm"), Member::kPinion);
  EXPECT_EQ(cache.toothForm(requirementsOf("face_width=20 mm"), Member::kPinion), form);
  EXPECT_EQ(cache.toothForm(requirementsOf("wheel_bore=20 mm"), Member::kPinion), form);
  EXPECT_NE(cache.toothForm(requirementsOf("pinion_bore=20 mm"), Member::kPinion), form);
  EXPECT_NE(cache.toothForm(requirementsOf("wheel_teeth=50"), Member::kPinion), form);
}

TEST(ToothFormCache, ForgetsFormsAtTheEndOfTheRunAndCountsAtTheNextBeginning) {
  ToothFormCache cache;
  cache.beginUpdate();
  const Requirements requirements = deriveRequirements(soundDesign());
  const std::weak_ptr<const ToothForm> form = cache.toothForm(requirements, Member::kPinion);
  cache.endUpdate();
  cache.endUpdate();
  EXPECT_TRUE(form.expired());
  EXPECT_EQ(cache.getMisses(), 1);
  cache.beginUpdate();
  EXPECT_EQ(cache.getMisses(), 0);
}

TEST(ToothFormCache, DoesNotKeepAFailure) {
  ToothFormCache cache;
  cache.beginUpdate();
  const Requirements requirements = requirementsOf("pinion_teeth=8");
  EXPECT_THROW(cache.toothForm(requirements, Member::kPinion), DesignError);
  EXPECT_THROW(cache.toothForm(requirements, Member::kPinion), DesignError);
  EXPECT_EQ(cache.getMisses(), 2);
}

TEST(ToothFormCache, CanBeMissing) {
  const Requirements requirements = deriveRequirements(soundDesign());
  EXPECT_EQ(*toothForm(nullptr, requirements, Member::kWheel),
            computeToothForm(requirements, Member::kWheel));
}

}  // namespace
}  // namespace GearPair
