#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// Internal to the library.

namespace Tessaril {

/// The work queue of an ordered traversal, for modules that are known by numbers.
///
/// It answers as this queue would, but without looking at a waiting entry again and again: take the
/// front entry; drop it if its module was taken before; if its module has to wait, put it aside;
/// else put what was put aside behind all others, in its order, and answer with the entry.
///
/// Seen as a circle with a cursor, nothing in that queue ever moves: the cursor stands behind the
/// entry that was taken last, new entries come just before the cursor, and the next entry is the
/// first one from the cursor on whose module is ready. So the circle is kept as a list with labels
/// that grow from its head to its tail (ordered-list maintenance: where there is no label left
/// between two entries, a stretch of the list is labelled anew). Ready entries stand in two heaps
/// by label, those from the cursor on and those before it, which change places when the cursor has
/// come round. Entries that are ready when they are pushed come in the order of their labels and
/// need no heap.
///
/// Time: the logarithm of the number of entries, amortised; constant while nothing has to wait.
class ReadyOrder {
 public:
  using Number = std::uint32_t;
  struct Taken {
    Number module;
    bool flag;
  };

  /// Adds an entry for the module at the back. Requires: the module has not been taken.
  void push(Number module, bool flag, bool isReady);
  /// All entries of the module are ready from now on.
  void setReady(Number module);
  /// Takes the first ready entry out, and all other entries of its module with it.
  std::optional<Taken> take();

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
    /// Another entry of its module was taken. It is unlinked when it comes up.
    bool isDead;
  };
  /// Entries that are ready, dead ones among them.
  struct Ready {
    std::vector<Index> inOrder;
    std::size_t taken = 0;
    std::vector<Index> heap;
  };

  void link(Index index, Index before, Index behind);
  void unlink(Index index);
  Label labelBetween(Index before, Index behind);
  bool isLater(Index left, Index right) const { return entries[left].label > entries[right].label; }
  void labelAnew(Index around);
  bool isFromCursorOn(Index index) const { return entries[index].label >= entries[cursor].label; }
  void addToHeap(Ready& ready, Index index);
  Index takeFirst(Ready& ready);
  Index takeFirstLiving();
  void comeRound();

  std::vector<Entry> entries;
  /// By module: its entries.
  std::vector<Index> firstOfModule;
  Index head = kNone;
  Index tail = kNone;
  /// Where the search for the next entry begins; none only while the list is empty.
  Index cursor = kNone;
  Ready fromCursorOn;
  Ready beforeCursor;
};

}  // namespace Tessaril
