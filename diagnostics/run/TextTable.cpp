#include "diagnostics/run/TextTable.h"

#include <algorithm>
#include <array>
#include <utility>

#include "diagnostics/graph/Utf8.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowestText = 20;

struct Span {
  char32_t first;
  char32_t last;
};

constexpr std::array<Span, 5> kCombining{
    {{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}}};
constexpr std::array<Span, 8> kWide{{{0x1100, 0x115F},
                                     {0x2E80, 0xA4CF},
                                     {0xAC00, 0xD7A3},
                                     {0xF900, 0xFAFF},
                                     {0xFE30, 0xFE6F},
                                     {0xFF00, 0xFF60},
                                     {0x1F300, 0x1FAFF},
                                     {0x20000, 0x3FFFD}}};

template <std::size_t size>
bool isIn(const std::array<Span, size>& spans, char32_t character) {
  return std::any_of(spans.begin(), spans.end(), [character](const Span& span) {
    return span.first <= character && character <= span.last;
  });
}

std::size_t widthOf(char32_t character) {
  if (isIn(kCombining, character)) {
    return 0;
  }
  return isIn(kWide, character) ? 2 : 1;
}

struct Character {
  std::size_t bytes;
  std::size_t width;
};

/// The first character; a byte that belongs to none counts as one. Requires: the text is not empty.
Character firstOf(std::string_view text) {
  const Utf8Character first = characterAtFront(text);
  return first.bytes.empty() ? Character{1, 1} : Character{first.bytes.size(), widthOf(first.code)};
}

/// How many bytes a blank, a line break or anything else has that a terminal might take for a
/// command; 0 for what is none. Requires: the text is not empty.
std::size_t separatorLength(std::string_view text) {
  const Utf8Character first = characterAtFront(text);
  const bool isSeparator = first.code <= 0x20 || (first.code >= 0x7F && first.code < 0xA0);
  return isSeparator ? first.bytes.size() : 0;
}

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t separator = separatorLength(text.substr(i));
    if (separator > 0 && i > begin) {
      words.push_back(text.substr(begin, i - begin));
    }
    i += std::max<std::size_t>(separator, 1);
    begin = separator > 0 ? i : begin;
  }
  if (begin < text.size()) {
    words.push_back(text.substr(begin));
  }
  return words;
}

// Most cells of a table are short and in plain letters.

bool isAscii(std::string_view text) {
  unsigned char all = 0;
  for (const char letter : text) {
    all |= static_cast<unsigned char>(letter);
  }
  return all < 0x80;
}

/// ASCII without control characters, words parted by single blanks.
bool isPlain(std::string_view text) {
  char before = ' ';
  for (const char letter : text) {
    if (letter < ' ' || letter > '~' || (letter == ' ' && before == ' ')) {
      return false;
    }
    before = letter;
  }
  return text.empty() || before != ' ';
}

/// How many bytes of `word` fit, at least one character.
std::size_t fittingBytes(std::string_view word, std::size_t width) {
  std::size_t bytes = 0;
  std::size_t used = 0;
  while (bytes < word.size()) {
    const Character next = firstOf(word.substr(bytes));
    if (bytes > 0 && used + next.width > width) {
      break;
    }
    bytes += next.bytes;
    used += next.width;
  }
  return bytes;
}

}  // namespace

std::size_t displayWidth(std::string_view text) {
  if (isAscii(text)) {
    return text.size();
  }
  std::size_t width = 0;
  while (!text.empty()) {
    const Character next = firstOf(text);
    width += next.width;
    text.remove_prefix(next.bytes);
  }
  return width;
}

std::vector<std::string> brokenInto(std::size_t width, std::string_view text) {
  if (text.size() <= width && isPlain(text)) {
    return {std::string(text)};
  }
  std::vector<std::string> lines(1);
  for (std::string_view word : wordsOf(text)) {
    const std::size_t used = displayWidth(lines.back());
    if (used > 0 && used + 1 + displayWidth(word) <= width) {
      lines.back().append(" ").append(word);
      continue;
    }
    if (used > 0) {
      lines.emplace_back();
    }
    for (std::size_t bytes = fittingBytes(word, width); bytes < word.size();
         bytes = fittingBytes(word, width)) {
      lines.back() = word.substr(0, bytes);
      word.remove_prefix(bytes);
      lines.emplace_back();
    }
    lines.back() = word;
  }
  return lines;
}

TextTable::TextTable(std::vector<Column> tableColumns, std::size_t tableWidth)
    : columns(std::move(tableColumns)), width(tableWidth) {}

void TextTable::addRow(std::vector<std::string> cells) {
  cells.resize(columns.size());
  rows.push_back(std::move(cells));
}

TextTable::Layout TextTable::layOut() const {
  Layout layout;
  std::size_t used = 0;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    std::size_t widest = 0;
    for (const auto& row : rows) {
      widest = std::max(widest, displayWidth(row[i]));
    }
    if (widest == 0 && !rows.empty()) {
      continue;
    }
    widest = std::max(widest, displayWidth(columns[i].heading));
    if (columns[i].widest > 0) {
      widest = std::min(widest, columns[i].widest);
    }
    layout.columns.push_back(i);
    layout.widths.push_back(widest);
    used += widest + kGap;
  }
  if (!layout.widths.empty()) {
    const std::size_t others = used - layout.widths.back() - kGap;
    const std::size_t left = width > others ? width - others : 0;
    layout.widths.back() = std::min(layout.widths.back(), std::max(left, kNarrowestText));
  }
  return layout;
}

std::string TextTable::line(const Layout& layout, const std::vector<std::string>& cells) const {
  std::vector<std::vector<std::string>> broken;
  std::size_t height = 0;
  for (std::size_t i = 0; i < layout.columns.size(); ++i) {
    broken.push_back(brokenInto(layout.widths[i], cells[layout.columns[i]]));
    height = std::max(height, broken.back().size());
  }
  std::string text;
  for (std::size_t y = 0; y < height; ++y) {
    std::string one;
    for (std::size_t i = 0; i < broken.size(); ++i) {
      const std::string cell = y < broken[i].size() ? broken[i][y] : std::string();
      const std::string blanks(layout.widths[i] - std::min(displayWidth(cell), layout.widths[i]),
                               ' ');
      one += columns[layout.columns[i]].align == Align::Right ? blanks + cell : cell + blanks;
      one += std::string(kGap, ' ');
    }
    one.erase(one.find_last_not_of(' ') + 1);
    text += one + "\n";
  }
  return text;
}

std::string TextTable::text() const {
  const Layout layout = layOut();
  std::vector<std::string> headings;
  headings.reserve(columns.size());
  for (const Column& column : columns) {
    headings.push_back(column.heading);
  }
  std::string text = line(layout, headings);
  for (const auto& row : rows) {
    text += line(layout, row);
  }
  return text;
}

}  // namespace Tessaril::Diagnostics
