#pragma once

#include <cstddef>

namespace Tessaril::PlatformTests {

/// What the process takes from the heap by operator new, but for over-aligned types. A program with
/// HeapWatch.cpp has these operators replaced, for the libraries it uses as well.
class HeapWatch {
 public:
  /// Forgets what came before. One watch at a time; read by the thread that made it.
  HeapWatch();
  /// By this thread.
  std::size_t allocations() const;
  /// The largest single one, in bytes, of all threads.
  std::size_t largest() const;

  /// What has not been given back yet, since the process began.
  static std::size_t bytesInUse();
};

}  // namespace Tessaril::PlatformTests
