#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tessaril::Fuzz {

/// A part of an archive, by the addresses of its first byte and of the byte behind its last.
struct Stretch {
  std::size_t begin = 0;
  std::size_t end = 0;

  std::size_t size() const { return end - begin; }
};

/// The bytes of an archive, whole or damaged, to be edited below the level of its values: what is
/// spliced in or cut out moves the addresses of the blocks behind it along, so that an edit is felt
/// where it was made and not as nonsense everywhere else.
class EditableArchive {
 public:
  /// Where an archive has its head and its checksum.
  static constexpr std::size_t kHeadSize = 20;
  static constexpr std::size_t kChecksumSize = 4;
  static constexpr std::size_t kSmallestSize = kHeadSize + 4 + kChecksumSize;

  /// Shorter bytes are filled up.
  explicit EditableArchive(std::string bytes);

  const std::string& getBytes() const { return bytes; }
  /// The values, between head and class table.
  Stretch body() const;
  /// The class table. What a damaged head says of it is brought into the archive.
  Stretch classTable() const;
  /// The blocks, frames included. They are recognised by the type id, so some may be none.
  std::vector<Stretch> blocks() const;
  /// Where in the class table the versions stand, in its order.
  std::vector<std::size_t> versionPlaces() const;

  void replace(const Stretch& stretch, std::string_view replacement);
  /// The bytes of the stretch as they have to be to stand at another address.
  std::string movedTo(const Stretch& stretch, std::size_t address) const;
  void setNumber(std::size_t address, std::uint32_t value);
  std::uint32_t number(std::size_t address) const;
  /// Makes magic, size and checksum right.
  void seal();

 private:
  std::string bytes;
};

}  // namespace Tessaril::Fuzz
