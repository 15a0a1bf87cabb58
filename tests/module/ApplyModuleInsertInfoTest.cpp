#include <gmock/gmock.h>

#include <type_traits>

#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tests/module/StateLog.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::chain;
using TestSupport::StateLog;
using TestSupport::TestModule;
using Mode = ApplyModuleInsertInfo::ApplyGraphInsertMode;
namespace PrivateLinks = TestSupport::PrivateLinks;

static_assert(sizeof(Mode) == 4);
static_assert(ApplyModuleInsertInfo::AddToChain == 0);
static_assert(ApplyModuleInsertInfo::StartSideChain == 1);
static_assert(ApplyModuleInsertInfo::StartFork == 2);
static_assert(ApplyModuleInsertInfo::MergeFork == 3);
static_assert(std::is_same_v<decltype(std::declval<ApplyModuleInsertInfo>().getChainId()),
                             const Identifier&>);
static_assert(std::is_same_v<decltype(std::declval<ApplyModuleInsertInfo>().getMergeChainIds()),
                             const std::vector<Identifier>&>);
static_assert(std::is_same_v<decltype(std::declval<ApplyModuleInsertInfo>().getStartChainId()),
                             const Identifier&>);

const Identifier kA = chain("a");
const Identifier kB = chain("b");
const Identifier kC = chain("c");

TEST(ApplyModuleInsertInfoTest, Defaults) {
  const ApplyModuleInsertInfo info;
  EXPECT_EQ(info.getInsertMode(), ApplyModuleInsertInfo::AddToChain);
  EXPECT_EQ(info.getChainId(), Identifier::getInvalidId());
  EXPECT_EQ(info.getStartChainId(), Identifier::getInvalidId());
  EXPECT_THAT(info.getMergeChainIds(), IsEmpty());
  EXPECT_FALSE(info.getTransferChains());
}

TEST(ApplyModuleInsertInfoTest, EachSetterWritesItsMember) {
  ApplyModuleInsertInfo info;
  info.setInsertMode(ApplyModuleInsertInfo::MergeFork);
  info.setChainId(kA);
  info.setMergeChainIds({kB, kC});
  info.setTransferChains(true);
  EXPECT_EQ(info.getInsertMode(), ApplyModuleInsertInfo::MergeFork);
  EXPECT_EQ(info.getChainId(), kA);
  EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kB, kC));
  EXPECT_TRUE(info.getTransferChains());
  info.setTransferChains(false);
  EXPECT_FALSE(info.getTransferChains());
}

TEST(ApplyModuleInsertInfoTest, MergeChainIdsAreReplacedAsAWhole) {
  ApplyModuleInsertInfo info;
  info.setMergeChainIds({kA, kB});
  info.setMergeChainIds({kC});
  EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kC));
  info.setMergeChainIds({});
  EXPECT_THAT(info.getMergeChainIds(), IsEmpty());
}

// One list serves both: stored records have no place for a start chain id of its own.
TEST(ApplyModuleInsertInfoTest, TheStartChainIdIsTheFirstMergeChainId) {
  ApplyModuleInsertInfo info;
  info.setMergeChainIds({kA, kB});
  EXPECT_EQ(info.getStartChainId(), kA);
  info.setStartChainId(kC);
  EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kC));
  EXPECT_EQ(info.getStartChainId(), kC);
  info.setStartChainId(kB);
  EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kB));
}

TEST(ApplyModuleInsertInfoTest, ANullStartChainIdLeavesNoMergeChainIds) {
  for (const auto& null : {Identifier(), Identifier::getInvalidId()}) {
    ApplyModuleInsertInfo info;
    info.setMergeChainIds({kA, kB});
    info.setStartChainId(null);
    EXPECT_THAT(info.getMergeChainIds(), IsEmpty());
    EXPECT_EQ(info.getStartChainId(), Identifier::getInvalidId());
  }
}

TEST(ApplyModuleInsertInfoTest, TheStartChainIdMayReferToTheListItReplaces) {
  ApplyModuleInsertInfo info;
  info.setMergeChainIds({kA, kB});
  info.setStartChainId(info.getMergeChainIds()[1]);
  EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kB));
  info.setMergeChainIds({kA, kB});
  info.setMergeChainIds(info.getMergeChainIds());
  EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kA, kB));
}

TEST(ApplyModuleInsertInfoTest, CopiesCarryAllMembersAndAreIndependent) {
  ApplyModuleInsertInfo info;
  info.setInsertMode(ApplyModuleInsertInfo::StartFork);
  info.setChainId(kA);
  info.setMergeChainIds({kB, kC});
  info.setTransferChains(true);
  ApplyModuleInsertInfo copied(info);
  ApplyModuleInsertInfo assigned;
  assigned.setMergeChainIds({kA});
  assigned = info;
  info.setMergeChainIds({});
  for (const auto* copy : {&copied, &assigned}) {
    EXPECT_EQ(copy->getInsertMode(), ApplyModuleInsertInfo::StartFork);
    EXPECT_EQ(copy->getChainId(), kA);
    EXPECT_THAT(copy->getMergeChainIds(), ElementsAre(kB, kC));
    EXPECT_TRUE(copy->getTransferChains());
  }
  const auto& itself = copied;
  copied = itself;
  EXPECT_THAT(copied.getMergeChainIds(), ElementsAre(kB, kC));
}

