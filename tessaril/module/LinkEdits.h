#pragma once

#include <atomic>
#include <cstdint>

// Internal to the library.

namespace Tessaril {

/// Counts the edits of link lists, so that whoever keeps links in another form can see that they
/// have changed. One count for all graphs: an edit of another graph costs its readers a look. While
/// there is no reader nothing is counted.
class LinkEdits {
 public:
  class Reader {
   public:
    Reader() { readers.fetch_add(1, std::memory_order_relaxed); }
    ~Reader() { readers.fetch_sub(1, std::memory_order_relaxed); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    std::uint64_t count() const { return edits.load(std::memory_order_relaxed); }
  };

  /// To be called for every edit of a list, whole lists included.
  static void add() {
    if (readers.load(std::memory_order_relaxed) != 0) {
      edits.fetch_add(1, std::memory_order_relaxed);
    }
  }

 private:
  inline static std::atomic<std::uint32_t> readers = 0;
  inline static std::atomic<std::uint64_t> edits = 0;
};

}  // namespace Tessaril
