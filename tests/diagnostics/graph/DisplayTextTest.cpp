#include <gmock/gmock.h>

#include "diagnostics/graph/DisplayText.h"

namespace Tessaril::Diagnostics {
namespace {

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

}  // namespace
}  // namespace Tessaril::Diagnostics
