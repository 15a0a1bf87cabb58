#pragma once

namespace GearPair {

/// Radians of an angle in degrees.
double radians(double degrees);

/// Degrees of an angle in radians.
double degrees(double radians);

/// The involute function inv(angle) = tan(angle) - angle; angle in radians, below pi/2.
double involute(double angle);

/// The angle in radians, from 0 to below pi/2, whose involute function is the value.
/// Throws DesignError if the value is negative or not finite.
double inverseInvolute(double value);

/// Profile angle in radians of the involute of a base circle at a radius from the axis; 0 at and
/// below the base circle.
double profileAngle(double radius, double baseRadius);

}  // namespace GearPair
