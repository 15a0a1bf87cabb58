#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "diagnostics/run/RunEstimate.h"
#include "diagnostics/run/TextTable.h"
#include "tests/diagnostics/run/ExplainedDesign.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::HasSubstr;
using TestSupport::EventKind;
using TestSupport::ExplainedDesign;
using TestSupport::forSeeds;
using TestSupport::ModuleFactory;
using TestSupport::prospects;
using TestSupport::Random;
using TestSupport::randomGraph;
using TestSupport::ScriptedModule;

RunEstimate estimateOf(const ExplainedDesign& design, std::string_view start, std::string_view end,
                       std::string_view horizon = {}) {
  return explainBefore(design.range(start, end, horizon));
}

TEST(RunEstimate, PassesOverWhatNeedsNothingBeforeTheFirstApply) {
  ExplainedDesign design("A -> B -> C; A -> X");
  EXPECT_EQ(prospects(estimateOf(design, "A", "C")),
            "A:passed over B:passed over C:passed over X:not reached");
}

TEST(RunEstimate, FollowsTheDecisionsOfARunBehindTheFirstApply) {
  ExplainedDesign design("A -> B -> C -> D -> E; A -> W; B -> X -> Y; C -> Z");
  design.design.needApply("B");
  design["C"].autoNecessary = false;
  design["D"].autoNecessary = true;
  EXPECT_EQ(prospects(estimateOf(design, "A", "D")),
            "A:passed over B:full apply X:auto apply? Y:auto apply? C:signal only? Z:auto apply? "
            "D:auto apply? E:auto apply? W:not reached");
}

TEST(RunEstimate, GoesOnBehindTheEndWithAHorizon) {
  ExplainedDesign design("A -> B -> C -> D");
  EXPECT_EQ(prospects(estimateOf(design, "A", "B", "D")),
            "A:passed over B:passed over C:auto apply D:auto apply?");
}

TEST(RunEstimate, TellsWhichModulesMayAnswerOtherwiseByThen) {
  ExplainedDesign design("A -> B -> C");
  design.design.needApply("A");
  design["B"].autoNecessary = false;
  const RunEstimate estimate = estimateOf(design, "A", "C");
  EXPECT_FALSE(estimate.steps[0].mayChangeBy);
  EXPECT_EQ(estimate.steps[1].mayChangeBy, 0U);
  EXPECT_THAT(estimate.steps[1].reason,
              HasSubstr("A before it would be applied, and may change the answer"));
}

TEST(RunEstimate, SaysWhatKeepsAModuleFromItsApply) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A");
  design["A"].possible = false;
  design["A"].setActive(true, false);
  design["A"].setFrozen(true, false);
  EXPECT_EQ(estimateOf(design, "A", "B").steps[0].reason,
            "it asks for an apply; but it cannot be applied now (frozen)");
}

TEST(RunEstimate, LeavesOutWhatWaitsForACycle) {
  ExplainedDesign design("A -> B -> C -> D; C -> B");
  EXPECT_EQ(prospects(estimateOf(design, "A", "D")),
            "A:passed over B:not reached C:not reached D:not reached");
}

// The questions of a run, and nothing else: no command, no signal, no log.
TEST(RunEstimate, AsksEachModuleEachQuestionOnceAndDoesNothingElse) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A B");
  design.design.log.hear({EventKind::Question, EventKind::Creation, EventKind::Signal,
                          EventKind::Step, EventKind::Rate, EventKind::Error, EventKind::Trace});
  design.design.log.take();
  estimateOf(design, "A", "B");
  EXPECT_EQ(design.design.log.take(),
            "A?relevant A?necessary A?possible A?autoNecessary A?autoPossible A?always A?shared "
            "A?consistent "
            "B?relevant B?necessary(end) B?possible B?autoNecessary B?autoPossible B?always "
            "B?shared B?consistent");
}

TEST(RunEstimate, PassesOnWhatAModuleThrows) {
  ExplainedDesign design("A -> B");
  design["B"].possible = std::function<bool()>([]() -> bool { throw std::runtime_error("boom"); });
  EXPECT_THROW(estimateOf(design, "A", "B"), std::runtime_error);
}

