#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "tessaril/commands/ApplyModuleDataInterface.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::EventLog;
using TestSupport::makeMessage;
using TestSupport::messageTexts;
using TestSupport::ScriptedCache;

class Data : public ApplyModuleDataInterface {
 public:
  using ApplyModuleDataInterface::getApplyCache;
};

class ApplyModuleDataInterfaceTest : public testing::Test {
 protected:
  ApplyUpdateInfo infoWith(const std::string& text) {
    return ApplyUpdateInfo({makeMessage(log, text)});
  }

  EventLog log;
  Data data;
};

TEST_F(ApplyModuleDataInterfaceTest, IsPolymorphicWithoutABase) {
  static_assert(std::has_virtual_destructor_v<ApplyModuleDataInterface>);
  static_assert(std::is_same_v<decltype(data.getUpdateInfo()), ApplyUpdateInfo&>);
}

TEST_F(ApplyModuleDataInterfaceTest, StartsWithoutMessagesAndCache) {
  EXPECT_EQ(messageTexts(data.getUpdateInfo()), "-");
  EXPECT_EQ(data.getApplyCache().lock(), nullptr);
}

TEST_F(ApplyModuleDataInterfaceTest, AnswersTheDependentUndoUnlessOverridden) {
  EXPECT_EQ(static_cast<int>(data.getUndoType()), 3);
  EXPECT_EQ(static_cast<int>(ApplyModuleDataInterface::StorageUndo), 0);
}

TEST_F(ApplyModuleDataInterfaceTest, GivesTheMessagesForReadingAndChanging) {
  data.getUpdateInfo() = infoWith("m");
  EXPECT_EQ(messageTexts(data.getUpdateInfo()), "m");
  EXPECT_EQ(&data.getUpdateInfo(), &data.getUpdateInfo());
}

TEST_F(ApplyModuleDataInterfaceTest, TakesMessagesOverByCopy) {
  ApplyUpdateInfo given = infoWith("m");
  data.getUpdateInfo() = infoWith("before");
  data.setUpdateInfo(given);
  EXPECT_EQ(messageTexts(data.getUpdateInfo()), "m");
  EXPECT_EQ(data.getUpdateInfo().getAllUpdateMessages(), given.getAllUpdateMessages());
  given.clear();
  EXPECT_EQ(messageTexts(data.getUpdateInfo()), "m");
}

TEST_F(ApplyModuleDataInterfaceTest, KeepsItsMessagesWhenGivenItsOwn) {
  data.getUpdateInfo() = ApplyUpdateInfo({makeMessage(log, "m"), makeMessage(log, "n")});
  const auto before = data.getUpdateInfo().getAllUpdateMessages();
  data.setUpdateInfo(data.getUpdateInfo());
  EXPECT_EQ(data.getUpdateInfo().getAllUpdateMessages(), before);
}

TEST_F(ApplyModuleDataInterfaceTest, ReplacesTheCacheAndDoesNotKeepItAlive) {
  auto first = std::make_shared<ScriptedCache>(log);
  auto second = std::make_shared<ScriptedCache>(log);
  data.setApplyCache(first);
  EXPECT_EQ(data.getApplyCache().lock(), first);
  data.setApplyCache(second);
  EXPECT_EQ(data.getApplyCache().lock(), second);
  second.reset();
  EXPECT_TRUE(data.getApplyCache().expired());
}

TEST_F(ApplyModuleDataInterfaceTest, CopiesShareMessagesAndCache) {
  const auto cache = std::make_shared<ScriptedCache>(log);
  data.setUpdateInfo(infoWith("m"));
  data.setApplyCache(cache);

  Data constructed(data);
  EXPECT_EQ(constructed.getUpdateInfo().getAllUpdateMessages(),
            data.getUpdateInfo().getAllUpdateMessages());
  EXPECT_EQ(constructed.getApplyCache().lock(), cache);

  Data assigned;
  assigned.setUpdateInfo(infoWith("before"));
  assigned = data;
  EXPECT_EQ(assigned.getUpdateInfo().getAllUpdateMessages(),
            data.getUpdateInfo().getAllUpdateMessages());
  EXPECT_EQ(assigned.getApplyCache().lock(), cache);
}

TEST_F(ApplyModuleDataInterfaceTest, AssignmentToItselfChangesNothing) {
  const auto cache = std::make_shared<ScriptedCache>(log);
  data.setUpdateInfo(infoWith("m"));
  data.setApplyCache(cache);
  Data& same = data;
  data = same;
  EXPECT_EQ(messageTexts(data.getUpdateInfo()), "m");
  EXPECT_EQ(data.getApplyCache().lock(), cache);
}

}  // namespace
}  // namespace Tessaril
