#include <gmock/gmock.h>

#include "diagnostics/graph/GraphSnapshot.h"
#include "tests/support/GraphText.h"

namespace Tessaril::Diagnostics {
namespace {

using namespace TestSupport;

TEST(GraphSnapshotTest, nothingGivesAnEmptySnapshot) {
  EXPECT_TRUE(snapshotOf(std::vector<std::shared_ptr<const ApplyModule>>{nullptr}).modules.empty());
}

}  // namespace
}  // namespace Tessaril::Diagnostics
