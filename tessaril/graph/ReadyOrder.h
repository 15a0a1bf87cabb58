#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

// Internal to the library.

namespace Tessaril {

/// The work queue of an ordered traversal, for modules that are known by numbers.
///
/// It answers as this queue would, but without looking at a waiting entry again and again: take the
/// front entry; drop it if its module is visited; if its module has to wait, put it aside; else put
/// what was put aside behind all others, in its order, and answer with the entry.
///
/// Seen as a circle with a cursor, nothing in that queue ever moves: the cursor stands behind the
/// entry that was taken last, new entries come just before the cursor, and the next entry is the
/// first one from the cursor on whose module does not have to wait. So the circle is kept as a list
/// with labels that grow from its head to its tail (ordered-list maintenance: where there is no
/// label left between two entries, a stretch of the list is labelled anew). Candidates, that is
/// entries whose modules are ready or visited, stand in two heaps by label, those from the cursor
/// on and those before it, which change places when the cursor has come round. Entries that are
/// candidates when they are pushed come in the order of their labels and need no heap.
///
/// Time: the logarithm of the number of entries, amortised; constant while nothing has to wait.
class ReadyOrder {
 public:
  using Number = std::uint32_t;
  struct Taken {
    Number module;
    bool flag;
  };

  void reserve(std::size_t pushes, std::size_t modules) {
    entries.reserve(pushes);
    firstOfModule.reserve(modules);
  }
  /// Adds an entry for the module at the back.
  void push(Number module, bool flag, bool isCandidate);
  /// All entries of the module are candidates from now on. Requires: none of them was before.
  void setCandidate(Number module);
  /// The same for a module that is visited as soon as it is taken: of its entries only the one that
  /// will be taken stays. Requires: there is one.
  void setCandidateOnce(Number module);
  /// Takes the first candidate whose module is not visited, and drops the visited ones before it.
  template <typename IsVisited>
  std::optional<Taken> take(const IsVisited& isVisited);
  /// Drops all entries.
  void drop();
  void clear();

  bool isEmpty() const { return living == 0; }
  /// The modules of all entries, from the front on.
  std::vector<Number> modules() const;
  /// Remembers the queue as it is now. Costs what has changed since the last time.
  void save();
  /// What modules() was when the queue was saved. Requires: it was, since it was cleared.
  std::vector<Number> savedModules() const;
  /// Calls `use` with the module of every entry since the queue was cleared.
  template <typename Use>
  void forEachPushed(const Use& use) const {
    for (const Entry& entry : entries) {
      use(entry.module);
    }
  }

 private:
  using Index = std::uint32_t;
  using Label = std::uint64_t;
  static constexpr Index kNone = 0xFFFF'FFFF;

  struct Entry {
    Label label;
    Index before;
    Index behind;
    Index nextOfModule;
    Number module;
    bool flag;
    bool isRemoved;
  };
  struct Candidates {
    std::vector<Index> inOrder;
    std::size_t taken = 0;
    std::vector<Index> heap;

    void clear();
  };

  template <typename Use>
  void forEachOf(Number module, const Use& use) const;
  bool comesBefore(Index left, Index right) const;
  void setCandidateEntry(Index index);
  void link(Index index, Index before, Index behind);
  void unlink(Index index);
  Label labelBetween(Index before, Index behind);
  bool isLater(Index left, Index right) const { return entries[left].label > entries[right].label; }
  void labelAnew(Index around);
  bool isFromCursorOn(Index index) const { return entries[index].label >= entries[cursor].label; }
  void addToHeap(Candidates& candidates, Index index);
  Index takeFirst(Candidates& candidates);
  Index takeFirstCandidate();
  Taken takeOut(Index index);
  void remove(Index index);
  void comeRound();
  template <typename Use>
  void forEachLinked(Index first, const Use& use) const;

  std::vector<Entry> entries;
  /// Of the entries, those that have not been removed.
  std::size_t living = 0;
  /// By module: its entries.
  std::vector<Index> firstOfModule;
  Index head = kNone;
  Index tail = kNone;
  /// Where the search for the next entry begins; none only while the list is empty.
  Index cursor = kNone;
  Candidates fromCursorOn;
  Candidates beforeCursor;
  /// The cursor and the number of entries when the queue was saved. From then on what is removed
  /// stays linked until the next time, so that the list still tells the order.
  bool isSaved = false;
  Index savedCursor = kNone;
  std::size_t savedCount = 0;
  std::vector<Index> removedSinceSave;
};

template <typename IsVisited>
std::optional<ReadyOrder::Taken> ReadyOrder::take(const IsVisited& isVisited) {
  while (true) {
    const Index index = takeFirstCandidate();
    if (index == kNone) {
      return std::nullopt;
    }
    if (!isVisited(entries[index].module)) {
      return takeOut(index);
    }
    remove(index);
  }
}

}  // namespace Tessaril
