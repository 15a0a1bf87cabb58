#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tessaril/platform/signals/Signal.h"
#include "tests/platform/HeapWatch.h"

namespace Tessaril::Signals {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Slots that write their names into one list.
class SignalTest : public testing::Test {
 protected:
  Slot<void()> writing(const std::string& name) {
    return [this, name] { called.push_back(name); };
  }
  Slot<void()> writingAnd(const std::string& name, std::function<void()> action) {
    return [this, name, action = std::move(action)] {
      called.push_back(name);
      action();
    };
  }
  std::vector<std::string> callsOf(const Signal<void()>& emitting) {
    called.clear();
    emitting.emit();
    return std::exchange(called, {});
  }

  std::vector<std::string> called;
  Signal<void()> signal;
};

TEST_F(SignalTest, ConnectPositionsHaveFixedValues) {
  EXPECT_EQ(static_cast<int>(ConnectPosition::AtBack), 0);
  EXPECT_EQ(static_cast<int>(ConnectPosition::AtFront), 1);
}

TEST_F(SignalTest, EmittingWithoutSlotsDoesNothing) { EXPECT_THAT(callsOf(signal), IsEmpty()); }

TEST_F(SignalTest, CallsSlotsInConnectionOrder) {
  signal.connect(writing("first"));
  signal.connect(writing("second"));
  signal.connect(writing("third"), ConnectPosition::AtBack);
  EXPECT_THAT(callsOf(signal), ElementsAre("first", "second", "third"));
}

TEST_F(SignalTest, CallsTheLatestSlotAtTheFrontFirst) {
  signal.connect(writing("back"));
  signal.connect(writing("front"), ConnectPosition::AtFront);
  signal.connect(writing("latest front"), ConnectPosition::AtFront);
  EXPECT_THAT(callsOf(signal), ElementsAre("latest front", "front", "back"));
}

TEST_F(SignalTest, CallsASlotOncePerConnection) {
  const auto slot = writing("twice");
  const Connection first = signal.connect(slot);
  signal.connect(slot);
  EXPECT_THAT(callsOf(signal), ElementsAre("twice", "twice"));
  Connection(first).disconnect();
  EXPECT_THAT(callsOf(signal), ElementsAre("twice"));
}

TEST_F(SignalTest, TheCallOperatorEmits) {
  signal.connect(writing("slot"));
  signal();
  EXPECT_THAT(called, ElementsAre("slot"));
}

TEST_F(SignalTest, HandsTheSameArgumentsToEverySlot) {
  Signal<void(std::string, int&)> withArguments;
  int number = 1;
  const auto slot = [this](const std::string& text, int& counter) {
    called.push_back(text + std::to_string(counter++));
  };
  withArguments.connect(slot);
  withArguments.connect(slot);
  withArguments.emit("call ", number);
  EXPECT_THAT(called, ElementsAre("call 1", "call 2"));
  EXPECT_EQ(number, 3);
}

TEST_F(SignalTest, EmitsOnTheEmittersThreadBeforeItReturns) {
  bool done = false;
  signal.connect([&] { done = true; });
  signal.emit();
  EXPECT_TRUE(done);
}

TEST_F(SignalTest, AConstSignalCanBeConnectedAndEmitted) {
  const Signal<void()>& observed = signal;
  observed.connect(writing("slot"));
  EXPECT_THAT(callsOf(observed), ElementsAre("slot"));
}

TEST_F(SignalTest, DoesNotCopy) {
  EXPECT_FALSE(std::is_copy_constructible_v<Signal<void()>>);
  EXPECT_FALSE(std::is_copy_assignable_v<Signal<void()>>);
}

TEST_F(SignalTest, ADisconnectedSlotIsNotCalledAndTheOthersAre) {
  signal.connect(writing("first"));
  Connection second = signal.connect(writing("second"));
  signal.connect(writing("third"));
  EXPECT_TRUE(second.isConnected());
  second.disconnect();
  EXPECT_FALSE(second.isConnected());
  EXPECT_THAT(callsOf(signal), ElementsAre("first", "third"));
}

TEST_F(SignalTest, DisconnectingTheSecondTimeDoesNothing) {
  Connection first = signal.connect(writing("first"));
  signal.connect(writing("second"));
  first.disconnect();
  first.disconnect();
  EXPECT_EQ(signal.connectionCount(), 1U);
  EXPECT_THAT(callsOf(signal), ElementsAre("second"));
}

TEST_F(SignalTest, CopiesOfAConnectionReferToTheSameSlot) {
  const Connection original = signal.connect(writing("slot"));
  Connection copy = original;
  copy.disconnect();
  EXPECT_FALSE(original.isConnected());
  EXPECT_THAT(callsOf(signal), IsEmpty());
}

TEST_F(SignalTest, ADefaultConnectionRefersToNoSlot) {
  Connection none;
  EXPECT_FALSE(none.isConnected());
  none.disconnect();
  EXPECT_FALSE(none.isConnected());
}

TEST_F(SignalTest, AConnectionOutlivesItsSignal) {
  auto shortLived = std::make_unique<Signal<void()>>();
  Connection connection = shortLived->connect(writing("slot"));
  shortLived.reset();
  EXPECT_FALSE(connection.isConnected());
  connection.disconnect();
  EXPECT_FALSE(connection.isConnected());
}

TEST_F(SignalTest, CountsItsConnections) {
  EXPECT_EQ(signal.connectionCount(), 0U);
  Connection first = signal.connect(writing("first"));
  signal.connect(writing("second"));
  EXPECT_EQ(signal.connectionCount(), 2U);
  first.disconnect();
  EXPECT_EQ(signal.connectionCount(), 1U);
}

// Connecting while slots are called.

TEST_F(SignalTest, ASlotConnectedDuringAnEmissionIsHeardFromTheNextOn) {
  Connection connecting = signal.connect(writingAnd("connecting", [this] {
    signal.connect(writing("new at back"));
    signal.connect(writing("new at front"), ConnectPosition::AtFront);
  }));
  signal.connect(writing("old"));
  EXPECT_THAT(callsOf(signal), ElementsAre("connecting", "old"));
  connecting.disconnect();
  EXPECT_THAT(callsOf(signal), ElementsAre("new at front", "old", "new at back"));
}

TEST_F(SignalTest, ASlotConnectedDuringAnEmissionIsHeardByANestedOne) {
  bool nested = false;
  signal.connect(writingAnd("outer", [&] {
    if (!std::exchange(nested, true)) {
      signal.connect(writing("new"));
      signal.emit();
      called.emplace_back("|");
    }
  }));
  signal.connect(writing("old"));
  EXPECT_THAT(callsOf(signal), ElementsAre("outer", "outer", "old", "new", "|", "old"));
}

// Disconnecting while slots are called.

TEST_F(SignalTest, ASlotDisconnectedDuringAnEmissionIsNotCalledAnyMore) {
  Connection later;
  signal.connect(writingAnd("first", [&] { later.disconnect(); }));
  later = signal.connect(writing("later"));
  signal.connect(writing("last"));
  EXPECT_THAT(callsOf(signal), ElementsAre("first", "last"));
  EXPECT_EQ(signal.connectionCount(), 2U);
  EXPECT_THAT(callsOf(signal), ElementsAre("first", "last"));
}

TEST_F(SignalTest, ASlotMayDisconnectItself) {
  Connection own;
  own = signal.connect(writingAnd("once", [&] { own.disconnect(); }));
  signal.connect(writing("last"));
  EXPECT_THAT(callsOf(signal), ElementsAre("once", "last"));
  EXPECT_THAT(callsOf(signal), ElementsAre("last"));
}

TEST_F(SignalTest, ASlotMayDisconnectOneThatWasCalledBeforeIt) {
  Connection before = signal.connect(writing("before"));
  signal.connect(writingAnd("after", [&] { before.disconnect(); }));
  EXPECT_THAT(callsOf(signal), ElementsAre("before", "after"));
  EXPECT_THAT(callsOf(signal), ElementsAre("after"));
}

TEST_F(SignalTest, ASlotMayConnectAndDisconnectANewOne) {
  signal.connect(writingAnd("old", [&] { signal.connect(writing("new")).disconnect(); }));
  EXPECT_THAT(callsOf(signal), ElementsAre("old"));
  EXPECT_EQ(signal.connectionCount(), 1U);
}

TEST_F(SignalTest, TheConnectionCountLeavesOutWhatARunningEmissionDisconnected) {
  Connection first = signal.connect(writing("first"));
  std::optional<std::size_t> counted;
  signal.connect([&] {
    first.disconnect();
    counted = signal.connectionCount();
  });
  signal.emit();
  EXPECT_EQ(counted, 1U);
}

TEST_F(SignalTest, ANestedEmissionMayDisconnectWhatTheOuterOneHasAhead) {
  bool nested = false;
  Connection ahead;
  signal.connect(writingAnd("outer", [&] {
    if (!std::exchange(nested, true)) {
      signal.emit();
      called.emplace_back("|");
    }
  }));
  ahead = signal.connect(writingAnd("ahead", [&] { ahead.disconnect(); }));
  signal.connect(writing("last"));
  EXPECT_THAT(callsOf(signal), ElementsAre("outer", "outer", "ahead", "last", "|", "last"));
}

// Destroying the signal while slots are called.

TEST_F(SignalTest, DestroyingTheSignalEndsTheEmission) {
  auto own = std::make_unique<Signal<void()>>();
  own->connect(writingAnd("destroying", [&] {
    own.reset();
    called.emplace_back("alive");
  }));
  const Connection later = own->connect(writing("later"));
  own->emit();
  EXPECT_THAT(called, ElementsAre("destroying", "alive"));
  EXPECT_FALSE(later.isConnected());
}

TEST_F(SignalTest, DestroyingTheSignalEndsEveryNestedEmission) {
  auto own = std::make_unique<Signal<void()>>();
  int depth = 0;
  own->connect(writingAnd("slot", [&] {
    if (++depth == 2) {
      own.reset();
    } else {
      own->emit();
    }
  }));
  own->connect(writing("later"));
  own->emit();
  EXPECT_THAT(called, ElementsAre("slot", "slot"));
}

TEST_F(SignalTest, DestroyingTheSignalDisconnectsDuringTheEmissionAtOnce) {
  auto own = std::make_unique<Signal<void()>>();
  Connection connection;
  bool connectedAfterwards = true;
  connection = own->connect([&] {
    own.reset();
    connectedAfterwards = connection.isConnected();
  });
  own->emit();
  EXPECT_FALSE(connectedAfterwards);
}

TEST_F(SignalTest, ArgumentsOutliveTheSignalThatHandsThem) {
  auto own = std::make_unique<Signal<void(std::string)>>();
  own->connect([&](const std::string& text) {
    own.reset();
    called.push_back(text);
  });
  own->emit("a text too long to be kept inside the string object itself");
  EXPECT_THAT(called, ElementsAre("a text too long to be kept inside the string object itself"));
}

// Slots that throw.

TEST_F(SignalTest, AThrowingSlotEndsTheEmissionAndReachesTheEmitter) {
  signal.connect(writing("before"));
  Connection throwing =
      signal.connect(writingAnd("throwing", [] { throw std::runtime_error("from the slot"); }));
  signal.connect(writing("after"));
  try {
    signal.emit();
    FAIL() << "The exception did not reach the emitter";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "from the slot");
  }
  EXPECT_THAT(called, ElementsAre("before", "throwing"));
  throwing.disconnect();
  EXPECT_THAT(callsOf(signal), ElementsAre("before", "after"));
}

