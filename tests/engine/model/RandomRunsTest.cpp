#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/engine/model/RandomScenario.h"
#include "tests/support/RandomGraph.h"

// The update command against its literal form: the same random stories, with every question, every
// hook, every command and message, every step of the progress and everything that is thrown, in
// order. The command may look for its modules in any way it likes; nobody outside may tell.

namespace Tessaril::RandomRuns {
namespace {

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text) {
  std::istringstream stream(text);
  Lines lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// Where two stories part, and what led there.
std::string difference(const Lines& actual, const Lines& expected) {
  constexpr std::ptrdiff_t kBefore = 60;
  constexpr std::ptrdiff_t kAfter = 8;
  const auto [place, expectedPlace] =
      std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
  std::string text;
  const auto append = [&text](const std::string& mark, auto from, auto to) {
    for (; from != to; ++from) {
      text += mark + *from + "\n";
    }
  };
  append("  ", place - std::min(kBefore, place - actual.begin()), place);
  append("+ ", place, place + std::min(kAfter, actual.end() - place));
  append("- ", expectedPlace, expectedPlace + std::min(kAfter, expected.end() - expectedPlace));
  return text;
}

/// How often each kind of line was told.
using Tally = std::map<std::string, std::size_t>;

/// A line without the names, texts and numbers in it: ":apply(", "?rate", "throws{", "--", "%".
std::string kindOf(const std::string& line) {
  if (line.ends_with('%')) {
    return "%";
  }
  if (line.starts_with("--") || line.starts_with("=")) {
    return line.substr(0, line.find(' '));
  }
  if (const auto brace = line.find('{'); brace != std::string::npos) {
    return line.substr(0, brace + 1);
  }
  if (line.find(" | ") != std::string::npos) {
    return "links";
  }
  const auto mark = line.find_first_of(":?(");
  const auto bracket = line.find('(', mark == std::string::npos ? 0 : mark + 1);
  return mark == std::string::npos ? line : line.substr(mark, bracket - mark);
}

Tally expectSameStories(std::uint64_t seeds, const Ingredients& ingredients) {
  Tally told;
  TestSupport::forSeeds(seeds, [&](std::uint64_t seed) {
    const std::string expected = storyOf<Literal::LiteralUpdate>(seed, ingredients);
    const std::string actual = storyOf<UpdateApplyModulesCmd>(seed, ingredients);
    const Lines lines = linesOf(expected);
    EXPECT_TRUE(actual == expected) << "in the graph " << graphTextOf(seed, ingredients) << "\n"
                                    << difference(linesOf(actual), lines);
    for (const std::string& line : lines) {
      ++told[kindOf(line)];
    }
  });
  return told;
}

void expectTold(const Tally& told, const std::vector<std::string>& kinds, std::size_t leastTimes) {
  for (const std::string& kind : kinds) {
    const auto found = told.find(kind);
    EXPECT_GE(found == told.end() ? 0 : found->second, leastTimes) << kind;
  }
}

TEST(RandomRunsTest, PlainRunsAreThoseOfTheLiteralCommand) {
  const Tally told = expectSameStories(1500, {});
  expectTold(told, {":apply",     ":apply~",   ":apply+",        ":apply?undoType",
                    ":auto",      ":auto~",    ":message",       ":signal",
                    ":makeApply", ":makeAuto", ":makeMessage",   ":begin",
                    ":end",       "(true)",    "(false)",        "?necessary",
                    "?relevant",  "?possible", "?autoNecessary", "?autoPossible",
                    "?always",    "?shared",   "?consistent",    "?rate",
                    ":clone",     "?global",   "?empty",         "trace{",
                    "%"},
             100);
}

TEST(RandomRunsTest, RunsOverFaultyGraphsAreThoseOfTheLiteralCommand) {
  const Tally told = expectSameStories(2000, {.faults = 100});
  expectTold(told, {":apply", ":auto", "?consistent"}, 500);
}

TEST(RandomRunsTest, FailingRunsAreThoseOfTheLiteralCommand) {
  const Tally told = expectSameStories(2000, {.faults = 20, .throws = 100});
  expectTold(told, {"throw{", "throws{", "error{", "user{", "(false)"}, 200);
}

TEST(RandomRunsTest, StoppedRunsAreThoseOfTheLiteralCommand) {
  const Tally told = expectSameStories(2000, {.faults = 20, .throws = 20, .stops = 100});
  expectTold(told, {"(true)", "(false)"}, 1000);
}

TEST(RandomRunsTest, RunsOverGraphsThatAreEditedAreThoseOfTheLiteralCommand) {
  const Tally told =
      expectSameStories(2000, {.faults = 20, .throws = 10, .stops = 20, .edits = 100});
  expectTold(told,
             {"insert{", "insertAfter{", "insertBefore{", "insertPart{", "remove{", "replace{",
              "addFork{", "removeFork{", "move{"},
             100);
}

TEST(RandomRunsTest, RunsInWhichModulesAreDroppedAreThoseOfTheLiteralCommand) {
  expectSameStories(2000, {.drops = 100});
  expectSameStories(1000, {.faults = 30, .throws = 30, .stops = 30, .edits = 30, .drops = 100});
}

TEST(RandomRunsTest, RunsOfEveryKindAreThoseOfTheLiteralCommand) {
  expectSameStories(2500, {.faults = 50, .throws = 50, .stops = 50, .edits = 50});
}

// Queues in which many modules wait, lists that are read once and kept, positions that run out.
TEST(RandomRunsTest, RunsOverLargeGraphsAreThoseOfTheLiteralCommand) {
  expectSameStories(40, {.leastModules = 50,
                         .mostModules = 120,
                         .faults = 50,
                         .throws = 30,
                         .stops = 30,
                         .edits = 50});
  expectSameStories(6, {.leastModules = 400, .mostModules = 600, .necessary = 2, .stops = 30});
}

/// Behind C nothing is left to do when P's command puts X there, in front of Y.
template <typename Update>
std::string storyOfLateModule() {
  TestSupport::ScriptedDesign design("A -> E; A -> C; A -> P; A -> R -> Y; R -> C; X");
  design.needApply("A");
  design["P"].autoApply.script->whenExecuted = [&design](ApplyUpdateInfo& /*info*/) {
    ApplyGraph::insert(design.module("X"), design.module("C"), design.module("Y"), false);
  };
  Update update(design.log, design.root, design.module("A"), design.module("E"), nullptr);
  return design.run(update);
}

// Too rare for the seeds.
TEST(RandomRunsTest, ModuleWaitsForOneThatCameBehindWhatIsDone) {
  const std::string expected = storyOfLateModule<TestSupport::ScriptedLiteralUpdate>();
  EXPECT_EQ(expected.find("Y:auto"), std::string::npos) << expected;
  EXPECT_NE(expected.find("R:auto"), std::string::npos) << expected;
  EXPECT_EQ(storyOfLateModule<TestSupport::ScriptedUpdate>(), expected);
}

}  // namespace
}  // namespace Tessaril::RandomRuns
