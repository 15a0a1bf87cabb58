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

TEST(CleanText, LeavesWellFormedTextAlone) {
  const std::string text = "Größe ≤ 5 µm, 歯車 🙂 <&\">\\";
  EXPECT_EQ(cleanText(text), text);
}

TEST(CleanText, MakesOneLine) { EXPECT_EQ(cleanText("a\nb\tc\rd"), "a b c d"); }

TEST(CleanText, ReplacesBytesThatAreNoUtf8) {
  EXPECT_EQ(cleanText("a\xFFz"), "a\xEF\xBF\xBDz");
  // Cut off in the middle of a character.
  EXPECT_EQ(cleanText("a\xE2\x82"), "a\xEF\xBF\xBD\xEF\xBF\xBD");
  // A continuation without a beginning, and a beginning without a continuation.
  EXPECT_EQ(cleanText("\x80"), "\xEF\xBF\xBD");
  EXPECT_EQ(cleanText("\xC3z"), "\xEF\xBF\xBDz");
  // "/" in more bytes than it takes.
  EXPECT_EQ(cleanText("\xC0\xAF"), "\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(cleanText("\xE0\x80\xAF"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(CleanText, ReplacesWhatXmlDoesNotAccept) {
  EXPECT_EQ(cleanText(std::string("a\0b\x1B", 4)),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
  EXPECT_EQ(cleanText("\x7F"), "\xEF\xBF\xBD");
  // A half of a surrogate pair, and U+FFFF.
  EXPECT_EQ(cleanText("\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(cleanText("\xEF\xBF\xBF"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Shortened, TakesTheMiddleOut) {
  EXPECT_EQ(shortened("abcdefgh", 8), "abcdefgh");
  EXPECT_EQ(shortened("abcdefghi", 8), "abcd…ghi");
  EXPECT_EQ(shortened("abcdefghi", 3), "a…i");
}

TEST(Shortened, CountsCharactersAndNotBytes) {
  EXPECT_EQ(shortened("äöüßäöüß", 8), "äöüßäöüß");
  EXPECT_EQ(shortened("äöüßäöüßx", 5), "äö…ßx");
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
