#include <gtest/gtest.h>

#include "examples/gear_pair/cli/ClassList.h"

namespace GearPair {
namespace {

TEST(ClassList, NamesClassesWithTheirVersions) {
  EXPECT_EQ(classList({{1, "Gear", 3}, {2, "Shaft", 500002}}, 100),
            "Classes and versions in the file: Gear 3, Shaft 500002\n");
}

TEST(ClassList, BreaksLongLines) {
  EXPECT_EQ(classList({{1, "Gear", 3}, {2, "Shaft", 500002}, {3, "Key", 1}}, 45),
            "Classes and versions in the file: Gear 3,\n  Shaft 500002, Key 1\n");
}

}  // namespace
}  // namespace GearPair
