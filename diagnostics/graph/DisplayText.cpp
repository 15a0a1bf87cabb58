#include "diagnostics/graph/DisplayText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace Tessaril::Diagnostics {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// By the first byte; 0 for a byte that begins no character.
std::size_t lengthOfCharacter(unsigned char first) {
  if (first < 0x80U) {
    return 1;
  }
  if (first >= 0xC2U && first < 0xE0U) {
    return 2;
  }
  if (first >= 0xE0U && first < 0xF0U) {
    return 3;
  }
  return first >= 0xF0U && first < 0xF5U ? 4 : 0;
}

/// Of well-formed bytes.
std::uint32_t codePointOf(std::string_view character) {
  constexpr std::array<std::uint32_t, 5> kFirstBits{0, 0x7F, 0x1F, 0x0F, 0x07};
  std::uint32_t code = static_cast<unsigned char>(character[0]) & kFirstBits[character.size()];
  for (const char byte : character.substr(1)) {
    code = code << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  return code;
}

bool isCharacterOfXml(std::uint32_t code) {
  return (code >= 0x20 && code < 0x7F) || (code >= 0xA0 && code < 0xD800) ||
         (code >= 0xE000 && code < 0xFFFE) || (code >= 0x10000 && code < 0x110000);
}

/// Codes that a shorter sequence would have encoded are refused.
bool isShortestForm(std::uint32_t code, std::size_t length) {
  constexpr std::array<std::uint32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
  return code >= kLeast[length];
}

/// The character at the front of `text`; empty when the bytes there are none that XML accepts.
std::string_view characterAtFront(std::string_view text) {
  const std::size_t length = lengthOfCharacter(static_cast<unsigned char>(text[0]));
  const std::string_view character = text.substr(0, length);
  if (length == 0 || character.size() < length ||
      !std::all_of(character.begin() + 1, character.end(), continuesCharacter)) {
    return {};
  }
  const std::uint32_t code = codePointOf(character);
  return isCharacterOfXml(code) && isShortestForm(code, length) ? character : std::string_view();
}

}  // namespace

std::string cleanText(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    const std::string_view character = characterAtFront(text);
    if (!character.empty()) {
      clean += character;
    } else if (text[0] == '\n' || text[0] == '\t' || text[0] == '\r') {
      clean += ' ';
    } else {
      clean += kReplacement;
    }
    text.remove_prefix(std::max<std::size_t>(character.size(), 1));
  }
  return clean;
}

std::string shortened(const std::string& text, std::size_t most) {
  std::vector<std::size_t> starts;
  for (std::size_t place = 0; place < text.size(); ++place) {
    if (!continuesCharacter(text[place])) {
      starts.push_back(place);
    }
  }
  if (starts.size() <= most) {
    return text;
  }
  const std::size_t behind = (most - 1) / 2;
  const std::size_t inFront = most - 1 - behind;
  return text.substr(0, starts[inFront]) + std::string(kEllipsis) +
         text.substr(starts[starts.size() - behind]);
}

}  // namespace Tessaril::Diagnostics
