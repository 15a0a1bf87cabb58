#include <gmock/gmock.h>

#include "diagnostics/picture/PictureModel.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"

namespace Tessaril::Diagnostics {
namespace {

/// The headings that stand at the left.
std::vector<std::string> headingsAtLeft(const PictureModel& model) {
  std::vector<std::string> headings;
  for (const DrawnChain& chain : model.chains) {
    if (chain.headingAtLeft) {
      headings.push_back(chain.heading);
    }
  }
  return headings;
}

TEST(PictureModel, MovesHeadingsAwayFromTheSideOnWhichLinksComeIn) {
  const GraphSnapshot snapshot =
      snapshotOf(TestSupport::graph("A -> B; A -> (L):left[side] -> M:left; A -> (R):right[side]"));
  PictureModel model = pictureModel(snapshot, {});
  ASSERT_EQ(model.modules.size(), 5U);
  EXPECT_THAT(headingsAtLeft(model), testing::ElementsAre("main chain"));

  std::vector<double> fromLeft(5, 2.0);
  fromLeft[indexOf(snapshot, "L")] = 1.0;
  fromLeft[indexOf(snapshot, "M")] = 1.5;
  fromLeft[indexOf(snapshot, "R")] = 3.0;
  EXPECT_TRUE(moveHeadings(model, fromLeft));
  EXPECT_THAT(headingsAtLeft(model), testing::ElementsAre("main chain", "chain 1"));
  EXPECT_FALSE(moveHeadings(model, fromLeft));
}

TEST(PictureModel, LeavesTheHeadingOfAChainThatNoLinkLeadsInto) {
  PictureModel model = pictureModel(snapshotOf(TestSupport::graph("A -> B; L:left -> B")), {});

  EXPECT_FALSE(moveHeadings(model, {2.0, 2.0, 1.0}));
}

}  // namespace
}  // namespace Tessaril::Diagnostics
