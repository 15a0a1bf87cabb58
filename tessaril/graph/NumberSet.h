#pragma once

#include <cstdint>
#include <vector>

// Internal to the library.

namespace Tessaril {

/// A set of small numbers. Clearing it costs nothing.
class NumberSet {
 public:
  using Number = std::uint32_t;

  bool contains(Number number) const { return number < marks.size() && marks[number] == mark; }

  /// True if the number is new.
  bool insert(Number number) {
    if (number >= marks.size()) {
      marks.resize(2 * std::size_t{number} + 2);
    }
    const bool isNew = marks[number] != mark;
    marks[number] = mark;
    return isNew;
  }

  void erase(Number number) {
    if (contains(number)) {
      marks[number] = 0;
    }
  }

  void clear() {
    if (++mark == 0) {
      marks.assign(marks.size(), 0);
      mark = 1;
    }
  }

 private:
  std::vector<std::uint32_t> marks;
  std::uint32_t mark = 1;
};

}  // namespace Tessaril
