#include <gmock/gmock.h>

#include "diagnostics/picture/Picture.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/diagnostics/picture/DotReading.h"

namespace Tessaril::Diagnostics {
namespace {

using TestSupport::graph;

std::string legendOf(std::string_view graphText, PictureOptions options = {}) {
  return headWords(dotText(snapshotOf(graph(graphText)), options));
}

TEST(Legend, ShowsOnlyWhatOccurs) {
  EXPECT_EQ(legendOf("[active] A"), "consistent");
  EXPECT_EQ(legendOf("[active] A[inconsistent]"), "inconsistent");
  EXPECT_EQ(legendOf("[active] A -> B"), "consistent|main chain");
  EXPECT_EQ(legendOf("[active] A:one -> B:one"), "consistent");
}

struct Occurrence {
  const char* graphText;
  const char* explained;
};

class LegendOf : public testing::TestWithParam<Occurrence> {};

TEST_P(LegendOf, ExplainsIt) { EXPECT_EQ(legendOf(GetParam().graphText), GetParam().explained); }

INSTANTIATE_TEST_SUITE_P(
    EachSign, LegendOf,
    testing::Values(Occurrence{"A", "consistent|inactive"},
                    Occurrence{"[active] A[badinput]", "consistent|input not ok"},
                    Occurrence{"[active] A[frozen]", "consistent|frozen"},
                    Occurrence{"[active] A[skipped]", "consistent|skipped"},
                    Occurrence{"[active] A[additional]", "consistent|additional"},
                    Occurrence{"[active] A -> (S):one[side]", "consistent|starts a side chain"},
                    Occurrence{"[active] A -> F:one[fork]", "consistent|starts a fork"},
                    Occurrence{"[active] A:one -> M:two[merge]", "consistent|merge"},
                    Occurrence{"[active] A:one ->. B:two", "consistent|in one list only"},
                    Occurrence{"[active] A:one -> B:two; A -> B", "consistent|2 times|repeated"},
                    Occurrence{"[active] A:one -> A", "consistent|on a cycle"},
                    Occurrence{"[active] A -> ~", "consistent|×|dead entry"}));

// The columns side by side: states, words, places, links.
TEST(Legend, ShowsEverythingInColumns) {
  EXPECT_EQ(legendOf("A[active] -> B[active,inconsistent,frozen] -> (S):one[side,skipped] -> ~; "
                     "A ->. F:two[fork,active]"),
            "consistent|frozen|starts a side chain|main chain|"
            "inconsistent|skipped|starts a fork|in one list only|"
            "inactive|×|dead entry");
}

TEST(Legend, ExplainsRunsAndFilters) {
  PictureOptions options;
  options.shown = ModuleSelection{0, 1};
  options.runMarks[1] = {"applied", RunEffect::kExecuted, {}, {}};
  options.runMarks[0] = {"applied", RunEffect::kFailed, std::chrono::milliseconds(1), {}};

  EXPECT_EQ(legendOf("[active] A:one -> B:two -> C", options),
            "consistent|executed|2 more|not shown|failed|share of the longest duration");
}

TEST(Legend, ExplainsStoredGraphs) {
  GraphSnapshot snapshot =
      snapshotOf({record("A", {}, {}), record("B", {}, {}), record("C", {}, {})});
  snapshot.modules[0].recordCount = 2;
  snapshot.modules[1].recordCount = 0;
  snapshot.modules[2].exists = false;

  EXPECT_EQ(headWords(dotText(snapshot)), "state not known|not there|no record|several records");
}

TEST(Legend, InBriefSaysWhatTheLettersMean) {
  PictureOptions options;
  options.detail = PictureDetail::kBrief;

  EXPECT_EQ(legendOf("[active] A[badinput,frozen,skipped]", options),
            "consistent|I|input not ok|F|frozen|S|skipped");
}

TEST(Legend, StandsUnderTheTitle) {
  PictureOptions options;
  options.title = "Gear pair <draft> & more";

  EXPECT_EQ(legendOf("[active] A", options), "Gear pair <draft> & more|consistent");
}

TEST(Legend, CanBeLeftOut) {
  PictureOptions options;
  options.legend = false;

  EXPECT_EQ(legendOf("[active] A", options), "");
  options.title = "Gear pair";
  EXPECT_EQ(legendOf("[active] A", options), "Gear pair");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
