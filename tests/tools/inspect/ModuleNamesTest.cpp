#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/inspect/Commands.h"
#include "tools/inspect/ModuleNames.h"

namespace Tessaril::Inspect {
namespace {

using testing::ThrowsMessage;

const std::vector<std::string> kNames{"/a/gear", "/b/gear", "/b/rack", "rack", "/b/long rack"};

TEST(ModuleNames, AreWholeOrTheirLastParts) {
  EXPECT_EQ(findModule(kNames, "/b/gear"), 1U);
  EXPECT_EQ(findModule(kNames, "a/gear"), 0U);
  EXPECT_EQ(findModule(kNames, "long rack"), 4U);
}

TEST(ModuleNames, AWholeNameGoesBeforePartsOfOthers) { EXPECT_EQ(findModule(kNames, "rack"), 3U); }

TEST(ModuleNames, RefusesWhatNamesNoneOrSeveral) {
  EXPECT_THAT([] { findModule(kNames, "gear"); },
              ThrowsMessage<InputError>("\"gear\" may be /a/gear or /b/gear"));
  for (const std::string word : {"ear", "", "/gear/", "wheel"}) {
    EXPECT_THAT([&] { findModule(kNames, word); },
                ThrowsMessage<InputError>(testing::HasSubstr("there is no module")));
  }
}

TEST(ModulesByName, FollowTheSameRule) {
  Diagnostics::GraphSnapshot snapshot;
  for (const std::string& name : kNames) {
    snapshot.modules.emplace_back().name = name;
  }
  const ModulesByName modules(snapshot);
  EXPECT_EQ(modules.find("/b/gear"), 1U);
  EXPECT_EQ(modules.find("a/gear"), 0U);
  EXPECT_EQ(modules.find("long rack"), 4U);
  EXPECT_EQ(modules.find("rack"), 3U);
  for (const std::string word : {"gear", "ear", "", "/gear/", "wheel"}) {
    EXPECT_EQ(modules.find(word), std::nullopt) << word;
  }
}

}  // namespace
}  // namespace Tessaril::Inspect
