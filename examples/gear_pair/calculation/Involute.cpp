#include "examples/gear_pair/calculation/Involute.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "examples/gear_pair/calculation/DesignError.h"

namespace GearPair {

double radians(double degrees) { return degrees * std::numbers::pi / 180.0; }

double degrees(double radians) { return radians * 180.0 / std::numbers::pi; }

double involute(double angle) { return std::tan(angle) - angle; }

namespace {

/// Start value for the iteration: the leading terms of the series at small angles, the pole at pi/2
/// for large values. Both lie above the solution, from where Newton's method descends
/// monotonically, because the involute function is convex.
double startAngle(double value) {
  const double smallAngle = std::cbrt(3.0 * value);
  const double largeAngle = std::atan(value + std::numbers::pi / 2);
  return std::min(smallAngle, largeAngle);
}

}  // namespace

double inverseInvolute(double value) {
  if (!std::isfinite(value) || value < 0.0) {
    throw DesignError("No angle has the involute function " + std::to_string(value) +
                      "; only values from 0 on have one.");
  }
  if (value == 0.0) {
    return 0.0;
  }
  constexpr int kMaxIterations = 50;
  double angle = startAngle(value);
  for (int i = 0; i < kMaxIterations; ++i) {
    const double tangent = std::tan(angle);
    const double step = (tangent - angle - value) / (tangent * tangent);
    angle -= step;
    if (std::abs(step) <= 1e-16 * angle) {
      break;
    }
  }
  return angle;
}

double profileAngle(double radius, double baseRadius) {
  return radius <= baseRadius ? 0.0 : std::acos(baseRadius / radius);
}

}  // namespace GearPair
