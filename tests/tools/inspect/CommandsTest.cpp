// The program on files that were made by hand: what it finds, what it refuses, and its exit codes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/diagnostics/archive/SavedGraph.h"
#include "tests/persistence/GoldenFiles.h"
#include "tests/tools/inspect/InspectProgram.h"

namespace Tessaril::Inspect {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using TestSupport::HandMadeArchive;
using TestSupport::openStep;
using TestSupport::presentClasses;
using TestSupport::record;
using TestSupport::savedGraph;

class ShowCommand : public InspectTest {};
class DiffCommand : public InspectTest {};
class CheckCommand : public InspectTest {};
class DrawCommand : public InspectTest {};
class ExplainCommand : public InspectTest {};
class BadInput : public InspectTest {};

/// Two modules A and B below the root, and links that the test adds.
std::string smallDesign(const std::function<void(HandMadeArchive&)>& links, std::uint32_t records) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(2).number(2);
  openStep(archive, "App.Step", "A").close().number(3);
  openStep(archive, "App.Step", "B").close().close();
  archive.open("ApplyModuleData").number(records);
  links(archive);
  return archive.close().with(presentClasses({{"App.Step", 1}}));
}

// show

TEST_F(ShowCommand, ShowsADesignOfClassesThatAreNotKnown) {
  const std::string name = file("a.tsr", TestSupport::goldenFile("design-500002.tsr"));
  const Result result = inspect("show " + name);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, StartsWith("a.tsr\n  format 1, "));
  EXPECT_THAT(result.output,
              HasSubstr("  Test.Step              1             6  not known here\n"));
  EXPECT_THAT(result.output, HasSubstr("  /body/keyway"));
  EXPECT_THAT(result.output, HasSubstr("12 bytes of the application's own"));
  EXPECT_THAT(result.output, Not(HasSubstr("Problems")));
  EXPECT_THAT(result.output,
              HasSubstr("\nReading it takes the application's classes; see --load.\n"));
}

TEST_F(ShowCommand, OlderVersionsAreFine) {
  EXPECT_EQ(inspect("show " + file("a.tsr", TestSupport::goldenFile("design-500000.tsr"))).exitCode,
            0);
}

TEST_F(ShowCommand, ANewerClassIsAFinding) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(0).close();
  archive.open("ApplyModuleData").number(0).close();
  const Result result =
      inspect("show " + file("a.tsr", archive.with({{"Object", 2}, {"ApplyModuleData", 500000}})));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, HasSubstr("newer than this library knows (1)"));
}

TEST_F(ShowCommand, ADroppedLinkIsAFinding) {
  const std::string bytes =
      smallDesign([](HandMadeArchive& links) { record(links, "/A", {}, {"/gone"}); }, 1);
  const Result result = inspect("show " + file("a.tsr", bytes));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output,
              HasSubstr("\nLeft out when the links are restored\n"
                        "  /A: /gone, a next module, leads nowhere, so the link is dropped\n"));
}

TEST_F(ShowCommand, ShowsWhatIsLeftOfACutFile) {
  const std::string bytes = savedGraph("A -> B");
  const std::string name = file("cut.tsr", bytes.substr(0, bytes.size() / 2));
  const Result result = inspect("show --blocks " + name);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, HasSubstr("\nProblems\n  cut at byte "));
  EXPECT_THAT(result.output, HasSubstr(": cut within the block of the class "));
  EXPECT_THAT(result.output, HasSubstr("\nBlocks\n  24 to "));
}

TEST_F(ShowCommand, NamesThePlaceOfDamage) {
  std::string bytes = savedGraph("A -> B");
  // The end of the root's block, which is not within the archive any more.
  bytes[26] = 1;
  const Result result = inspect("show " + file("a.tsr", bytes));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("  damaged: the checksum at byte "));
  EXPECT_THAT(result.output,
              HasSubstr("  byte 24: a block of the class Object is said to end at "));
}

TEST_F(ShowCommand, ShowsTheHeadOfANewerFormat) {
  std::string bytes = savedGraph("A");
  bytes[8] = 9;
  TestSupport::repair(bytes);
  const Result result = inspect("show " + file("a.tsr", bytes));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("written in format 9, which is newer"));
}

TEST_F(ShowCommand, AnArchiveWithoutADesignIsAFinding) {
  const Result result = inspect("show " + file("a.tsr", HandMadeArchive().number(0).with({})));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("byte 20: no object stands where a design begins"));
}

TEST_F(ShowCommand, SaysTheSameAsJson) {
  const std::string bytes =
      smallDesign([](HandMadeArchive& links) { record(links, "/A", {}, {"/gone"}); }, 1);
  const Result result = inspect("show --json " + file("a.tsr", bytes));
  EXPECT_EQ(result.exitCode, 1);
  const json shown = json::parse(result.output);
  EXPECT_EQ(shown["objects"][1]["path"], "/A");
  EXPECT_EQ(shown["droppedLinks"][0]["neighbour"], "/gone");
  EXPECT_EQ(shown["readable"], false);
  EXPECT_THAT(shown["whyNotReadable"].get<std::string>(), HasSubstr("App.Step"));
}

