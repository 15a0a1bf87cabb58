#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "tessaril/platform/Export.h"

namespace Tessaril::Signals {

/// Where a new connection joins the order in which slots are called.
enum class ConnectPosition { AtBack = 0, AtFront = 1 };

namespace Detail {

class SlotList;

/// One connected slot, shared by the signal's list and by the connections to it.
class TESSARIL_PLATFORM_EXPORT SlotEntry {
 public:
  SlotEntry() = default;
  SlotEntry(const SlotEntry&) = delete;
  SlotEntry& operator=(const SlotEntry&) = delete;
  virtual ~SlotEntry();

 private:
  friend class SlotList;
  bool connected = false;
  std::size_t birth = 0;
};

/// The connected slots of one signal, without their types. Part of the signal; not used directly.
class TESSARIL_PLATFORM_EXPORT SlotList {
 public:
  SlotList();
  SlotList(const SlotList&) = delete;
  SlotList& operator=(const SlotList&) = delete;
  /// Disconnects every slot, also while an emission is running.
  ~SlotList();

  void connect(const std::shared_ptr<SlotEntry>& entry, ConnectPosition position) const;
  /// Calls `call` for every slot that was connected when the emission began and is so still.
  void emit(const std::function<void(SlotEntry&)>& call) const;
  std::size_t size() const noexcept;

  static void disconnect(SlotEntry& entry) noexcept;
  static bool isConnected(const SlotEntry& entry) noexcept;

 private:
  struct State;
  std::shared_ptr<State> state;
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
/// A host guarantees: connecting during an emission is heard from the next emission on;
/// disconnecting during an emission takes effect at once; destroying the signal from one of its own
/// slots is allowed and ends the emission; a slot that throws ends the emission and the exception
/// reaches the emitter. A signal is not copied and takes no lock: one thread at a time.
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
    slots.emit([&](Detail::SlotEntry& entry) { static_cast<Entry&>(entry).slot(args...); });
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
