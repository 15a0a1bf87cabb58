#include "examples/gear_pair/calculation/Drawing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/DrawingParts.h"
#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr double kSheetWidth = 1400.0;
constexpr double kSheetHeight = 820.0;
constexpr double kMargin = 28.0;
constexpr double kPanelWidth = 330.0;
/// Room around the gears for their names and for the dimension of the centre distance.
constexpr double kRoomAbove = 78.0;
constexpr double kRoomBelow = 104.0;
constexpr double kRoomBeside = 56.0;

std::string styleSheet() {
  return commonStyleSheet() +
         ".panel { fill: #f3f0e7; }\n"
         ".pinion { fill: #9db4c0; stroke: #2f4a59; stroke-width: 1.3; stroke-linejoin: round; }\n"
         ".wheel { fill: #dccfb0; stroke: #6b5b39; stroke-width: 1.3; stroke-linejoin: round; }\n"
         ".pinion-web { fill: #8aa4b2; stroke: #2f4a59; stroke-width: 0.9; }\n"
         ".wheel-web { fill: #cfc09c; stroke: #6b5b39; stroke-width: 0.9; }\n"
         ".pinion-hub { fill: #a9bec9; stroke: #2f4a59; stroke-width: 0.9; }\n"
         ".wheel-hub { fill: #e2d7bd; stroke: #6b5b39; stroke-width: 0.9; }\n"
         ".pinion-opening { fill: #fbfaf6; stroke: #2f4a59; stroke-width: 1.1; }\n"
         ".wheel-opening { fill: #fbfaf6; stroke: #6b5b39; stroke-width: 1.1; }\n"
         ".pitch { fill: none; stroke: #3d5a80; stroke-width: 1; stroke-dasharray: 16 4 3 4; }\n"
         ".base { fill: none; stroke: #7d8a80; stroke-width: 0.9; stroke-dasharray: 5 4; }\n"
         ".action { stroke: #c2553d; stroke-width: 1.2; }\n"
         ".contact { stroke: #c2553d; stroke-width: 3.6; stroke-linecap: round; }\n"
         ".point { fill: #fbfaf6; stroke: #c2553d; stroke-width: 1.6; }\n"
         ".legend { font-size: 12.5px; fill: #6f7a83; }\n"
         ".turn { fill: none; stroke: #6f7a83; stroke-width: 1.8; stroke-linecap: round; }\n"
         ".turn-head { fill: #6f7a83; }\n"
         ".lens { fill: #fbfaf6; }\n"
         ".lens-rim { fill: none; stroke: #8d958f; stroke-width: 1.6; }\n";
}

/// A length without its unit. Decimals are those of the metric figure; an inch takes one more.
std::string lengthNumber(double length, int decimals, UnitSystem units) {
  return fixedText(inUnits(length, Quantity::kLength, units),
                   units == UnitSystem::kMetric ? decimals : decimals + 1);
}

std::string lengthText(double length, int decimals, UnitSystem units) {
  return lengthNumber(length, decimals, units) + " " + unitSign(Quantity::kLength, units);
}

/// One gear of the drawing: its form, its place in the mesh frame and its styles.
struct DrawnGear {
  const ToothForm& form;
  Point axis;
  Polyline outline;
  std::string style;
};

/// What all parts of the drawing refer to.
struct Scene {
  const Requirements& requirements;
  const Mesh& mesh;
  DrawnGear pinion;
  DrawnGear wheel;
  View view;
  UnitSystem units;
};

View fittingView(const Mesh& mesh, const GearData& pinion, const GearData& wheel) {
  const double width = kSheetWidth - kPanelWidth - 2.0 * kMargin - 2.0 * kRoomBeside;
  const double height = kSheetHeight - 2.0 * kMargin - kRoomAbove - kRoomBelow;
  const double pairWidth = mesh.centreDistance + (pinion.tipDiameter + wheel.tipDiameter) / 2;
  const double pairHeight = std::max(pinion.tipDiameter, wheel.tipDiameter);
  const double scale = std::min(width / pairWidth, height / pairHeight);
  const double left = kMargin + kRoomBeside + (width - scale * pairWidth) / 2;
  return {{left + scale * pinion.tipDiameter / 2, kMargin + kRoomAbove + height / 2}, scale};
}

Scene makeScene(const Requirements& requirements, const ToothForm& pinion, const ToothForm& wheel,
                const Mesh& mesh, UnitSystem units) {
  return {requirements,
          mesh,
          {pinion, {0.0, 0.0}, placedPinion(pinion, 0.0), "pinion"},
          {wheel,
           {mesh.centreDistance, 0.0},
           placedWheel(wheel, mesh, pinion.gear.teeth, 0.0),
           "wheel"},
          fittingView(mesh, pinion.gear, wheel.gear),
          units};
}

