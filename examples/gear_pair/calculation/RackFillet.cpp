#include "examples/gear_pair/calculation/RackFillet.h"

#include <cmath>
#include <numbers>

namespace GearPair {

RackFillet::RackFillet(const BasicRack& rack, int teeth, double generatingShift)
    : referenceRadius_(rack.module * teeth / 2.0),
      toothHalfPitch_(std::numbers::pi / teeth),
      tipRadius_(rack.tipRadius),
      centreDepth_(rack.dedendum - rack.tipRadius - generatingShift * rack.module),
      centreOffset_(std::numbers::pi * rack.module / 4 -
                    (rack.dedendum - rack.tipRadius) * std::tan(rack.pressureAngle) -
                    rack.tipRadius / std::cos(rack.pressureAngle)),
      endParameter_(std::numbers::pi / 2 - rack.pressureAngle) {}

double RackFillet::rollAngle(double parameter) const {
  return (centreDepth_ * std::tan(parameter) - centreOffset_) / referenceRadius_;
}

Point RackFillet::pointInRackFrame(double parameter) const {
  const double fromPitchPoint = centreDepth_ / std::cos(parameter) + tipRadius_;
  return {fromPitchPoint * std::sin(parameter),
          referenceRadius_ - fromPitchPoint * std::cos(parameter)};
}

double RackFillet::radius(double parameter) const {
  return distance(pointInRackFrame(parameter), {0.0, 0.0});
}

double RackFillet::halfAngle(double parameter) const {
  const Point point = pointInRackFrame(parameter);
  const double fromSpaceCentre = std::atan2(point.x, point.y) - rollAngle(parameter);
  return toothHalfPitch_ - fromSpaceCentre;
}

double RackFillet::tangentAngle(double parameter) const {
  return std::numbers::pi / 2 - toothHalfPitch_ - parameter - rollAngle(parameter);
}

double RackFillet::curvatureRadius(double parameter) const {
  const double cosine = std::cos(parameter);
  return tipRadius_ + centreDepth_ * centreDepth_ /
                          (cosine * (referenceRadius_ * cosine * cosine + centreDepth_));
}

}  // namespace GearPair