TEST_F(SignalTest, ASlotMayDisconnectItselfAndThrow) {
  Connection own;
  own = signal.connect([&] {
    own.disconnect();
    throw std::runtime_error("once");
  });
  signal.connect(writing("after"));
  EXPECT_THROW(signal.emit(), std::runtime_error);
  EXPECT_EQ(signal.connectionCount(), 1U);
  EXPECT_THAT(callsOf(signal), ElementsAre("after"));
}

TEST_F(SignalTest, ASlotMayDestroyTheSignalAndThrow) {
  auto own = std::make_unique<Signal<void()>>();
  own->connect([&] {
    own.reset();
    throw std::runtime_error("last words");
  });
  Signal<void()>& emitting = *own;
  EXPECT_THROW(emitting.emit(), std::runtime_error);
  EXPECT_EQ(own, nullptr);
}

// What slots hold.

TEST_F(SignalTest, ReleasesWhatASlotHoldsWhenItIsDisconnected) {
  auto held = std::make_shared<int>();
  Connection connection = signal.connect([held] {});
  EXPECT_EQ(held.use_count(), 2);
  connection.disconnect();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SignalTest, ReleasesWhatASlotHoldsWithTheSignal) {
  auto held = std::make_shared<int>();
  auto own = std::make_unique<Signal<void()>>();
  const Connection connection = own->connect([held] {});
  own.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SignalTest, ReleasesAtTheEndOfTheEmissionWhatWasDisconnectedInIt) {
  auto held = std::make_shared<int>();
  Connection own;
  own = signal.connect([held, &own] {
    own.disconnect();
    *held = 1;
  });
  signal.emit();
  EXPECT_EQ(*held, 1);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SignalTest, ReleasesAtTheEndOfTheEmissionWhatADestroyedSignalHeld) {
  auto held = std::make_shared<int>();
  auto own = std::make_unique<Signal<void()>>();
  own->connect([held, &own] {
    own.reset();
    *held = 1;
  });
  own->emit();
  EXPECT_EQ(*held, 1);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SignalTest, ASlotMayOwnTheConnectionOfAnother) {
  auto owned = std::make_shared<ScopedConnection>(signal.connect(writing("owned")));
  Connection owner = signal.connect([owned] {});
  signal.connect(writing("last"));
  owned.reset();
  owner.disconnect();
  EXPECT_THAT(callsOf(signal), ElementsAre("last"));
  EXPECT_EQ(signal.connectionCount(), 1U);
}

