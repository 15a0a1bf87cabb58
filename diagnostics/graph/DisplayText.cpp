#include "diagnostics/graph/DisplayText.h"

#include <vector>

#include "diagnostics/graph/Utf8.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

/// Of what XML accepts: control characters are not for eyes.
bool isVisibleInXml(char32_t code) {
  return (code >= 0x20 && code < 0x7F) || (code >= 0xA0 && code < 0xFFFE) || code >= 0x10000;
}

}  // namespace

std::string cleanText(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    const Utf8Character character = characterAtFront(text);
    if (isVisibleInXml(character.code)) {
      clean += character.bytes;
      text.remove_prefix(character.bytes.size());
      continue;
    }
    const bool isSpace = text[0] == '\n' || text[0] == '\t' || text[0] == '\r';
    clean += isSpace ? " " : kReplacement;
    text.remove_prefix(1);
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
