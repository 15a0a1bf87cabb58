#include <gmock/gmock.h>

#include "diagnostics/picture/DisplayNames.h"

namespace Tessaril::Diagnostics {
namespace {

GraphSnapshot named(const std::vector<std::string>& names) {
  GraphSnapshot snapshot;
  for (const std::string& name : names) {
    snapshot.modules.emplace_back().name = name;
  }
  return snapshot;
}

TEST(DisplayNames, AreWithoutTheFolderThatAllLieIn) {
  const DisplayNames names(named({"/design/gear/pinion", "/design/gear/wheel", "/design/shaft"}));

  EXPECT_EQ(names.longName("/design/gear/pinion"), "gear/pinion");
  EXPECT_EQ(names.longName("/design/shaft"), "shaft");
}

TEST(DisplayNames, AreNotCutInTheMiddleOfAFolder) {
  const DisplayNames names(named({"/gears/a", "/gearbox/b"}));

  EXPECT_EQ(names.longName("/gears/a"), "gears/a");
}

TEST(DisplayNames, OfNamesWithoutFoldersAreTheNames) {
  const DisplayNames names(named({"pinion", "pinion 2"}));

  EXPECT_EQ(names.longName("pinion"), "pinion");
  EXPECT_EQ(names.shortName("pinion 2"), "pinion 2");
}

TEST(DisplayNames, InShortAreTheLastNameOfAPath) {
  const DisplayNames names(named({"/design/gear/pinion", "/design/gear/wheel", "/design/shaft"}));

  EXPECT_EQ(names.shortName("/design/gear/pinion"), "pinion");
}

TEST(DisplayNames, InShortKeepTheFolderWhereTheLastNameIsTakenTwice) {
  const DisplayNames names(named({"/a/bore", "/b/bore", "/b/teeth"}));

  EXPECT_EQ(names.shortName("/a/bore"), "a/bore");
  EXPECT_EQ(names.shortName("/b/bore"), "b/bore");
  EXPECT_EQ(names.shortName("/b/teeth"), "teeth");
}

TEST(DisplayNames, InShortAreWholeWhereNothingFollowsTheLastFolder) {
  const DisplayNames names(named({"a/b/", "a/c", "d"}));

  EXPECT_EQ(names.shortName("a/b/"), "a/b/");
}

TEST(DisplayNames, AreOfLimitedLength) {
  const std::string name = std::string(50, 'a') + std::string(50, 'z');
  const DisplayNames names(named({name}));

  EXPECT_EQ(names.longName(name), std::string(20, 'a') + "…" + std::string(19, 'z'));
  EXPECT_EQ(names.shortName(name), std::string(9, 'a') + "…" + std::string(8, 'z'));
}

TEST(DisplayNames, OfAnEmptyGraphLeaveNamesAlone) {
  const DisplayNames names{GraphSnapshot{}};

  EXPECT_EQ(names.longName("/design/pinion"), "/design/pinion");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
