#include <gmock/gmock.h>

#include <stdexcept>
#include <tuple>
#include <type_traits>

#include "tessaril/module/ModuleState.h"
#include "tests/module/StateLog.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril {
namespace {

using TestSupport::graph;
using TestSupport::graphOf;
using TestSupport::ObjectModule;
using TestSupport::StateLog;
using TestSupport::TestModule;

static_assert(!std::is_copy_constructible_v<ModuleState>);
static_assert(!std::is_copy_assignable_v<ModuleState>);
static_assert(!std::is_move_constructible_v<ModuleState>);
static_assert(!std::is_move_assignable_v<ModuleState>);
static_assert(std::is_base_of_v<ModuleStateInterface, ModuleState>);
static_assert(std::has_virtual_destructor_v<ModuleState>);

std::string flags(const ModuleState& state) {
  std::string set;
  set += state.isActive() ? 'a' : '-';
  set += state.isConsistent() ? 'c' : '-';
  set += state.isInputOk() ? 'i' : '-';
  set += state.isFrozen() ? 'f' : '-';
  set += state.isSkipped() ? 's' : '-';
  return set;
}

// Writes down which of the two notifying operations are called, by way of their virtual functions.
class NotedState : public ModuleState {
 public:
  void sendStateChangeSignal() const override {
    log.add("signal");
    ModuleState::sendStateChangeSignal();
  }
  void sendStateChangeSignalsOfFollowingModules() const override {
    log.add("followers");
    ModuleState::sendStateChangeSignalsOfFollowingModules();
  }
  bool computeIsInputOk() const override { return computed; }

