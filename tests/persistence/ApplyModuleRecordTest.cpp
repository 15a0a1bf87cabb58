#include <gmock/gmock.h>

#include <memory>

#include "tessaril/module/ApplyModule.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/persistence/Records.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::HandMadeArchive;
using TestSupport::loadRecord;
using TestSupport::savedRecord;
using Mode = ApplyModuleInsertInfo::ApplyGraphInsertMode;
using Rate = LegacyProgress::Speed::Rate;
namespace PrivateLinks = TestSupport::PrivateLinks;

constexpr unsigned int kCurrent = 500002;
constexpr HandMadeArchive::Id kChain{0x0102030405060708, 0x1112131415161718};
constexpr HandMadeArchive::Id kStart{0x2122232425262728, 0x3132333435363738};
constexpr HandMadeArchive::Id kOther{0x4142434445464748, 0x5152535455565758};

/// The classes of an archive that holds a record of that version, with the versions of their time.
std::vector<HandMadeArchive::Class> classesOf(std::uint32_t version) {
  std::uint32_t state = 500001;
  if (version < 53014) {
    state = 53013;
  } else if (version < 500001) {
    state = 53014;
  }
  return {{"ModuleState", state}, {"ApplyModuleInsertInfo", 500000}, {"Identifier", 1}};
}

/// The state of a record: each flag differs from that of a new module, as far as the version holds
/// it.
void appendState(HandMadeArchive& record, std::uint32_t version) {
  record.open("ModuleState").flags({false, true, false});
  if (version >= 53014) {
    record.flags({true});
  }
  if (version >= 500001) {
    record.flags({true});
  }
  record.close();
}

/// A whole record as it was written in that version, on the way to the fields of the insert
/// information: additional, of the rate 5, with that mode, on kChain, with the merge chains kStart
/// and kOther.
HandMadeArchive recordOf(std::uint32_t version, std::uint32_t mode) {
  HandMadeArchive record;
  appendState(record, version);
  record.flags({true});
  if (version < 53014) {
    record.text("an old name").text("");
  }
  record.number(5);
  if (version > 500000) {
    record.open("ApplyModuleInsertInfo");
  }
  if (version >= 500000) {
    record.number(mode).id(kChain).ids({kStart, kOther});
  }
  if (version > 500000) {
    record.close();
  }
  return record;
}

void expectStateOf(const ApplyModule& module, std::uint32_t version) {
  EXPECT_FALSE(module.isConsistent()) << version;
  EXPECT_TRUE(module.isActive()) << version;
  EXPECT_FALSE(module.isInputOk()) << version;
  EXPECT_EQ(module.isFrozen(), version >= 53014) << version;
  EXPECT_EQ(module.isSkipped(), version >= 500001) << version;
}

TEST(ApplyModuleRecordTest, StateThenAdditionalThenRateThenInsertInformation) {
  ApplyModule module;
  const bool set = true;
  const bool clear = false;
  module.setStates(&set, &clear, &clear, &set, &clear);
  module.setAdditionalModule(true);
  PrivateLinks::setSpeedRate(module, LegacyProgress::Speed::VerySlow);
  module.setMergeForkInsertMode({kStart.get(), kOther.get()}, kChain.get());
  EXPECT_EQ(
      savedRecord<ApplyModule>(module, kCurrent),
      HandMadeArchive()
          .open("ModuleState")
          .flags({false, true, false, true, false})
          .close()
          .flags({true})
          .number(5)
          .open("ApplyModuleInsertInfo")
          .number(3)
          .id(kChain)
          .ids({kStart, kOther})
          .close()
          .with({{"ModuleState", 500001}, {"ApplyModuleInsertInfo", 500000}, {"Identifier", 1}}));
}

TEST(ApplyModuleRecordTest, ANewModule) {
  const std::string archive = HandMadeArchive()
                                  .open("ModuleState")
                                  .flags({true, false, true, false, false})
                                  .close()
                                  .flags({false})
                                  .number(3)
                                  .open("ApplyModuleInsertInfo")
                                  .number(0)
                                  .id({0, 0})
                                  .ids({})
                                  .close()
                                  .with(classesOf(kCurrent));
  for (const unsigned int version : {0U, 53013U, 499999U, 500000U, 500001U, kCurrent, ~0U}) {
    EXPECT_EQ(savedRecord(ApplyModule(), version), archive) << version;
  }
}

TEST(ApplyModuleRecordTest, EveryVersionIsReadToItsEnd) {
  for (const std::uint32_t version : {0U, 53012U, 53013U, 53014U, 53015U, 499999U, 500000U, 500001U,
                                      500002U, 500003U, 0xFFFFFFFFU}) {
    ApplyModule module;
    loadRecord(recordOf(version, 3).with(classesOf(version)), module, version);
    expectStateOf(module, version);
    EXPECT_TRUE(module.isAdditionalModule()) << version;
    EXPECT_EQ(module.getSpeedRate(), LegacyProgress::Speed::VerySlow) << version;
    EXPECT_FALSE(module.isStartOfSideChain()) << version;
    if (version >= 500000) {
      EXPECT_EQ(module.getInsertMode(), ApplyModuleInsertInfo::MergeFork) << version;
      EXPECT_EQ(module.getChainId(), kChain.get()) << version;
      EXPECT_THAT(module.getMergeChainIds(), ElementsAre(kStart.get(), kOther.get())) << version;
    }
  }
}

