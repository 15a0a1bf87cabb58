#include <gmock/gmock.h>

#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/persistence/Records.h"

namespace Tessaril {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::HandMadeArchive;
using TestSupport::loadRecord;
using TestSupport::savedRecord;
using Mode = ApplyModuleInsertInfo::ApplyGraphInsertMode;

constexpr unsigned int kCurrent = 500000;
constexpr HandMadeArchive::Id kChain{0x0102030405060708, 0x1112131415161718};
constexpr HandMadeArchive::Id kFirst{0x2122232425262728, 0x3132333435363738};
constexpr HandMadeArchive::Id kSecond{0x4142434445464748, 0x5152535455565758};
constexpr HandMadeArchive::Id kNull{0, 0};

TEST(ApplyModuleInsertInfoRecordTest, ModeThenChainThenMergeChains) {
  ApplyModuleInsertInfo info;
  info.setInsertMode(ApplyModuleInsertInfo::MergeFork);
  info.setChainId(kChain.get());
  info.setMergeChainIds({kFirst.get(), kSecond.get()});
  const std::string archive =
      HandMadeArchive().number(3).id(kChain).ids({kFirst, kSecond}).with({{"Identifier", 1}});
  EXPECT_EQ(savedRecord(info, kCurrent), archive);

  ApplyModuleInsertInfo loaded;
  loadRecord(archive, loaded, kCurrent);
  EXPECT_EQ(loaded.getInsertMode(), ApplyModuleInsertInfo::MergeFork);
  EXPECT_EQ(loaded.getChainId(), kChain.get());
  EXPECT_THAT(loaded.getMergeChainIds(), ElementsAre(kFirst.get(), kSecond.get()));
}

TEST(ApplyModuleInsertInfoRecordTest, EachModeIsItsNumber) {
  for (const std::uint32_t number : {0U, 1U, 2U, 3U}) {
    ApplyModuleInsertInfo info;
    info.setInsertMode(static_cast<Mode>(number));
    const std::string archive =
        HandMadeArchive().number(number).id(kNull).ids({}).with({{"Identifier", 1}});
    EXPECT_EQ(savedRecord(info, kCurrent), archive);
    ApplyModuleInsertInfo loaded;
    loadRecord(archive, loaded, kCurrent);
    EXPECT_EQ(loaded.getInsertMode(), static_cast<Mode>(number));
  }
}

TEST(ApplyModuleInsertInfoRecordTest, NoMergeChainsAreABlockOfNone) {
  ApplyModuleInsertInfo info;
  info.setMergeChainIds({kFirst.get()});
  info.setChainId(kFirst.get());
  const std::string archive = HandMadeArchive()
                                  .number(1)
                                  .id(kNull)
                                  .open("Identifier")
                                  .number(0)
                                  .close()
                                  .with({{"Identifier", 1}});
  loadRecord(archive, info, kCurrent);
  EXPECT_EQ(info.getInsertMode(), ApplyModuleInsertInfo::StartSideChain);
  EXPECT_TRUE(info.getChainId().isNull());
  EXPECT_THAT(info.getMergeChainIds(), IsEmpty());
  EXPECT_EQ(savedRecord(info, kCurrent), archive);
}

TEST(ApplyModuleInsertInfoRecordTest, ThereIsOneLayout) {
  const std::string archive =
      HandMadeArchive().number(2).id(kChain).ids({kFirst}).with({{"Identifier", 1}});
  for (const unsigned int version : {0U, 53013U, 53014U, 499999U, 500001U, 500002U, 0xFFFFFFFFU}) {
    ApplyModuleInsertInfo info;
    loadRecord(archive, info, version);
    EXPECT_EQ(info.getInsertMode(), ApplyModuleInsertInfo::StartFork) << version;
    EXPECT_EQ(info.getChainId(), kChain.get()) << version;
    EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kFirst.get())) << version;
    EXPECT_EQ(savedRecord(info, version), archive) << version;
  }
}

TEST(ApplyModuleInsertInfoRecordTest, ManyMergeChainsKeepTheirOrder) {
  std::vector<Identifier> ids;
  HandMadeArchive record;
  record.number(3).id(kChain).open("Identifier").number(1000);
  for (std::uint64_t i = 1000; i > 0; --i) {
    ids.emplace_back(i % 7, i);
    record.id({i % 7, i});
  }
  const std::string archive = record.close().with({{"Identifier", 1}});
  ApplyModuleInsertInfo info;
  loadRecord(archive, info, kCurrent);
  EXPECT_EQ(info.getMergeChainIds(), ids);
  EXPECT_EQ(savedRecord(info, kCurrent), archive);
}

// A request that the next placement uses up says nothing about a stored design.
TEST(ApplyModuleInsertInfoRecordTest, TheTransferRequestIsNotStored) {
  ApplyModuleInsertInfo asking;
  asking.setTransferChains(true);
  const std::string archive = savedRecord(asking, kCurrent);
  EXPECT_EQ(archive, savedRecord(ApplyModuleInsertInfo(), kCurrent));
  ApplyModuleInsertInfo loaded;
  loadRecord(archive, loaded, kCurrent);
  EXPECT_FALSE(loaded.getTransferChains());
  loadRecord(archive, asking, kCurrent);
  EXPECT_TRUE(asking.getTransferChains());
}

TEST(ApplyModuleInsertInfoRecordTest, AFailingReadLeavesWhatItDidNotReach) {
  ApplyModuleInsertInfo info;
  info.setMergeChainIds({kSecond.get()});
  PersistenceArchiver archiver(HandMadeArchive().number(2).id(kChain).number(1).with({}));
  EXPECT_THROW(loadRecord<ApplyModuleInsertInfo>(archiver, info, kCurrent), ArchiveException);
  EXPECT_EQ(info.getInsertMode(), ApplyModuleInsertInfo::StartFork);
  EXPECT_EQ(info.getChainId(), kChain.get());
  EXPECT_THAT(info.getMergeChainIds(), ElementsAre(kSecond.get()));
}

}  // namespace
}  // namespace Tessaril
