#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

namespace Tessaril::TestSupport {

/// The place of a virtual operation in the table of its class. The destructor takes places 0 and 1.
///
/// Application libraries call virtual operations by their places, also those that were built
/// against an older version: an operation must not move.
template <typename Operation>
std::size_t slotOf(Operation operation) {
  static_assert(std::is_member_function_pointer_v<Operation>);
  // The first word of such a pointer is the offset in bytes; where the processor may use the lowest
  // bit, it says that the operation is virtual.
  std::size_t words[2];
  static_assert(sizeof words == sizeof operation);
  std::memcpy(words, &operation, sizeof words);
  return words[0] / sizeof(void*);
}

template <typename... Operations>
std::vector<std::size_t> slotsOf(Operations... operations) {
  return {slotOf(operations)...};
}

}  // namespace Tessaril::TestSupport
