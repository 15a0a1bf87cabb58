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

// The other forms come down to these.

void* operator new(std::size_t size) {
  note(size);
  if (void* memory = std::malloc(size != 0 ? size : 1)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace Tessaril::TestSupport {

AllocationWatch::AllocationWatch() { largestAllocation = 0; }
std::size_t AllocationWatch::largest() const { return largestAllocation; }

}  // namespace Tessaril::TestSupport
