#include <gtest/gtest.h>

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {
namespace {

TEST(TextTools, TrimBothEnds) {
  EXPECT_EQ(trimmed(" \t a b \r\n"), "a b");
  EXPECT_EQ(trimmed(" \t "), "");
}

TEST(TextTools, KeepExcerptsInOneLine) {
  EXPECT_EQ(excerpt("a\nb\tc\x7f"), "a?b?c?");
  EXPECT_EQ(inQuotes("x"), "'x'");
}

TEST(TextTools, CutLongExcerptsBetweenCharacters) {
  const std::string longText = std::string(199, 'x') + "°°°";
  EXPECT_EQ(excerpt(longText), std::string(199, 'x') + "...");
  EXPECT_EQ(excerpt(std::string(200, 'x')), std::string(200, 'x'));
}

TEST(TextTools, EnumerateWords) {
  EXPECT_EQ(enumerated({}, "or"), "");
  EXPECT_EQ(enumerated({"a"}, "or"), "a");
  EXPECT_EQ(enumerated({"a", "b"}, "or"), "a or b");
  EXPECT_EQ(enumerated({"a", "b", "c"}, "and"), "a, b and c");
}

TEST(TextTools, FindTheNearestWord) {
  const std::vector<std::string> words{"module", "torque", "speed"};
  EXPECT_EQ(nearestWord("modul", words), "module");
  EXPECT_EQ(nearestWord("torgue", words), "torque");
  EXPECT_EQ(nearestWord("sped", words), "speed");
  EXPECT_EQ(nearestWord("colour", words), "");
}

TEST(TextTools, WriteNumbersThatReadBackEqual) {
  EXPECT_EQ(numberText(0.1), "0.1");
  EXPECT_EQ(numberText(1000000.0), "1000000");
  EXPECT_EQ(numberText(-2.0), "-2");
  EXPECT_EQ(numberText(1e-7), "1e-07");
  for (const double value : {1.0 / 3.0, 1e-300, 12345.678901234567, 2.2250738585072014e-308}) {
    EXPECT_EQ(std::stod(numberText(value)), value);
  }
}

TEST(TextTools, WriteNumbersWithFixedDecimals) {
  EXPECT_EQ(fixedText(1.005, 1), "1.0");
  EXPECT_EQ(fixedText(-0.0004, 2), "0.00");
  EXPECT_EQ(fixedText(-0.5, 2), "-0.50");
}

TEST(TextTools, PadByCharactersAndNotByBytes) {
  EXPECT_EQ(padded("20°", 5), "20°  ");
  EXPECT_EQ(padded("20°", 5, true), "  20°");
  EXPECT_EQ(padded("12345", 3), "12345");
}

}  // namespace
}  // namespace GearPair
