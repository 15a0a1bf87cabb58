#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "tests/diagnostics/picture/DotReading.h"
#include "tests/diagnostics/picture/GearPairPicture.h"
#include "tests/diagnostics/picture/SvgReading.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::filesystem::path kRoot = TESSARIL_ROOT_DIR;

GearPairPicture picture() {
  return gearPairPicture(kRoot / "examples/gear_pair/designs/spur_pair.gear");
}

std::string dotOfPicture() {
  const GearPairPicture shown = picture();
  return dotText(shown.snapshot, shown.options);
}

std::string contentOf(const std::filesystem::path& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

TEST(GearPairPicture, ShowsTheChainsOfTheDesign) {
  EXPECT_THAT(headings(dotOfPicture()), ElementsAre("main chain", "wheel", "cutter", "drawing"));
}

TEST(GearPairPicture, ShowsWhyStrengthWasAppliedAndMeshWasNot) {
  const std::string dot = dotOfPicture();

  EXPECT_THAT(wordsOf(dot), HasSubstr("Strength|full apply|"));
  EXPECT_THAT(wordsOf(dot), HasSubstr("merge|Mesh|passed over|"));
}

// The fonts of the machine decide about sizes; what is drawn and written does not depend on them.
TEST(GearPairPicture, IsTheOneInTheDocuments) {
  const GearPairPicture gearPair = picture();
  const std::string present = svgText(gearPair.snapshot, gearPair.options);
  const std::string shown = contentOf(kRoot / "docs/graph_picture.svg");

  // Links are drawn over headings, and the wheel is laid out on the left.
  EXPECT_THAT(crossedHeadingsIn(shown), testing::IsEmpty());
  EXPECT_THAT(crossedHeadingsIn(present), testing::IsEmpty());
  EXPECT_THAT(upwardLinksIn(shown), testing::IsEmpty());
  EXPECT_EQ(textsIn(shown), textsIn(present));
  for (const char* drawn : {"class=\"node\"", "class=\"edge\"", "class=\"cluster\"", "<polygon",
                            "<path", "fill=\"#e6f0fa\"", "fill=\"#f6c176\""}) {
    EXPECT_EQ(count(shown, drawn), count(present, drawn)) << drawn;
  }
}

}  // namespace
}  // namespace Tessaril::Diagnostics