/// The bore with its keyway at the top, as a path.
std::string borePath(const View& view, Point axis, double diameter) {
  const double radius = diameter / 2;
  const double halfWidth = 0.14 * diameter;
  const double shoulder = std::sqrt(radius * radius - halfWidth * halfWidth);
  const double top = radius + keywayDepth(diameter);
  const auto at = [&](double x, double y) { return svgPoint(view.at(moved({x, y}, axis))); };
  const std::string r = svgNumber(view.length(radius));
  return "M" + at(halfWidth, shoulder) + "L" + at(halfWidth, top) + "L" + at(-halfWidth, top) +
         "L" + at(-halfWidth, shoulder) + "A" + r + " " + r + " 0 1 0 " + at(halfWidth, shoulder) +
         "Z";
}

/// A thinner web with holes between hub and rim, where there is room for one.
void drawWeb(SvgWriter& svg, const Scene& scene, const DrawnGear& gear, double hubRadius) {
  constexpr int kHoles = 6;
  const double module = scene.requirements.rack.module;
  const double rimRadius = gear.form.gear.rootDiameter / 2 - 2.2 * module;
  const double web = rimRadius - hubRadius;
  if (web < 3.0 * module) {
    return;
  }
  svg.circle(scene.view.at(gear.axis), scene.view.length(rimRadius), gear.style + "-web");
  const double pitchRadius = (rimRadius + hubRadius) / 2;
  const double room = pitchRadius * std::sin(std::numbers::pi / kHoles);
  const double holeRadius = std::min(0.33 * web, 0.62 * room);
  for (int i = 0; i < kHoles; ++i) {
    const double angle = 2.0 * std::numbers::pi * (i + 0.5) / kHoles;
    const Point centre = moved(polarPoint(pitchRadius, angle), gear.axis);
    svg.circle(scene.view.at(centre), scene.view.length(holeRadius), gear.style + "-opening");
  }
  svg.circle(scene.view.at(gear.axis), scene.view.length(hubRadius), gear.style + "-hub");
}

void drawGear(SvgWriter& svg, const Scene& scene, const DrawnGear& gear) {
  svg.polygon(scene.view.at(gear.outline), gear.style);
  const double bore = gear.form.gear.boreDiameter;
  if (bore > 0.0) {
    drawWeb(svg, scene, gear, 0.82 * bore);
    svg.path(borePath(scene.view, gear.axis, bore), gear.style + "-opening");
  }
}

void drawCircles(SvgWriter& svg, const Scene& scene, const DrawnGear& gear) {
  const GearData& data = gear.form.gear;
  const Point axis = scene.view.at(gear.axis);
  svg.circle(axis, scene.view.length(data.baseDiameter / 2), "base");
  svg.circle(axis, scene.view.length(data.workingPitchDiameter / 2), "pitch");
}

void drawCentreLines(SvgWriter& svg, const Scene& scene) {
  constexpr double kOverhang = 26.0;
  const double pinionTip = scene.view.length(scene.pinion.form.gear.tipDiameter / 2);
  const double wheelTip = scene.view.length(scene.wheel.form.gear.tipDiameter / 2);
  const Point left = scene.view.at(scene.pinion.axis);
  const Point right = scene.view.at(scene.wheel.axis);
  svg.line(moved(left, {-pinionTip - kOverhang, 0.0}), moved(right, {wheelTip + kOverhang, 0.0}),
           "centre");
  svg.line(moved(left, {0.0, -pinionTip - kOverhang}), moved(left, {0.0, pinionTip + kOverhang}),
           "centre");
  svg.line(moved(right, {0.0, -wheelTip - kOverhang}), moved(right, {0.0, wheelTip + kOverhang}),
           "centre");
}

/// The point beyond "to" as seen from "from", farther by that many pixels.
Point beyond(Point from, Point to, double by) {
  const double length = distance(from, to);
  return {to.x + (to.x - from.x) / length * by, to.y + (to.y - from.y) / length * by};
}

void drawLineOfAction(SvgWriter& svg, const View& view, const Mesh& mesh, double overhang) {
  const Point lower = view.at(mesh.pinionTangentPoint);
  const Point upper = view.at(mesh.wheelTangentPoint);
  svg.line(beyond(upper, lower, overhang), beyond(lower, upper, overhang), "action");
  svg.line(view.at(mesh.startOfContact), view.at(mesh.endOfContact), "contact");
  svg.circle(view.at(mesh.pitchPoint), 3.6, "point");
}

