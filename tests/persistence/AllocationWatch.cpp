#include "tests/persistence/AllocationWatch.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> largestAllocation{0};

void note(std::size_t size) {
  std::size_t before = largestAllocation;
  while (before < size && !largestAllocation.compare_exchange_weak(before, size)) {
  }
}

}  // namespace

// All forms but those for over-aligned types, so that none of them meets a form of another library:
// a sanitizer's forms do not come down to the plain one.

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  note(size);
  return std::malloc(size != 0 ? size : 1);
}

void* operator new(std::size_t size) {
  if (void* memory = operator new(size, std::nothrow)) {
    return memory;
  }
  throw std::bad_alloc();
}

void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }

namespace Tessaril::TestSupport {

AllocationWatch::AllocationWatch() { largestAllocation = 0; }
std::size_t AllocationWatch::largest() const { return largestAllocation; }

}  // namespace Tessaril::TestSupport