TEST(ApplyModuleRecordTest, RecordsBefore500000KeepTheInsertInformationOfTheModule) {
  for (const std::uint32_t version : {53013U, 53014U, 499999U}) {
    ApplyModule fresh;
    loadRecord(recordOf(version, 0).with(classesOf(version)), fresh, version);
    EXPECT_EQ(fresh.getInsertMode(), ApplyModuleInsertInfo::AddToChain) << version;
    EXPECT_EQ(fresh.getChainId(), Identifier::getInvalidId()) << version;
    EXPECT_THAT(fresh.getMergeChainIds(), IsEmpty()) << version;

    ApplyModule placed;
    placed.setAddToChainInsertMode(kOther.get(), true);
    placed.setStartSideChainInsertMode(kChain.get(), kStart.get());
    loadRecord(recordOf(version, 0).with(classesOf(version)), placed, version);
    EXPECT_EQ(placed.getInsertMode(), ApplyModuleInsertInfo::StartSideChain) << version;
    EXPECT_EQ(placed.getChainId(), kChain.get()) << version;
    EXPECT_THAT(placed.getMergeChainIds(), ElementsAre(kStart.get())) << version;
    EXPECT_TRUE(PrivateLinks::insertInfo(placed).getTransferChains()) << version;
  }
}

TEST(ApplyModuleRecordTest, InsertInformationReplacesThatOfTheModuleExceptForTheTransferRequest) {
  for (const std::uint32_t version : {500000U, 500001U, kCurrent}) {
    ApplyModule module;
    module.setAddToChainInsertMode(kOther.get(), true);
    PrivateLinks::insertInfo(module).setMergeChainIds({kOther.get(), kOther.get(), kOther.get()});
    loadRecord(recordOf(version, 1).with(classesOf(version)), module, version);
    EXPECT_EQ(module.getInsertMode(), ApplyModuleInsertInfo::StartSideChain) << version;
    EXPECT_EQ(module.getChainId(), kChain.get()) << version;
    EXPECT_THAT(module.getMergeChainIds(), ElementsAre(kStart.get(), kOther.get())) << version;
    EXPECT_TRUE(PrivateLinks::insertInfo(module).getTransferChains()) << version;
  }
}

// The merge chains of the one version in line are a container like any other: its frame, not its
// contents, says where the next field stands.
TEST(ApplyModuleRecordTest, TheContainerInLineIsFramed) {
  HandMadeArchive record;
  appendState(record, 500000);
  record.flags({false}).number(1).number(3).id(kChain);
  record.open("Identifier").number(1).id(kStart).text("of a later version").close();
  ApplyModule module;
  loadRecord(record.with(classesOf(500000)), module, 500000);
  EXPECT_THAT(module.getMergeChainIds(), ElementsAre(kStart.get()));
}

TEST(ApplyModuleRecordTest, AContainerInLineThatCannotBeTrueIsRefused) {
  HandMadeArchive record;
  appendState(record, 500000);
  record.flags({true}).number(1).number(3).id(kChain);
  record.open("Identifier").number(0x40000000).id(kStart).close();
  PersistenceArchiver archiver(record.with(classesOf(500000)));
  ApplyModule module;
  EXPECT_THROW(loadRecord<ApplyModule>(archiver, module, 500000), ArchiveException);
  EXPECT_THAT(module.getMergeChainIds(), IsEmpty());
  EXPECT_EQ(module.getSpeedRate(), LegacyProgress::Speed::VeryFast);
}

// Up to 500001 the start of a fork, and only that, is also the start of a side chain.
TEST(ApplyModuleRecordTest, OldRecordsMarkTheStartOfAForkAsTheStartOfASideChain) {
  for (const std::uint32_t version : {500000U, 500001U, 500002U, 500003U, 0xFFFFFFFFU}) {
    for (const std::uint32_t mode : {0U, 1U, 2U, 3U}) {
      for (const bool before : {false, true}) {
        ApplyModule module;
        PrivateLinks::setStartOfSideChain(module, before);
        loadRecord(recordOf(version, mode).with(classesOf(version)), module, version);
        EXPECT_EQ(module.getInsertMode(), static_cast<Mode>(mode));
        const bool marked = version < 500002 && mode == 2;
        EXPECT_EQ(module.isStartOfSideChain(), before || marked)
            << "version " << version << ", mode " << mode << ", before " << before;
      }
    }
  }
}

