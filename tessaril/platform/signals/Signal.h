#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <type_traits>
#include <utility>

#include "tessaril/platform/Export.h"

namespace Tessaril::Signals {

/// Where a new connection joins the order in which slots are called. Of several that joined at the
/// front, the latest is called first.
enum class ConnectPosition { AtBack = 0, AtFront = 1 };

namespace Detail {

class SlotListState;

/// One connected slot, shared by the signal's list and by the connections to it.
class TESSARIL_PLATFORM_EXPORT SlotEntry {
 public:
  SlotEntry();
  SlotEntry(const SlotEntry&) = delete;
  SlotEntry& operator=(const SlotEntry&) = delete;
  virtual ~SlotEntry();

  void disconnect() noexcept;
  bool isConnected() const noexcept;

 private:
  friend class SlotListState;
  /// The list that calls this slot; empty once disconnected.
  std::weak_ptr<SlotListState> list;
  std::list<std::shared_ptr<SlotEntry>>::iterator place;
  /// Counts the connections of the list, so that an emission knows the slots younger than itself.
  std::size_t birth = 0;
};

/// The connected slots of one signal, without their types. Part of the signal; not used directly.
///
/// Takes no memory of its own before the first connect: most signals of a large design are never
/// connected.
class TESSARIL_PLATFORM_EXPORT SlotList {
 public:
  SlotList() noexcept;
  SlotList(const SlotList&) = delete;
  SlotList& operator=(const SlotList&) = delete;
  /// Disconnects every slot, also while an emission is running.
  ~SlotList();

  void connect(const std::shared_ptr<SlotEntry>& entry, ConnectPosition position) const;
  /// Calls `call` for every slot that was connected when the emission began and is so still.
  void emit(const std::function<void(SlotEntry&)>& call) const;
  std::size_t size() const noexcept;

 private:
  /// Empty until the first connect.
  mutable std::shared_ptr<SlotListState> state;
};

}  // namespace Detail

/// A handle on one connected slot. Copies refer to the same slot. Default: refers to none.
///
/// A connection may outlive its signal; it then answers isConnected() with false.
class TESSARIL_PLATFORM_EXPORT Connection {
 public:
  Connection() noexcept;
  explicit Connection(std::weak_ptr<Detail::SlotEntry> slotEntry) noexcept;

  /// The slot is not called any more, not even by an emission that is running. Does nothing the
  /// second time.
  void disconnect() noexcept;
  bool isConnected() const noexcept;

 private:
  std::weak_ptr<Detail::SlotEntry> entry;
};

/// A connection that ends with its scope. Moves; does not copy.
class TESSARIL_PLATFORM_EXPORT ScopedConnection {
 public:
  ScopedConnection() noexcept;
  ScopedConnection(Connection connection) noexcept;  // NOLINT(google-explicit-constructor)
  ScopedConnection(ScopedConnection&& other) noexcept;
  ScopedConnection& operator=(ScopedConnection&& other) noexcept;
  ~ScopedConnection();

  void disconnect() noexcept;
  bool isConnected() const noexcept;
  /// Gives the connection up without disconnecting it.
  Connection release() noexcept;

 private:
  Connection held;
};

template <typename Signature>
class Slot;

/// A callable that can be connected to a signal of the same signature.
template <typename... Args>
class Slot<void(Args...)> {
 public:
  template <typename Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, Slot> &&
           std::is_invocable_v<Callable&, Args...>)
      Slot(Callable&& callable)  // NOLINT(google-explicit-constructor)
      : function(std::forward<Callable>(callable)) {}

  void operator()(Args... args) const { function(std::forward<Args>(args)...); }

 private:
  std::function<void(Args...)> function;
};

template <typename Signature>
class Signal;

/// A list of slots that are called, in connection order, on the thread that emits.
///
/// A host guarantees: connecting during an emission is heard from the next emission on, a nested
/// one included; disconnecting during an emission takes effect at once; destroying the signal from
/// one of its own slots is allowed and ends the emission; a slot that throws ends the emission and
/// the exception reaches the emitter; what a slot holds is released when it is disconnected, at the
/// latest when the emissions that are running have ended. Destroying the signal disconnects all.
/// A signal is not copied and takes no lock: one thread at a time. Connecting and disconnecting
/// take constant time, and a signal that was never connected allocates nothing.
template <typename... Args>
class Signal<void(Args...)> {
 public:
  using SlotType = Slot<void(Args...)>;

  Signal() = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  /// Const, because observing an object does not change it.
  Connection connect(const Slot<void(Args...)>& slot,
                     ConnectPosition position = ConnectPosition::AtBack) const {
    auto entry = std::make_shared<Entry>(slot);
    slots.connect(entry, position);
    return Connection(entry);
  }

  void emit(Args... args) const {
    const auto call = [&](Detail::SlotEntry& entry) { static_cast<Entry&>(entry).slot(args...); };
    slots.emit(std::cref(call));
  }
  void operator()(Args... args) const { emit(args...); }

  std::size_t connectionCount() const noexcept { return slots.size(); }

 private:
  struct Entry final : Detail::SlotEntry {
    explicit Entry(Slot<void(Args...)> connectedSlot) : slot(std::move(connectedSlot)) {}
    Slot<void(Args...)> slot;
  };
  Detail::SlotList slots;
};

}  // namespace Tessaril::Signals
