#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <sstream>
#include <stdexcept>

#include "diagnostics/run/TextTable.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "tests/diagnostics/run/ExplainedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril::Diagnostics {
namespace {

using Json = nlohmann::ordered_json;
using std::chrono::microseconds;
using testing::HasSubstr;
using TestSupport::ExplainedDesign;
using TestSupport::makeGlobalMessage;

/// A run with a bit of everything: X fails, W is not reached.
RunReport eventfulRun(bool onThreads) {
  ExplainedDesign design("A -> B -> C -> D; A -> W; B -> X");
  const auto watching = design.watch();
  design.design.needApply("B D");
  design["C"].autoNecessary = false;
  design["C"].relevant = false;
  design["D"].consistent = false;
  design["B"].apply.script->whenExecuted = [&design](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo({makeGlobalMessage(design.design.log, "g")});
  };
  design.lasts("B", microseconds(1234));
  design.lasts("D", microseconds(2'500'000));
  design["X"].autoApply.script->whenExecuted = [&design](ApplyUpdateInfo&) {
    design.clock->advance(microseconds(40));
    throw std::runtime_error("no tool");
  };
  const auto update = design.update("A", "D");
  if (onThreads) {
    update->setThreadManager(std::make_shared<ReferencePlatform::SteppingThreadManager>());
  }
  return design.reportOf(*update);
}

TEST(DurationText, ShowsThreeDigits) {
  EXPECT_EQ(durationText(Microseconds(0)), "0.00 µs");
  EXPECT_EQ(durationText(Microseconds(0.85)), "850 ns");
  EXPECT_EQ(durationText(Microseconds(1)), "1.00 µs");
  EXPECT_EQ(durationText(Microseconds(12.34)), "12.3 µs");
  EXPECT_EQ(durationText(Microseconds(9.999)), "10.0 µs");
  EXPECT_EQ(durationText(Microseconds(123456)), "123 ms");
  EXPECT_EQ(durationText(Microseconds(2.5e6)), "2.50 s");
  EXPECT_EQ(durationText(Microseconds(1.2e9)), "1200 s");
}

TEST(RunTable, TellsTheRunInOrder) {
  EXPECT_EQ(
      tableOf(eventfulRun(true)),
      "Update Design up to: D:apply\n"
      "from A to D; finished after 2.50 s\n"
      "\n"
      "#  module  done                time  thread    why\n"
      "1  A       passed over                         up to date\n"
      "2  B       full apply       1.23 ms  worker 1  it asks for an apply; nothing it depends on "
      "was\n"
      "                                               applied; leaves ScriptedMessage (global)\n"
      "3  X       auto apply ✗     40.0 µs  inline    FAILED: no tool; off the way to D; B was "
      "applied\n"
      "                                               before it; handed ScriptedMessage (global)\n"
      "4  C       auto apply       0.00 µs  inline    up to date; B was applied before it; handed\n"
      "                                               ScriptedMessage (global)\n"
      "5  D       full apply        2.50 s  worker 1  messages concern it: ScriptedMessage "
      "(global); out of\n"
      "                                               date; C was applied before it\n"
      "   W       not reached                         off the way to D; nothing it depends on was "
      "applied\n"
      "\n"
      "Still inconsistent: D\n");
}

TEST(RunTable, FitsTheWidth) {
  for (const std::size_t width : {80U, 100U, 120U}) {
    std::istringstream lines(tableOf(eventfulRun(true), {.width = width}));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(displayWidth(line), width) << line;
    }
  }
}

TEST(RunTable, CanLeaveOutWhatNothingWasDoneWith) {
  const std::string table = tableOf(eventfulRun(false), {.withUntouched = false});
  EXPECT_THAT(table, Not(HasSubstr("passed over")));
  EXPECT_THAT(table, Not(HasSubstr("not reached")));
  EXPECT_THAT(table, HasSubstr("1  B       full apply"));
}

