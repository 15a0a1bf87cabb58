#include <gtest/gtest.h>

#include <type_traits>

#include "tessaril/engine/ExceptionPolicy.h"

namespace Tessaril {
namespace {

static_assert(!std::is_copy_constructible_v<ExceptionPolicy>);
static_assert(!std::is_copy_assignable_v<ExceptionPolicy>);

TEST(ExceptionPolicyTest, PreservesTheStateUnlessToldOtherwise) {
  EXPECT_TRUE(ExceptionPolicy::preservesState());
}

TEST(ExceptionPolicyTest, HoldsForAScope) {
  {
    const ExceptionPolicy outer(false);
    EXPECT_FALSE(ExceptionPolicy::preservesState());
    {
      const ExceptionPolicy inner(true);
      EXPECT_TRUE(ExceptionPolicy::preservesState());
    }
    EXPECT_FALSE(ExceptionPolicy::preservesState());
  }
  EXPECT_TRUE(ExceptionPolicy::preservesState());
}

TEST(ExceptionPolicyTest, PutsBackWhatItFoundNotTheDefault) {
  ExceptionPolicy::setPreservesState(false);
  { const ExceptionPolicy same(false); }
  EXPECT_FALSE(ExceptionPolicy::preservesState());
  ExceptionPolicy::setPreservesState(true);
  EXPECT_TRUE(ExceptionPolicy::preservesState());
}

}  // namespace
}  // namespace Tessaril