// diff

TEST_F(DiffCommand, NothingBetweenEqualFiles) {
  const std::string name = file("a.tsr", savedGraph("A -> B"));
  const Result result = inspect("diff " + name + " " + name);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "");
}

TEST_F(DiffCommand, ShowsDifferences) {
  const std::string before = file("a.tsr", savedGraph("A -> B"));
  const std::string after = file("b.tsr", savedGraph("A[active]; B -> A"));
  const Result result = inspect("diff " + before + " " + after);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.output, "~ object /A: active no -> yes\n- link /A -> /B\n+ link /B -> /A\n");
  const Result asJson = inspect("diff --json " + before + " " + after);
  EXPECT_EQ(asJson.exitCode, 1);
  EXPECT_EQ(json::parse(asJson.output)["addedLinks"][0]["from"], "/B");
}

TEST_F(DiffCommand, RefusesADamagedFile) {
  const std::string whole = file("a.tsr", savedGraph("A"));
  const std::string cut = file("b.tsr", savedGraph("A").substr(0, 100));
  EXPECT_THAT(refusal("diff " + whole + " " + cut),
              StartsWith("tessaril-inspect: b.tsr: cut at byte 100 of "));
  EXPECT_THAT(refusal("diff " + cut + " " + whole), StartsWith("tessaril-inspect: b.tsr: cut"));
}

// check

TEST_F(CheckCommand, IsSilentOnASoundGraph) {
  const Result result = inspect("check " + file("a.tsr", savedGraph("A -> B -> C")));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "3 modules: nothing found\n");
}

TEST_F(CheckCommand, NamesACycleAndAOneSidedLink) {
  const std::string name = file("a.tsr", savedGraph("A -> B -> C -> B; A ->. C"));
  const Result result = inspect("check " + name);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("error: "));
  EXPECT_THAT(result.output, HasSubstr("runs in a circle: /C -> /B -> /C"));
  EXPECT_THAT(result.output, HasSubstr("findings\n"));
  const json findings = json::parse(inspect("check --json " + name).output);
  EXPECT_GE(findings.size(), 2U);
}

TEST_F(CheckCommand, NamesALinkThatLeadsNowhere) {
  const std::string bytes = smallDesign(
      [](HandMadeArchive& links) {
        record(links, "/A", {}, {"/B", "/gone"});
        record(links, "/B", {"/A"}, {});
      },
      2);
  const Result result = inspect("check " + file("a.tsr", bytes));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("/gone"));
}

TEST_F(CheckCommand, TellsWhatARangeDoesNotReach) {
  const std::string name = file("a.tsr", savedGraph("A -> B -> C; B -> (S):s[side<main]"));
  const Result result = inspect("check --from A --to /B " + name);
  // Remarks alone are fine.
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, HasSubstr("remark: /C is behind the end"));
  const Result backwards = inspect("check --from C --to A " + name);
  EXPECT_EQ(backwards.exitCode, 1);
  EXPECT_THAT(backwards.output, HasSubstr("error: "));
}

TEST_F(CheckCommand, RefusesHalfARangeAndModulesThatAreNotThere) {
  const std::string name = file("a.tsr", savedGraph("A -> B"));
  EXPECT_EQ(refusal("check --from A " + name),
            "tessaril-inspect: --from requires --to; see --help\n");
  EXPECT_EQ(refusal("check --from A --to X " + name),
            "tessaril-inspect: there is no module \"X\"; 'tessaril-inspect show' lists them\n");
}

// draw

TEST_F(DrawCommand, WritesDotText) {
  const Result result = inspect("draw --dot " + file("a.tsr", savedGraph("A -> B")));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, StartsWith("digraph"));
  EXPECT_THAT(result.output, HasSubstr("A"));
}

TEST_F(DrawCommand, WritesAPictureToAFile) {
  const Result result =
      inspect("draw --title 'A and B' -o picture.svg " + file("a.tsr", savedGraph("A -> B")));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(contentsOf("picture.svg"), HasSubstr("<svg"));
  EXPECT_THAT(contentsOf("picture.svg"), HasSubstr("A and B"));
}

