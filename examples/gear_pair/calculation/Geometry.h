#pragma once

#include <vector>

namespace GearPair {

/// A point or vector of the transverse plane, mm.
struct Point {
  double x = 0.0;
  double y = 0.0;

  bool operator==(const Point&) const = default;
};

/// A sequence of points joined by straight lines. A closed one does not repeat its first point.
using Polyline = std::vector<Point>;

/// The point at that distance (mm) and angle (radians, counterclockwise from +x) from the origin.
Point polarPoint(double radius, double angle);

/// Distance between two points, mm.
double distance(Point a, Point b);

/// The point turned counterclockwise about the origin by an angle in radians.
Point rotated(Point point, double angle);

/// The point moved by a vector.
Point moved(Point point, Point by);

/// All points turned counterclockwise about the origin by an angle in radians, then moved.
Polyline placed(const Polyline& line, double angle, Point by);

/// Area enclosed by a closed polyline, mm²; positive if it runs counterclockwise.
double signedArea(const Polyline& closed);

/// Whether a point lies within a closed polyline (even-odd rule).
bool contains(const Polyline& closed, Point point);

/// Distance of a point from the nearest point of a closed polyline's edges, mm.
double distanceToOutline(const Polyline& closed, Point point);

}  // namespace GearPair
