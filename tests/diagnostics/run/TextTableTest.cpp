#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "diagnostics/run/TextTable.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::ElementsAre;
using Align = TextTable::Align;

TEST(DisplayWidth, CountsWhatATerminalShows) {
  EXPECT_EQ(displayWidth(""), 0U);
  EXPECT_EQ(displayWidth("strength"), 8U);
  EXPECT_EQ(displayWidth("12 µs"), 5U);
  EXPECT_EQ(displayWidth("Prüfung → ✓"), 11U);
  EXPECT_EQ(displayWidth("e\u0301"), 1U);
  EXPECT_EQ(displayWidth("歯車"), 4U);
  EXPECT_EQ(displayWidth("⚙🙂"), 3U);
}

TEST(DisplayWidth, CountsBytesThatAreNoTextOneByOne) {
  EXPECT_EQ(displayWidth("\xff\xfe"), 2U);
  EXPECT_EQ(displayWidth("a\xc3"), 2U);
  EXPECT_EQ(displayWidth("\xe2\x28\xa1"), 3U);
  EXPECT_EQ(displayWidth("\xe0\x80\xaf"), 3U) << "longer than need be";
  EXPECT_EQ(displayWidth("\xed\xa0\x80"), 3U) << "half of a surrogate pair";
  EXPECT_EQ(displayWidth("\xf4\x90\x80\x80"), 4U) << "beyond the last character";
}

TEST(BrokenInto, BreaksBetweenWords) {
  EXPECT_THAT(brokenInto(9, "one two three four"), ElementsAre("one two", "three", "four"));
  EXPECT_THAT(brokenInto(100, "  one   two "), ElementsAre("one two"));
  EXPECT_THAT(brokenInto(5, ""), ElementsAre(""));
  EXPECT_THAT(brokenInto(40, "two\nlines\tand\x1b[1mmore\x7f"),
              ElementsAre("two lines and [1mmore"));
  EXPECT_THAT(brokenInto(40, "a\u009b2Jb\u0085c à"), ElementsAre("a 2Jb c à"));
}

TEST(BrokenInto, BreaksWordsThatAreTooLongBetweenCharacters) {
  EXPECT_THAT(brokenInto(3, "abcdefgh"), ElementsAre("abc", "def", "gh"));
  EXPECT_THAT(brokenInto(3, "x äöüäö"), ElementsAre("x", "äöü", "äö"));
  EXPECT_THAT(brokenInto(3, "歯車歯"), ElementsAre("歯", "車", "歯"));
  EXPECT_THAT(brokenInto(1, "歯"), ElementsAre("歯"));
}

TEST(BrokenInto, BreaksWordsOfAnyLength) {
  const auto lines = brokenInto(50, std::string(1'000'001, 'x'));
  EXPECT_EQ(lines.size(), 20'001U);
  EXPECT_EQ(lines.back(), "x");
}

TEST(TextTable, AlignsByWhatIsShown) {
  TextTable table({{"name"}, {"time", Align::Right}, {"why"}}, 60);
  table.addRow({"Zähne", "12 µs", "first"});
  table.addRow({"歯車", "1 ms", "second"});
  EXPECT_EQ(table.text(),
            "name    time  why\n"
            "Zähne  12 µs  first\n"
            "歯車    1 ms  second\n");
}

TEST(TextTable, BreaksTheLastColumnAtTheWidth) {
  TextTable table({{"name"}, {"why"}}, 30);
  table.addRow({"A", "its result does not match its inputs"});
  table.addRow({"B", "short"});
  EXPECT_EQ(table.text(),
            "name  why\n"
            "A     its result does not\n"
            "      match its inputs\n"
            "B     short\n");
}

TEST(TextTable, BreaksNamesThatAreWiderThanTheirColumnMayBe) {
  TextTable table({{"name", Align::Left, 5}, {"why"}}, 40);
  table.addRow({"a longer name", "x"});
  EXPECT_EQ(table.text(),
            "name   why\n"
            "a      x\n"
            "longe\n"
            "r\n"
            "name\n");
}

TEST(TextTable, LeavesOutColumnsWithoutCells) {
  TextTable table({{"name"}, {"thread"}, {"why"}}, 40);
  table.addRow({"A", "", "x"});
  EXPECT_EQ(table.text(), "name  why\nA     x\n");
}

TEST(TextTable, ShowsItsHeadingWithoutRows) {
  EXPECT_EQ(TextTable({{"name"}, {"why"}}, 40).text(), "name  why\n");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