TEST_F(DrawCommand, DrawsWhatPassesAllFilters) {
  const std::string name =
      file("a.tsr", savedGraph("A -> B -> C -> D; B -> (S):s[side<main] -> T:s"));
  const auto shown = [&](const std::string& filters) {
    const Result result = inspect("draw --json " + filters + " " + name);
    EXPECT_EQ(result.exitCode, 0) << filters;
    return json::parse(result.output)["shown"].get<std::vector<std::string>>();
  };
  EXPECT_EQ(shown("").size(), 6U);
  EXPECT_THAT(shown("--chain 'chain 1'"), testing::UnorderedElementsAre("/S", "/T"));
  EXPECT_THAT(shown("--chain " + TestSupport::chain("s").toString()),
              testing::UnorderedElementsAre("/S", "/T"));
  EXPECT_THAT(shown("--chain main"), testing::UnorderedElementsAre("/A", "/B", "/C", "/D"));
  EXPECT_THAT(shown("--ancestors C"), testing::UnorderedElementsAre("/A", "/B", "/C"));
  EXPECT_THAT(shown("--ancestors C --depth 1"), testing::UnorderedElementsAre("/B", "/C"));
  EXPECT_THAT(shown("--followers S"), testing::UnorderedElementsAre("/S", "/T"));
  EXPECT_THAT(shown("--around C --depth 1"), testing::UnorderedElementsAre("/B", "/C", "/D"));
  EXPECT_THAT(shown("--from B --to C"), testing::UnorderedElementsAre("/B", "/C"));
  EXPECT_THAT(shown("--followers B --chain main"), testing::UnorderedElementsAre("/B", "/C", "/D"));
}

TEST_F(DrawCommand, LeavesTheLegendOut) {
  const std::string name = file("a.tsr", savedGraph("A -> B[inconsistent]"));
  EXPECT_LT(inspect("draw --dot --no-legend " + name).output.size(),
            inspect("draw --dot " + name).output.size());
}

TEST_F(DrawCommand, RefusesWhatCannotBeDrawn) {
  const std::string name = file("a.tsr", savedGraph("A -> B"));
  EXPECT_THAT(refusal("draw --chain moon " + name), HasSubstr("there is no chain \"moon\""));
  EXPECT_THAT(refusal("draw --around X " + name), HasSubstr("there is no module \"X\""));
  EXPECT_THAT(refusal("draw --detail all " + name), HasSubstr("--detail"));
  EXPECT_THAT(refusal("draw --depth many " + name), HasSubstr("--depth"));
  EXPECT_THAT(refusal("draw --dot --json " + name), HasSubstr("excludes"));
  EXPECT_THAT(refusal("draw --dot -o no/such/folder.svg " + name), HasSubstr("cannot be written"));
  EXPECT_THAT(refusal("draw " + name, "PATH=/nowhere"), HasSubstr("dot"));
}

// explain

TEST_F(ExplainCommand, NeedsALibrary) {
  EXPECT_EQ(refusal("explain " + file("a.tsr", savedGraph("A"))),
            "tessaril-inspect: --load is required; see --help\n");
  EXPECT_THAT(refusal("explain --load ./no.so " + file("a.tsr", savedGraph("A"))),
              HasSubstr("no.so"));
}

// Usage and input

TEST_F(BadInput, OfTheCommandLine) {
  EXPECT_EQ(refusal(""), "tessaril-inspect: A subcommand is required; see --help\n");
  EXPECT_EQ(refusal("sing"), "tessaril-inspect: there is no command \"sing\"; see --help\n");
  EXPECT_EQ(refusal("--loud"), "tessaril-inspect: there is no option \"--loud\"; see --help\n");
  EXPECT_EQ(refusal("show"), "tessaril-inspect: FILE is required; see --help\n");
  EXPECT_EQ(refusal("diff a.tsr"), "tessaril-inspect: AFTER is required; see --help\n");
  EXPECT_THAT(refusal("show --loud a.tsr"), HasSubstr("--loud"));
  EXPECT_THAT(refusal("show a.tsr b.tsr"), HasSubstr("b.tsr"));
}

TEST_F(BadInput, OfEveryCommand) {
  file("text.txt", "a letter of more than twenty-eight bytes");
  file("empty.tsr", "");
  file("cut.tsr", savedGraph("A").substr(0, 19));
  for (const std::string command : {"show ", "check ", "draw --dot ", "diff text.txt "}) {
    EXPECT_THAT(refusal(command + "text.txt"), HasSubstr("text.txt: this is no design archive"));
  }
  for (const std::string command : {"show ", "check ", "draw --dot ", "diff no.tsr "}) {
    EXPECT_EQ(refusal(command + "no.tsr"),
              "tessaril-inspect: no.tsr: cannot be read: No such file or directory\n");
  }
  EXPECT_THAT(refusal("show empty.tsr"), HasSubstr("empty.tsr: this is no design archive"));
  EXPECT_THAT(refusal("show cut.tsr"), HasSubstr("cut.tsr: cut at byte 19"));
  EXPECT_THAT(refusal("show ."), HasSubstr("cannot be read"));
}

TEST_F(BadInput, OfAnOutputThatCannotBeWritten) {
  const Result result = inspect("show " + file("a.tsr", savedGraph("A")) + " >/dev/full");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.errors, "tessaril-inspect: the output cannot be written\n");
}

TEST_F(BadInput, CannotControlATerminal) {
  EXPECT_EQ(refusal("show 'no\x1b[31m.tsr'"),
            "tessaril-inspect: no\\x1b[31m.tsr: cannot be read: No such file or directory\n");
}

}  // namespace
}  // namespace Tessaril::Inspect
