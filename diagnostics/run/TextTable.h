#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tessaril::Diagnostics {

/// How many columns of a terminal a UTF-8 text takes: none for a combining mark, two for a wide
/// East Asian character or a pictograph, one for any other. Bytes that are no UTF-8 count one each.
std::size_t displayWidth(std::string_view text);

/// A table in plain text, for a terminal. Cells are UTF-8; line breaks and other control characters
/// in them separate words, as blanks do.
class TextTable {
 public:
  enum class Align { Left, Right };
  struct Column {
    std::string heading;
    Align align = Align::Left;
    /// A longer cell is broken between words, and within a word that is longer still. 0: as wide as
    /// its widest cell.
    std::size_t widest = 0;
  };

  /// The last column takes what the others leave of `width`.
  TextTable(std::vector<Column> columns, std::size_t width);

  /// Missing cells are empty. Requires: no more cells than columns.
  void addRow(std::vector<std::string> cells);
  /// The heading, and under it the rows; every line ends with a line break and without blanks. A
  /// column in which no row has anything is left out.
  std::string text() const;

 private:
  struct Layout {
    std::vector<std::size_t> columns;
    std::vector<std::size_t> widths;
  };
  Layout layOut() const;
  std::string line(const Layout& layout, const std::vector<std::string>& cells) const;

  std::vector<Column> columns;
  std::size_t width;
  std::vector<std::vector<std::string>> rows;
};

/// Lines of at most `width` columns, broken between words where possible; control characters count
/// as blanks. One empty line for an empty text.
std::vector<std::string> brokenInto(std::size_t width, std::string_view text);

}  // namespace Tessaril::Diagnostics
