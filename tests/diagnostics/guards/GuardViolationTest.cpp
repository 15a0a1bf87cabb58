#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "diagnostics/guards/GuardViolation.h"
#include "tests/diagnostics/guards/GuardedDesign.h"

namespace Tessaril::Diagnostics {
namespace {

using TestSupport::GuardedDesign;
using TestSupport::ViolationLog;

constexpr const char* kEditInAWalk =
    "no edit during a walk: the links of /B were edited on thread 1 (it follows /A and leads to "
    "nothing now) while \"drawing\" walked on thread 1";

void editInAWalk(const std::shared_ptr<GraphGuard>& guard) {
  GuardedDesign design(guard, "A; B");
  const GuardedWalk walk(guard, "drawing");
  design.link("A", "B");
}

TEST(GuardViolationTest, WithoutAHandlerOfOnesOwnTheProcessIsAborted) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_DEATH(editInAWalk(std::make_shared<GraphGuard>()),
               "no edit during a walk: the links of /B were edited on thread 1");
}

TEST(GuardViolationTest, IsThrownWhereTheApplicationChoosesSo) {
  const auto guard = std::make_shared<GraphGuard>(throwOnViolation());
  try {
    editInAWalk(guard);
    FAIL() << "nothing was thrown";
  } catch (const GuardError& error) {
    EXPECT_EQ(error.getViolation().rule, GraphRule::NoEditDuringWalk);
    EXPECT_EQ(error.what(), error.getViolation().text);
    EXPECT_THAT(error.what(), testing::HasSubstr("no edit during a walk: the links of /B"));
  }
}

TEST(GuardViolationTest, IsLoggedWhereTheApplicationChoosesSo) {
  const auto guard = std::make_shared<GraphGuard>(logViolations());
  GuardedDesign design(guard, "A; B");
  {
    const GuardedWalk walk(guard, "drawing");
    design.link("A", "B");
  }
  const std::string log = design.log.take();
  EXPECT_THAT(log, testing::StartsWith("error{no edit during a walk: the links of /B were edited"));
  EXPECT_EQ(TestSupport::text(design.graph), "A -> B") << "the edit is carried out all the same";
}

TEST(GuardViolationTest, NothingHappensWithoutAnyHandler) {
  const auto guard = std::make_shared<GraphGuard>(ViolationHandler());
  EXPECT_NO_THROW(editInAWalk(guard));
}

TEST(GuardViolationTest, SaysAllOfItAsDataToo) {
  ViolationLog violations;
  const auto guard = std::make_shared<GraphGuard>(violations.handler());
  GuardedDesign design(guard, "A; B");
  {
    const GuardedWalk walk(guard, "drawing");
    design.link("A", "B");
  }
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u) << "an entry in each of the two lists";
  EXPECT_EQ(found[0].rule, GraphRule::NoEditDuringWalk);
  EXPECT_EQ(found[0].operation, "onApplyGraphChanged");
  EXPECT_EQ(found[0].module, "/B");
  EXPECT_EQ(found[0].update, "");
  EXPECT_EQ(found[0].thread, 1u);
  ASSERT_EQ(found[0].ongoing.size(), 1u);
  EXPECT_EQ(found[0].ongoing[0].kind, GraphWork::Kind::Walk);
  EXPECT_EQ(found[0].ongoing[0].name, "drawing");
  EXPECT_EQ(found[0].text, kEditInAWalk);
  EXPECT_EQ(found[1].module, "/A");
}

TEST(GuardViolationTest, IsOneLineWhateverTheNames) {
  ViolationLog violations;
  const auto guard = std::make_shared<GraphGuard>(
      violations.handler(), [](const ApplyModule&) { return std::string("two\nlines\xff"); });
  editInAWalk(guard);
  const auto found = violations.take();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_THAT(found[0].text, testing::HasSubstr("the links of two lines\uFFFD were edited"));
  EXPECT_EQ(found[0].module, "two\nlines\xff") << "the name itself is as it is";
}

TEST(GuardViolationTest, RulesHaveNames) {
  EXPECT_EQ(ruleName(GraphRule::NoEditDuringRun), "no edit during a run");
  EXPECT_EQ(ruleName(GraphRule::NoEditDuringWalk), "no edit during a walk");
  EXPECT_EQ(ruleName(GraphRule::NoEditDuringEdit), "no edit during another edit");
  EXPECT_EQ(ruleName(GraphRule::NoEditDuringQuestion), "no edit during a question");
  EXPECT_EQ(ruleName(GraphRule::NoStartDuringRun), "no start during a run");
  EXPECT_EQ(ruleName(GraphRule::OneThread), "one thread");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
