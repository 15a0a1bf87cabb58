#pragma once

#include <string>

namespace GearPair {

/// The units in which results are shown. Computations always use the metric units that the members
/// of the value types name.
enum class UnitSystem {
  /// mm, Nm, N, N/mm², m/s, kW, kg.
  kMetric,
  /// inch, lbf·in, lbf, psi, ft/min, hp, lb.
  kUsCustomary,
};

/// What a number measures, as far as its unit depends on the unit system.
enum class Quantity { kLength, kTorque, kForce, kStress, kVelocity, kPower, kMass };

/// The unit's sign, such as "mm" or "in".
std::string unitSign(Quantity quantity, UnitSystem system);

/// A metric number (in the units of UnitSystem::kMetric) in the units of the system.
double inUnits(double metricValue, Quantity quantity, UnitSystem system);

/// A metric number in the units of the system, with the usual number of decimals, without the sign.
std::string quantityNumber(double metricValue, Quantity quantity, UnitSystem system);

/// A metric number in the units of the system, with the usual number of decimals and the unit's
/// sign.
std::string quantityText(double metricValue, Quantity quantity, UnitSystem system);

}  // namespace GearPair
