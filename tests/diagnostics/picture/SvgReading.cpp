#include "tests/diagnostics/picture/SvgReading.h"

#include <array>
#include <utility>

namespace Tessaril::Diagnostics {
namespace {

std::string resolved(std::string text) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kReferences{
      {{"&lt;", "<"},
       {"&gt;", ">"},
       {"&quot;", "\""},
       {"&#39;", "'"},
       {"&#45;", "-"},
       {"&#160;", " "},
       {"&amp;", "&"}}};
  for (const auto& [reference, character] : kReferences) {
    for (std::size_t place = 0; (place = text.find(reference, place)) != std::string::npos;
         ++place) {
      text.replace(place, reference.size(), character);
    }
  }
  return text;
}

}  // namespace

std::vector<std::string> textsIn(std::string_view svg) {
  std::vector<std::string> texts;
  for (std::size_t place = 0; (place = svg.find("<text ", place)) != std::string_view::npos;) {
    const std::size_t begin = svg.find('>', place) + 1;
    place = svg.find("</text>", begin);
    texts.push_back(resolved(std::string(svg.substr(begin, place - begin))));
  }
  return texts;
}

std::size_t count(std::string_view text, std::string_view part) {
  std::size_t found = 0;
  for (std::size_t place = 0; (place = text.find(part, place)) != std::string_view::npos;
       place += part.size()) {
    ++found;
  }
  return found;
}

}  // namespace Tessaril::Diagnostics