TEST(RunEstimate, RefusesARangeWithoutAnEnd) {
  ExplainedDesign design("A -> B");
  EXPECT_THROW(explainBefore(design.design.module("A"), nullptr), std::invalid_argument);
}

/// Answers that stay as they are, at random.
void answerAtRandom(ScriptedModule& module, Random& random) {
  module.necessary = random.percent(40);
  module.possible = random.percent(80);
  module.autoNecessary = random.percent(50);
  module.autoPossible = random.percent(80);
  module.always = random.percent(50);
  module.shared = random.percent(20);
}

/// The two outputs in the same words: of a run only what an estimate tells.
std::string asProspects(const RunReport& report) {
  std::string text;
  for (const RunStep& step : report.steps) {
    const std::string name = deedName(step.deed);
    text += (text.empty() ? "" : " ") + report.modules[step.module].name + ":" +
            (step.deed == Deed::Signalled ? "signal only" : name);
  }
  return text;
}

TEST(RunEstimate, IsWhatARunDoesWhenNoAnswerChangesAndNoMessageTravels) {
  std::size_t applied = 0;
  forSeeds(300, [&](std::uint64_t seed) {
    Random random(seed);
    ExplainedDesign design([&](const ModuleFactory& factory) {
      return randomGraph(seed, {.modules = 2 + random.below(10)}, factory);
    });
    design.design.forEachModule([&](ScriptedModule& module) { answerAtRandom(module, random); });
    const auto& members = design.design.graph.members();
    const std::string start = members.front().name;
    const std::string end = members[random.below(members.size())].name;
    const std::string horizon =
        random.percent(30) ? members[random.below(members.size())].name : std::string();
    RunEstimate estimate = estimateOf(design, start, end, horizon);
    for (EstimatedStep& step : estimate.steps) {
      step.mayChangeBy.reset();
    }
    const auto watching = design.watch();
    const RunReport report = design.run(start, end, horizon);
    EXPECT_EQ(prospects(estimate), asProspects(report));
    applied += prospects(estimate).find("full apply") != std::string::npos ? 1U : 0U;
  });
  EXPECT_GT(applied, 50U);
}

TEST(RunEstimateTable, ShowsAnswersAndReasonsWithinTheWidth) {
  ExplainedDesign design("A -> B; A -> X");
  design.design.needApply("A");
  design["B"].autoNecessary = false;
  const std::string table = tableOf(estimateOf(design, "A", "B"));
  EXPECT_EQ(table,
            "First estimate of an update from A to B; answers may change during the run, and "
            "messages travel only\n"
            "then\n"
            "\n"
            "#  module  would be      answers    why\n"
            "1  A       full apply    -np np a-  it asks for an apply\n"
            "2  X       auto apply?   --p np a-  off the way to B; A before it would be applied, "
            "and may change\n"
            "                                    the answer\n"
            "3  B       signal only?  --p -p a-  its result matches its inputs; no auto apply is "
            "needed; A before\n"
            "                                    it would be applied, and may change the answer\n"
            "\n"
            "Answers: of the full apply relevant (r), necessary (n), possible (p); of the auto "
            "apply\n"
            "necessary (n), possible (p); updates always (a), uses shared resources (s); - for "
            "no.\n");
}

TEST(RunEstimateJson, HoldsTheSameFacts) {
  ExplainedDesign design("A -> B");
  design.design.needApply("A");
  const nlohmann::ordered_json json = toJson(estimateOf(design, "A", "B"));
  EXPECT_EQ(json["isEstimate"], true);
  EXPECT_EQ(json["start"], "A");
  EXPECT_EQ(json["horizon"], nullptr);
  EXPECT_EQ(json["steps"][0]["prospect"], "full apply");
  EXPECT_EQ(json["steps"][0]["answers"]["applyNecessary"], true);
  EXPECT_EQ(json["steps"][1]["answers"]["applyNecessary"], false);
  EXPECT_EQ(json["steps"][1]["mayChangeBy"], "A");
  EXPECT_EQ(json["steps"][1]["place"], "onTheWay");
  EXPECT_EQ(json["steps"][1]["flags"]["consistent"], true);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
