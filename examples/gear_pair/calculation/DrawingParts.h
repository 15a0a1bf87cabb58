#pragma once

#include <string>
#include <utility>
#include <vector>

#include "examples/gear_pair/calculation/Geometry.h"
#include "examples/gear_pair/calculation/SvgWriter.h"

namespace GearPair {

/// Maps millimetres, y up, to the pixels of a drawing, y down.
struct View {
  /// Where the origin of the millimetres lies, pixels.
  Point origin;
  /// Pixels of a millimetre.
  double scale = 1.0;

  Point at(Point point) const { return {origin.x + scale * point.x, origin.y - scale * point.y}; }
  Polyline at(const Polyline& line) const;
  double length(double millimetres) const { return scale * millimetres; }
};

/// Styles that all drawings share.
std::string commonStyleSheet();

/// A filled arrow head whose tip is at a point; the direction points from the shaft to the tip.
void drawArrowHead(SvgWriter& svg, Point tip, Point direction, const std::string& styleClass);

/// A dimension line with arrows at both ends and its text, if any, above the middle. Pixels.
void drawHorizontalDimension(SvgWriter& svg, Point from, Point to, const std::string& text);

/// The same upright, its text at the right of the middle. Pixels.
void drawVerticalDimension(SvgWriter& svg, Point from, Point to, const std::string& text);

/// Label and value of each row of a list of figures.
using Figures = std::vector<std::pair<std::string, std::string>>;

/// A list of figures, labels at the left, values aligned at the right, thin rules between the rows.
void drawFigures(SvgWriter& svg, Point corner, double width, const Figures& figures);

}  // namespace GearPair
