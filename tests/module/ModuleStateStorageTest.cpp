#include <gmock/gmock.h>

#include <type_traits>

#include "tessaril/module/ModuleState.h"
#include "tessaril/module/ModuleStateStorage.h"
#include "tests/module/StateLog.h"

namespace Tessaril {
namespace {

using TestSupport::graph;
using TestSupport::marksText;
using TestSupport::StateLog;

static_assert(std::is_copy_constructible_v<ModuleStateStorage>);
static_assert(std::is_nothrow_move_assignable_v<ModuleStateStorage>);
static_assert(!std::is_polymorphic_v<ModuleStateStorage>);
static_assert(sizeof(ModuleStateStorage) == 5 * sizeof(bool));

constexpr unsigned kPictures = 32;

// The five flags as bits, in the order active, consistent, input ok, frozen, skipped.
void setPicture(ModuleState& state, unsigned bits) {
  const bool flags[] = {(bits & 1U) != 0, (bits & 2U) != 0, (bits & 4U) != 0, (bits & 8U) != 0,
                        (bits & 16U) != 0};
  state.setStates(&flags[0], &flags[1], &flags[2], &flags[3], &flags[4]);
}

unsigned picture(const ModuleState& state) {
  return (state.isActive() ? 1U : 0U) | (state.isConsistent() ? 2U : 0U) |
         (state.isInputOk() ? 4U : 0U) | (state.isFrozen() ? 8U : 0U) |
         (state.isSkipped() ? 16U : 0U);
}

unsigned picture(const ModuleStateStorage& storage) {
  ModuleState state;
  storage.restoreStates(state);
  return picture(state);
}

TEST(ModuleStateStorageTest, ANewStorageHoldsFiveFalseFlags) {
  const ModuleStateStorage storage;
  EXPECT_FALSE(storage.isConsistent());
  EXPECT_EQ(picture(storage), 0U);
}

// Unlike a new module, whose result and input count as good: putting an empty storage back is a
// change.
TEST(ModuleStateStorageTest, ANewStorageMakesANewModuleInconsistentAndNotifiesOnce) {
  const auto g = graph("A -> B");
  StateLog log;
  log.listenTo(g);
  ModuleStateStorage().restoreStates(*g["A"]);
  EXPECT_EQ(marksText(*g["A"]), "inconsistent,badinput");
  EXPECT_EQ(log.take(), "A B");
}

TEST(ModuleStateStorageTest, KeepsAndPutsBackEveryPicture) {
  for (unsigned kept = 0; kept < kPictures; ++kept) {
    ModuleState source;
    setPicture(source, kept);
    const ModuleStateStorage constructed(source);
    ModuleStateStorage stored;
    stored.storeStates(source);
    EXPECT_EQ(picture(source), kept) << "storing changes nothing";
    EXPECT_EQ(picture(constructed), kept);
    EXPECT_EQ(picture(stored), kept);
    EXPECT_EQ(stored.isConsistent(), (kept & 2U) != 0);
  }
}

TEST(ModuleStateStorageTest, RestoringNotifiesOnceIfAnythingChanges) {
  for (unsigned kept = 0; kept < kPictures; ++kept) {
    for (unsigned present = 0; present < kPictures; ++present) {
      ModuleState source;
      setPicture(source, kept);
      ModuleState target;
      setPicture(target, present);
      StateLog log;
      log.listenTo("!", target);
      ModuleStateStorage(source).restoreStates(target);
      EXPECT_EQ(picture(target), kept);
      EXPECT_EQ(log.take(), kept == present ? "" : "!") << present << " to " << kept;
    }
  }
}

TEST(ModuleStateStorageTest, StoreAndRestoreSwapsAndTwiceIsTheIdentity) {
  for (unsigned kept = 0; kept < kPictures; ++kept) {
    for (unsigned present = 0; present < kPictures; ++present) {
      ModuleState state;
      setPicture(state, kept);
      ModuleStateStorage storage(state);
      setPicture(state, present);
      StateLog log;
      log.listenTo("!", state);
      storage.storeAndRestoreStates(state);
      EXPECT_EQ(picture(state), kept);
      EXPECT_EQ(picture(storage), present);
      EXPECT_EQ(storage.isConsistent(), (present & 2U) != 0);
      EXPECT_EQ(log.take(), kept == present ? "" : "!");
      storage.storeAndRestoreStates(state);
      EXPECT_EQ(picture(state), present);
      EXPECT_EQ(picture(storage), kept);
    }
  }
}

// A module whose getters answer the opposite of its flags.
class ContraryState : public ModuleState {
 public:
  bool isActive() const override { return !ModuleState::isActive(); }
  bool isConsistent() const override { return !ModuleState::isConsistent(); }
  bool isInputOk() const override { return !ModuleState::isInputOk(); }
  bool isFrozen() const override { return !ModuleState::isFrozen(); }
};

TEST(ModuleStateStorageTest, OverriddenGettersAreHonoured) {
  for (unsigned own = 0; own < kPictures; ++own) {
    ContraryState state;
    setPicture(state, own);
    const unsigned answered = own ^ 15U;
    EXPECT_EQ(picture(ModuleStateStorage(state)), answered);
    ModuleStateStorage swapped;
    swapped.storeAndRestoreStates(state);
    EXPECT_EQ(picture(swapped), answered);
  }
}

TEST(ModuleStateStorageTest, CopiesAndMovesCarryAllFlags) {
  for (unsigned kept = 0; kept < kPictures; ++kept) {
    ModuleState state;
    setPicture(state, kept);
    const ModuleStateStorage storage(state);
    const ModuleStateStorage copied(storage);
    ModuleStateStorage assigned;
    assigned = storage;
    ModuleStateStorage source(storage);
    ModuleStateStorage moved;
    moved = std::move(source);
    EXPECT_EQ(picture(copied), kept);
    EXPECT_EQ(picture(assigned), kept);
    EXPECT_EQ(picture(moved), kept);
  }
}

// The slot sees the restored module, but the storage still holds what it restores: the kept flags
// are exchanged last.
TEST(ModuleStateStorageTest, AThrowingSlotLeavesTheSwapHalfDone) {
  ModuleState state;
  state.setFrozen(true, false);
  ModuleStateStorage storage(state);
  state.setFrozen(false, false);
  const Signals::ScopedConnection connection = state.connectToSigStateChanged([] { throw 1; });
  EXPECT_THROW(storage.storeAndRestoreStates(state), int);
  EXPECT_TRUE(state.isFrozen());
  EXPECT_NE(picture(storage) & 8U, 0U);
}

}  // namespace
}  // namespace Tessaril
