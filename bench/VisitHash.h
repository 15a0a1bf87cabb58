#pragma once

#include <cstdint>

namespace Tessaril::Bench {

/// A hash of numbers and their order, a multiplication each: cheap enough to stay in what is timed.
class VisitHash {
 public:
  void add(std::uint64_t number) { hash = (hash ^ number) * 0x9E37'79B9'7F4A'7C15; }
  std::uint64_t value() const { return hash; }

 private:
  std::uint64_t hash = 0x243F'6A88'85A3'08D3;
};

}  // namespace Tessaril::Bench
