#include "examples/gear_pair/calculation/DrawingParts.h"

namespace GearPair {

Polyline View::at(const Polyline& line) const {
  Polyline result;
  result.reserve(line.size());
  for (const Point point : line) {
    result.push_back(at(point));
  }
  return result;
}

std::string commonStyleSheet() {
  return "text { font-family: 'DejaVu Sans', 'Helvetica Neue', Arial, sans-serif; fill: #2f3b45; "
         "}\n"
         ".sheet { fill: #fbfaf6; }\n"
         ".frame { fill: none; stroke: #c8c3b6; stroke-width: 1.5; }\n"
         ".rule { stroke: #e0dcd0; stroke-width: 1; }\n"
         ".title { font-size: 27px; font-weight: bold; }\n"
         ".subtitle { font-size: 15px; fill: #6f7a83; }\n"
         ".label { font-size: 14px; fill: #6f7a83; }\n"
         ".value { font-size: 14px; text-anchor: end; }\n"
         ".caption { font-size: 14px; text-anchor: middle; fill: #6f7a83; }\n"
         ".name { font-size: 16px; text-anchor: middle; }\n"
         ".dimension { stroke: #4a565f; stroke-width: 1; }\n"
         ".arrow { fill: #4a565f; stroke: none; }\n"
         ".measure { font-size: 15px; text-anchor: middle; }\n"
         ".side-measure { font-size: 15px; }\n"
         ".centre { stroke: #5d6a73; stroke-width: 0.9; fill: none;"
         " stroke-dasharray: 16 4 3 4; }\n";
}

void drawArrowHead(SvgWriter& svg, Point tip, Point direction, const std::string& styleClass) {
  constexpr double kLength = 11.0;
  constexpr double kHalfWidth = 3.2;
  const double size = distance(direction, {0.0, 0.0});
  const Point along{direction.x / size, direction.y / size};
  const Point foot{tip.x - kLength * along.x, tip.y - kLength * along.y};
  const Point across{-along.y * kHalfWidth, along.x * kHalfWidth};
  svg.polygon({tip, moved(foot, across), moved(foot, {-across.x, -across.y})}, styleClass);
}

namespace {

void drawDimensionLine(SvgWriter& svg, Point from, Point to) {
  svg.line(from, to, "dimension");
  drawArrowHead(svg, to, {to.x - from.x, to.y - from.y}, "arrow");
  drawArrowHead(svg, from, {from.x - to.x, from.y - to.y}, "arrow");
}

}  // namespace

void drawHorizontalDimension(SvgWriter& svg, Point from, Point to, const std::string& text) {
  drawDimensionLine(svg, from, to);
  if (!text.empty()) {
    svg.text({(from.x + to.x) / 2, from.y - 7.0}, text, "measure");
  }
}

void drawVerticalDimension(SvgWriter& svg, Point from, Point to, const std::string& text) {
  drawDimensionLine(svg, from, to);
  svg.text({from.x + 8.0, (from.y + to.y) / 2 + 5.0}, text, "side-measure");
}

void drawFigures(SvgWriter& svg, Point corner, double width, const Figures& figures) {
  constexpr double kRowHeight = 25.0;
  double y = corner.y;
  for (const auto& [label, value] : figures) {
    svg.line({corner.x, y}, {corner.x + width, y}, "rule");
    svg.text({corner.x, y + 17.0}, label, "label");
    svg.text({corner.x + width, y + 17.0}, value, "value");
    y += kRowHeight;
  }
  svg.line({corner.x, y}, {corner.x + width, y}, "rule");
}

}  // namespace GearPair
