#include "bench/CountedMemory.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace Tessaril::Bench {

namespace {

// Only the measuring thread allocates anything worth counting; the others must not disturb it.
std::atomic<std::size_t> liveBytes = 0;
std::atomic<std::size_t> liveBlocks = 0;
std::atomic<std::size_t> takenBlocks = 0;
std::atomic<std::size_t> peak = 0;

void* counted(void* block) {
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  const std::size_t bytes = liveBytes += malloc_usable_size(block);
  peak = std::max(peak.load(), bytes);
  ++liveBlocks;
  ++takenBlocks;
  return block;
}

void release(void* block) noexcept {
  if (block != nullptr) {
    liveBytes -= malloc_usable_size(block);
    --liveBlocks;
    std::free(block);
  }
}

}  // namespace

HeapUse heapUse() { return {liveBytes, liveBlocks, takenBlocks}; }
std::size_t peakBytes() { return peak; }
void startPeak() { peak = liveBytes.load(); }

}  // namespace Tessaril::Bench

// The forms that are not replaced end in these.

void* operator new(std::size_t size) {
  return Tessaril::Bench::counted(std::malloc(std::max<std::size_t>(size, 1)));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  return Tessaril::Bench::counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}

void operator delete(void* block) noexcept { Tessaril::Bench::release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept {
  Tessaril::Bench::release(block);
}
void operator delete(void* block, std::align_val_t /*alignment*/) noexcept {
  Tessaril::Bench::release(block);
}
void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  Tessaril::Bench::release(block);
}
