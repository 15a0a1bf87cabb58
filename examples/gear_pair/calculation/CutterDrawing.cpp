#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/Drawing.h"
#include "examples/gear_pair/calculation/DrawingParts.h"
#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr double kSheetWidth = 1200.0;
constexpr double kSheetHeight = 560.0;
constexpr double kMargin = 28.0;
constexpr double kPanelWidth = 300.0;
constexpr double kTeethShown = 3.0;

std::string styleSheet() {
  return commonStyleSheet() +
         ".panel { fill: #f3f0e7; }\n"
         ".cutter { fill: #b9c3b2; stroke: #46543d; stroke-width: 1.5; stroke-linejoin: round; }\n"
         ".thin { stroke: #8d958f; stroke-width: 0.9; }\n"
         ".end-measure { font-size: 15px; text-anchor: end; }\n"
         ".arc { fill: none; stroke: #4a565f; stroke-width: 1; }\n";
}

std::string millimetres(double length) { return fixedText(length, 3) + " mm"; }

View fittingView(const CutterRack& rack) {
  constexpr double kRoomLeft = 64.0;
  constexpr double kRoomRight = 200.0;
  const double width = kSheetWidth - kPanelWidth - 2.0 * kMargin - kRoomLeft - kRoomRight;
  const double scale = width / (kTeethShown * rack.pitch);
  return {{kMargin + kRoomLeft + width / 2, kSheetHeight * 0.53}, scale};
}

void drawDatumLine(SvgWriter& svg, const View& view, const CutterRack& rack) {
  const double reach = kTeethShown * rack.pitch / 2;
  svg.line(moved(view.at(Point{-reach, 0.0}), {-24.0, 0.0}),
           moved(view.at(Point{reach, 0.0}), {100.0, 0.0}), "centre");
}

/// The pitch, above the teeth, between the middles of two of them.
void drawPitch(SvgWriter& svg, const View& view, const CutterRack& rack) {
  const double y = view.at(Point{0.0, rack.addendum}).y - 62.0;
  const Point left = view.at(Point{-rack.pitch, rack.addendum});
  const Point middle = view.at(Point{0.0, rack.addendum});
  for (const Point top : {left, middle}) {
    svg.line({top.x, y - 8.0}, {top.x, view.origin.y + 6.0}, "centre");
  }
  drawHorizontalDimension(svg, {left.x, y}, {middle.x, y}, "p = " + millimetres(rack.pitch));
}

/// The width of the middle tooth on the datum line, the text below the line, where the tooth is
/// wider.
void drawThickness(SvgWriter& svg, const View& view, const CutterRack& rack) {
  const Point left = view.at(Point{-rack.toothThickness / 2, 0.0});
  const Point right = view.at(Point{rack.toothThickness / 2, 0.0});
  drawHorizontalDimension(svg, left, right, "");
  svg.text({view.origin.x, left.y + 44.0}, "s = " + millimetres(rack.toothThickness), "measure");
}

/// The heights above and below the datum line, at the right of the body.
void drawHeights(SvgWriter& svg, const View& view, const CutterRack& rack) {
  constexpr double kBesideBody = 92.0;
  const double edge = view.at(Point{kTeethShown * rack.pitch / 2, 0.0}).x;
  const double x = edge + kBesideBody;
  const Point datum{x, view.at(Point{}).y};
  const Point tip{x, view.at(Point{0.0, rack.addendum}).y};
  const Point foot{x, view.at(Point{0.0, -rack.dedendum}).y};
  const double tipEdge = view.at(Point{rack.pitch + rack.tipFlat / 2, 0.0}).x;
  svg.line({tipEdge + 6.0, tip.y}, {x + 8.0, tip.y}, "thin");
  svg.line({edge + 6.0, foot.y}, {x + 8.0, foot.y}, "thin");
  drawVerticalDimension(svg, tip, datum, millimetres(rack.addendum));
  drawVerticalDimension(svg, datum, foot, millimetres(rack.dedendum));
}

