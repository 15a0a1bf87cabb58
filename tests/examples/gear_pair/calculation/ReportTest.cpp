#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "examples/gear_pair/calculation/Report.h"
#include "examples/gear_pair/calculation/TextTools.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

std::string reportOf(const Computed& pair, UnitSystem units) {
  return writeReport(pair.requirements, pair.pinion, pair.wheel, pair.mesh, pair.strength, units);
}

TEST(Report, ShowsTheMainFiguresInMetricUnits) {
  const std::string report = reportOf(compute(soundDesign()), UnitSystem::kMetric);
  EXPECT_THAT(report, HasSubstr("  module                                         2.500  mm\n"));
  EXPECT_THAT(report, HasSubstr("  centre distance                               77.091  mm\n"));
  EXPECT_THAT(report,
              HasSubstr("  teeth                                             20            41\n"));
  EXPECT_THAT(report, HasSubstr("  torque                                         100.0         "
                                "205.0  Nm\n"));
  EXPECT_THAT(report, HasSubstr("N/mm²\n"));
  EXPECT_THAT(report, Not(HasSubstr("diametral pitch")));
}

TEST(Report, ShowsTheMainFiguresInUsCustomaryUnits) {
  const std::string report = reportOf(compute(soundDesign()), UnitSystem::kUsCustomary);
  EXPECT_THAT(report, HasSubstr("  module                                        0.0984  in\n"));
  EXPECT_THAT(report, HasSubstr("  diametral pitch                              10.1600  1/in\n"));
  EXPECT_THAT(report, HasSubstr("  centre distance                               3.0351  in\n"));
  EXPECT_THAT(report, HasSubstr("lbf·in\n"));
  EXPECT_THAT(report, HasSubstr("psi\n"));
  EXPECT_THAT(report, Not(HasSubstr(" mm")));
  EXPECT_THAT(report, Not(HasSubstr("N/mm²")));
}

TEST(Report, EndsWithTheVerdict) {
  const Computed pair = compute(soundDesign());
  EXPECT_THAT(reportOf(pair, UnitSystem::kMetric),
              EndsWith("\n\n" + strengthVerdict(pair.strength) + "\n"));
}

TEST(Report, AlignsItsColumns) {
  std::istringstream lines(reportOf(compute(soundDesign()), UnitSystem::kMetric));
  std::string line;
  int rows = 0;
  while (std::getline(lines, line)) {
    EXPECT_EQ(line, line.substr(0, line.find_last_not_of(' ') + 1)) << "blanks at the end";
    if (line.ends_with("  mm")) {
      const int width = characterCount(line);
      EXPECT_TRUE(width == 58 || width == 72) << line;
      ++rows;
    }
  }
  EXPECT_GE(rows, 15);
}

TEST(Report, SaysWhereTheSlidingHasNoBound) {
  Computed pair = compute(soundDesign());
  pair.mesh.pinion.specificSlidingAtRoot = -std::numeric_limits<double>::infinity();
  EXPECT_THAT(reportOf(pair, UnitSystem::kMetric), HasSubstr("unbounded"));
}

TEST(Report, NamesAnUndercut) {
  DesignInput input = standardDesign(16, 41);
  const std::string report = reportOf(compute(input), UnitSystem::kMetric);
  EXPECT_THAT(report,
              HasSubstr("  undercut                                         yes            no\n"));
}

}  // namespace
}  // namespace GearPair