  mutable StateLog log;
  bool computed = true;
};

TEST(ModuleStateTest, ANewModuleIsInactiveConsistentAndItsInputIsOk) {
  const ModuleState state;
  EXPECT_EQ(flags(state), "-ci--");
}

// The setters

using Setter = void (*)(ModuleState&, bool value, bool sendSignal);
using Getter = bool (*)(const ModuleState&);

struct Flag {
  const char* name;
  Setter set;
  Getter get;
  bool silentWhenInactive;
};

void PrintTo(const Flag& flag, std::ostream* out) { *out << flag.name; }

const Flag kFlags[] = {
    {"active", [](ModuleState& m, bool v, bool s) { m.setActive(v, s); },
     [](const ModuleState& m) { return m.isActive(); }, false},
    {"consistent", [](ModuleState& m, bool v, bool s) { m.setConsistent(v, s); },
     [](const ModuleState& m) { return m.isConsistent(); }, true},
    {"inputOk", [](ModuleState& m, bool v, bool s) { m.setInputIsOk(v, s); },
     [](const ModuleState& m) { return m.isInputOk(); }, true},
    {"computedInputOk",
     [](ModuleState& m, bool v, bool s) {
       static_cast<NotedState&>(m).computed = v;
       m.computeAndSetInputOk(s);
     },
     [](const ModuleState& m) { return m.isInputOk(); }, true},
    {"frozen", [](ModuleState& m, bool v, bool s) { m.setFrozen(v, s); },
     [](const ModuleState& m) { return m.isFrozen(); }, false},
    {"skipped", [](ModuleState& m, bool v, bool s) { m.setSkipped(v, s); },
     [](const ModuleState& m) { return m.isSkipped(); }, false},
};

// The flag; active; the value before; the value set; sendSignal.
class SetterTest : public ::testing::TestWithParam<std::tuple<Flag, bool, bool, bool, bool>> {};

TEST_P(SetterTest, NotifiesAChangeWhereAskedTo) {
  const auto [flag, active, before, value, sendSignal] = GetParam();
  NotedState state;
  state.setActive(active, false);
  flag.set(state, before, false);
  ASSERT_EQ(flag.get(state), before);
  ASSERT_EQ(state.log.take(), "") << "changed silently";
  const bool isActive = state.isActive();
  const auto others = [&flag = flag](ModuleState& m) {
    // All flags but the one that is set, which is put on the same value for the comparison.
    flag.set(m, true, false);
    return flags(m);
  };
  NotedState untouched;
  untouched.setActive(active, false);

  state.log.listenTo("slot", state);
  flag.set(state, value, sendSignal);

  EXPECT_EQ(flag.get(state), value);
  const bool notifies = value != before && sendSignal && (isActive || !flag.silentWhenInactive);
  EXPECT_EQ(state.log.take(), notifies ? "signal slot followers" : "");
  EXPECT_EQ(others(state), others(untouched)) << "no setter touches another flag";
}

std::string setterTestName(const ::testing::TestParamInfo<SetterTest::ParamType>& suite) {
  const auto& [flag, active, before, value, sendSignal] = suite.param;
  return std::string(flag.name) + (active ? "Active" : "Inactive") +
         (before ? "FromTrue" : "FromFalse") + (value ? "ToTrue" : "ToFalse") +
         (sendSignal ? "Signal" : "NoSignal");
}

INSTANTIATE_TEST_SUITE_P(Flags, SetterTest,
                         ::testing::Combine(::testing::ValuesIn(kFlags), ::testing::Bool(),
                                            ::testing::Bool(), ::testing::Bool(),
                                            ::testing::Bool()),
                         setterTestName);

TEST(ModuleStateTest, ActivatingSendsOneNotificationWithTheNewPicture) {
  ModuleState state;
  state.setConsistent(false, true);
  state.setInputIsOk(false, true);
  std::string seen;
  const Signals::ScopedConnection connection =
      state.connectToSigStateChanged([&] { seen += flags(state) + " "; });
  state.setActive(true, true);
  EXPECT_EQ(seen, "a---- ");
}

TEST(ModuleStateTest, DeactivatingIsNotGatedByTheFlagItClears) {
  NotedState state;
  state.setActive(true, false);
  state.setActive(false, true);
  EXPECT_EQ(state.log.take(), "signal followers");
}

// A module that gives itself out as active, or as inactive, is gated by what was set all the same.
class PretendedState : public NotedState {
 public:
  bool isActive() const override { return pretended; }
  bool pretended = false;
};

TEST(ModuleStateTest, TheActiveFlagGatesNotWhatAnOverriddenGetterAnswers) {
  PretendedState active;
  active.setActive(true, false);
  active.setConsistent(false, true);
  EXPECT_EQ(active.log.take(), "signal followers");
  active.setInputIsOk(false, true);
  EXPECT_EQ(active.log.take(), "signal followers");
  PretendedState inactive;
  inactive.pretended = true;
  inactive.setConsistent(false, true);
  inactive.setInputIsOk(false, true);
  EXPECT_EQ(inactive.log.take(), "");
}

TEST(ModuleStateTest, ComputedInputIsOkUnlessOverridden) {
  ModuleState state;
  EXPECT_TRUE(state.computeIsInputOk());
  state.setInputIsOk(false, false);
  state.computeAndSetInputOk(false);
  EXPECT_TRUE(state.isInputOk());
}

// setStates

TEST(SetStatesTest, NullPointersLeaveTheirFlagsAlone) {
  NotedState state;
  state.setStates(nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(flags(state), "-ci--");
  EXPECT_EQ(state.log.take(), "");
}

TEST(SetStatesTest, EachPointerWritesItsFlag) {
  const bool yes = true;
  const bool no = false;
  const auto written = [](const bool* a, const bool* c, const bool* i, const bool* f,
                          const bool* s) {
    NotedState state;
    state.setStates(a, c, i, f, s);
    return flags(state) + " " + state.log.take();
  };
  EXPECT_EQ(written(&yes, nullptr, nullptr, nullptr, nullptr), "aci-- signal followers");
  EXPECT_EQ(written(nullptr, &no, nullptr, nullptr, nullptr), "--i-- signal followers");
  EXPECT_EQ(written(nullptr, nullptr, &no, nullptr, nullptr), "-c--- signal followers");
  EXPECT_EQ(written(nullptr, nullptr, nullptr, &yes, nullptr), "-cif- signal followers");
  EXPECT_EQ(written(nullptr, nullptr, nullptr, nullptr, &yes), "-ci-s signal followers");
  EXPECT_EQ(written(&yes, &no, &no, &yes, &yes), "a--fs signal followers") << "once for all";
  EXPECT_EQ(written(&no, &yes, &yes, &no, &no), "-ci-- ") << "nothing differs";
  EXPECT_EQ(written(&no, &no, &yes, nullptr, &no), "--i-- signal followers")
      << "the first and the last are as they were";
}

TEST(SetStatesTest, AllFlagsAreWrittenBeforeTheNotification) {
  ModuleState state;
  std::string seen;
  const Signals::ScopedConnection connection =
      state.connectToSigStateChanged([&] { seen += flags(state) + " "; });
  const bool yes = true;
  const bool no = false;
  state.setStates(&yes, &no, &no, &yes, &yes);
  EXPECT_EQ(seen, "a--fs ");
}

// Order of a notification

TEST(NotificationTest, OwnSignalThenOwnTreeThenFollowersInWalkOrder) {
  const auto g = graphOf<ObjectModule>("[active] R -> A -> P -> X; A -> Q -> X; Q -> Y");
  StateLog log;
  log.listenTo(g);
  g["A"]->setConsistent(false, true);
  EXPECT_EQ(log.take(), "A A.tree(2) Q Q.tree(2) Y Y.tree(2) X X.tree(2) P P.tree(2)");
}

TEST(NotificationTest, EverySetterNotifiesTheFollowers) {
  const auto g = graph("[active] A -> B");
  StateLog log;
  log.listenTo(g);
  const auto& a = g["A"];
  a->setConsistent(false, true);
  EXPECT_EQ(log.take(), "A B");
  a->setInputIsOk(false, true);
  EXPECT_EQ(log.take(), "A B");
  a->computeAndSetInputOk(true);
  EXPECT_EQ(log.take(), "A B");
  a->setFrozen(true, true);
  EXPECT_EQ(log.take(), "A B");
  a->setSkipped(true, true);
  EXPECT_EQ(log.take(), "A B");
  a->setActive(false, true);
  EXPECT_EQ(log.take(), "A B");
  a->setConsistent(true, true);
  EXPECT_EQ(log.take(), "") << "inactive";
  const bool yes = true;
  const bool no = false;
  a->setStates(nullptr, &no, nullptr, nullptr, nullptr);
  EXPECT_EQ(log.take(), "A B") << "inactive, but setStates does not ask";
  a->setStates(nullptr, &no, &yes, nullptr, &yes);
  EXPECT_EQ(log.take(), "");
}

TEST(NotificationTest, FollowersAreNotifiedWhateverTheirFlags) {
  const auto g = graph("A[active] -> B[frozen] -> C[skipped,additional]");
  StateLog log;
  log.listenTo(g);
  g["A"]->setConsistent(false, true);
  EXPECT_EQ(log.take(), "A B C");
}

TEST(NotificationTest, APlainModuleOnlyEmitsItsOwnSignal) {
  ModuleState state;
  StateLog log;
  log.listenTo("S", state);
  state.sendStateChangeSignal();
  EXPECT_EQ(log.take(), "S");
  state.sendStateChangeSignalsOfFollowingModules();
  EXPECT_EQ(log.take(), "");
}

TEST(NotificationTest, TheTreeHearsOfTheChangeAtEveryAncestor) {
  const auto root = std::make_shared<Object>("root");
  const auto module = std::make_shared<ObjectModule>("M");
  root->addChild(module);
  std::string heard;
  const Signals::ScopedConnection connection =
      root->connectToSigTreeChanged([&](const Object& changed, ObjectTreeChangeReason reason) {
        heard += changed.getName() + (reason == ObjectTreeChangeReason::StateChanged ? "!" : "?");
      });
  module->setFrozen(true, true);
  EXPECT_EQ(heard, "M!");
}

TEST(NotificationTest, SlotsAreCalledInConnectionOrderBeforeTheSetterReturns) {
  ModuleState state;
  std::string heard;
  const Signals::ScopedConnection first = state.connectToSigStateChanged([&] { heard += "1"; });
  const Signals::ScopedConnection second = state.connectToSigStateChanged([&] { heard += "2"; });
  const Signals::ScopedConnection third = state.connectToSigStateChanged([&] { heard += "3"; });
  state.setFrozen(true, true);
  EXPECT_EQ(heard, "123");
}

TEST(NotificationTest, ConnectionsEndWithTheModuleOrByHand) {
  Signals::Connection connection;
  {
    ModuleState state;
    int calls = 0;
    auto other = state.connectToSigStateChanged([&] { ++calls; });
    connection = state.connectToSigStateChanged([&] { ++calls; });
    EXPECT_TRUE(connection.isConnected());
    other.disconnect();
    state.setFrozen(true, true);
    EXPECT_EQ(calls, 1);
  }
  EXPECT_FALSE(connection.isConnected());
}

// A throwing slot

struct SlotFailure : std::runtime_error {
  SlotFailure() : std::runtime_error("slot") {}
};

class ThrowingSlotTest : public ::testing::TestWithParam<Flag> {};

TEST_P(ThrowingSlotTest, TheFlagIsWrittenAlreadyAndTheRestIsNotNotified) {
  const auto& flag = GetParam();
  NotedState state;
  state.setActive(flag.name != std::string("active"), false);
  const bool before = flag.get(state);
  const Signals::ScopedConnection connection =
      state.connectToSigStateChanged([] { throw SlotFailure(); });
  EXPECT_THROW(flag.set(state, !before, true), SlotFailure);
  EXPECT_EQ(flag.get(state), !before);
  EXPECT_EQ(state.log.take(), "signal") << "the followers are not reached";
}

INSTANTIATE_TEST_SUITE_P(Flags, ThrowingSlotTest, ::testing::ValuesIn(kFlags),
                         [](const auto& suite) { return std::string(suite.param.name); });

TEST(SlotFailureTest, SetStatesHasWrittenAllFlags) {
  ModuleState state;
  const Signals::ScopedConnection connection =
      state.connectToSigStateChanged([] { throw SlotFailure(); });
  const bool yes = true;
  const bool no = false;
  EXPECT_THROW(state.setStates(&yes, &no, &no, &yes, &yes), SlotFailure);
  EXPECT_EQ(flags(state), "a--fs");
}

TEST(SlotFailureTest, AFollowersSlotEndsTheNotification) {
  const auto g = graph("[active] A -> B -> C; A -> D");
  StateLog log;
  log.listenTo(g);
  const Signals::ScopedConnection connection =
      g["B"]->connectToSigStateChanged([] { throw SlotFailure(); });
  EXPECT_THROW(g["A"]->setConsistent(false, true), SlotFailure);
  EXPECT_FALSE(g["A"]->isConsistent());
  EXPECT_EQ(log.take(), "A D B");
}

TEST(SlotFailureTest, TheTreeIsNotToldAfterTheOwnSignalThrew) {
  const auto g = graphOf<ObjectModule>("A -> B");
  const Signals::ScopedConnection connection =
      g["A"]->connectToSigStateChanged([] { throw SlotFailure(); });
  StateLog log;
  log.listenTo(g);
  EXPECT_THROW(g["A"]->setFrozen(true, true), SlotFailure);
  EXPECT_EQ(log.take(), "");
}

}  // namespace
}  // namespace Tessaril
