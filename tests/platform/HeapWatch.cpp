#include "tests/platform/HeapWatch.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocationCount = 0;
std::atomic<std::size_t> largestAllocation{0};
std::atomic<std::size_t> inUse{0};

// In front of each block stands its size; the block keeps the alignment that operator new promises.
constexpr std::size_t kHeader = alignof(std::max_align_t);
static_assert(kHeader >= sizeof(std::size_t));

void note(std::size_t size) {
  ++allocationCount;
  inUse += size;
  std::size_t before = largestAllocation;
  while (before < size && !largestAllocation.compare_exchange_weak(before, size)) {
  }
}

}  // namespace

// All forms but those for over-aligned types, so that none of them meets a form of another library:
// a sanitizer's forms do not come down to the plain one.

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  void* const block = size <= SIZE_MAX - kHeader ? std::malloc(kHeader + size) : nullptr;
  if (block == nullptr) {
    return nullptr;
  }
  note(size);
  new (block) std::size_t(size);
  return static_cast<std::byte*>(block) + kHeader;
}

void* operator new(std::size_t size) {
  if (void* const memory = operator new(size, std::nothrow)) {
    return memory;
  }
  throw std::bad_alloc();
}

void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) {
    void* const block = static_cast<std::byte*>(memory) - kHeader;
    inUse -= *static_cast<std::size_t*>(block);
    std::free(block);
  }
}
void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  operator delete(memory);
}
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
  operator delete(memory);
}

namespace Tessaril::PlatformTests {

HeapWatch::HeapWatch() {
  allocationCount = 0;
  largestAllocation = 0;
}
std::size_t HeapWatch::allocations() const { return allocationCount; }
std::size_t HeapWatch::largest() const { return largestAllocation; }
std::size_t HeapWatch::bytesInUse() { return inUse; }

}  // namespace Tessaril::PlatformTests
