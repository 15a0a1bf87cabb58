#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "tessaril/platform/translation/Translator.h"
#include "tests/platform/ConformanceHost.h"

namespace Tessaril {
namespace {

/// Translates while static objects are destroyed. It was built before the translator was first
/// used, so it goes after whatever the translator has built since. The tests have ended by then:
/// only the exit code is left to tell that the translation was lost.
struct TranslatesAtEnd {
  ~TranslatesAtEnd() {
    if (installed && Translator::translate("Context", "at end") != "translated") {
      std::fputs("A translation was lost while static objects were destroyed\n", stderr);
      std::_Exit(EXIT_FAILURE);
    }
  }
  ConformanceHost::Scope installed;
};

TranslatesAtEnd translatesAtEnd;
const std::string kTranslatedAtStart = Translator::translate("Context", "at start");

std::string filled(const std::string& text, const std::vector<std::string>& values) {
  ArgString filling(text);
  for (const auto& value : values) {
    filling.arg(value);
  }
  return filling.toString();
}

// Texts with markers.

TEST(ArgStringTest, ATextWithoutMarkersStaysAsItIs) {
  EXPECT_EQ(ArgString("plain").toString(), "plain");
  EXPECT_EQ(ArgString("").toString(), "");
}

TEST(ArgStringTest, FillsAMarker) {
  EXPECT_EQ(filled("Update Design up to: %1", {"Report"}), "Update Design up to: Report");
  EXPECT_EQ(filled("%1", {"only"}), "only");
  EXPECT_EQ(filled("<%1>", {""}), "<>");
}

TEST(ArgStringTest, FillsTheLowestOpenMarkerFirst) {
  EXPECT_EQ(filled("%2 %1", {"one"}), "%2 one");
  EXPECT_EQ(filled("%2 %1", {"one", "two"}), "two one");
  EXPECT_EQ(filled("%7 %3", {"three", "seven"}), "seven three");
}

TEST(ArgStringTest, FillsEveryPlaceOfTheMarker) {
  EXPECT_EQ(filled("%1, %2, %1", {"a", "b"}), "a, b, a");
  EXPECT_EQ(filled("%1%1", {"a", "b"}), "aa");
}

TEST(ArgStringTest, NeverExpandsInsertedText) {
  EXPECT_EQ(filled("%1 %2", {"%2", "two"}), "%2 two");
  EXPECT_EQ(filled("%1 %2", {"%1", "two"}), "%1 two");
  EXPECT_EQ(filled("%1", {"%1", "ignored"}), "%1");
}

TEST(ArgStringTest, InsertedTextDoesNotJoinItsSurroundingsIntoMarkers) {
  EXPECT_EQ(filled("%%1 %2", {"2", "two"}), "%2 two");
  EXPECT_EQ(filled("%1 %20", {"", "a"}), " a");
  EXPECT_EQ(filled("%1%2", {"%", "2"}), "%2");
}

TEST(ArgStringTest, AMarkerTakesAllDigitsThatFollow) {
  EXPECT_EQ(filled("%10 %1", {"one"}), "%10 one");
  EXPECT_EQ(filled("%10 %9", {"nine", "ten"}), "ten nine");
}

TEST(ArgStringTest, MoreArgumentsThanMarkersChangeNothing) {
  EXPECT_EQ(filled("%1", {"a", "b"}), "a");
  EXPECT_EQ(filled("plain", {"a"}), "plain");
}

TEST(ArgStringTest, OpenMarkersStandAsTheyAre) { EXPECT_EQ(filled("%1 %2 %3", {"a"}), "a %2 %3"); }

TEST(ArgStringTest, APercentSignThatBeginsNoMarkerIsOrdinaryText) {
  EXPECT_EQ(filled("100 % of %1", {"a"}), "100 % of a");
  EXPECT_EQ(filled("%", {"a"}), "%");
  EXPECT_EQ(filled("%%1", {"a"}), "%a");
  EXPECT_EQ(filled("%1%", {"a"}), "a%");
  EXPECT_EQ(filled("%n %x", {"a"}), "%n %x");
}

TEST(ArgStringTest, AMarkersNumberIsAtLeastOneAndStartsWithNoZero) {
  EXPECT_EQ(filled("%0 %01 %1", {"a"}), "%0 %01 a");
}

TEST(ArgStringTest, AnAbsurdNumberIsOrdinaryText) {
  EXPECT_EQ(filled("%99999999999999999999 %1", {"a", "b"}), "%99999999999999999999 a");
}

TEST(ArgStringTest, CallsCanBeChainedAndTheResultConverts) {
  const std::string text = ArgString("%1 failed with: %2").arg("Mesh").arg("no contact");
  EXPECT_EQ(text, "Mesh failed with: no contact");
}

TEST(ArgStringTest, ACopyIsFilledOnItsOwn) {
  ArgString original("%1 %2");
  original.arg("a");
  ArgString copy = original;
  copy.arg("b");
  EXPECT_EQ(copy.toString(), "a b");
  EXPECT_EQ(original.toString(), "a %2");
}

// Translating.

TEST(TranslatorTest, WithoutACatalogueTheTextIsTheAnswer) {
  EXPECT_EQ(Translator::translate("Context", "unknown text"), "unknown text");
  EXPECT_EQ(Translator::translate("Context", "unknown text", "comment", 3), "unknown text");
  EXPECT_EQ(Translator::translate("", ""), "");
  EXPECT_EQ(kTranslatedAtStart, "at start");
}

TEST(TranslatorTest, UsesTheInstalledTranslation) {
  const auto installed =
      ConformanceHost::installTranslation("Command", "Update Design", "Entwurf aktualisieren");
  EXPECT_EQ(Translator::translate("Command", "Update Design"), "Entwurf aktualisieren");
}

TEST(TranslatorTest, TheContextBelongsToTheText) {
  const auto installed = ConformanceHost::installTranslation("Command", "Text", "translated");
  EXPECT_EQ(Translator::translate("Other", "Text"), "Text");
  EXPECT_EQ(Translator::translate("Command", "Other"), "Other");
  EXPECT_EQ(Translator::translate("Command", "text"), "text");
}

TEST(TranslatorTest, ATranslationLastsAsLongAsItIsInstalled) {
  auto installed = ConformanceHost::installTranslation("Command", "Text", "translated");
  EXPECT_EQ(Translator::translate("Command", "Text"), "translated");
  installed.reset();
  EXPECT_EQ(Translator::translate("Command", "Text"), "Text");
}

TEST(TranslatorTest, SeveralTranslationsAreKnownAtOnce) {
  const auto first = ConformanceHost::installTranslation("Command", "One", "Eins");
  const auto second = ConformanceHost::installTranslation("Command", "Two", "Zwei");
  EXPECT_EQ(Translator::translate("Command", "One"), "Eins");
  EXPECT_EQ(Translator::translate("Command", "Two"), "Zwei");
}

TEST(TranslatorTest, MarkersAreFilledInTheTranslation) {
  const auto installed =
      ConformanceHost::installTranslation("Command", "%1 failed with: %2", "%2 (in %1)");
  const std::string text =
      TranslatorArg::translate("Command", "%1 failed with: %2").arg("Mesh").arg("no contact");
  EXPECT_EQ(text, "no contact (in Mesh)");
}

TEST(TranslatorTest, MarkersAreFilledInTheTextItselfWithoutACatalogue) {
  EXPECT_EQ(TranslatorArg::translate("Command", "up to: %1", "comment", -1).arg("End").toString(),
            "up to: End");
}

TEST(TranslatorTest, TranslatesOnAnyThread) {
  const auto installed = ConformanceHost::installTranslation("Command", "Text", "translated");
  std::vector<std::string> answers(4);
  std::vector<std::thread> threads;
  for (auto& answer : answers) {
    threads.emplace_back([&answer] { answer = Translator::translate("Command", "Text"); });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(answers, std::vector<std::string>(4, "translated"));
}

TEST(TranslatorTest, MayBeCalledWhileStaticObjectsAreDestroyed) {
  translatesAtEnd.installed =
      ConformanceHost::installTranslation("Context", "at end", "translated");
  EXPECT_EQ(Translator::translate("Context", "at end"), "translated")
      << "the rest is checked at the exit";
}

TEST(TranslatorTest, ServicesAreNoObjects) {
  EXPECT_FALSE(std::is_default_constructible_v<Translator>);
  EXPECT_FALSE(std::is_default_constructible_v<TranslatorArg>);
}

}  // namespace
}  // namespace Tessaril
