#include "diagnostics/archive/ArchiveText.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace Tessaril::Diagnostics {
namespace {

/// Bytes of the UTF-8 sequence that a text begins with; 0 where it begins with none, as with one
/// that is longer than it need be. Requires: the text is not empty.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < length || (lead >= 0x80 && lead < 0xC2) || lead > 0xF4) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) {
      return 0;
    }
  }
  const bool isTooLong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
  const bool isNoCharacter = (lead == 0xED && byte(1) > 0x9F) || (lead == 0xF4 && byte(1) > 0x8F);
  return isTooLong || isNoCharacter ? 0 : length;
}

/// Whether a terminal may take the character for a command, a new line, or a turn of the direction
/// of writing. `character` is one UTF-8 sequence.
bool controlsTerminal(std::string_view character) {
  const auto byte = [character](std::size_t i) { return static_cast<unsigned char>(character[i]); };
  if (character.size() == 1) {
    return byte(0) < 0x20 || byte(0) == 0x7F;
  }
  if (character.size() == 2) {
    return byte(0) == 0xC2 && byte(1) < 0xA0;
  }
  // U+200E, U+200F, U+2028 to U+202E, U+2066 to U+2069.
  return (byte(0) == 0xE2 && byte(1) == 0x80 &&
          (byte(2) == 0x8E || byte(2) == 0x8F || (byte(2) >= 0xA8 && byte(2) <= 0xAE))) ||
         (byte(0) == 0xE2 && byte(1) == 0x81 && byte(2) >= 0xA6 && byte(2) <= 0xA9);
}

/// As most names and paths are, of which there may be a great many.
bool isPrintableAscii(std::string_view text) {
  for (const char letter : text) {
    if (letter < ' ' || letter > '~') {
      return false;
    }
  }
  return true;
}

std::string escaped(std::string_view bytes) {
  std::string text;
  for (const char letter : bytes) {
    std::array<char, 8> code{};
    std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned char>(letter));
    text += code.data();
  }
  return text;
}

}  // namespace

std::string oneLine(std::string_view text) {
  if (isPrintableAscii(text)) {
    return std::string(text);
  }
  std::string shown;
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    if (length == 0 || controlsTerminal(character)) {
      shown += escaped(character);
    } else {
      shown += character;
    }
    text.remove_prefix(character.size());
  }
  return shown;
}

std::string shortened(const std::string& name) {
  constexpr std::size_t kLongest = 1000;
  return name.size() <= kLongest ? name : name.substr(0, kLongest) + "...";
}

std::string speedRateName(int rate) {
  constexpr std::array kNames{"instant", "very fast", "fast", "normal", "slow", "very slow"};
  return rate >= 0 && static_cast<std::size_t>(rate) < kNames.size()
             ? kNames[static_cast<std::size_t>(rate)]
             : "rate " + std::to_string(rate);
}

std::string chainIdText(const Identifier& chain) {
  return chain.isNull() ? "main chain" : chain.toString();
}

}  // namespace Tessaril::Diagnostics
