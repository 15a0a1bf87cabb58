#include "diagnostics/picture/DotText.h"

namespace Tessaril::Diagnostics {
namespace {

std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

}  // namespace

std::string escapedForHtml(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\\':
        escaped += "&#92;&#92;";
        break;
      case ']':
        escaped += "&#93;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string escapedForQuotes(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '"':
      case '\\':
        escaped += '\\';
        escaped += character;
        break;
      case '\n':
        escaped += "\\n";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string fontMarkup(std::string_view content, std::string_view size, std::string_view colour) {
  return "<FONT POINT-SIZE=" + inQuotes(size) + " COLOR=" + inQuotes(colour) + ">" +
         std::string(content) + "</FONT>";
}

std::string tableMarkup(std::string_view rows, std::string_view spacing) {
  return "<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLPADDING=\"0\" CELLSPACING=" + inQuotes(spacing) +
         ">" + std::string(rows) + "</TABLE>";
}

std::string rowMarkup(std::string_view cells) { return "<TR>" + std::string(cells) + "</TR>"; }

std::string cellMarkup(std::string_view content, std::string_view attributes) {
  return "<TD" + (attributes.empty() ? std::string() : ' ' + std::string(attributes)) + ">" +
         std::string(content) + "</TD>";
}

DotAttributes& DotAttributes::set(std::string_view name, std::string_view value) {
  values.emplace_back(name, inQuotes(value));
  return *this;
}

DotAttributes& DotAttributes::text(std::string_view name, std::string_view value) {
  return set(name, escapedForQuotes(value));
}

DotAttributes& DotAttributes::html(std::string_view name, std::string_view markup) {
  values.emplace_back(name, '<' + std::string(markup) + '>');
  return *this;
}

std::string DotAttributes::inBrackets() const { return '[' + joined(", ") + ']'; }

std::string DotAttributes::asStatements() const { return joined("; ") + ';'; }

std::string DotAttributes::joined(std::string_view separator) const {
  std::string text;
  for (const auto& [name, value] : values) {
    text.append(text.empty() ? "" : separator).append(name).append("=").append(value);
  }
  return text;
}

}  // namespace Tessaril::Diagnostics