TEST_F(SignalTest, ASlotMayOwnTheConnectionOfAnotherThatIsDisconnectedDuringAnEmission) {
  auto owned = std::make_shared<ScopedConnection>(signal.connect(writing("owned")));
  Connection owner;
  owner = signal.connect([owned, &owner] { owner.disconnect(); });
  owned.reset();
  EXPECT_THAT(callsOf(signal), ElementsAre("owned"));
  EXPECT_THAT(callsOf(signal), IsEmpty());
  EXPECT_EQ(signal.connectionCount(), 0U);
}

TEST_F(SignalTest, ASlotMayOwnConnectionsOfTheSignalThatIsDestroyed) {
  auto own = std::make_unique<Signal<void()>>();
  auto owned = std::make_shared<ScopedConnection>(own->connect(writing("owned")));
  const Connection owner = own->connect([owned] {});
  std::weak_ptr<ScopedConnection> watched = owned;
  owned.reset();
  own.reset();
  EXPECT_TRUE(watched.expired());
  EXPECT_FALSE(owner.isConnected());
}

// Scoped connections.

TEST_F(SignalTest, AScopedConnectionEndsWithItsScope) {
  {
    const ScopedConnection scoped = signal.connect(writing("slot"));
    EXPECT_TRUE(scoped.isConnected());
    EXPECT_THAT(callsOf(signal), ElementsAre("slot"));
  }
  EXPECT_THAT(callsOf(signal), IsEmpty());
}

