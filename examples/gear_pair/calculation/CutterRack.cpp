#include "examples/gear_pair/calculation/CutterRack.h"

#include <cmath>
#include <numbers>

namespace GearPair {

namespace {

constexpr int kTeeth = 3;
constexpr int kRoundingSteps = 12;
/// Height of the cutter's body below its teeth, in modules.
constexpr double kBodyInModules = 1.2;

/// Right half of a tooth: from the middle of the space beside it, over flank and rounding, to the
/// end of the flat tip.
Polyline rightHalf(const CutterRack& rack) {
  const double tangent = std::tan(rack.pressureAngle);
  const double centreX = rack.tipFlat / 2;
  const double centreY = rack.addendum - rack.tipRadius;
  const double flankFoot = rack.toothThickness / 2 + rack.dedendum * tangent;
  Polyline line{{rack.pitch / 2, -rack.dedendum}, {flankFoot, -rack.dedendum}};
  for (int i = 0; i <= kRoundingSteps; ++i) {
    const double sweep = std::numbers::pi / 2 - rack.pressureAngle;
    const double angle = rack.pressureAngle + sweep * i / kRoundingSteps;
    line.push_back(moved(polarPoint(rack.tipRadius, angle), {centreX, centreY}));
  }
  return line;
}

Polyline wholeProfile(const CutterRack& rack) {
  const Polyline half = rightHalf(rack);
  const double bodyY = -rack.dedendum - kBodyInModules * rack.module;
  const double bodyX = kTeeth * rack.pitch / 2;
  Polyline profile{{-bodyX, bodyY}, {bodyX, bodyY}};
  for (int tooth = kTeeth / 2; tooth >= -(kTeeth / 2); --tooth) {
    const double middle = tooth * rack.pitch;
    for (const Point point : half) {
      profile.push_back({middle + point.x, point.y});
    }
    for (auto point = half.rbegin(); point != half.rend() - 1; ++point) {
      profile.push_back({middle - point->x, point->y});
    }
  }
  profile.push_back({-bodyX, -rack.dedendum});
  return profile;
}

}  // namespace

CutterRack computeCutterRack(const Requirements& requirements) {
  const BasicRack& basic = requirements.rack;
  CutterRack rack;
  rack.module = basic.module;
  rack.pressureAngle = basic.pressureAngle;
  rack.pitch = std::numbers::pi * basic.module;
  rack.addendum = basic.dedendum;
  rack.dedendum = basic.dedendum;
  rack.tipRadius = basic.tipRadius;
  rack.toothThickness = rack.pitch / 2;
  rack.tipFlat =
      rack.toothThickness - 2.0 * basic.dedendum * std::tan(basic.pressureAngle) -
      2.0 * basic.tipRadius * (1.0 - std::sin(basic.pressureAngle)) / std::cos(basic.pressureAngle);
  rack.profile = wholeProfile(rack);
  return rack;
}

}  // namespace GearPair
