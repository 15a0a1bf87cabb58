// The program on files that were made by hand: what it finds, what it refuses, and its exit codes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "diagnostics/run/CostReport.h"
#include "tests/diagnostics/archive/SavedGraph.h"
#include "tests/persistence/GoldenFiles.h"
#include "tests/tools/inspect/InspectProgram.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::RunReport;
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
class CostCommand : public InspectTest {};
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
  EXPECT_FALSE(shown.contains("blocks"));
}

// Blocks would be most of the output, and few readers want them.
TEST_F(ShowCommand, ShowsBlocksAsJsonWhereTheyAreAskedFor) {
  const std::string name = file("a.tsr", savedGraph("A -> B"));
  const json shown = json::parse(inspect("show --json --blocks " + name).output);
  EXPECT_EQ(shown["blocks"][0]["begin"], 24);
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
  EXPECT_THAT(result.output, HasSubstr("/C are behind the end"));
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

TEST_F(CheckCommand, RefusesADesignWithoutLinks) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(0).close().number(5);
  const std::string name = file("a.tsr", archive.with(presentClasses()));
  EXPECT_EQ(refusal("check " + name),
            "tessaril-inspect: a.tsr: no links of its modules are stored\n");
  EXPECT_THAT(refusal("draw --dot " + name), HasSubstr("no links"));
  EXPECT_EQ(inspect("show " + name).exitCode, 0);
}

TEST_F(CheckCommand, NamesCannotControlATerminal) {
  const std::string bytes =
      smallDesign([](HandMadeArchive& links) { record(links, "/A", {}, {"/\x1b[31mgone"}); }, 1);
  const Result result = inspect("check " + file("a.tsr", bytes));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("[31mgone"));
  EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
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

TEST_F(DrawCommand, AnEmptyNameIsNoName) {
  const std::string name = file("a.tsr", savedGraph("A -> B"));
  for (const std::string option :
       {"--around", "--ancestors", "--followers", "--chain", "--output", "--run"}) {
    EXPECT_EQ(refusal("draw --dot " + option + " '' " + name),
              "tessaril-inspect: " + option + ": is empty; see --help\n");
  }
  EXPECT_THAT(refusal("check --from '' --to A " + name), HasSubstr("--from: is empty"));
  EXPECT_THAT(refusal("show ''"), HasSubstr("FILE: is empty"));
  EXPECT_EQ(inspect("draw --dot --title '' " + name).exitCode, 0);
}

TEST_F(DrawCommand, ADepthBelongsToAModule) {
  EXPECT_EQ(refusal("draw --dot --depth 1 " + file("a.tsr", savedGraph("A -> B"))),
            "tessaril-inspect: --depth requires --ancestors, --followers or --around; see "
            "--help\n");
}

TEST_F(DrawCommand, ReplacesNoDesign) {
  const std::string bytes = savedGraph("A -> B");
  const std::string name = file("a.tsr", bytes);
  EXPECT_EQ(refusal("draw --dot -o a.tsr " + name),
            "tessaril-inspect: a.tsr: is a saved design, which a picture does not replace\n");
  EXPECT_EQ(contentsOf(name), bytes);
  file("old.svg", "<svg/>");
  EXPECT_EQ(inspect("draw --dot -o old.svg " + name).exitCode, 0);
  EXPECT_THAT(contentsOf("old.svg"), StartsWith("digraph"));
}

/// Two applies, of which only the rates make a progress that is not true.
RunReport recordedRun() {
  using Diagnostics::Deed;
  using Diagnostics::Microseconds;
  RunReport report;
  report.outcome = RunReport::Outcome::Finished;
  report.description = "Update";
  report.duration = Microseconds(1000.0);
  for (const std::string name : {"A", "B", "gone"}) {
    Diagnostics::ReportedModule& module = report.modules.emplace_back();
    module.name = name;
    module.speedRate = 3;
  }
  report.modules[0].next = {1};
  report.modules[1].next = {2};
  report.modules[2].place = Diagnostics::Place::BehindEnd;
  const auto addStep = [&report](std::size_t module, Deed deed, double begin, double duration) {
    Diagnostics::RunStep& step = report.steps.emplace_back();
    step.module = module;
    step.deed = deed;
    step.reason = "because of a test";
    step.begin = Microseconds(begin);
    step.duration = Microseconds(duration);
    step.progressAfter = 50.0;
  };
  addStep(0, Deed::FullApply, 0.0, 990.0);
  addStep(1, Deed::FullApply, 990.0, 5.0);
  addStep(2, Deed::AutoApply, 995.0, 5.0);
  report.steps.emplace_back().module = 2;
  return report;
}