TEST_F(SignalTest, AScopedConnectionMovesAndDoesNotCopy) {
  EXPECT_FALSE(std::is_copy_constructible_v<ScopedConnection>);
  EXPECT_FALSE(std::is_copy_assignable_v<ScopedConnection>);
  auto source = std::make_unique<ScopedConnection>(signal.connect(writing("slot")));
  const ScopedConnection target(std::move(*source));
  source.reset();
  EXPECT_TRUE(target.isConnected());
  EXPECT_THAT(callsOf(signal), ElementsAre("slot"));
}

TEST_F(SignalTest, AssigningAScopedConnectionEndsTheOneItHeld) {
  ScopedConnection target = signal.connect(writing("old"));
  target = ScopedConnection(signal.connect(writing("new")));
  EXPECT_THAT(callsOf(signal), ElementsAre("new"));
  ScopedConnection& same = target;
  target = std::move(same);
  EXPECT_THAT(callsOf(signal), ElementsAre("new"));
}

TEST_F(SignalTest, AScopedConnectionCanBeEndedEarlyOrGivenUp) {
  ScopedConnection ended = signal.connect(writing("ended"));
  ended.disconnect();
  EXPECT_FALSE(ended.isConnected());

  Connection released;
  {
    ScopedConnection scoped = signal.connect(writing("released"));
    released = scoped.release();
    EXPECT_FALSE(scoped.isConnected());
  }
  EXPECT_TRUE(released.isConnected());
  EXPECT_THAT(callsOf(signal), ElementsAre("released"));
}

TEST_F(SignalTest, ADefaultScopedConnectionHoldsNone) {
  ScopedConnection none;
  EXPECT_FALSE(none.isConnected());
  none.disconnect();
  EXPECT_FALSE(none.release().isConnected());
}

TEST_F(SignalTest, AScopedConnectionOutlivesItsSignal) {
  ScopedConnection scoped;
  {
    const Signal<void()> shortLived;
    scoped = shortLived.connect(writing("slot"));
  }
  EXPECT_FALSE(scoped.isConnected());
}

// Cost.

TEST_F(SignalTest, ASignalThatWasNeverConnectedAllocatesNothing) {
  const PlatformTests::HeapWatch watch;
  {
    const Signal<void()> plain;
    plain.emit();
    const Signal<void(int, int, int, int)> withArguments;
    withArguments.emit(1, 2, 3, 4);
    EXPECT_EQ(plain.connectionCount(), 0U);
  }
  EXPECT_EQ(watch.allocations(), 0U);
}

TEST_F(SignalTest, ServesManyConnectionsThatComeAndGo) {
  constexpr std::size_t kMany = 100'000;
  std::size_t calls = 0;
  std::vector<Connection> connections;
  for (std::size_t i = 0; i < kMany; ++i) {
    connections.push_back(signal.connect([&calls] { ++calls; }));
  }
  for (std::size_t i = 0; i < kMany; i += 2) {
    connections[i].disconnect();
  }
  signal.emit();
  EXPECT_EQ(calls, kMany / 2);
  EXPECT_EQ(signal.connectionCount(), kMany / 2);
}

}  // namespace
}  // namespace Tessaril::Signals
