#include "tessaril/platform/translation/Translator.h"

#include <charconv>
#include <system_error>

#include "reference_platform/translation/CatalogueRegistry.h"

namespace Tessaril {
namespace {

struct Marker {
  int number = 0;
  /// With the percent sign.
  std::size_t length = 0;
};

/// The marker at the percent sign that `text` begins with; number 0 for none.
Marker readMarker(std::string_view text) {
  if (text.size() < 2 || text[1] < '1' || text[1] > '9') {
    return {};
  }
  int number = 0;
  const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), number);
  if (error != std::errc()) {
    return {};
  }
  return {number, static_cast<std::size_t>(end - text.data())};
}

}  // namespace

ArgString::ArgString(std::string text) {
  const std::string_view all = text;
  std::size_t begin = 0;
  for (std::size_t at = all.find('%'); at != std::string_view::npos; at = all.find('%', at)) {
    const Marker marker = readMarker(all.substr(at));
    if (marker.number == 0) {
      ++at;
      continue;
    }
    if (at > begin) {
      pieces.push_back({std::string(all.substr(begin, at - begin)), 0});
    }
    pieces.push_back({std::string(all.substr(at, marker.length)), marker.number});
    at += marker.length;
    begin = at;
  }
  if (begin < all.size()) {
    pieces.push_back({std::string(all.substr(begin)), 0});
  }
}

ArgString& ArgString::arg(const std::string& value) {
  int lowest = 0;
  for (const Piece& piece : pieces) {
    if (piece.marker != 0 && (lowest == 0 || piece.marker < lowest)) {
      lowest = piece.marker;
    }
  }
  if (lowest == 0) {
    return *this;
  }
  for (Piece& piece : pieces) {
    if (piece.marker == lowest) {
      piece = {value, 0};
    }
  }
  return *this;
}

std::string ArgString::toString() const {
  std::string text;
  for (const Piece& piece : pieces) {
    text += piece.text;
  }
  return text;
}

ArgString::operator std::string() const { return toString(); }

std::string Translator::translate(const std::string& context, const std::string& text,
                                  const std::string& comment, int count) {
  return ReferencePlatform::CatalogueRegistry::get().translate(context, text, comment, count);
}

ArgString TranslatorArg::translate(const std::string& context, const std::string& text,
                                   const std::string& comment, int count) {
  return ArgString(Translator::translate(context, text, comment, count));
}

}  // namespace Tessaril