/// An arc beside a gear that shows how it turns.
void drawTurning(SvgWriter& svg, const Scene& scene, const DrawnGear& gear, bool isPinion) {
  constexpr double kDistance = 20.0;
  const double radius = gear.form.gear.tipDiameter / 2 + kDistance / scene.view.scale;
  const double middle = isPinion ? std::numbers::pi * 0.78 : std::numbers::pi * 0.22;
  const double half = 26.0 / scene.view.length(radius);
  const Point from = scene.view.at(moved(polarPoint(radius, middle - half), gear.axis));
  const Point to = scene.view.at(moved(polarPoint(radius, middle + half), gear.axis));
  const std::string r = svgNumber(scene.view.length(radius));
  svg.path("M" + svgPoint(from) + "A" + r + " " + r + " 0 0 0 " + svgPoint(to), "turn");
  const double end = isPinion ? middle + half : middle - half;
  const double sign = isPinion ? 1.0 : -1.0;
  const Point tangent{-std::sin(end) * sign, -std::cos(end) * sign};
  drawArrowHead(svg, moved(isPinion ? to : from, {tangent.x * 9.0, tangent.y * 9.0}), tangent,
                "turn-head");
}

void drawName(SvgWriter& svg, const DrawnGear& gear, const std::string& name, Point at) {
  svg.text(at, name + ", " + std::to_string(gear.form.gear.teeth) + " teeth", "name");
}

/// The names above the gears; the pinion's keeps clear of a wheel that reaches over it.
void drawNames(SvgWriter& svg, const Scene& scene) {
  constexpr double kAboveTip = 36.0;
  constexpr double kHalfName = 76.0;
  const Point pinion = scene.view.at(scene.pinion.axis);
  const Point wheel = scene.view.at(scene.wheel.axis);
  const double pinionTip = scene.view.length(scene.pinion.form.gear.tipDiameter / 2);
  const double wheelTip = scene.view.length(scene.wheel.form.gear.tipDiameter / 2);
  const bool wheelReachesOver = wheelTip > pinionTip + kAboveTip;
  const double pinionX =
      wheelReachesOver ? std::min(pinion.x, wheel.x - wheelTip - kHalfName) : pinion.x;
  drawName(svg, scene.pinion, "Pinion", {pinionX, pinion.y - pinionTip - kAboveTip});
  drawName(svg, scene.wheel, "Wheel", {wheel.x, wheel.y - wheelTip - kAboveTip});
}

void drawCentreDistance(SvgWriter& svg, const Scene& scene) {
  constexpr double kBelowTip = 64.0;
  const Point left = scene.view.at(scene.pinion.axis);
  const Point right = scene.view.at(scene.wheel.axis);
  const auto tip = [&scene](const DrawnGear& gear) {
    return scene.view.length(gear.form.gear.tipDiameter / 2);
  };
  const double y = left.y + std::max(tip(scene.pinion), tip(scene.wheel)) + kBelowTip;
  svg.line({left.x, left.y + tip(scene.pinion) + 30.0}, {left.x, y + 8.0}, "dimension");
  svg.line({right.x, right.y + tip(scene.wheel) + 30.0}, {right.x, y + 8.0}, "dimension");
  drawHorizontalDimension(svg, {left.x, y}, {right.x, y},
                          "a = " + lengthText(scene.mesh.centreDistance, 3, scene.units));
}

/// What the kinds of lines mean, at the right below the gears.
void drawLegend(SvgWriter& svg) {
  const double left = kSheetWidth - kMargin - kPanelWidth - 200.0;
  const double bottom = kSheetHeight - kMargin - 24.0;
  const std::pair<const char*, const char*> entries[] = {
      {"action", "line of action"}, {"base", "base circles"}, {"pitch", "working pitch circles"}};
  double y = bottom;
  for (const auto& [style, meaning] : entries) {
    svg.line({left, y}, {left + 40.0, y}, style);
    svg.text({left + 50.0, y + 4.5}, meaning, "legend");
    y -= 20.0;
  }
}

/// The part of a gear near a point: its outline there, closed through the gear's axis.
Polyline nearPart(const DrawnGear& gear, Point centre, double reach) {
  const Polyline& outline = gear.outline;
  const auto farther = [centre](Point a, Point b) {
    return distance(a, centre) < distance(b, centre);
  };
  const auto start = std::max_element(outline.begin(), outline.end(), farther) - outline.begin();
  Polyline part;
  for (std::size_t i = 0; i < outline.size(); ++i) {
    const Point point = outline[(static_cast<std::size_t>(start) + i) % outline.size()];
    if (distance(point, centre) < reach) {
      part.push_back(point);
    }
  }
  part.push_back(gear.axis);
  return part;
}