TEST_F(DrawCommand, MarksWhatARecordedRunDid) {
  const std::string name = file("a.tsr", savedGraph("A -> B"));
  RunReport before = recordedRun();
  before.steps[0].failure = "too early";
  const json runs{json(toJson(before)), json(toJson(recordedRun()))};
  file("run.json", runs.dump());
  const Result result = inspect("draw --dot --run run.json " + name);
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("full apply"));
  EXPECT_THAT(result.output, HasSubstr("990"));
  EXPECT_THAT(result.output, HasSubstr("because of a test"));
  EXPECT_THAT(result.output, Not(HasSubstr("too early")));
  file("none.json", "[]");
  EXPECT_THAT(refusal("draw --dot --run none.json " + name), HasSubstr("no run is recorded"));
}

// cost

TEST_F(CostCommand, ReadsWhatTheRecorderWrites) {
  const RunReport report = recordedRun();
  file("run.json", toJson(report).dump());
  const Result result = inspect("cost --json run.json");
  EXPECT_EQ(result.exitCode, 1) << result.errors;
  EXPECT_EQ(json::parse(result.output), json(toJson(Diagnostics::costReport({report}))));
  const Result table = inspect("cost run.json");
  EXPECT_EQ(table.exitCode, 1);
  EXPECT_EQ(table.output, tableOf(Diagnostics::costReport({report})));
}

TEST_F(CostCommand, GathersRunsFromSeveralFilesAndLists) {
  RunReport undo = recordedRun();
  undo.kind = RunReport::Kind::Undo;
  file("one.json", toJson(recordedRun()).dump());
  file("two.json", json{json(toJson(recordedRun())), json(toJson(undo))}.dump());
  const Result result = inspect("cost --json one.json two.json");
  EXPECT_EQ(json::parse(result.output)["runs"], 2);
}

TEST_F(CostCommand, TrueRatesAreFine) {
  RunReport report = recordedRun();
  report.steps[1].duration = report.steps[0].duration;
  file("run.json", toJson(report).dump());
  EXPECT_EQ(inspect("cost run.json").exitCode, 0);
}

TEST_F(CostCommand, ReadsRunsOfEveryDeed) {
  RunReport report = recordedRun();
  for (int deed = 0; deed <= static_cast<int>(Diagnostics::Deed::ExecutedAgain); ++deed) {
    report.steps.emplace_back().deed = static_cast<Diagnostics::Deed>(deed);
  }
  file("run.json", toJson(report).dump());
  EXPECT_EQ(inspect("cost run.json").exitCode, 1);
}

