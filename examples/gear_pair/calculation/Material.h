#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace GearPair {

/// A gear steel in its usual heat treatment.
struct Material {
  /// Name as written in a design input, such as "16MnCr5".
  std::string name;
  /// Heat treatment and state, for the report.
  std::string treatment;
  /// Modulus of elasticity, N/mm².
  double elasticModulus = 0.0;
  /// Poisson's ratio.
  double poissonRatio = 0.3;
  /// Nominal stress number for tooth root bending sigma_Flim, N/mm²: the pulsating root stress that
  /// a standard reference test gear endures.
  double bendingLimit = 0.0;
  /// Density, kg/m³.
  double density = 0.0;

  bool operator==(const Material&) const = default;
};

/// The known steels, in the order in which they are offered.
///
/// The bending limits are rounded, typical values of the material quality MQ of ISO 6336-5; they
/// serve a preliminary design and do not replace the data of the steel's supplier.
const std::vector<Material>& knownMaterials();

/// The known steel of that name, which is compared without regard to case; nullptr if there is
/// none.
const Material* findMaterial(std::string_view name);

}  // namespace GearPair
