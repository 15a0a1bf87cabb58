#include "tessaril/platform/signals/Signal.h"

#include <utility>

namespace Tessaril::Signals {
namespace Detail {

/// The slots and the emissions of one signal; an emission keeps it alive when the signal is gone.
///
/// While an emission is running no entry leaves the list, so that the emission's place in it stays
/// valid; entries disconnected meanwhile leave when the outermost emission has ended. An entry is
/// destroyed last of all, because what its slot holds may connect and disconnect as it goes.
class SlotListState : public std::enable_shared_from_this<SlotListState> {
 public:
  void connect(const std::shared_ptr<SlotEntry>& entry, ConnectPosition position) {
    const auto before = position == ConnectPosition::AtFront ? entries.begin() : entries.end();
    entry->place = entries.insert(before, entry);
    entry->birth = ++births;
    entry->list = weak_from_this();
  }

  void disconnect(SlotEntry& entry) noexcept {
    entry.list.reset();
    if (runningEmissions > 0) {
      ++leaving;
      return;
    }
    const std::shared_ptr<SlotEntry> destroyedLast = std::move(*entry.place);
    entries.erase(entry.place);
  }

  void disconnectAll() noexcept {
    for (const auto& entry : entries) {
      entry->list.reset();
    }
    leaving = entries.size();
    removeLeaving();
  }

  void emit(const std::function<void(SlotEntry&)>& call) {
    const std::size_t youngest = births;
    const Emission emission(*this);
    for (const auto& entry : entries) {
      if (entry->birth <= youngest && entry->isConnected()) {
        call(*entry);
      }
    }
  }

  std::size_t size() const noexcept { return entries.size() - leaving; }

 private:
  using Entries = std::list<std::shared_ptr<SlotEntry>>;

  class Emission {
   public:
    explicit Emission(SlotListState& slotList) noexcept : list(slotList) {
      ++list.runningEmissions;
    }
    Emission(const Emission&) = delete;
    Emission& operator=(const Emission&) = delete;
    ~Emission() {
      --list.runningEmissions;
      list.removeLeaving();
    }

   private:
    SlotListState& list;
  };

  void removeLeaving() noexcept {
    if (runningEmissions > 0 || leaving == 0) {
      return;
    }
    Entries destroyedLast;
    for (auto place = entries.begin(); place != entries.end();) {
      const auto candidate = place++;
      if (!(*candidate)->isConnected()) {
        destroyedLast.splice(destroyedLast.end(), entries, candidate);
      }
    }
    leaving = 0;
  }

  Entries entries;
  std::size_t births = 0;
  std::size_t runningEmissions = 0;
  /// Entries that are disconnected but still in the list.
  std::size_t leaving = 0;
};

SlotEntry::SlotEntry() = default;
SlotEntry::~SlotEntry() = default;

void SlotEntry::disconnect() noexcept {
  if (const auto connectedTo = list.lock()) {
    connectedTo->disconnect(*this);
  }
}

bool SlotEntry::isConnected() const noexcept { return !list.expired(); }

SlotList::SlotList() noexcept = default;

SlotList::~SlotList() {
  if (const auto kept = std::move(state)) {
    kept->disconnectAll();
  }
}

void SlotList::connect(const std::shared_ptr<SlotEntry>& entry, ConnectPosition position) const {
  if (!state) {
    state = std::make_shared<SlotListState>();
  }
  state->connect(entry, position);
}

void SlotList::emit(const std::function<void(SlotEntry&)>& call) const {
  if (const auto kept = state) {
    kept->emit(call);
  }
}

std::size_t SlotList::size() const noexcept { return state ? state->size() : 0; }

}  // namespace Detail

Connection::Connection() noexcept = default;
Connection::Connection(std::weak_ptr<Detail::SlotEntry> slotEntry) noexcept
    : entry(std::move(slotEntry)) {}

void Connection::disconnect() noexcept {
  if (const auto connected = entry.lock()) {
    connected->disconnect();
  }
}

bool Connection::isConnected() const noexcept {
  const auto connected = entry.lock();
  return connected && connected->isConnected();
}

ScopedConnection::ScopedConnection() noexcept = default;
ScopedConnection::ScopedConnection(Connection connection) noexcept : held(std::move(connection)) {}
ScopedConnection::ScopedConnection(ScopedConnection&& other) noexcept : held(other.release()) {}

ScopedConnection& ScopedConnection::operator=(ScopedConnection&& other) noexcept {
  if (this != &other) {
    disconnect();
    held = other.release();
  }
  return *this;
}

ScopedConnection::~ScopedConnection() { disconnect(); }

void ScopedConnection::disconnect() noexcept { held.disconnect(); }
bool ScopedConnection::isConnected() const noexcept { return held.isConnected(); }
Connection ScopedConnection::release() noexcept { return std::exchange(held, Connection()); }

}  // namespace Tessaril::Signals