TEST(RunTable, NamesFailureOutcomeAndRange) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A");
  design["A"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("no load");
  };
  const std::string table = tableOf(design.run("A", "B", "C"));
  EXPECT_THAT(table, HasSubstr("from A to B, horizon C; failed after 0.00 µs: no load\n"));
  EXPECT_THAT(table, HasSubstr("full apply ✗"));
  EXPECT_THAT(table, HasSubstr("FAILED: no load; it asks for an apply"));
}

TEST(RunTable, NamesWhatIsUndone) {
  ExplainedDesign design("A -> B");
  const auto watching = design.watch();
  design.design.needApply("A");
  const auto update = design.update("A", "B");
  update->execute();
  update->undo();
  const std::string table = tableOf(design.recorder->getLastReport());
  EXPECT_THAT(table, HasSubstr("Undo of Update Design up to: B:apply\n"));
  EXPECT_THAT(table, HasSubstr("1  A       undone"));
}

TEST(RunTable, SaysWhyThereIsNothingToSee) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A");
  const auto update = design.update("A", "B");
  update->execute();
  update->undo();
  EXPECT_THAT(tableOf(design.recorder->getLastReport()),
              HasSubstr("No step was seen: the commands of the modules were not watched.\n"));
  const auto watching = design.watch();
  design.design.forEachModule([](auto& module) { module.necessary = false; });
  update->execute();
  update->undo();
  EXPECT_THAT(tableOf(design.recorder->getLastReport()), HasSubstr("Nothing was done.\n"));
}

TEST(RunTable, NamesAFewOfManyMessages) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A");
  design["A"].apply.script->whenExecuted = [&design](ApplyUpdateInfo& info) {
    info = ApplyUpdateInfo(std::list<std::shared_ptr<ApplyUpdateMessage>>(
        1000, TestSupport::makeMessage(design.design.log, "m")));
  };
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(TestSupport::stepOf(report, "A").left.size(), 1000U);
  EXPECT_THAT(tableOf(report, {.width = 500}),
              HasSubstr("leaves ScriptedMessage, ScriptedMessage, ScriptedMessage, "
                        "ScriptedMessage, ScriptedMessage and 995 more\n"));
}

TEST(RunJson, HoldsTheSameFacts) {
  const Json json = toJson(eventfulRun(true));
  EXPECT_EQ(json["kind"], "run");
  EXPECT_EQ(json["outcome"], "finished");
  EXPECT_EQ(json["failure"], nullptr);
  EXPECT_EQ(json["start"], "A");
  EXPECT_EQ(json["end"], "D");
  EXPECT_EQ(json["horizon"], nullptr);
  EXPECT_EQ(json["announced"], Json::array({true}));
  EXPECT_EQ(json["durationMicroseconds"], 2501274.0);
  EXPECT_EQ(json["stillInconsistent"], Json::array({"D"}));
  EXPECT_EQ(json["modules"].size(), 6U);
  EXPECT_EQ(json["modules"][0]["place"], "onTheWay");
  EXPECT_EQ(json["modules"][0]["next"], Json::array({1, 2}));
  EXPECT_EQ(json["modules"][0]["speedRate"], 3);
  EXPECT_EQ(json["modules"][0]["commandsWatched"], true);

  const Json& applied = json["steps"][1];
  EXPECT_EQ(applied["module"], "B");
  EXPECT_EQ(applied["done"], "full apply");
  EXPECT_EQ(applied["beginMicroseconds"], 0.0);
  EXPECT_EQ(applied["durationMicroseconds"], 1234.0);
  EXPECT_EQ(applied["durationIsBound"], false);
  EXPECT_EQ(applied["thread"], 1);
  EXPECT_EQ(applied["answers"]["applyNecessary"], true);
  EXPECT_EQ(applied["flags"]["consistent"], true);
  EXPECT_EQ(applied["left"][0]["name"], "Tessaril::TestSupport::ScriptedMessage");
  EXPECT_EQ(applied["left"][0]["global"], true);
  EXPECT_EQ(applied["progressBefore"], 0.0);

  const Json& failed = json["steps"][2];
  EXPECT_EQ(failed["module"], "X");
  EXPECT_EQ(failed["done"], "auto apply");
  EXPECT_EQ(failed["failure"], "no tool");
  EXPECT_EQ(failed["thread"], 0);
  EXPECT_EQ(failed["changedBefore"], "B");
}

