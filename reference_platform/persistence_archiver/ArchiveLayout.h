#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Where the fixed parts of an archive stand; docs/format.md describes the whole layout. For the
/// archiver, and for those who look at the bytes of an archive that it refuses.
namespace Tessaril::ReferencePlatform::ArchiveLayout {

inline constexpr std::string_view kMagic = "\x89TSR\r\n\x1a\n";
inline constexpr std::size_t kFormatVersionAt = 8;
inline constexpr std::size_t kSizeAt = 12;
inline constexpr std::size_t kClassTableAt = 16;
inline constexpr std::size_t kHeadSize = 20;
/// The number of classes, at the beginning of the class table.
inline constexpr std::size_t kCountSize = 4;
/// Type id, length of the name, version.
inline constexpr std::size_t kSmallestClass = 12;
/// Of a block: end address, type id.
inline constexpr std::size_t kFrameSize = 8;
inline constexpr std::size_t kChecksumSize = 4;
inline constexpr std::size_t kSmallestArchive = kHeadSize + kCountSize + kChecksumSize;

/// The number that stands at a byte. Requires: four bytes are there.
constexpr std::uint32_t numberAt(std::string_view bytes, std::size_t place) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < sizeof(value); ++i) {
    value |= std::uint32_t{static_cast<unsigned char>(bytes[place + i])} << (8 * i);
  }
  return value;
}

}  // namespace Tessaril::ReferencePlatform::ArchiveLayout