/// The flank's angle on the right tooth, between its middle line and the flank carried on upwards.
void drawPressureAngle(SvgWriter& svg, const View& view, const CutterRack& rack) {
  const double apexHeight = rack.toothThickness / 2 / std::tan(rack.pressureAngle);
  const double radius = apexHeight + rack.dedendum * 0.62;
  const Point apex{rack.pitch, apexHeight};
  const double down = -std::numbers::pi / 2;
  const Point onMiddle = view.at(moved(polarPoint(radius, down), apex));
  const Point onFlank = view.at(moved(polarPoint(radius, down + rack.pressureAngle), apex));
  const Point top = view.at(Point{rack.pitch, rack.addendum});
  svg.line({top.x, top.y - 24.0}, {top.x, view.at(Point{0.0, -rack.dedendum}).y}, "centre");
  const std::string r = svgNumber(view.length(radius));
  svg.path("M" + svgPoint(onMiddle) + "A" + r + " " + r + " 0 0 0 " + svgPoint(onFlank), "arc");
  svg.text({onFlank.x + 10.0, onFlank.y + 8.0},
           "α = " + fixedText(degrees(rack.pressureAngle), 2) + "°", "side-measure");
}

/// A leader to the rounding of the left tooth.
void drawTipRadius(SvgWriter& svg, const View& view, const CutterRack& rack) {
  const double angle = std::numbers::pi - (std::numbers::pi / 2 + rack.pressureAngle) / 2;
  const Point centre{-rack.pitch - rack.tipFlat / 2, rack.addendum - rack.tipRadius};
  const Point rounding = view.at(moved(polarPoint(rack.tipRadius, angle), centre));
  const Point elbow = moved(rounding, {-30.0, -40.0});
  svg.line(elbow, rounding, "dimension");
  drawArrowHead(svg, rounding, {30.0, 40.0}, "arrow");
  svg.text(moved(elbow, {6.0, -7.0}), "ρ = " + millimetres(rack.tipRadius), "end-measure");
}

void drawPanel(SvgWriter& svg, const CutterRack& rack) {
  constexpr double kPadding = 24.0;
  const double left = kSheetWidth - kMargin - kPanelWidth;
  svg.rectangle({left, kMargin}, kPanelWidth, kSheetHeight - 2.0 * kMargin, "panel");
  svg.text({left + kPadding, kMargin + 46.0}, "Cutter rack", "title");
  svg.text({left + kPadding, kMargin + 72.0}, "axial profile of the hob", "subtitle");
  const Figures figures{{"module", millimetres(rack.module)},
                        {"flank angle", fixedText(degrees(rack.pressureAngle), 2) + "°"},
                        {"pitch", millimetres(rack.pitch)},
                        {"tooth width, datum line", millimetres(rack.toothThickness)},
                        {"height above datum line", millimetres(rack.addendum)},
                        {"depth below datum line", millimetres(rack.dedendum)},
                        {"tip radius", millimetres(rack.tipRadius)},
                        {"tip flat", millimetres(rack.tipFlat)}};
  drawFigures(svg, {left + kPadding, kMargin + 92.0}, kPanelWidth - 2.0 * kPadding, figures);
}

}  // namespace

std::string drawCutterRack(const CutterRack& rack) {
  const View view = fittingView(rack);
  SvgWriter svg(kSheetWidth, kSheetHeight, styleSheet());
  svg.rectangle({0.0, 0.0}, kSheetWidth, kSheetHeight, "sheet");
  svg.polygon(view.at(rack.profile), "cutter");
  drawDatumLine(svg, view, rack);
  drawPitch(svg, view, rack);
  drawThickness(svg, view, rack);
  drawHeights(svg, view, rack);
  drawPressureAngle(svg, view, rack);
  drawTipRadius(svg, view, rack);
  drawPanel(svg, rack);
  svg.rectangle({kMargin, kMargin}, kSheetWidth - 2.0 * kMargin, kSheetHeight - 2.0 * kMargin,
                "frame");
  return svg.finish();
}

}  // namespace GearPair
