#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The pieces of which a DOT text is made. Internal to the picture.

namespace Tessaril::Diagnostics {

/// For the inside of an HTML-like label. Backslashes, too: Graphviz replaces \N, \G and others
/// there before it reads the markup.
std::string escapedForHtml(std::string_view text);
/// For the inside of a quoted string: character references and backslashes are read there as well.
/// Line breaks stay line breaks.
std::string escapedForQuotes(std::string_view text);

// Pieces of HTML-like labels. What they are given is markup already.

std::string fontMarkup(std::string_view content, std::string_view size, std::string_view colour);
/// A table without borders.
std::string tableMarkup(std::string_view rows, std::string_view spacing = "0");
std::string rowMarkup(std::string_view cells);
/// `attributes` as they stand in the tag.
std::string cellMarkup(std::string_view content, std::string_view attributes = {});

/// The attributes of one statement, in the order in which they were added.
class DotAttributes {
 public:
  /// Of a fixed text, which needs no escapes.
  DotAttributes& set(std::string_view name, std::string_view value);
  /// Of a text of the user's.
  DotAttributes& text(std::string_view name, std::string_view value);
  /// Of an HTML-like label.
  DotAttributes& html(std::string_view name, std::string_view markup);

  /// "[a=b, c=d]"
  std::string inBrackets() const;
  /// "a=b; c=d;"
  std::string asStatements() const;

 private:
  std::string joined(std::string_view separator) const;

  /// The name, and the value as it is written.
  std::vector<std::pair<std::string, std::string>> values;
};

}  // namespace Tessaril::Diagnostics
