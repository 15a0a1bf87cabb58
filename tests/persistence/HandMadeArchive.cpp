#include "tests/persistence/HandMadeArchive.h"

#include <stdexcept>

namespace Tessaril::TestSupport {
namespace {

constexpr std::size_t kFormatAt = 8;
constexpr std::size_t kSizeAt = 12;
constexpr std::size_t kTableAt = 16;
constexpr std::size_t kHeadSize = 20;
constexpr std::size_t kChecksumSize = 4;

void put(std::string& bytes, std::size_t place, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[place + i] = static_cast<char>((value >> (8 * i)) & 0xFFU);
  }
}

/// CRC-32, a bit at a time.
std::uint32_t checksumOf(std::string_view bytes) {
  std::uint32_t rest = 0xFFFFFFFFU;
  for (const char byte : bytes) {
    rest ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) {
      rest = (rest >> 1U) ^ ((rest & 1U) != 0 ? 0xEDB88320U : 0U);
    }
  }
  return ~rest;
}

}  // namespace

HandMadeArchive::HandMadeArchive() : bytes("\x89TSR\r\n\x1a\n", 8) { bytes.resize(kHeadSize); }

HandMadeArchive& HandMadeArchive::flags(std::initializer_list<bool> values) {
  for (const bool value : values) {
    bytes.push_back(value ? '\1' : '\0');
  }
  return *this;
}

HandMadeArchive& HandMadeArchive::number(std::uint32_t value) {
  bytes.resize(bytes.size() + 4);
  put(bytes, bytes.size() - 4, value);
  return *this;
}

HandMadeArchive& HandMadeArchive::number64(std::uint64_t value) {
  return number(static_cast<std::uint32_t>(value)).number(static_cast<std::uint32_t>(value >> 32U));
}

HandMadeArchive& HandMadeArchive::text(std::string_view value) {
  number(static_cast<std::uint32_t>(value.size()));
  bytes += value;
  return *this;
}

HandMadeArchive& HandMadeArchive::id(const Id& value) {
  return number64(value.high).number64(value.low);
}

HandMadeArchive& HandMadeArchive::open(std::string_view className) {
  return openWithHash(typeIdOf(className));
}

HandMadeArchive& HandMadeArchive::openWithHash(std::uint32_t typeHash) {
  openBlocks.push_back(bytes.size());
  return number(0).number(typeHash);
}

HandMadeArchive& HandMadeArchive::close() {
  put(bytes, openBlocks.back(), static_cast<std::uint32_t>(bytes.size()));
  openBlocks.pop_back();
  return *this;
}

HandMadeArchive& HandMadeArchive::ids(std::initializer_list<Id> values) {
  open("Identifier").number(static_cast<std::uint32_t>(values.size()));
  for (const Id& value : values) {
    id(value);
  }
  return close();
}

HandMadeArchive& HandMadeArchive::paths(std::initializer_list<std::string_view> values) {
  open("Path").number(static_cast<std::uint32_t>(values.size()));
  for (const std::string_view value : values) {
    text(value);
  }
  return close();
}

HandMadeArchive& HandMadeArchive::path(std::string_view value) {
  return open("Path").text(value).close();
}

std::string HandMadeArchive::with(const std::vector<Class>& classes) const {
  if (!openBlocks.empty()) {
    throw std::logic_error("A block is open");
  }
  HandMadeArchive table = *this;
  table.number(static_cast<std::uint32_t>(classes.size()));
  for (const Class& entry : classes) {
    table.number(typeIdOf(entry.name)).text(entry.name).number(entry.version);
  }
  std::string archive = table.bytes + std::string(kChecksumSize, '\0');
  put(archive, kFormatAt, 1);
  put(archive, kTableAt, static_cast<std::uint32_t>(bytes.size()));
  repair(archive);
  return archive;
}

void repair(std::string& archive) {
  put(archive, kSizeAt, static_cast<std::uint32_t>(archive.size()));
  const std::size_t checksumAt = archive.size() - kChecksumSize;
  put(archive, checksumAt, checksumOf(std::string_view(archive).substr(0, checksumAt)));
}

}  // namespace Tessaril::TestSupport
