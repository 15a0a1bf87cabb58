#include "examples/gear_pair/calculation/Material.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace GearPair {

namespace {

constexpr double kSteelElasticModulus = 206000.0;
constexpr double kSteelPoissonRatio = 0.3;
constexpr double kSteelDensity = 7850.0;

Material steel(std::string name, std::string treatment, double bendingLimit) {
  return {std::move(name),    std::move(treatment), kSteelElasticModulus,
          kSteelPoissonRatio, bendingLimit,         kSteelDensity};
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [lower](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

const std::vector<Material>& knownMaterials() {
  static const std::vector<Material> materials = {
      steel("S355", "as rolled, 150 HV", 130.0),
      steel("C45", "through hardened, 200 HV", 210.0),
      steel("42CrMo4", "through hardened, 300 HV", 310.0),
      steel("31CrMoV9", "gas nitrided", 370.0),
      steel("16MnCr5", "case hardened, 60 HRC", 425.0),
      steel("18CrNiMo7-6", "case hardened, 60 HRC", 460.0),
  };
  return materials;
}

const Material* findMaterial(std::string_view name) {
  const std::vector<Material>& materials = knownMaterials();
  const auto found = std::find_if(
      materials.begin(), materials.end(),
      [name](const Material& material) { return equalIgnoringCase(material.name, name); });
  return found == materials.end() ? nullptr : &*found;
}

}  // namespace GearPair
