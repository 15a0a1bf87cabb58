#include "diagnostics/graph/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Tessaril::Diagnostics {
namespace {

/// By the number of bytes.
constexpr std::array<unsigned char, 5> kBitsOfFirst{0, 0x7F, 0x1F, 0x0F, 0x07};
/// What is less has a shorter form.
constexpr std::array<char32_t, 5> kLeastCode{0, 0, 0x80, 0x800, 0x10000};

/// By the first byte; 0 for one that begins no character.
std::size_t lengthOfCharacter(unsigned char first) {
  if (first < 0x80U) {
    return 1;
  }
  if (first < 0xC0U || first >= 0xF8U) {
    return 0;
  }
  return first < 0xE0U ? 2 : first < 0xF0U ? 3 : 4;
}

bool isCharacter(char32_t code, std::size_t length) {
  const bool isHalfOfPair = code >= 0xD800 && code < 0xE000;
  return code >= kLeastCode[length] && code < 0x110000 && !isHalfOfPair;
}

}  // namespace

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

Utf8Character characterAtFront(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  const std::size_t length = lengthOfCharacter(first);
  const std::string_view bytes = text.substr(0, length);
  if (length == 0 || bytes.size() < length ||
      !std::all_of(bytes.begin() + 1, bytes.end(), continuesCharacter)) {
    return {};
  }
  char32_t code = first & kBitsOfFirst[length];
  for (const char byte : bytes.substr(1)) {
    code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  return isCharacter(code, length) ? Utf8Character{bytes, code} : Utf8Character{};
}

}  // namespace Tessaril::Diagnostics
