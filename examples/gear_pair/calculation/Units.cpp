#include "examples/gear_pair/calculation/Units.h"

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

/// How a quantity is shown in one unit system.
struct UnitStyle {
  const char* sign;
  /// Numbers in this unit = metric numbers * factor.
  double factor;
  int decimals;
};

constexpr double kMillimetresPerInch = 25.4;
constexpr double kNewtonsPerPoundForce = 4.4482216152605;
constexpr double kKilogramsPerPound = 0.45359237;
constexpr double kMetresPerFoot = 0.3048;

UnitStyle metricStyle(Quantity quantity) {
  switch (quantity) {
    case Quantity::kLength:
      return {"mm", 1.0, 3};
    case Quantity::kTorque:
      return {"Nm", 1.0, 1};
    case Quantity::kForce:
      return {"N", 1.0, 0};
    case Quantity::kStress:
      return {"N/mm²", 1.0, 1};
    case Quantity::kVelocity:
      return {"m/s", 1.0, 2};
    case Quantity::kPower:
      return {"kW", 1.0, 2};
    case Quantity::kMass:
      return {"kg", 1.0, 2};
  }
  return {"", 1.0, 3};
}

UnitStyle usCustomaryStyle(Quantity quantity) {
  constexpr double kFootPoundsPerMinuteOfHorsepower = 33000.0;
  constexpr double kKilowattsPerHorsepower =
      kFootPoundsPerMinuteOfHorsepower * kMetresPerFoot * kNewtonsPerPoundForce / 60.0 / 1000.0;
  switch (quantity) {
    case Quantity::kLength:
      return {"in", 1.0 / kMillimetresPerInch, 4};
    case Quantity::kTorque:
      return {"lbf·in", 1000.0 / (kNewtonsPerPoundForce * kMillimetresPerInch), 0};
    case Quantity::kForce:
      return {"lbf", 1.0 / kNewtonsPerPoundForce, 0};
    case Quantity::kStress:
      return {"psi", kMillimetresPerInch * kMillimetresPerInch / kNewtonsPerPoundForce, 0};
    case Quantity::kVelocity:
      return {"ft/min", 60.0 / kMetresPerFoot, 0};
    case Quantity::kPower:
      return {"hp", 1.0 / kKilowattsPerHorsepower, 2};
    case Quantity::kMass:
      return {"lb", 1.0 / kKilogramsPerPound, 2};
  }
  return {"", 1.0, 3};
}

UnitStyle unitStyle(Quantity quantity, UnitSystem system) {
  return system == UnitSystem::kMetric ? metricStyle(quantity) : usCustomaryStyle(quantity);
}

}  // namespace

std::string unitSign(Quantity quantity, UnitSystem system) {
  return unitStyle(quantity, system).sign;
}

double inUnits(double metricValue, Quantity quantity, UnitSystem system) {
  return metricValue * unitStyle(quantity, system).factor;
}

std::string quantityNumber(double metricValue, Quantity quantity, UnitSystem system) {
  return fixedText(inUnits(metricValue, quantity, system), unitStyle(quantity, system).decimals);
}

std::string quantityText(double metricValue, Quantity quantity, UnitSystem system) {
  return quantityNumber(metricValue, quantity, system) + " " + unitSign(quantity, system);
}

}  // namespace GearPair
