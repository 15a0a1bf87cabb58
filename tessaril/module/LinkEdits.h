#pragma once

#include <atomic>
#include <cstdint>

// Internal to the library.

namespace Tessaril {

/// Counts the edits of link lists, so that whoever keeps links in another form can see that they
/// have changed. One count for all graphs: an edit of another graph costs its reader a look.
class LinkEdits {
 public:
  static std::uint64_t count() { return edits.load(std::memory_order_relaxed); }
  /// To be called for every edit of a list, whole lists included.
  static void add() { edits.fetch_add(1, std::memory_order_relaxed); }

 private:
  inline static std::atomic<std::uint64_t> edits = 0;
};

}  // namespace Tessaril
