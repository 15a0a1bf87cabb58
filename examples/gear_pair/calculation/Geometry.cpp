#include "examples/gear_pair/calculation/Geometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace GearPair {

namespace {

/// The corner after that one; the first one follows the last.
Point nextCorner(const Polyline& closed, std::size_t index) {
  return closed[(index + 1) % closed.size()];
}

double distanceToEdge(Point from, Point to, Point point) {
  const double dx = to.x - from.x;
  const double dy = to.y - from.y;
  const double lengthSquared = dx * dx + dy * dy;
  if (lengthSquared == 0.0) {
    return distance(from, point);
  }
  const double along = ((point.x - from.x) * dx + (point.y - from.y) * dy) / lengthSquared;
  const double clamped = std::clamp(along, 0.0, 1.0);
  return distance({from.x + clamped * dx, from.y + clamped * dy}, point);
}

}  // namespace

Point polarPoint(double radius, double angle) {
  return {radius * std::cos(angle), radius * std::sin(angle)};
}

double distance(Point a, Point b) { return std::hypot(a.x - b.x, a.y - b.y); }

Point rotated(Point point, double angle) {
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return {c * point.x - s * point.y, s * point.x + c * point.y};
}

Point moved(Point point, Point by) { return {point.x + by.x, point.y + by.y}; }

Polyline placed(const Polyline& line, double angle, Point by) {
  Polyline result;
  result.reserve(line.size());
  for (const Point point : line) {
    result.push_back(moved(rotated(point, angle), by));
  }
  return result;
}

double signedArea(const Polyline& closed) {
  double doubled = 0.0;
  for (std::size_t i = 0; i < closed.size(); ++i) {
    const Point from = closed[i];
    const Point to = nextCorner(closed, i);
    doubled += from.x * to.y - to.x * from.y;
  }
  return doubled / 2;
}

bool contains(const Polyline& closed, Point point) {
  bool inside = false;
  for (std::size_t i = 0; i < closed.size(); ++i) {
    const Point from = closed[i];
    const Point to = nextCorner(closed, i);
    if ((from.y > point.y) == (to.y > point.y)) {
      continue;
    }
    const double crossing = from.x + (point.y - from.y) / (to.y - from.y) * (to.x - from.x);
    if (point.x < crossing) {
      inside = !inside;
    }
  }
  return inside;
}

double distanceToOutline(const Polyline& closed, Point point) {
  double nearest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < closed.size(); ++i) {
    nearest = std::min(nearest, distanceToEdge(closed[i], nextCorner(closed, i), point));
  }
  return nearest;
}

}  // namespace GearPair
