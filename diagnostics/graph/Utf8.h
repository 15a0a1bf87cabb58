#pragma once

#include <string_view>

// Internal to the diagnostics.

namespace Tessaril::Diagnostics {

struct Utf8Character {
  /// Empty where there is no well-formed one.
  std::string_view bytes{};
  char32_t code = 0;
};

/// The character that a text begins with. Requires: the text is not empty.
Utf8Character characterAtFront(std::string_view text);

/// Whether the byte stands in a character of several, but not at its front.
bool continuesCharacter(char byte);

}  // namespace Tessaril::Diagnostics
