#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "reference_platform/translation/Catalogue.h"
#include "tessaril/platform/translation/Translator.h"

namespace Tessaril::ReferencePlatform {
namespace {

using testing::IsNull;
using testing::Pointee;

std::string translated(int count = -1) {
  return Translator::translate("Context", "Text", "", count);
}

Catalogue knowing(const std::string& translation) {
  Catalogue catalogue;
  catalogue.add("Context", "Text", translation);
  return catalogue;
}

TEST(CatalogueTest, KnowsWhatWasAdded) {
  const Catalogue catalogue = knowing("translated");
  EXPECT_THAT(catalogue.find("Context", "Text", "", -1), Pointee(std::string("translated")));
  EXPECT_THAT(catalogue.find("Context", "Other", "", -1), IsNull());
  EXPECT_THAT(catalogue.find("Other", "Text", "", -1), IsNull());
}

TEST(CatalogueTest, ContextTextAndCommentDoNotRunTogether) {
  Catalogue catalogue;
  catalogue.add("ab", "c", "translated");
  EXPECT_THAT(catalogue.find("a", "bc", "", -1), IsNull());
  EXPECT_THAT(catalogue.find("ab", "", "c", -1), IsNull());
}

TEST(CatalogueTest, ATranslationMayBeEmpty) {
  EXPECT_THAT(knowing("").find("Context", "Text", "", -1), Pointee(std::string()));
}

TEST(CatalogueTest, AddingAgainReplaces) {
  Catalogue catalogue = knowing("old");
  catalogue.add("Context", "Text", "new");
  EXPECT_THAT(catalogue.find("Context", "Text", "", -1), Pointee(std::string("new")));
}

TEST(CatalogueTest, AnEntryWithoutACommentServesEveryComment) {
  const Catalogue catalogue = knowing("translated");
  EXPECT_THAT(catalogue.find("Context", "Text", "any", -1), Pointee(std::string("translated")));
}

TEST(CatalogueTest, AnEntryWithACommentGoesFirstThereAndNowhereElse) {
  Catalogue catalogue;
  catalogue.add("Context", "Text", "with comment", "comment");
  EXPECT_THAT(catalogue.find("Context", "Text", "", -1), IsNull());
  EXPECT_THAT(catalogue.find("Context", "Text", "other", -1), IsNull());
  catalogue.add("Context", "Text", "without comment");
  EXPECT_THAT(catalogue.find("Context", "Text", "comment", -1),
              Pointee(std::string("with comment")));
  EXPECT_THAT(catalogue.find("Context", "Text", "other", -1),
              Pointee(std::string("without comment")));
}

TEST(CatalogueTest, TheCountSelectsThePluralForm) {
  Catalogue catalogue;
  catalogue.addPlural("Context", "Text", {"one", "many"});
  EXPECT_THAT(catalogue.find("Context", "Text", "", 1), Pointee(std::string("one")));
  EXPECT_THAT(catalogue.find("Context", "Text", "", 2), Pointee(std::string("many")));
  EXPECT_THAT(catalogue.find("Context", "Text", "", 0), Pointee(std::string("many")));
  EXPECT_THAT(catalogue.find("Context", "Text", "", -1), IsNull());
}

TEST(CatalogueTest, TheLanguageHasItsOwnPluralRule) {
  Catalogue catalogue([](int count) -> std::size_t {
    if (count % 10 == 1 && count % 100 != 11) {
      return 0;
    }
    return count % 10 >= 2 && count % 10 <= 4 && (count % 100 < 12 || count % 100 > 14) ? 1 : 2;
  });
  catalogue.addPlural("Context", "Text", {"form 0", "form 1", "form 2"});
  EXPECT_THAT(catalogue.find("Context", "Text", "", 21), Pointee(std::string("form 0")));
  EXPECT_THAT(catalogue.find("Context", "Text", "", 33), Pointee(std::string("form 1")));
  EXPECT_THAT(catalogue.find("Context", "Text", "", 11), Pointee(std::string("form 2")));
}

TEST(CatalogueTest, AMissingPluralFormIsUnknown) {
  Catalogue catalogue;
  catalogue.addPlural("Context", "Text", {"one"});
  EXPECT_THAT(catalogue.find("Context", "Text", "", 1), Pointee(std::string("one")));
  EXPECT_THAT(catalogue.find("Context", "Text", "", 2), IsNull());
}

TEST(CatalogueTest, ARequestWithACountFallsBackOnTheOnlyTranslation) {
  EXPECT_THAT(knowing("translated").find("Context", "Text", "", 2),
              Pointee(std::string("translated")));
}

TEST(CatalogueTest, SingleAndPluralFormsStandSideBySide) {
  Catalogue catalogue = knowing("single");
  catalogue.addPlural("Context", "Text", {"one", "many"});
  EXPECT_THAT(catalogue.find("Context", "Text", "", -1), Pointee(std::string("single")));
  EXPECT_THAT(catalogue.find("Context", "Text", "", 5), Pointee(std::string("many")));
}

TEST(CatalogueInstallationTest, TheLaterInstalledWins) {
  const auto first = installCatalogue(knowing("first"));
  {
    const auto second = installCatalogue(knowing("second"));
    EXPECT_EQ(translated(), "second");
  }
  EXPECT_EQ(translated(), "first");
}

TEST(CatalogueInstallationTest, TheEarlierEndingInTheMiddleLeavesTheLater) {
  auto first = installCatalogue(knowing("first"));
  const auto second = installCatalogue(knowing("second"));
  first.end();
  EXPECT_EQ(translated(), "second");
}

TEST(CatalogueInstallationTest, WhatTheLaterDoesNotKnowTheEarlierAnswers) {
  const auto first = installCatalogue(knowing("first"));
  const auto second = installCatalogue(Catalogue());
  EXPECT_EQ(translated(), "first");
}

TEST(CatalogueInstallationTest, TheTranslatorPassesTheCountOn) {
  Catalogue catalogue = knowing("single");
  catalogue.addPlural("Context", "Text", {"%1 piece", "%1 pieces"});
  const auto installed = installCatalogue(std::move(catalogue));
  EXPECT_EQ(translated(), "single");
  EXPECT_EQ(TranslatorArg::translate("Context", "Text", "", 1).arg("1").toString(), "1 piece");
  EXPECT_EQ(TranslatorArg::translate("Context", "Text", "", 7).arg("7").toString(), "7 pieces");
}

TEST(CatalogueInstallationTest, CataloguesComeAndGoWhileOthersTranslate) {
  const auto lasting = installCatalogue(knowing("lasting"));
  std::atomic<int> unknown = 0;
  std::thread translating([&] {
    for (int i = 0; i < 500; ++i) {
      const std::string answer = translated();
      unknown += answer != "lasting" && answer != "passing" ? 1 : 0;
    }
  });
  for (int i = 0; i < 200; ++i) {
    const auto passing = installCatalogue(knowing("passing"));
  }
  translating.join();
  EXPECT_EQ(unknown, 0);
  EXPECT_EQ(translated(), "lasting");
}

}  // namespace
}  // namespace Tessaril::ReferencePlatform
