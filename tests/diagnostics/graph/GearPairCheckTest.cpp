#include <gmock/gmock.h>

#include "diagnostics/graph/GraphChecker.h"
#include "diagnostics/graph/RunReach.h"
#include "examples/gear_pair/application/GearPairDesign.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"

// The example application's design: sound as it is, and with faults that only a file can bring in.

namespace Tessaril::Diagnostics {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GearPairCheckTest : public ::testing::Test {
 protected:
  std::vector<ApplyModuleData> stored() const {
    std::vector<ApplyModuleData> records;
    ApplyGraph::storeApplyGraph(design, {design->start()}, records);
    return records;
  }

  GraphSnapshot live() const {
    return snapshotOf(std::vector<std::shared_ptr<const ApplyModule>>{design->start()});
  }

  static ApplyModuleData& recordOf(std::vector<ApplyModuleData>& records, std::string_view path) {
    for (ApplyModuleData& data : records) {
      if (data.path == Path(path)) {
        return data;
      }
    }
    throw std::out_of_range("no record of that path");
  }

  /// A report that leads back to the mesh.
  static void closeCircle(std::vector<ApplyModuleData>& records) {
    recordOf(records, "/report").nextPaths.emplace_back("/mesh");
    recordOf(records, "/mesh").previousPaths.emplace_back("/report");
  }

  /// A cutter of the wheel's teeth as well, which the wheel does not know of.
  static void addOneSidedLink(std::vector<ApplyModuleData>& records) {
    recordOf(records, "/cutter").previousPaths.emplace_back("/wheel");
  }

  std::shared_ptr<GearPair::GearPairDesign> design = GearPair::GearPairDesign::create({});
};

TEST_F(GearPairCheckTest, theCheckerIsSilent) {
  EXPECT_THAT(checkGraph(live()), IsEmpty());
  EXPECT_THAT(checkGraph(snapshotOf(stored())), IsEmpty());
  EXPECT_THAT(checkGraph(snapshotOf(stored(), design)), IsEmpty());
}

TEST_F(GearPairCheckTest, aCircleAndAOneSidedLinkAreBothNamed) {
  auto records = stored();
  closeCircle(records);
  addOneSidedLink(records);
  ApplyGraph::restoreApplyGraph(design, records);
  const std::vector<std::string> faults{
      "error: the order runs in a circle: /mesh -> /strength -> /report -> /mesh. Each of them "
      "waits for the one before it, so no update gets to them.",
      "error: the link /wheel -> /cutter has one end only: /cutter names /wheel as previous, but "
      "/wheel does not name /cutter as next. /cutter waits for /wheel, which does not lead to "
      "it."};
  EXPECT_THAT(linesOf(checkGraph(snapshotOf(records))), ::testing::ElementsAreArray(faults));
  EXPECT_THAT(linesOf(checkGraph(live())),
              ElementsAre(faults[0], faults[1],
                          "warning: /cutter follows 2 modules (/pinion and /wheel), but does not "
                          "have the insert mode of a merge."));
}

TEST_F(GearPairCheckTest, anUpdateToTheReportLeavesTheSideStepsAndThePlanToAutoApply) {
  const GraphSnapshot snapshot = live();
  EXPECT_THAT(
      linesOf(checkRun(snapshot, indexOf(snapshot, "/requirements"), indexOf(snapshot, "/report"))),
      ElementsAre("remark: /cutter and /drawing are off the way: /report does not depend on them. "
                  "They are auto-applied at most.",
                  "remark: /plan is behind the end, /report. It is auto-applied at most."));
}

TEST_F(GearPairCheckTest, withACircleAnUpdateDoesNotGetToTheReport) {
  auto records = stored();
  closeCircle(records);
  const GraphSnapshot snapshot = snapshotOf(records);
  const auto findings =
      checkRun(snapshot, indexOf(snapshot, "/requirements"), indexOf(snapshot, "/report"));
  EXPECT_THAT(textsOf(findings, FindingKind::EndNotReached),
              ElementsAre("an update from /requirements does not get to its end: /report is on a "
                          "circle: it waits for /strength, and that for it."));
}

}  // namespace
}  // namespace Tessaril::Diagnostics
