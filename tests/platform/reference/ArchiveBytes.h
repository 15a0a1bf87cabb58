#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Archives put together by hand, byte by byte, without any code of the archiver.
namespace Tessaril::ArchiveBytes {

/// The number's lowest bytes, the lowest first.
inline std::string littleEndian(std::uint64_t number, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) {
    bytes += static_cast<char>(number >> 8 * i & 0xFF);
  }
  return bytes;
}

inline std::string u8(std::uint64_t number) { return littleEndian(number, 1); }
inline std::string u32(std::uint64_t number) { return littleEndian(number, 4); }
inline std::string u64(std::uint64_t number) { return littleEndian(number, 8); }
inline std::string text(std::string_view value) { return u32(value.size()) + std::string(value); }

inline std::uint32_t numberAt(std::string_view bytes, std::size_t place) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes.at(place + i));
  }
  return number;
}

/// "89 54 5a": two digits a byte; blanks count for nothing.
inline std::string hex(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string digits;
  for (const char letter : bytes) {
    const auto byte = static_cast<unsigned char>(letter);
    digits += digits.empty() ? "" : " ";
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 15];
  }
  return digits;
}

/// CRC-32 as of ISO 3309, a bit at a time.
inline std::uint32_t checksum(std::string_view bytes) {
  std::uint32_t remainder = 0xFFFFFFFF;
  for (const char letter : bytes) {
    remainder ^= static_cast<unsigned char>(letter);
    for (int bit = 0; bit < 8; ++bit) {
      remainder = remainder >> 1 ^ (remainder & 1 ? 0xEDB88320 : 0);
    }
  }
  return ~remainder;
}

/// FNV-1a of 32 bits.
inline std::uint32_t typeId(std::string_view name) {
  std::uint32_t hash = 0x811C9DC5;
  for (const char letter : name) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 0x01000193;
  }
  return hash;
}

inline constexpr std::string_view kMagic = "\x89TSR\r\n\x1a\n";
inline constexpr std::size_t kHeadSize = 20;

/// With size and checksum as they must be. Requires: a head and a checksum are there.
inline std::string repaired(std::string bytes) {
  bytes.replace(12, 4, u32(bytes.size()));
  bytes.resize(bytes.size() - 4);
  return bytes + u32(checksum(bytes));
}

inline std::string classEntry(std::uint32_t id, std::string_view name, std::uint32_t version) {
  return u32(id) + text(name) + u32(version);
}
inline std::string classEntry(std::string_view name, std::uint32_t version) {
  return classEntry(typeId(name), name, version);
}

/// A whole archive.
inline std::string archive(const std::string& body, const std::vector<std::string>& classes = {}) {
  std::string bytes = std::string(kMagic) + u32(1) + u32(0) + u32(kHeadSize + body.size()) + body +
                      u32(classes.size());
  for (const std::string& entry : classes) {
    bytes += entry;
  }
  return repaired(bytes + u32(0));
}

/// A block whose frame begins at `address` of the archive.
inline std::string block(std::size_t address, std::uint32_t typeHash, const std::string& contents) {
  return u32(address + 8 + contents.size()) + u32(typeHash) + contents;
}

}  // namespace Tessaril::ArchiveBytes
