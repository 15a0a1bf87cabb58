#include "diagnostics/archive/ArchiveText.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace Tessaril::Diagnostics {
std::string oneLine(const std::string& text) {
  std::string shown;
  for (const char letter : text) {
    const auto code = static_cast<unsigned char>(letter);
    if (code >= 0x20 && code != 0x7F) {
      shown += letter;
    } else {
      std::array<char, 8> escaped{};
      std::snprintf(escaped.data(), escaped.size(), "\\x%02x", code);
      shown += escaped.data();
    }
  }
  return shown;
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
