// Mutates archives. Bytes changed blindly end at the checksum; so most mutations are made to the
// values, the blocks or the class table, and the archive is sealed again.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "fuzz/ArchiveEditing.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace Tessaril::Fuzz {
namespace {

class Mutation {
 public:
  Mutation(EditableArchive& mutated, unsigned seed, std::size_t largest)
      : archive(mutated), random(seed), maxSize(largest) {}

  void mutate() {
    switch (below(8)) {
      case 0:
        return mutateVersion();
      case 1:
        return mutateStretch(archive.classTable());
      case 2:
        return mutateStretch({0, archive.getBytes().size()});
      case 3:
        return replaceBlock();
      case 4:
        return writeSpecialNumber();
      default:
        return mutateStretch(someBlockOrBody());
    }
  }

 private:
  std::size_t below(std::size_t limit) {
    return limit == 0 ? 0 : std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  }

  Stretch someBlockOrBody() {
    const std::vector<Stretch> blocks = archive.blocks();
    const std::size_t chosen = below(blocks.size() + 1);
    return chosen < blocks.size() ? blocks[chosen] : archive.body();
  }

  /// Changes a few bytes; what is inserted or lost moves the rest of the archive.
  void mutateStretch(const Stretch& stretch) {
    constexpr std::size_t kLongest = 24;
    const std::size_t begin = stretch.begin + below(stretch.size() + 1);
    const std::size_t end = begin + below(std::min(kLongest, stretch.end - begin) + 1);
    const std::size_t room = maxSize - std::min(maxSize, archive.getBytes().size());
    std::vector<std::uint8_t> part(end - begin + std::min(room, kLongest));
    if (part.empty()) {
      return;
    }
    std::copy_n(archive.getBytes().begin() + static_cast<std::ptrdiff_t>(begin), end - begin,
                part.begin());
    const std::size_t size = LLVMFuzzerMutate(part.data(), end - begin, part.size());
    archive.replace({begin, end}, {reinterpret_cast<const char*>(part.data()), size});
  }

  void mutateVersion() {
    // The versions at which layouts change, and what lies around them.
    constexpr std::array<std::uint32_t, 10> kVersions{0,      1,      53013,  53014,  499999,
                                                      500000, 500001, 500002, 500003, 0xFFFFFFFF};
    const std::vector<std::size_t> places = archive.versionPlaces();
    if (!places.empty()) {
      archive.setNumber(places[below(places.size())], kVersions[below(kVersions.size())]);
    }
  }

  /// Numbers, whole and real, that are seldom where one stands.
  void writeSpecialNumber() {
    using Real = std::numeric_limits<double>;
    constexpr std::array<double, 8> kReals{
        0.0, -0.0, -1.0, 1e-300, Real::max(), 0x1p31, Real::infinity(), Real::quiet_NaN()};
    constexpr std::array<std::uint32_t, 5> kWholes{0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const Stretch stretch = someBlockOrBody();
    if (stretch.size() < sizeof(double)) {
      return;
    }
    const std::size_t at = stretch.begin + below(stretch.size() - sizeof(double) + 1);
    if (below(2) == 0) {
      archive.setNumber(at, kWholes[below(kWholes.size())]);
      return;
    }
    const auto bits = std::bit_cast<std::uint64_t>(kReals[below(kReals.size())]);
    archive.setNumber(at, static_cast<std::uint32_t>(bits));
    archive.setNumber(at + sizeof(std::uint32_t), static_cast<std::uint32_t>(bits >> 32));
  }

  /// Puts a copy of one block in the place of another.
  void replaceBlock() {
    const std::vector<Stretch> blocks = archive.blocks();
    if (blocks.empty()) {
      return;
    }
    const Stretch from = blocks[below(blocks.size())];
    const Stretch to = blocks[below(blocks.size())];
    if (archive.getBytes().size() + from.size() <= maxSize + to.size()) {
      archive.replace(to, archive.movedTo(from, to.begin));
    }
  }

  EditableArchive& archive;
  std::minstd_rand random;
  std::size_t maxSize;
};

}  // namespace
}  // namespace Tessaril::Fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
  using Tessaril::Fuzz::EditableArchive;
  constexpr unsigned int kBlindMutations = 16;
  if (maxSize < EditableArchive::kSmallestSize || seed % kBlindMutations == 0) {
    return LLVMFuzzerMutate(data, size, maxSize);
  }
  EditableArchive archive(std::string(reinterpret_cast<const char*>(data), size));
  Tessaril::Fuzz::Mutation(archive, seed, maxSize).mutate();
  archive.seal();
  const std::string& bytes = archive.getBytes();
  if (bytes.size() > maxSize) {
    return LLVMFuzzerMutate(data, size, maxSize);
  }
  std::copy(bytes.begin(), bytes.end(), data);
  return bytes.size();
}
