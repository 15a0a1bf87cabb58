#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace Tessaril::Signals {

enum class ConnectPosition { AtBack = 0, AtFront = 1 };

template <typename Signature>
class Slot;

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

/// The connected slots of a signal, as far as a connection has to know them.
class SlotTableBase {
 public:
  virtual ~SlotTableBase() = default;
  virtual bool holds(long place) const = 0;
  virtual void drop(long place) = 0;
};

/// The slots by their places, which are never used twice: those behind the last one were connected
/// later. An emission calls what stands between the first and the last place of its beginning. The
/// lock is held while the table is looked at, never while a slot runs or goes.
template <typename... Args>
class SlotTable final : public SlotTableBase {
 public:
  using Entry = std::shared_ptr<const Slot<void(Args...)>>;

  long add(const Slot<void(Args...)>& slot, ConnectPosition position) {
    auto entry = std::make_shared<const Slot<void(Args...)>>(slot);
    const std::lock_guard lock(mutex);
    const long place = position == ConnectPosition::AtBack ? ++last : --first;
    slots.emplace(place, std::move(entry));
    return place;
  }
  bool holds(long place) const override {
    const std::lock_guard lock(mutex);
    return slots.contains(place);
  }
  void drop(long place) override {
    typename std::map<long, Entry>::node_type dropped;
    {
      const std::lock_guard lock(mutex);
      dropped = slots.extract(place);
    }
  }
  void clear() {
    std::map<long, Entry> dropped;
    {
      const std::lock_guard lock(mutex);
      dropped.swap(slots);
    }
  }
  std::size_t size() const {
    const std::lock_guard lock(mutex);
    return slots.size();
  }
  void call(Args&... args) const {
    long from = 0;
    long to = 0;
    {
      const std::lock_guard lock(mutex);
      from = first;
      to = last;
    }
    for (auto found = next(from, to); found.second; found = next(found.first + 1, to)) {
      (*found.second)(args...);
    }
  }

 private:
  std::pair<long, Entry> next(long from, long to) const {
    const std::lock_guard lock(mutex);
    const auto found = slots.lower_bound(from);
    return found != slots.end() && found->first <= to ? std::pair(found->first, found->second)
                                                      : std::pair<long, Entry>();
  }

  mutable std::mutex mutex;
  std::map<long, Entry> slots;
  /// The places of the front and the back.
  long first = 1;
  long last = 0;
};

class Connection {
 public:
  Connection() noexcept = default;
  Connection(std::weak_ptr<SlotTableBase> slots, long slotPlace) noexcept
      : table(std::move(slots)), place(slotPlace) {}

  void disconnect() noexcept {
    if (const auto alive = table.lock()) {
      alive->drop(place);
    }
  }
  bool isConnected() const noexcept {
    const auto alive = table.lock();
    return alive != nullptr && alive->holds(place);
  }

 private:
  std::weak_ptr<SlotTableBase> table;
  long place = 0;
};

class ScopedConnection {
 public:
  ScopedConnection() noexcept = default;
  ScopedConnection(Connection connection) noexcept  // NOLINT(google-explicit-constructor)
      : held(std::move(connection)) {}
  ScopedConnection(ScopedConnection&& other) noexcept : held(other.release()) {}
  ScopedConnection& operator=(ScopedConnection&& other) noexcept {
    if (this != &other) {
      held.disconnect();
      held = other.release();
    }
    return *this;
  }
  ~ScopedConnection() { held.disconnect(); }

  void disconnect() noexcept { held.disconnect(); }
  bool isConnected() const noexcept { return held.isConnected(); }
  Connection release() noexcept { return std::exchange(held, Connection()); }

 private:
  Connection held;
};

template <typename Signature>
class Signal;

/// Its table is made by the first connection.
template <typename... Args>
class Signal<void(Args...)> {
 public:
  using SlotType = Slot<void(Args...)>;

  Signal() = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;
  ~Signal() {
    if (table) {
      table->clear();
    }
  }

  Connection connect(const SlotType& slot,
                     ConnectPosition position = ConnectPosition::AtBack) const {
    if (!table) {
      table = std::make_shared<SlotTable<Args...>>();
    }
    return {table, table->add(slot, position)};
  }
  void emit(Args... args) const {
    if (const auto lasting = table) {
      lasting->call(args...);
    }
  }
  void operator()(Args... args) const { emit(std::forward<Args>(args)...); }
  std::size_t connectionCount() const noexcept { return table ? table->size() : 0; }

 private:
  mutable std::shared_ptr<SlotTable<Args...>> table;
};

}  // namespace Tessaril::Signals
