#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <vector>

#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tests/persistence/HandMadeArchive.h"

namespace Tessaril {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::HandMadeArchive;
using TestSupport::typeIdOf;

constexpr unsigned int kNewest = 0xFFFFFFFF;

/// A number that remembers in which version it was read. Registered as "Test.Entry", version 7.
struct Entry {
  unsigned int value = 0;
  unsigned int readAs = 0;

  static void serialization_register(void* descriptor) {
    *static_cast<BaseClassRegister*>(descriptor) = *registerClass<Entry>(
        "Test.Entry", 7,
        [](PersistenceArchiver& archiver, BaseClassRegister& target) {
          auto& entry = *static_cast<Entry*>(target.object);
          archiver >> entry.value;
          entry.readAs = target.version;
        },
        [](PersistenceArchiver& archiver, BaseClassRegister& source) {
          archiver << static_cast<const Entry*>(source.object)->value;
        });
  }

  friend bool operator==(const Entry&, const Entry&) = default;
};

PersistenceArchiver& readOnly(PersistenceArchiver& archiver, Entry& entry) {
  readNested(archiver, entry);
  archiver.requireEnd();
  return archiver;
}

TEST(NestedRecordTest, AnObjectStandsInAFrameUnderItsClass) {
  PersistenceArchiver archiver;
  archiver << true;
  writeNested(archiver, Entry{42, 0});
  writeNested(archiver, Entry{43, 0});
  archiver << true;
  EXPECT_EQ(archiver.finish(), HandMadeArchive()
                                   .flags({true})
                                   .open("Test.Entry")
                                   .number(42)
                                   .close()
                                   .open("Test.Entry")
                                   .number(43)
                                   .close()
                                   .flags({true})
                                   .with({{"Test.Entry", 7}}));
}

TEST(NestedRecordTest, ItIsReadInTheVersionOfItsClass) {
  const HandMadeArchive record = HandMadeArchive().open("Test.Entry").number(42).close();
  for (const unsigned int version : {0U, 1U, 7U, 8U, 500000U}) {
    PersistenceArchiver archiver(record.with({{"Test.Entry", version}, {"ModuleState", 99}}));
    Entry entry;
    readOnly(archiver, entry);
    EXPECT_EQ(entry, (Entry{42, version}));
  }
}

TEST(NestedRecordTest, AFrameWithoutATypeHoldsTheOldestLayout) {
  PersistenceArchiver archiver(
      HandMadeArchive().openWithHash(0xBBAFA6C8).number(42).close().with({{"Test.Entry", 5}}));
  Entry entry{0, 1};
  readOnly(archiver, entry);
  EXPECT_EQ(entry, (Entry{42, 0}));
  EXPECT_EQ(archiver.findClass(0xBBAFA6C8), nullptr);
}

TEST(NestedRecordTest, AClassThatTheArchiveDoesNotNameHoldsTheNewestLayoutAndIsNamedThen) {
  PersistenceArchiver archiver(HandMadeArchive()
                                   .openWithHash(0x12345678)
                                   .number(42)
                                   .close()
                                   .openWithHash(0x12345678)
                                   .number(43)
                                   .close()
                                   .with({}));
  EXPECT_EQ(archiver.findClass(0x12345678), nullptr);
  Entry entry;
  readNested(archiver, entry);
  EXPECT_EQ(entry, (Entry{42, kNewest}));
  const BaseClassRegister* named = archiver.findClass(0x12345678);
  ASSERT_NE(named, nullptr);
  EXPECT_EQ(named->typeId, typeIdOf("Test.Entry"));
  EXPECT_EQ(named->version, 7U);
  EXPECT_NE(named->load, nullptr);
  // From here on it is a class of the archive, in the version that this program writes.
  readOnly(archiver, entry);
  EXPECT_EQ(entry, (Entry{43, 7}));
}

TEST(NestedRecordTest, AnEntryOfTheClassTableWithoutATypeSaysNothingOfTheVersion) {
  PersistenceArchiver archiver(HandMadeArchive().open("Test.Entry").number(42).close().with({}));
  BaseClassRegister blank;
  blank.version = 3;
  archiver.addClass(typeIdOf("Test.Entry"), blank);
  Entry entry;
  readOnly(archiver, entry);
  EXPECT_EQ(entry, (Entry{42, kNewest}));
  EXPECT_EQ(archiver.findClass(typeIdOf("Test.Entry"))->typeId, BaseClassRegister::kNoType);
}

// The class may have had another name when the archive was written.
TEST(NestedRecordTest, TheVersionIsThatOfTheClassInTheFrame) {
  PersistenceArchiver archiver(HandMadeArchive()
                                   .open("Test.OldEntry")
                                   .number(42)
                                   .close()
                                   .with({{"Test.Entry", 6}, {"Test.OldEntry", 2}}));
  Entry entry;
  readOnly(archiver, entry);
  EXPECT_EQ(entry, (Entry{42, 2}));
}

TEST(NestedRecordTest, WhatALaterVersionAddedIsSkipped) {
  PersistenceArchiver archiver(HandMadeArchive()
                                   .open("Test.Entry")
                                   .number(42)
                                   .text("added later")
                                   .open("Test.Unknown")
                                   .close()
                                   .close()
                                   .number(99)
                                   .with({{"Test.Entry", 8}}));
  Entry entry;
  readNested(archiver, entry);
  EXPECT_EQ(entry, (Entry{42, 8}));
  unsigned int following = 0;
  archiver >> following;
  EXPECT_EQ(following, 99U);
  archiver.requireEnd();
}

TEST(NestedRecordTest, ARecordNeverReachesBeyondItsFrame) {
  PersistenceArchiver archiver(HandMadeArchive()
                                   .open("Test.Entry")
                                   .flags({true, true, true})
                                   .close()
                                   .number(99)
                                   .with({{"Test.Entry", 7}}));
  Entry entry{1, 2};
  EXPECT_THROW(readNested(archiver, entry), ArchiveException);
  EXPECT_EQ(entry, (Entry{1, 2}));
}

TEST(NestedRecordTest, ContentsGetADescriptorWithoutAnObject) {
  PersistenceArchiver archiver;
  NestedRecord::write(archiver, Entry::serialization_register, [&](BaseClassRegister& descriptor) {
    EXPECT_EQ(descriptor.object, nullptr);
    EXPECT_EQ(descriptor.typeId, typeIdOf("Test.Entry"));
    archiver << 5U;
  });
  const std::string archive = archiver.finish();
  EXPECT_EQ(archive,
            HandMadeArchive().open("Test.Entry").number(5).close().with({{"Test.Entry", 7}}));
  PersistenceArchiver reader(archive);
  unsigned int value = 0;
  NestedRecord::read(reader, Entry::serialization_register, [&](BaseClassRegister& descriptor) {
    EXPECT_EQ(descriptor.object, nullptr);
    EXPECT_EQ(descriptor.typeId, typeIdOf("Test.Entry"));
    EXPECT_EQ(descriptor.version, 7U);
    reader >> value;
  });
  EXPECT_EQ(value, 5U);
}

TEST(ContainerRecordTest, OneFrameForAllElements) {
  PersistenceArchiver archiver;
  writeContainer(archiver, std::vector<Entry>{{3, 0}, {1, 0}, {2, 0}});
  writeContainer(archiver, std::vector<Entry>{});
  EXPECT_EQ(archiver.finish(), HandMadeArchive()
                                   .open("Test.Entry")
                                   .number(3)
                                   .number(3)
                                   .number(1)
                                   .number(2)
                                   .close()
                                   .open("Test.Entry")
                                   .number(0)
                                   .close()
                                   .with({{"Test.Entry", 7}}));
}

std::string threeEntries() {
  return HandMadeArchive()
      .open("Test.Entry")
      .number(3)
      .number(30)
      .number(10)
      .number(20)
      .close()
      .with({{"Test.Entry", 4}});
}

TEST(ContainerRecordTest, ElementsAreReadInOrderAndInTheVersionOfTheirClass) {
  PersistenceArchiver archiver(threeEntries());
  std::vector<Entry> entries;
  readContainer(archiver, entries);
  archiver.requireEnd();
  EXPECT_THAT(entries, ElementsAre(Entry{30, 4}, Entry{10, 4}, Entry{20, 4}));
}

TEST(ContainerRecordTest, TheVectorBecomesAsLongAsTheContainer) {
  const std::vector<Entry> expected{{30, 4}, {10, 4}, {20, 4}};
  for (const std::size_t before : {0U, 1U, 2U, 3U, 4U, 50U}) {
    PersistenceArchiver archiver(threeEntries());
    std::vector<Entry> entries(before, Entry{77, 78});
    readContainer(archiver, entries);
    EXPECT_EQ(entries, expected) << before;
  }
}

TEST(ContainerRecordTest, ElementsThatAreThereAlreadyKeepWhatIsNotStored) {
  PersistenceArchiver writer;
  writeContainer(writer, std::vector<ApplyModuleInsertInfo>(2));
  PersistenceArchiver reader(writer.finish());
  std::vector<ApplyModuleInsertInfo> infos(1);
  infos[0].setTransferChains(true);
  infos[0].setInsertMode(ApplyModuleInsertInfo::MergeFork);
  readContainer(reader, infos);
  ASSERT_EQ(infos.size(), 2U);
  EXPECT_TRUE(infos[0].getTransferChains());
  EXPECT_EQ(infos[0].getInsertMode(), ApplyModuleInsertInfo::AddToChain);
  EXPECT_FALSE(infos[1].getTransferChains());
}

TEST(ContainerRecordTest, AContainerOfNoneEmptiesTheVector) {
  PersistenceArchiver archiver(HandMadeArchive().open("Test.Entry").number(0).close().with({}));
  std::vector<Entry> entries(3);
  readContainer(archiver, entries);
  archiver.requireEnd();
  EXPECT_THAT(entries, IsEmpty());
}

TEST(ContainerRecordTest, TheHashRulesOfObjectsHoldForContainers) {
  const auto readAs = [](std::uint32_t typeHash) {
    PersistenceArchiver archiver(
        HandMadeArchive().openWithHash(typeHash).number(1).number(42).close().with(
            {{"Test.Entry", 4}}));
    std::vector<Entry> entries;
    readContainer(archiver, entries);
    return entries.at(0).readAs;
  };
  EXPECT_EQ(readAs(typeIdOf("Test.Entry")), 4U);
  EXPECT_EQ(readAs(0xBBAFA6C8), 0U);
  EXPECT_EQ(readAs(0x12345678), kNewest);
}

TEST(ContainerRecordTest, WhatFollowsTheElementsIsSkipped) {
  PersistenceArchiver archiver(
      HandMadeArchive().open("Test.Entry").number(1).number(42).text("more").close().with({}));
  std::vector<Entry> entries;
  readContainer(archiver, entries);
  archiver.requireEnd();
  EXPECT_THAT(entries, ElementsAre(Entry{42, kNewest}));
}

TEST(ContainerRecordTest, AnImpossibleNumberOfElementsClaimsNoMemory) {
  PersistenceArchiver archiver(HandMadeArchive()
                                   .open("Test.Entry")
                                   .number(0xFFFFFFFF)
                                   .number(42)
                                   .close()
                                   .with({{"Test.Entry", 7}}));
  std::vector<Entry> entries;
  EXPECT_THROW(readContainer(archiver, entries), ArchiveException);
  EXPECT_EQ(entries.capacity(), 0U);
}

TEST(ContainerRecordTest, AnImpossibleNumberOfElementsLeavesTheVectorAsItIs) {
  PersistenceArchiver archiver(
      HandMadeArchive().open("Test.Entry").number(5).number(42).close().with({{"Test.Entry", 7}}));
  std::vector<Entry> entries{{1, 2}, {3, 4}};
  EXPECT_THROW(readContainer(archiver, entries), ArchiveException);
  EXPECT_THAT(entries, ElementsAre(Entry{1, 2}, Entry{3, 4}));
}

// Four bytes can hold four elements for all that the archiver knows; Entry takes four bytes itself.
TEST(ContainerRecordTest, ElementsThatNeverComeClaimNoMemory) {
  HandMadeArchive record;
  record.open("Test.Entry").number(4096);
  for (int i = 0; i < 1024; ++i) {
    record.number(1);
  }
  PersistenceArchiver archiver(record.close().with({{"Test.Entry", 7}}));
  std::vector<Entry> entries;
  EXPECT_THROW(readContainer(archiver, entries), ArchiveException);
  EXPECT_LE(entries.capacity(), 2048U);
  EXPECT_EQ(entries.at(1023), (Entry{1, 7}));
}

TEST(ContainerRecordTest, MoreElementsThanANumberCanCountAreRefused) {
  constexpr std::size_t kMost = std::numeric_limits<unsigned int>::max();
  EXPECT_EQ(NestedRecord::storedCount(0), 0U);
  EXPECT_EQ(NestedRecord::storedCount(kMost), 0xFFFFFFFFU);
  EXPECT_THROW(NestedRecord::storedCount(kMost + 1), std::length_error);
}

}  // namespace
}  // namespace Tessaril
