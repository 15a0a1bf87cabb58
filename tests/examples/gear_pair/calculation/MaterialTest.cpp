#include <gtest/gtest.h>

#include "examples/gear_pair/calculation/Material.h"

namespace GearPair {
namespace {

TEST(Material, IsFoundWithoutRegardToCase) {
  const Material* material = findMaterial("42crmo4");
  ASSERT_NE(material, nullptr);
  EXPECT_EQ(material->name, "42CrMo4");
}

TEST(Material, IsNotFoundByPartOfItsName) {
  EXPECT_EQ(findMaterial("42CrMo"), nullptr);
  EXPECT_EQ(findMaterial("42CrMo44"), nullptr);
  EXPECT_EQ(findMaterial(""), nullptr);
}

TEST(Material, HasTheValuesOfSteel) {
  for (const Material& material : knownMaterials()) {
    EXPECT_NEAR(material.elasticModulus, 206000.0, 6000.0) << material.name;
    EXPECT_GT(material.bendingLimit, 100.0) << material.name;
    EXPECT_LT(material.bendingLimit, 530.0) << material.name;
    EXPECT_FALSE(material.treatment.empty()) << material.name;
    EXPECT_EQ(findMaterial(material.name), &material);
  }
}

}  // namespace
}  // namespace GearPair
