#include <gtest/gtest.h>

#include <array>

#include "tessaril/module/ModuleState.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/persistence/Records.h"

namespace Tessaril {
namespace {

using TestSupport::HandMadeArchive;
using TestSupport::loadRecord;
using TestSupport::savedRecord;

constexpr unsigned int kCurrent = 500001;

/// The flags in the order in which they are stored, which is not that of their declaration.
struct Flags {
  bool consistent;
  bool active;
  bool inputOk;
  bool frozen;
  bool skipped;

  friend bool operator==(const Flags&, const Flags&) = default;
};

Flags flagsOf(const ModuleState& state) {
  return {state.isConsistent(), state.isActive(), state.isInputOk(), state.isFrozen(),
          state.isSkipped()};
}

void setFlags(ModuleState& state, const Flags& flags) {
  state.setStates(&flags.active, &flags.consistent, &flags.inputOk, &flags.frozen, &flags.skipped);
}

constexpr Flags kAllSet{true, true, true, true, true};
constexpr Flags kAllClear{false, false, false, false, false};

TEST(ModuleStateRecordTest, FiveFlagsInStoredOrder) {
  for (std::size_t place = 0; place < 5; ++place) {
    std::array<bool, 5> only{};
    only[place] = true;
    const Flags flags{only[0], only[1], only[2], only[3], only[4]};
    const std::string archive =
        HandMadeArchive().flags({only[0], only[1], only[2], only[3], only[4]}).with({});
    ModuleState saved;
    setFlags(saved, flags);
    EXPECT_EQ(savedRecord(saved, kCurrent), archive) << place;
    ModuleState loaded;
    loadRecord(archive, loaded, kCurrent);
    EXPECT_EQ(flagsOf(loaded), flags) << place;
  }
}

TEST(ModuleStateRecordTest, TheCurrentLayoutIsWrittenWhateverTheVersion) {
  const ModuleState state;
  const std::string archive = HandMadeArchive().flags({true, false, true, false, false}).with({});
  for (const unsigned int version : {0U, 53013U, 53014U, 500000U, kCurrent, 0xFFFFFFFFU}) {
    EXPECT_EQ(savedRecord(state, version), archive) << version;
  }
}

TEST(ModuleStateRecordTest, TheOldestRecordsHoldThreeFlags) {
  for (const unsigned int version : {0U, 1U, 53012U, 53013U}) {
    ModuleState state;
    setFlags(state, kAllSet);
    loadRecord(HandMadeArchive().flags({true, false, false}).with({}), state, version);
    EXPECT_EQ(flagsOf(state), (Flags{true, false, false, false, false})) << version;
    setFlags(state, kAllClear);
    loadRecord(HandMadeArchive().flags({false, true, true}).with({}), state, version);
    EXPECT_EQ(flagsOf(state), (Flags{false, true, true, false, false})) << version;
  }
}

TEST(ModuleStateRecordTest, RecordsSince53014HoldTheFrozenFlag) {
  for (const unsigned int version : {53014U, 53015U, 499999U, 500000U}) {
    ModuleState state;
    setFlags(state, kAllSet);
    loadRecord(HandMadeArchive().flags({false, false, false, false}).with({}), state, version);
    EXPECT_EQ(flagsOf(state), kAllClear) << version;
    setFlags(state, kAllClear);
    loadRecord(HandMadeArchive().flags({false, true, false, true}).with({}), state, version);
    EXPECT_EQ(flagsOf(state), (Flags{false, true, false, true, false})) << version;
  }
}

TEST(ModuleStateRecordTest, RecordsSince500001HoldTheSkippedFlag) {
  for (const unsigned int version : {500001U, 500002U, 600000U, 0xFFFFFFFFU}) {
    ModuleState state;
    setFlags(state, kAllSet);
    loadRecord(HandMadeArchive().flags({true, false, true, true, false}).with({}), state, version);
    EXPECT_EQ(flagsOf(state), (Flags{true, false, true, true, false})) << version;
    setFlags(state, kAllClear);
    loadRecord(HandMadeArchive().flags({false, true, false, false, true}).with({}), state, version);
    EXPECT_EQ(flagsOf(state), (Flags{false, true, false, false, true})) << version;
  }
}

TEST(ModuleStateRecordTest, LoadingSendsNoSignal) {
  ModuleState state;
  setFlags(state, kAllSet);
  int signals = 0;
  const Signals::Connection connection = state.connectToSigStateChanged([&] { ++signals; });
  loadRecord(HandMadeArchive().flags({false, false, false}).with({}), state, 53013);
  loadRecord(HandMadeArchive().flags({true, true, true, true}).with({}), state, 500000);
  loadRecord(HandMadeArchive().flags({false, false, false, false, false}).with({}), state,
             kCurrent);
  EXPECT_EQ(signals, 0);
  state.setActive(true, true);
  EXPECT_EQ(signals, 1);
}

TEST(ModuleStateRecordTest, AFailingReadLeavesTheFlagsThatItDidNotReach) {
  // The record ends behind `count` flags, where a byte follows that is neither true nor false.
  for (std::size_t count = 0; count < 5; ++count) {
    HandMadeArchive record;
    for (std::size_t i = 0; i < count; ++i) {
      record.flags({false});
    }
    PersistenceArchiver archiver(record.number(0x07070707).with({}));
    ModuleState state;
    setFlags(state, kAllSet);
    EXPECT_THROW(loadRecord<ModuleState>(archiver, state, kCurrent), ArchiveException);
    EXPECT_EQ(flagsOf(state), (Flags{count < 1, count < 2, count < 3, count < 4, count < 5}));
  }
}

}  // namespace
}  // namespace Tessaril
