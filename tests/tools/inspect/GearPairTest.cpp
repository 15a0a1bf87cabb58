// The program on designs that the gear pair designer saves.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/diagnostics/archive/SavedGraph.h"
#include "tests/tools/inspect/InspectProgram.h"

#ifdef GEAR_PAIR_PROGRAM

namespace Tessaril::Inspect {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class GearPairFile : public InspectTest {
 protected:
  void SetUp() override {
    InspectTest::SetUp();
    // An updated design, and the same after the torque was changed.
    const Result result =
        run(GEAR_PAIR_PROGRAM, std::string("'") + GEAR_PAIR_DESIGNS_DIR +
                                   "/spur_pair.gear' --update --save-as pair.tsr --set "
                                   "torque=160Nm --save-as changed.tsr --threads 0");
    ASSERT_EQ(result.exitCode, 0) << result.errors;
  }
};

TEST_F(GearPairFile, IsShownWithoutItsClasses) {
  const Result result = inspect("show pair.tsr");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, HasSubstr("9 classes, 10 objects, 9 modules, 9 records of links\n"));
  EXPECT_THAT(result.output,
              HasSubstr("  GearPair.Design        1             1  not known here\n"));
  EXPECT_THAT(result.output,
              HasSubstr("  /design/mesh          active, consistent, input ok  normal  "
                        "main chain, merges main chain, chain 1\n"));
  EXPECT_THAT(result.output, HasSubstr("  /design/mesh          /design/pinion, /design/wheel  "
                                       "/design/strength, /design/drawing\n"));
}

TEST_F(GearPairFile, PassesTheCheck) {
  const Result result = inspect("check pair.tsr");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "9 modules: nothing found\n");
}

TEST_F(GearPairFile, ShowsWhatAChangedTorqueConcerns) {
  const Result result = inspect("diff pair.tsr changed.tsr");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.output,
            "~ object /design: own values changed\n"
            "~ object /design/strength: consistent yes -> no\n"
            "~ object /design/report: input ok yes -> no\n"
            "~ object /design/plan: input ok yes -> no\n");
}

TEST_F(GearPairFile, IsDrawn) {
  const Result result = inspect("draw -o pair.svg changed.tsr");
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_THAT(contentsOf("pair.svg"), HasSubstr("strength"));
}

TEST_F(GearPairFile, IsRefusedWhenABitOfItIsTurned) {
  std::string bytes = contentsOf("pair.tsr");
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  file("damaged.tsr", bytes);
  EXPECT_THAT(refusal("check damaged.tsr"), HasSubstr("damaged.tsr: damaged: the checksum"));
  EXPECT_EQ(inspect("show damaged.tsr").exitCode, 1);
}

#ifdef GEAR_PAIR_CLASSES

const std::string kLoad = std::string("--load '") + GEAR_PAIR_CLASSES + "' ";

TEST_F(GearPairFile, ReadsWithItsClasses) {
  const Result result = inspect("show " + kLoad + "pair.tsr");
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_THAT(result.output,
              HasSubstr("  GearPair.Design        1             1  the version known here\n"));
  EXPECT_THAT(result.output, HasSubstr("\nReads with the classes known here.\n"));
  EXPECT_THAT(result.output, Not(HasSubstr("not known here")));
}

TEST_F(GearPairFile, IsExplainedByItsOwnAnswers) {
  const Result changed = inspect("explain " + kLoad + "--to report changed.tsr");
  EXPECT_EQ(changed.exitCode, 1) << changed.errors;
  EXPECT_THAT(changed.output, HasSubstr("estimate"));
  EXPECT_THAT(changed.output, testing::ContainsRegex("strength +full apply"));
  EXPECT_THAT(changed.output, testing::ContainsRegex("mesh +passed over"));
  const Result fine = inspect("explain " + kLoad + "--from requirements --to report pair.tsr");
  EXPECT_EQ(fine.exitCode, 0) << fine.output;
  EXPECT_THAT(fine.output, Not(testing::ContainsRegex("would be.*full apply.*\nAnswers:")));
}

TEST_F(GearPairFile, IsExplainedAsJson) {
  const Result result =
      inspect("explain --json " + kLoad + "--to report --horizon plan changed.tsr");
  EXPECT_EQ(result.exitCode, 1) << result.errors;
  EXPECT_TRUE(json::parse(result.output).is_object());
}

TEST_F(GearPairFile, IsCheckedWithItsClasses) {
  const Result result = inspect("check " + kLoad + "pair.tsr");
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, "9 modules: nothing found\n");
}

TEST_F(GearPairFile, SaysThatADesignHasNoModules) {
  TestSupport::HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(0).close();
  archive.open("ApplyModuleData").number(0).close();
  file("a.tsr", archive.with(TestSupport::presentClasses()));
  EXPECT_EQ(refusal("explain " + kLoad + "a.tsr"), "tessaril-inspect: the design has no modules\n");
}

TEST_F(GearPairFile, NamesModulesThatAreNotThere) {
  EXPECT_THAT(refusal("explain " + kLoad + "--to moon pair.tsr"),
              HasSubstr("there is no module \"moon\""));
}

#endif

}  // namespace
}  // namespace Tessaril::Inspect

#endif