void drawLens(SvgWriter& svg, const Scene& scene, Point centre, double radius) {
  const double shown = 3.1 * scene.requirements.rack.module;
  const double scale = radius / shown;
  const Point pitchPoint = scene.mesh.pitchPoint;
  const View view{{centre.x - scale * pitchPoint.x, centre.y + scale * pitchPoint.y}, scale};
  svg.circle(centre, radius, "lens");
  svg.beginCircleClip("lens", centre, radius);
  for (const DrawnGear* gear : {&scene.wheel, &scene.pinion}) {
    svg.polygon(view.at(nearPart(*gear, pitchPoint, 2.0 * shown)), gear->style);
    const GearData& data = gear->form.gear;
    svg.circle(view.at(gear->axis), view.length(data.baseDiameter / 2), "base");
    svg.circle(view.at(gear->axis), view.length(data.workingPitchDiameter / 2), "pitch");
  }
  svg.line({centre.x - radius, centre.y}, {centre.x + radius, centre.y}, "centre");
  drawLineOfAction(svg, view, scene.mesh, radius);
  svg.endClip();
  svg.circle(centre, radius, "lens-rim");
}

std::string pairText(double pinion, double wheel, int decimals) {
  return fixedText(pinion, decimals) + " / " + fixedText(wheel, decimals);
}

Figures mainFigures(const Scene& scene) {
  const Requirements& r = scene.requirements;
  const auto length = [&scene](double value, int decimals) {
    return lengthText(value, decimals, scene.units);
  };
  const auto diameters = [&scene](double pinion, double wheel) {
    return lengthNumber(pinion, 2, scene.units) + " / " + lengthNumber(wheel, 2, scene.units);
  };
  const std::string sign = unitSign(Quantity::kLength, scene.units);
  return {{"module", length(r.rack.module, 3)},
          {"teeth", pairText(r.pinion.teeth, r.wheel.teeth, 0)},
          {"pressure angle", fixedText(degrees(r.rack.pressureAngle), 2) + "°"},
          {"working pressure angle", fixedText(degrees(r.workingPressureAngle), 2) + "°"},
          {"profile shift", pairText(r.pinion.profileShift, r.wheel.profileShift, 3)},
          {"tip diameter, " + sign, diameters(r.pinion.tipDiameter, r.wheel.tipDiameter)},
          {"root diameter, " + sign, diameters(r.pinion.rootDiameter, r.wheel.rootDiameter)},
          {"face width", length(r.faceWidth, 1)},
          {"contact ratio", fixedText(scene.mesh.contactRatio, 2)},
          {"backlash", length(scene.mesh.circumferentialBacklash, 3)},
          {"material", r.pinion.material.name + " / " + r.wheel.material.name},
          {"pinion speed", fixedText(r.pinionSpeed, 0) + " rpm"}};
}

void drawPanel(SvgWriter& svg, const Scene& scene) {
  constexpr double kPadding = 24.0;
  const double left = kSheetWidth - kMargin - kPanelWidth;
  const double inner = kPanelWidth - 2.0 * kPadding;
  svg.rectangle({left, kMargin}, kPanelWidth, kSheetHeight - 2.0 * kMargin, "panel");
  svg.text({left + kPadding, kMargin + 46.0}, "Spur gear pair", "title");
  svg.text({left + kPadding, kMargin + 72.0},
           "ratio " + fixedText(scene.requirements.toothRatio, 3) + ", external, involute",
           "subtitle");
  drawFigures(svg, {left + kPadding, kMargin + 92.0}, inner, mainFigures(scene));
  const double radius = 148.0;
  const Point centre{left + kPanelWidth / 2, kSheetHeight - kMargin - radius - 46.0};
  drawLens(svg, scene, centre, radius);
  svg.text({centre.x, centre.y + radius + 28.0}, "the mesh, with the path of contact", "caption");
}

}  // namespace

std::string drawPair(const Requirements& requirements, const ToothForm& pinion,
                     const ToothForm& wheel, const Mesh& mesh, UnitSystem units) {
  const Scene scene = makeScene(requirements, pinion, wheel, mesh, units);
  SvgWriter svg(kSheetWidth, kSheetHeight, styleSheet());
  svg.rectangle({0.0, 0.0}, kSheetWidth, kSheetHeight, "sheet");
  drawGear(svg, scene, scene.wheel);
  drawGear(svg, scene, scene.pinion);
  drawCircles(svg, scene, scene.wheel);
  drawCircles(svg, scene, scene.pinion);
  drawCentreLines(svg, scene);
  drawLineOfAction(svg, scene.view, mesh, 40.0);
  drawTurning(svg, scene, scene.pinion, true);
  drawTurning(svg, scene, scene.wheel, false);
  drawNames(svg, scene);
  drawCentreDistance(svg, scene);
  drawLegend(svg);
  drawPanel(svg, scene);
  svg.rectangle({kMargin, kMargin}, kSheetWidth - 2.0 * kMargin, kSheetHeight - 2.0 * kMargin,
                "frame");
  return svg.finish();
}

}  // namespace GearPair
