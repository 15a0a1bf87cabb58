#pragma once

#include <cstddef>

/// Replaces operator new and delete of the whole program, to count what is taken from the heap. A
/// program that takes times should not be linked with it.
namespace Tessaril::Bench {

struct HeapUse {
  /// As the allocator hands them out, which is some more than was asked for.
  std::size_t bytes = 0;
  std::size_t blocks = 0;
  /// Blocks that were ever taken, also those that have been given back.
  std::size_t taken = 0;
};

HeapUse heapUse();
/// The highest number of bytes since the last call of startPeak().
std::size_t peakBytes();
void startPeak();

}  // namespace Tessaril::Bench