// What counts is the mode after the load, wherever it comes from.
TEST(ApplyModuleRecordTest, AModuleMadeAsTheStartOfAForkIsMarkedByRecordsWithoutAMode) {
  for (const std::uint32_t version : {53013U, 53014U, 499999U}) {
    for (const std::uint32_t mode : {0U, 1U, 2U, 3U}) {
      ApplyModule module;
      PrivateLinks::insertInfo(module).setInsertMode(static_cast<Mode>(mode));
      loadRecord(recordOf(version, 0).with(classesOf(version)), module, version);
      EXPECT_EQ(module.isStartOfSideChain(), mode == 2) << version << ' ' << mode;
    }
  }
}

TEST(ApplyModuleRecordTest, PartsAreReadInTheirOwnVersions) {
  // A present record around a state of the oldest layout.
  HandMadeArchive record;
  record.open("ModuleState").flags({false, true, true}).close();
  record.flags({true}).number(2).open("ApplyModuleInsertInfo");
  record.number(2).id(kChain).ids({kStart}).text("more").close();
  ApplyModule module;
  const bool set = true;
  module.setStates(nullptr, nullptr, nullptr, &set, &set);
  loadRecord(
      record.with({{"ModuleState", 53013}, {"ApplyModuleInsertInfo", 500007}, {"Identifier", 1}}),
      module, kCurrent);
  EXPECT_FALSE(module.isConsistent());
  EXPECT_FALSE(module.isFrozen());
  EXPECT_FALSE(module.isSkipped());
  EXPECT_EQ(module.getSpeedRate(), LegacyProgress::Speed::Fast);
  EXPECT_THAT(module.getMergeChainIds(), ElementsAre(kStart.get()));

  // An old record around a state of the present layout.
  HandMadeArchive old;
  old.open("ModuleState").flags({true, true, true, true, true}).close();
  old.flags({false}).text("a").text("b").number(4);
  ApplyModule other;
  loadRecord(old.with({{"ModuleState", 500001}}), other, 53013);
  EXPECT_TRUE(other.isFrozen());
  EXPECT_TRUE(other.isSkipped());
  EXPECT_EQ(other.getSpeedRate(), LegacyProgress::Speed::Slow);
}

TEST(ApplyModuleRecordTest, LinksMarksAndFactoryAreNotStored) {
  const auto module = std::make_shared<ApplyModule>();
  const std::string alone = savedRecord<ApplyModule>(*module, kCurrent);
  const auto next = std::make_shared<ApplyModule>();
  PrivateLinks::addNext(*module, next);
  PrivateLinks::addPrevious(*module, next);
  PrivateLinks::setStartOfSideChain(*module, true);
  EXPECT_EQ(savedRecord<ApplyModule>(*module, kCurrent), alone);
  loadRecord(alone, *module, kCurrent);
  EXPECT_EQ(module->getNextApplyModule(), next);
  EXPECT_EQ(module->getPreviousApplyModule(), next);
  EXPECT_TRUE(module->isStartOfSideChain());
}

TEST(ApplyModuleRecordTest, LoadingSendsNoSignalAndCallsNoHook) {
  class Watched : public ApplyModule {
   public:
    int changes = 0;

   protected:
    void onApplyGraphChanged() override { ++changes; }
  };
  Watched module;
  int signals = 0;
  const Signals::Connection connection = module.connectToSigStateChanged([&] { ++signals; });
  for (const std::uint32_t version : {53013U, 500000U, kCurrent}) {
    loadRecord<ApplyModule>(recordOf(version, 2).with(classesOf(version)), module, version);
  }
  EXPECT_EQ(signals, 0);
  EXPECT_EQ(module.changes, 0);
}

TEST(ApplyModuleRecordTest, TheStoredRateIsTheOneOfTheClassItself) {
  class Slow : public ApplyModule {
   public:
    Rate getSpeedRate() const override { return LegacyProgress::Speed::VerySlow; }
  };
  Slow module;
  EXPECT_EQ(savedRecord<ApplyModule>(module, kCurrent), savedRecord(ApplyModule(), kCurrent));
}

TEST(ApplyModuleRecordTest, AFailingReadLeavesWhatItDidNotReach) {
  HandMadeArchive record;
  appendState(record, kCurrent);
  PersistenceArchiver archiver(record.flags({true}).number(1).number(0).with(classesOf(kCurrent)));
  ApplyModule module;
  module.setStartForkInsertMode(kChain.get(), kStart.get());
  EXPECT_THROW(loadRecord<ApplyModule>(archiver, module, 500001), ArchiveException);
  expectStateOf(module, kCurrent);
  EXPECT_TRUE(module.isAdditionalModule());
  EXPECT_EQ(module.getSpeedRate(), LegacyProgress::Speed::VeryFast);
  EXPECT_EQ(module.getInsertMode(), ApplyModuleInsertInfo::StartFork);
  EXPECT_FALSE(module.isStartOfSideChain());
}

}  // namespace
}  // namespace Tessaril
