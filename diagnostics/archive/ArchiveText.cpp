#include "diagnostics/archive/ArchiveText.h"

#include <array>
#include <cstdio>

#include "diagnostics/graph/Utf8.h"

namespace Tessaril::Diagnostics {
namespace {

/// Whether a terminal may take the character for a command, a new line, or a turn of the direction
/// of writing.
bool controlsTerminal(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x200E || code == 0x200F ||
         (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
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
    const Utf8Character character = characterAtFront(text);
    const std::string_view bytes = character.bytes.empty() ? text.substr(0, 1) : character.bytes;
    if (character.bytes.empty() || controlsTerminal(character.code)) {
      shown += escaped(bytes);
    } else {
      shown += bytes;
    }
    text.remove_prefix(bytes.size());
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
