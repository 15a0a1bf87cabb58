#include "examples/gear_pair/calculation/TextTools.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace GearPair {

namespace {

/// Levenshtein distance, one row of the table at a time.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

bool isContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

/// At most that many bytes, without cutting a character in two.
std::string_view shortened(std::string_view utf8, std::size_t maxBytes) {
  while (maxBytes > 0 && isContinuationByte(utf8[maxBytes])) {
    --maxBytes;
  }
  return utf8.substr(0, maxBytes);
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n\f\v";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string excerpt(std::string_view text) {
  constexpr std::size_t kMaxBytes = 200;
  std::string result(text.size() > kMaxBytes ? shortened(text, kMaxBytes) : text);
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20U || c == 0x7F; };
  std::replace_if(result.begin(), result.end(), isControl, '?');
  return text.size() > kMaxBytes ? result + "..." : result;
}

std::string inQuotes(std::string_view text) { return "'" + excerpt(text) + "'"; }

std::string enumerated(const std::vector<std::string>& words, std::string_view conjunction) {
  std::string result;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) {
      result += i + 1 == words.size() ? " " + std::string(conjunction) + " " : ", ";
    }
    result += words[i];
  }
  return result;
}

std::string nearestWord(std::string_view word, const std::vector<std::string>& words) {
  std::string nearest;
  std::size_t fewest = std::string::npos;
  for (const std::string& candidate : words) {
    const std::size_t differing = editDistance(word, candidate);
    const std::size_t allowed = std::max<std::size_t>(2, candidate.size() / 3);
    if (differing <= allowed && differing < fewest) {
      nearest = candidate;
      fewest = differing;
    }
  }
  return nearest;
}

std::string numberText(double value) {
  const double size = std::abs(value);
  const bool isHandy = value == 0.0 || (size >= 1e-5 && size < 1e15);
  const auto format = isHandy ? std::chars_format::fixed : std::chars_format::scientific;
  std::array<char, 64> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format).ptr;
  return {buffer.data(), end};
}

std::string fixedText(double value, int decimals) {
  std::array<char, 512> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::fixed, decimals)
                       .ptr;
  std::string text(buffer.data(), end);
  const bool isZero = text.find_first_of("123456789in") == std::string::npos;
  return isZero && text.front() == '-' ? text.substr(1) : text;
}

int characterCount(std::string_view utf8) {
  const auto count =
      std::count_if(utf8.begin(), utf8.end(), [](char c) { return !isContinuationByte(c); });
  return static_cast<int>(count);
}

std::string padded(std::string_view utf8, int width, bool rightAligned) {
  const int missing = std::max(0, width - characterCount(utf8));
  const std::string spaces(static_cast<std::size_t>(missing), ' ');
  return rightAligned ? spaces + std::string(utf8) : std::string(utf8) + spaces;
}

}  // namespace GearPair
