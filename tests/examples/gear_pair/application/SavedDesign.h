#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "examples/gear_pair/application/archive/DesignFile.h"
#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {

inline std::string savedBytes(const DesignSession& session) {
  return designBytes(session.design());
}

/// A session with the design of another one, by way of its saved bytes.
inline DesignSession reopened(const DesignSession& session) {
  return DesignSession(openDesign(savedBytes(session)), nullptr);
}

/// Why the bytes are not opened; "opened" when they are.
inline std::string refusalOf(const std::string& bytes) {
  try {
    openDesign(bytes);
  } catch (const DesignFileError& e) {
    return e.what();
  }
  return "opened";
}

/// A design that was saved before anything of it was computed.
inline std::string freshBytes() { return savedBytes(inlineSession()); }

inline std::string computedBytes() {
  DesignSession session = inlineSession();
  session.update();
  return savedBytes(session);
}

inline void putNumber(std::string& bytes, std::size_t place, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[place + i] = static_cast<char>(number >> (8 * i) & 0xFFU);
  }
}

/// CRC-32 as in zip files, bit by bit.
inline std::uint32_t checksum(const std::string& bytes, std::size_t size) {
  std::uint32_t value = 0xFFFFFFFFU;
  for (std::size_t i = 0; i < size; ++i) {
    value ^= static_cast<unsigned char>(bytes[i]);
    for (int bit = 0; bit < 8; ++bit) {
      value = (value >> 1U) ^ ((value & 1U) != 0 ? 0xEDB88320U : 0U);
    }
  }
  return ~value;
}

/// The bytes with the size in the head and the checksum at the end made right again.
inline std::string repaired(std::string bytes) {
  putNumber(bytes, 12, static_cast<std::uint32_t>(bytes.size()));
  putNumber(bytes, bytes.size() - 4, checksum(bytes, bytes.size() - 4));
  return bytes;
}

}  // namespace GearPair
