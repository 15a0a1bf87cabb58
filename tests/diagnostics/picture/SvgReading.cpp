#include "tests/diagnostics/picture/SvgReading.h"

#include <algorithm>
#include <array>
#include <regex>
#include <sstream>
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

struct Point {
  double x = 0.0;
  double y = 0.0;
};

struct Heading {
  std::string text;
  Point begin;
  double fontSize = 0.0;

  bool covers(Point point) const {
    const double width = 0.55 * fontSize * static_cast<double>(text.size());
    return point.x > begin.x && point.x < begin.x + width && point.y < begin.y + 0.2 * fontSize &&
           point.y > begin.y - 0.75 * fontSize;
  }
};

std::vector<std::smatch> matchesOf(const std::string& text, const std::regex& pattern) {
  return {std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator()};
}

std::vector<Heading> headingsIn(const std::string& svg) {
  static const std::regex kHeading(
      R"re(class="cluster">[\s\S]*?<text [^>]*x="([^"]*)" y="([^"]*)"[^>]*font-size="([^"]*)"[^>]*>([^<]*)<)re");
  std::vector<Heading> headings;
  for (const std::smatch& match : matchesOf(svg, kHeading)) {
    headings.push_back(
        {resolved(match[4]), {std::stod(match[1]), std::stod(match[2])}, std::stod(match[3])});
  }
  return headings;
}

/// Points all along a line "M0,0C1,0 2,1 2,2" of cubic curves.
std::vector<Point> pointsAlong(std::string path) {
  for (char& letter : path) {
    letter = letter == ',' || letter == 'M' || letter == 'C' ? ' ' : letter;
  }
  std::istringstream numbers(path);
  std::vector<Point> nodes;
  for (Point point; numbers >> point.x >> point.y;) {
    nodes.push_back(point);
  }
  std::vector<Point> points;
  for (std::size_t first = 0; first + 3 < nodes.size(); first += 3) {
    for (int step = 0; step <= 40; ++step) {
      const double t = step / 40.0;
      const double s = 1.0 - t;
      const std::array<double, 4> shares{s * s * s, 3 * s * s * t, 3 * s * t * t, t * t * t};
      Point& point = points.emplace_back();
      for (std::size_t node = 0; node < 4; ++node) {
        point.x += shares[node] * nodes[first + node].x;
        point.y += shares[node] * nodes[first + node].y;
      }
    }
  }
  return points;
}

/// The name and the line of each link.
std::vector<std::pair<std::string, std::vector<Point>>> linksIn(const std::string& svg) {
  static const std::regex kLink(
      R"re(class="edge">\s*<title>([^<]*)</title>[\s\S]*?<path [^>]* d="([^"]*)")re");
  std::vector<std::pair<std::string, std::vector<Point>>> links;
  for (const std::smatch& match : matchesOf(svg, kLink)) {
    links.emplace_back(resolved(match[1]), pointsAlong(match[2]));
  }
  return links;
}

}  // namespace

std::vector<std::string> crossedHeadingsIn(const std::string& svg) {
  const std::vector<Heading> headings = headingsIn(svg);
  std::vector<std::string> crossed;
  for (const auto& [link, line] : linksIn(svg)) {
    for (const Heading& heading : headings) {
      if (std::any_of(line.begin(), line.end(),
                      [&heading](Point point) { return heading.covers(point); })) {
        crossed.push_back(heading.text + ", crossed by " + link);
      }
    }
  }
  return crossed;
}

std::vector<std::string> upwardLinksIn(const std::string& svg) {
  std::vector<std::string> upward;
  for (const auto& [link, line] : linksIn(svg)) {
    if (line.back().y < line.front().y) {
      upward.push_back(link);
    }
  }
  return upward;
}

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