// The convenience setters of a module

// Everything set to something that no setter below writes by itself.
std::shared_ptr<TestModule> filledModule() {
  auto module = std::make_shared<TestModule>("M");
  auto& info = PrivateLinks::insertInfo(*module);
  info.setChainId(kA);
  info.setMergeChainIds({kB, kC});
  info.setTransferChains(true);
  return module;
}

bool transfersChains(const ApplyModule& module) {
  return PrivateLinks::insertInfo(module).getTransferChains();
}

TEST(InsertModeSetterTest, AddToChainKeepsEarlierMergeChainIds) {
  const auto module = filledModule();
  module->setStartForkInsertMode(kA, kB);
  module->setAddToChainInsertMode(kC, false);
  EXPECT_EQ(module->getInsertMode(), ApplyModuleInsertInfo::AddToChain);
  EXPECT_EQ(module->getChainId(), kC);
  EXPECT_THAT(module->getMergeChainIds(), ElementsAre(kB));
  EXPECT_EQ(module->getStartChainId(), kB);
  EXPECT_FALSE(transfersChains(*module));
  module->setAddToChainInsertMode(kC, true);
  EXPECT_TRUE(transfersChains(*module));
}

TEST(InsertModeSetterTest, StartSideChainKeepsTransferChains) {
  const auto module = filledModule();
  module->setStartSideChainInsertMode(kC, kA);
  EXPECT_EQ(module->getInsertMode(), ApplyModuleInsertInfo::StartSideChain);
  EXPECT_EQ(module->getChainId(), kC);
  EXPECT_THAT(module->getMergeChainIds(), ElementsAre(kA));
  EXPECT_TRUE(transfersChains(*module));
  module->setStartSideChainInsertMode(kC, Identifier());
  EXPECT_THAT(module->getMergeChainIds(), IsEmpty());
  EXPECT_EQ(module->getStartChainId(), Identifier::getInvalidId());
}

TEST(InsertModeSetterTest, StartForkKeepsTransferChains) {
  const auto module = filledModule();
  module->setStartForkInsertMode(kC, kA);
  EXPECT_EQ(module->getInsertMode(), ApplyModuleInsertInfo::StartFork);
  EXPECT_EQ(module->getChainId(), kC);
  EXPECT_THAT(module->getMergeChainIds(), ElementsAre(kA));
  EXPECT_TRUE(transfersChains(*module));
}

TEST(InsertModeSetterTest, TheChainSoFarMayBeHandedInAsTheStartChain) {
  const auto module = filledModule();
  module->setStartSideChainInsertMode(kB, module->getChainId());
  EXPECT_EQ(module->getChainId(), kB);
  EXPECT_EQ(module->getStartChainId(), kA);
  module->setStartForkInsertMode(kC, module->getChainId());
  EXPECT_EQ(module->getChainId(), kC);
  EXPECT_EQ(module->getStartChainId(), kB);
  module->setStartForkInsertMode(module->getStartChainId(), module->getChainId());
  EXPECT_EQ(module->getChainId(), kB);
  EXPECT_EQ(module->getStartChainId(), kC);
  module->setMergeForkInsertMode(module->getMergeChainIds(), module->getStartChainId());
  EXPECT_EQ(module->getChainId(), kC);
  EXPECT_THAT(module->getMergeChainIds(), ElementsAre(kC));
}

TEST(InsertModeSetterTest, MergeForkTakesTheMergeChainIdsFirst) {
  const auto module = filledModule();
  module->setMergeForkInsertMode({kC, Identifier()}, kB);
  EXPECT_EQ(module->getInsertMode(), ApplyModuleInsertInfo::MergeFork);
  EXPECT_EQ(module->getChainId(), kB);
  EXPECT_THAT(module->getMergeChainIds(), ElementsAre(kC, Identifier()));
  EXPECT_TRUE(transfersChains(*module));
}

TEST(InsertModeSetterTest, NothingIsAnnouncedAndNothingMoves) {
  const auto g = TestSupport::graph("[active] A -> M -> B");
  StateLog log;
  log.listenTo(g);
  const auto module = g.as<TestModule>("M");
  module->setAddToChainInsertMode(kA, true);
  module->setStartSideChainInsertMode(kA, kB);
  module->setStartForkInsertMode(kA, kB);
  module->setMergeForkInsertMode({kB, kC}, kA);
  EXPECT_EQ(log.take(), "");
  EXPECT_EQ(module->graphChanges, 0);
  EXPECT_FALSE(module->isStartOfSideChain());
  EXPECT_EQ(TestSupport::text(g), "[active] A -> M:a[transfer,merge<b+c] -> B");
}

}  // namespace
}  // namespace Tessaril