TEST_F(CostCommand, RefusesWhatIsNoRecordedRun) {
  const auto refusalOf = [this](const std::string& text) {
    file("run.json", text);
    return refusal("cost run.json");
  };
  const auto changed = [](const std::string& pointer, const json& value) {
    json run = toJson(recordedRun());
    run[json::json_pointer(pointer)] = value;
    return run.dump();
  };
  const std::string begin = "tessaril-inspect: run.json: no recorded run: ";
  EXPECT_EQ(refusalOf(""),
            "tessaril-inspect: run.json: no JSON: it breaks off or goes wrong at byte 1\n");
  EXPECT_THAT(refusalOf(toJson(recordedRun()).dump().substr(0, 100)), HasSubstr("no JSON"));
  EXPECT_EQ(refusalOf("{}"), begin + "\"kind\" is missing\n");
  EXPECT_EQ(refusalOf("[7]"), begin + "\"kind\" is missing\n");
  EXPECT_EQ(refusalOf(changed("/kind", "walk")), begin + "\"kind\" is \"walk\"\n");
  EXPECT_EQ(refusalOf(changed("/modules", 1)), begin + "\"modules\" is no list\n");
  EXPECT_EQ(refusalOf(changed("/modules/0/name", 1)), begin + "\"name\" is no text\n");
  EXPECT_EQ(refusalOf(changed("/modules/0/place", "")), begin + "\"place\" is \"\"\n");
  EXPECT_EQ(refusalOf(changed("/modules/0/speedRate", 6)),
            begin + "\"speedRate\" is 6, which is no speed rate\n");
  EXPECT_EQ(refusalOf(changed("/modules/0/speedRate", 0.5)),
            begin + "\"speedRate\" is 0.5, which is no speed rate\n");
  for (const json& next : {json(3), json(-1), json("B"), json(0.5)}) {
    EXPECT_EQ(refusalOf(changed("/modules/0/next", json::array({next}))),
              begin + "\"next\" names a module that is not there\n");
  }
  EXPECT_EQ(refusalOf(changed("/steps/0/module", "C")), begin + "\"C\" is none of its modules\n");
  EXPECT_EQ(refusalOf(changed("/steps/0/done", "sung")), begin + "\"done\" is \"sung\"\n");
  EXPECT_EQ(refusalOf(changed("/steps/0/durationMicroseconds", -1)),
            begin + "\"durationMicroseconds\" is -1\n");
  EXPECT_EQ(refusalOf(changed("/steps/0/durationMicroseconds", 1e300)),
            begin + "\"durationMicroseconds\" is 1e+300\n");
  EXPECT_EQ(refusalOf(changed("/steps/0/durationMicroseconds", "long")),
            begin + "\"durationMicroseconds\" is no number\n");
  EXPECT_EQ(refusalOf(changed("/modules/0/speedRate", nullptr)),
            "tessaril-inspect: the cost of \"A\" cannot be judged: its speed rate was not "
            "recorded\n");
  EXPECT_THAT(refusalOf(savedGraph("A")), HasSubstr("no JSON"));
  EXPECT_EQ(refusal("cost"), "tessaril-inspect: RUN is required; see --help\n");
  EXPECT_THAT(refusal("cost no.json"), HasSubstr("no.json: cannot be read"));
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

TEST_F(BadInput, FilesMayHaveTheNamesOfCommandsAndOptions) {
  const std::string bytes = savedGraph("A -> B");
  EXPECT_EQ(inspect("show " + file("show", bytes)).exitCode, 0);
  EXPECT_EQ(inspect("diff show " + file("check", bytes)).exitCode, 0);
  EXPECT_EQ(inspect("check -- " + file("--json", bytes)).output, "2 modules: nothing found\n");
}

TEST_F(BadInput, OfAFolderOrADeviceInThePlaceOfAFile) {
  for (const std::string command : {"show", "check", "draw --dot", "diff .", "cost"}) {
    EXPECT_EQ(refusal(command + " ."), "tessaril-inspect: .: cannot be read: Is a directory\n");
  }
  EXPECT_THAT(refusal("show /dev/zero"), HasSubstr("it is a device"));
}

TEST_F(BadInput, OfAFileThatCanBeOpenedButNotRead) {
  EXPECT_THAT(refusal("show /proc/self/mem"),
              StartsWith("tessaril-inspect: /proc/self/mem: cannot be read: "));
}

TEST_F(BadInput, OfAPipe) {
  file("a.tsr", savedGraph("A -> B"));
  EXPECT_EQ(inspect("check /dev/stdin <a.tsr").exitCode, 0);
  EXPECT_EQ(inspect("check /dev/stdin", "cat a.tsr |").output, "2 modules: nothing found\n");
  EXPECT_THAT(refusal("check /dev/stdin </dev/null"), HasSubstr("it is a device"));
}

TEST_F(BadInput, OfAReaderThatGoesAway) {
  file("a.tsr", savedGraph("A -> B"));
  // A pipe that nobody reads; where its signal is ignored, writing fails.
  file("run.sh", "mkfifo pipe; exec 3<>pipe 4>pipe 3<&-; trap '' PIPE; '" +
                     std::string(TESSARIL_INSPECT) + "' show a.tsr >&4");
  const Result result = run("/bin/sh", "run.sh");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.errors, "tessaril-inspect: the output cannot be written\n");
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
