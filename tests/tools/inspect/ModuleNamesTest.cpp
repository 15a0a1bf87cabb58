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

}  // namespace
}  // namespace Tessaril::Inspect