// Texts come from applications; nobody promises that they are UTF-8.
TEST(RunJson, CanBeWrittenWhateverBytesAFailureHolds) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A");
  design["A"].apply.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("w\xe4re zu d\xfcnn\nhier");
  };
  const RunReport report = design.run("A", "B");
  EXPECT_EQ(toJson(report)["failure"], "w\uFFFDre zu d\uFFFDnn\nhier");
  EXPECT_NO_THROW(toJson(report).dump());
  EXPECT_NO_THROW(traceOf({report}).dump());
  EXPECT_THAT(tableOf(report), HasSubstr("FAILED: w\xe4re zu d\xfcnn hier; "));
}

TEST(RunTrace, IsACompleteTraceOfEvents) {
  const Json trace = traceOf({eventfulRun(true)});
  EXPECT_EQ(trace["displayTimeUnit"], "ms");
  std::string text;
  for (const Json& event : trace["traceEvents"]) {
    ASSERT_TRUE(event.contains("name") && event.contains("ph") && event.contains("pid") &&
                event.contains("tid"))
        << event;
    const std::string phase = event["ph"];
    text += phase + "@" + event["tid"].dump() + ":" + event["name"].get<std::string>();
    if (phase == "X") {
      text += "[" + event["ts"].dump() + "+" + event["dur"].dump() + "]";
    }
    text += " ";
  }
  EXPECT_EQ(text,
            "M@0:process_name M@0:thread_name M@1:thread_name "
            "X@0:Update Design up to: D:apply[0.0+2501274.0] i@0:A X@1:B[0.0+1234.0] "
            "X@0:X[1234.0+40.0] X@0:C[1274.0+0.0] X@1:D[1274.0+2500000.0] ");
  const Json& failed = trace["traceEvents"][6];
  EXPECT_EQ(failed["cat"], "auto apply");
  EXPECT_EQ(failed["args"]["failure"], "no tool");
}

TEST(RunTrace, PutsRunsOneBehindTheOther) {
  const RunReport report = eventfulRun(false);
  const Json trace = traceOf({report, report});
  std::vector<double> begins;
  for (const Json& event : trace["traceEvents"]) {
    if (event["ph"] == "X" && event["cat"] == "run") {
      begins.push_back(event["ts"]);
    }
  }
  EXPECT_THAT(begins, testing::ElementsAre(0.0, 2501274.0));
}

TEST(RunTrace, TellsUndoAndRedoFromTheRun) {
  ExplainedDesign design("A -> B");
  const auto update = design.update("A", "B");
  update->execute();
  update->undo();
  update->redo();
  std::vector<std::string> names;
  const Json trace = traceOf(design.recorder->getReports());
  for (const Json& event : trace["traceEvents"]) {
    if (event["ph"] == "X") {
      names.push_back(event["cat"].get<std::string>() + ": " + event["name"].get<std::string>());
    }
  }
  EXPECT_THAT(names, testing::ElementsAre("run: Update Design up to: B:apply",
                                          "undo: Undo of Update Design up to: B:apply",
                                          "redo: Redo of Update Design up to: B:apply"));
}

TEST(RunTrace, IsEmptyButForNamesWithoutRuns) { EXPECT_EQ(traceOf({})["traceEvents"].size(), 2U); }

}  // namespace
}  // namespace Tessaril::Diagnostics
