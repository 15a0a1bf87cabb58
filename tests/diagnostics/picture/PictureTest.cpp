#include <gmock/gmock.h>

#include <stdexcept>

#include "diagnostics/picture/Picture.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/diagnostics/picture/DotReading.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using TestSupport::chain;
using TestSupport::graph;

std::string dotOf(std::string_view graphText, const PictureOptions& options = {}) {
  return dotText(snapshotOf(graph(graphText)), options);
}

std::string dotOfNames(const std::vector<std::string>& names) {
  GraphSnapshot snapshot;
  for (const std::string& name : names) {
    snapshot.modules.emplace_back().name = name;
  }
  return dotText(snapshot);
}

std::string lineStyle(const std::string& dot, const std::string& from, const std::string& to) {
  return attributeOf(edgeStatement(dot, from, to), "style");
}

std::string remark(const std::string& dot, const std::string& from, const std::string& to) {
  const std::string label = attributeOf(edgeStatement(dot, from, to), "xlabel");
  // A blank keeps it off the link on either side.
  EXPECT_TRUE(label.empty() || (label.front() == ' ' && label.back() == ' ')) << label;
  return label.empty() ? label : label.substr(1, label.size() - 2);
}

/// The sides of a module's box at which a bar stands.
std::string barsOf(const std::string& dot, std::size_t module) {
  const std::string label = attributeOf(nodeStatement(dot, 'm' + std::to_string(module)), "label");
  const std::size_t place = label.find("SIDES=\"");
  return place == std::string::npos
             ? ""
             : label.substr(place + 7, label.find('"', place + 7) - place - 7);
}

std::string boxAttribute(const std::string& dot, std::size_t module, const std::string& name) {
  const std::string label = attributeOf(nodeStatement(dot, 'm' + std::to_string(module)), "label");
  const std::size_t place = label.find(name + "=\"") + name.size() + 2;
  return label.substr(place, label.find('"', place) - place);
}

// Modules and links

TEST(Picture, ShowsEveryModuleByNameAndEveryLinkOnce) {
  const std::string dot = dotOf("[active] A -> B -> C; A -> C");

  EXPECT_EQ(wordsOn(dot, 0), "A");
  EXPECT_EQ(wordsOn(dot, 1), "B");
  EXPECT_NE(edgeStatement(dot, "m0", "m1"), "");
  EXPECT_NE(edgeStatement(dot, "m1", "m2"), "");
  EXPECT_NE(edgeStatement(dot, "m0", "m2"), "");
  EXPECT_EQ(edgeStatement(dot, "m2", "m0"), "");
}

TEST(Picture, OfNoModulesIsEmpty) {
  const std::string dot = dotText(GraphSnapshot{});

  EXPECT_THAT(dot, testing::StartsWith("digraph apply_graph {\n"));
  EXPECT_THAT(dot, testing::EndsWith("}\n"));
  EXPECT_EQ(headWords(dot), "");
  EXPECT_THAT(headings(dot), ElementsAre());
}

TEST(Picture, IsTheSameForTheSameGraph) {
  TestSupport::forSeeds(20, [](std::uint64_t seed) {
    TestSupport::RandomGraphParameters parameters = TestSupport::faultyGraphs();
    parameters.chains = 3;
    EXPECT_EQ(dotText(snapshotOf(TestSupport::randomGraph(seed, parameters))),
              dotText(snapshotOf(TestSupport::randomGraph(seed, parameters))));
  });
}

TEST(Picture, EscapesNames) {
  const std::string dot = dotOfNames({R"(a "quoted" <name> & \N)"});

  EXPECT_EQ(wordsOn(dot, 0), R"(a "quoted" <name> & \N)");
  EXPECT_THAT(dot, HasSubstr("a &quot;quoted&quot; &lt;name&gt; &amp; &#92;&#92;N"));
  EXPECT_THAT(nodeStatement(dot, "m0"), HasSubstr(R"(tooltip="a \"quoted\" <name> &amp; \\N")"));
}

TEST(Picture, KeepsCharactersBeyondAscii) {
  EXPECT_EQ(wordsOn(dotOfNames({"Zahnrad Größe ≤ 5, 歯車"}), 0), "Zahnrad Größe ≤ 5, 歯車");
}

TEST(Picture, WritesANameWithLineBreaksOnOneLine) {
  EXPECT_EQ(wordsOn(dotOfNames({"first\nsecond"}), 0), "first second");
}

TEST(Picture, HasAWordForAnEmptyName) { EXPECT_EQ(wordsOn(dotOfNames({""}), 0), "(no name)"); }

// Chains

TEST(Picture, GathersChainsInClustersTheMainChainFirst) {
  const std::string dot = dotOf("A:one -> B -> C; B -> D:two; C -> E:one");

  EXPECT_THAT(headings(dot), ElementsAre("main chain", "chain 1", "chain 2"));
  EXPECT_THAT(nodesUnder(dot, "main chain"), ElementsAre("m1", "m2"));
  EXPECT_THAT(nodesUnder(dot, "chain 1"), ElementsAre("m0", "m4"));
  EXPECT_THAT(nodesUnder(dot, "chain 2"), ElementsAre("m3"));
}

TEST(Picture, CallsChainsAsItIsTold) {
  PictureOptions options;
  options.chainNames = {{chain("one"), "wheel <left>"}, {Identifier{}, "way to the report"}};
  const std::string dot = dotOf("A -> B:one -> C:two", options);

  EXPECT_THAT(headings(dot), ElementsAre("way to the report", "wheel <left>", "chain 2"));
}

TEST(Picture, CallsAChainAsUsualWhereItIsToldNothing) {
  PictureOptions options;
  options.chainNames = {{chain("one"), ""}};

  EXPECT_THAT(headings(dotOf("A -> B:one", options)), ElementsAre("main chain", "chain 1"));
}

TEST(Picture, DrawsTheMainChainHeavyAndStraight) {
  const std::string dot = dotOf("A -> B; A -> S:one -> T:one");

  EXPECT_EQ(attributeOf(edgeStatement(dot, "m0", "m1"), "weight"), "100");
  EXPECT_NE(attributeOf(edgeStatement(dot, "m0", "m1"), "penwidth"), "");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m0", "m2"), "weight"), "1");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m0", "m2"), "penwidth"), "");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m2", "m3"), "weight"), "20");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m2", "m3"), "penwidth"), "");
}

TEST(Picture, MarksTheStartOfASideChain) {
  const std::string dot = dotOf("[active] A -> (S):one[side] -> T:one");

  EXPECT_EQ(wordsOn(dot, 1), "side chain|S");
  EXPECT_EQ(barsOf(dot, 1), "L");
  EXPECT_EQ(wordsOn(dot, 2), "T");
  EXPECT_EQ(barsOf(dot, 2), "");
}

TEST(Picture, MarksTheStartOfAFork) {
  const std::string dot = dotOf("[active] A -> F:one[fork] -> G:one");

  EXPECT_EQ(wordsOn(dot, 1), "fork|F");
  EXPECT_EQ(barsOf(dot, 1), "LR");
}

TEST(Picture, MarksAMergeByItsModeAndByItsPreviousModules) {
  const std::string dot = dotOf("[active] A -> M[merge]; B -> N; C -> N");

  EXPECT_EQ(wordsOn(dot, 1), "merge|M");
  EXPECT_EQ(barsOf(dot, 1), "T");
  EXPECT_EQ(wordsOn(dot, 3), "merge|N");
}

TEST(Picture, TakesNoModuleForAMergeThatHasTheSamePreviousModuleTwice) {
  EXPECT_EQ(wordsOn(dotOf("[active] A -> B; A -> B; B -> ~"), 1), "B");
}

TEST(Picture, TakesNoModuleForAMergeThatIsLinkedWithItself) {
  EXPECT_EQ(wordsOn(dotOf("[active] A -> B -> B"), 1), "B");
}

TEST(Picture, MarksAModuleThatIsSeveralThings) {
  const std::string dot = dotOf("[active] A -> (S):one[side]; B -> S");

  EXPECT_EQ(wordsOn(dot, 1), "side chain · merge|S");
  EXPECT_EQ(barsOf(dot, 1), "TL");
}

// Flags

TEST(Picture, FillsConsistentAndInconsistentModulesDifferently) {
  const std::string dot = dotOf("[active] A -> B[inconsistent]");

  EXPECT_NE(boxAttribute(dot, 0, "BGCOLOR"), boxAttribute(dot, 1, "BGCOLOR"));
  EXPECT_NE(boxAttribute(dot, 0, "COLOR"), boxAttribute(dot, 1, "COLOR"));
  EXPECT_EQ(boxAttribute(dot, 0, "BORDER"), "1");
  EXPECT_EQ(boxAttribute(dot, 1, "BORDER"), "2");
  EXPECT_EQ(wordsOn(dot, 0), "A");
  EXPECT_EQ(wordsOn(dot, 1), "B|inconsistent");
}

TEST(Picture, DrawsAnInactiveModuleWithABrokenOutline) {
  const std::string dot = dotOf("A[active] -> B");

  EXPECT_EQ(boxAttribute(dot, 0, "STYLE"), "ROUNDED");
  EXPECT_EQ(boxAttribute(dot, 1, "STYLE"), "ROUNDED,DASHED");
  EXPECT_EQ(wordsOn(dot, 1), "B|inactive");
}

TEST(Picture, WritesTheOtherFlagsOnTheModule) {
  const std::string dot = dotOf(
      "[active] A[badinput]; B[frozen]; C[skipped]; D[additional]; "
      "E[inconsistent,badinput,frozen,skipped,additional]");

  EXPECT_EQ(wordsOn(dot, 0), "A|input not ok");
  EXPECT_EQ(wordsOn(dot, 1), "B|frozen");
  EXPECT_EQ(wordsOn(dot, 2), "C|skipped");
  EXPECT_EQ(wordsOn(dot, 3), "D|additional");
  EXPECT_EQ(wordsOn(dot, 4), "E|inconsistent|input not ok|frozen|skipped|additional");
}

TEST(Picture, StrikesASkippedModuleOut) {
  const std::string dot = dotOf("[active] A; B[skipped]");

  EXPECT_THAT(nodeStatement(dot, "m0"), Not(HasSubstr("<S>")));
  EXPECT_THAT(nodeStatement(dot, "m1"), HasSubstr("<S><B>B</B></S>"));
}

TEST(Picture, SaysEverythingOfAModuleInItsTooltip) {
  const std::string dot =
      dotOf("[active] A -> (S):one[side<main,inconsistent,badinput,frozen,skipped,additional]");

  EXPECT_EQ(attributeOf(nodeStatement(dot, "m1"), "tooltip"),
            R"(S\nTessaril::TestSupport::TestModule\nactive, inconsistent, input not ok, frozen, )"
            R"(skipped\non chain 1, starts a side chain of main chain\nadditional module)");
}

// Faults

TEST(Picture, DrawsAOneSidedLinkBrokenAndSaysWhichListHasIt) {
  const std::string dot = dotOf("A -> B; A ->. C; A .-> D");

  EXPECT_EQ(lineStyle(dot, "m0", "m1"), "");
  EXPECT_EQ(lineStyle(dot, "m0", "m2"), "dashed");
  EXPECT_EQ(remark(dot, "m0", "m2"), "in next list only");
  EXPECT_EQ(lineStyle(dot, "m0", "m3"), "dashed");
  EXPECT_EQ(remark(dot, "m0", "m3"), "in previous list only");
}

TEST(Picture, SaysHowOftenALinkIsRepeated) {
  EXPECT_EQ(remark(dotOf("A -> B; A -> B; A ->. B"), "m0", "m1"), "3 times");
}

TEST(Picture, SaysOfALinkInOneListThatItIsRepeatedThere) {
  EXPECT_EQ(remark(dotOf("A ->. B; A ->. B"), "m0", "m1"), "in next list only, 2 times");
}

TEST(Picture, DrawsTheLinksOfACycleDouble) {
  const std::string dot = dotOf("A -> B -> C -> D -> B; E -> E");

  for (const auto& [from, to] : {std::pair("m1", "m2"), std::pair("m2", "m3"),
                                 std::pair("m3", "m1"), std::pair("m4", "m4")}) {
    EXPECT_THAT(attributeOf(edgeStatement(dot, from, to), "color"), HasSubstr(":")) << from << to;
  }
  EXPECT_THAT(attributeOf(edgeStatement(dot, "m0", "m1"), "color"), Not(HasSubstr(":")));
}

TEST(Picture, DrawsADeadEntryAsACrossOnItsSideOfTheModule) {
  const std::string dot = dotOf("A -> ~; ~ -> B; A -> B");

  EXPECT_EQ(wordsOf(attributeOf(nodeStatement(dot, "m0_dead_next"), "label")), "×");
  EXPECT_EQ(lineStyle(dot, "m0", "m0_dead_next"), "dotted");
  EXPECT_EQ(lineStyle(dot, "m1_dead_previous", "m1"), "dotted");
  EXPECT_EQ(nodeStatement(dot, "m0_dead_previous"), "");
  EXPECT_EQ(nodeStatement(dot, "m1_dead_next"), "");
}

TEST(Picture, CountsTheDeadEntriesOfAList) {
  const std::string dot = dotOf("A -> ~; A -> ~; A -> ~; A -> ~");

  EXPECT_EQ(wordsOf(attributeOf(nodeStatement(dot, "m0_dead_next"), "label")), "×| 4 entries");
}

// Stored graphs

TEST(Picture, OfRecordsNamesWhatDeadEntriesNamed) {
  const std::string dot =
      dotText(snapshotOf({record("A", {}, {"B", "gone <1>"}), record("B", {"A"}, {})}));

  EXPECT_EQ(wordsOf(attributeOf(nodeStatement(dot, "m0_dead_next"), "label")), "×| gone <1>");
}

TEST(Picture, OfRecordsHasNoChainsAndAStateThatIsNotKnown) {
  const std::string dot = dotText(snapshotOf({record("A", {}, {"B"}), record("B", {"A"}, {})}));

  EXPECT_THAT(headings(dot), ElementsAre());
  EXPECT_EQ(wordsOn(dot, 0), "A");
  EXPECT_EQ(headWords(dot), "state not known|main chain");
}

// The line along which the library itself looks for the end of a graph.
TEST(Picture, OfRecordsFollowsTheFirstNextModuleThatStartsNoSideChain) {
  const std::string dot = dotText(snapshotOf(
      {record("A", {}, {"S", "B", "F"}), record("S", {"A"}, {}, true), record("B", {"A"}, {"C"}),
       record("F", {"A"}, {"C"}), record("C", {"B", "F"}, {})}));

  EXPECT_EQ(attributeOf(edgeStatement(dot, "m0", "m2"), "weight"), "100");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m2", "m4"), "weight"), "100");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m0", "m1"), "weight"), "1");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m0", "m3"), "weight"), "1");
  EXPECT_EQ(attributeOf(edgeStatement(dot, "m3", "m4"), "weight"), "1");
  EXPECT_EQ(wordsOn(dot, 1), "side chain|S");
  EXPECT_EQ(wordsOn(dot, 4), "merge|C");
}

TEST(Picture, OfRecordsThatFormARingIsStillDrawn) {
  const std::string dot =
      dotText(snapshotOf({record("A", {"B"}, {"B"}), record("B", {"A"}, {"A"})}));

  EXPECT_THAT(attributeOf(edgeStatement(dot, "m0", "m1"), "color"), HasSubstr(":"));
  EXPECT_THAT(attributeOf(edgeStatement(dot, "m1", "m0"), "color"), HasSubstr(":"));
}

TEST(Picture, MarksAModuleThatIsNotThereOrHasNoRecordOrSeveral) {
  GraphSnapshot snapshot = snapshotOf({record("A", {}, {"B"}), record("B", {"A"}, {})});
  snapshot.modules[0].recordCount = 2;
  snapshot.modules[1].recordCount = 0;
  snapshot.modules[1].previous.clear();
  GraphSnapshot missing = snapshotOf({record("C", {}, {})});
  missing.modules[0].exists = false;

  EXPECT_EQ(wordsOn(dotText(snapshot), 0), "A|several records");
  EXPECT_EQ(wordsOn(dotText(snapshot), 1), "B|no record");
  EXPECT_EQ(wordsOn(dotText(missing), 0), "C|not there");
  EXPECT_EQ(boxAttribute(dotText(missing), 0, "STYLE"), "ROUNDED,DASHED");
  // Nothing can be missing in a list that is not known.
  EXPECT_EQ(lineStyle(dotText(snapshot), "m0", "m1"), "");
}

// Filters

PictureOptions showing(const ModuleSelection& modules) {
  PictureOptions options;
  options.shown = modules;
  return options;
}

TEST(Picture, ShowsOnlyTheSelectedModulesAndTheirLinks) {
  const std::string dot = dotOf("[active] A -> B -> C -> D", showing({1, 2}));

  EXPECT_EQ(nodeStatement(dot, "m0"), "");
  EXPECT_EQ(wordsOn(dot, 1), "B");
  EXPECT_EQ(wordsOn(dot, 2), "C");
  EXPECT_EQ(nodeStatement(dot, "m3"), "");
  EXPECT_NE(edgeStatement(dot, "m1", "m2"), "");
  EXPECT_EQ(edgeStatement(dot, "m0", "m1"), "");
}

TEST(Picture, SaysHowManyNeighboursItLeavesOut) {
  const std::string dot = dotOf("A -> B -> C; D -> B; B -> E; B -> F; B -> E", showing({1, 2}));

  EXPECT_EQ(wordsOf(attributeOf(nodeStatement(dot, "m1_more_previous"), "label")), "2 more");
  EXPECT_EQ(wordsOf(attributeOf(nodeStatement(dot, "m1_more_next"), "label")), "2 more");
  EXPECT_NE(edgeStatement(dot, "m1_more_previous", "m1"), "");
  EXPECT_NE(edgeStatement(dot, "m1", "m1_more_next"), "");
  EXPECT_EQ(nodeStatement(dot, "m2_more_next"), "");
}

TEST(Picture, ShowsNothingOfChainsThatAreLeftOut) {
  const std::string dot = dotOf("A -> B:one -> C:two", showing({0, 2}));

  EXPECT_THAT(headings(dot), ElementsAre("main chain", "chain 2"));
}

TEST(Picture, ShowsACycleAsSuchWhereItIsNotShownWhole) {
  const std::string dot = dotOf("A -> B -> C -> A", showing({0, 1}));

  EXPECT_THAT(attributeOf(edgeStatement(dot, "m0", "m1"), "color"), HasSubstr(":"));
}

TEST(Picture, TakesASelectionInAnyOrder) {
  EXPECT_EQ(dotOf("A -> B -> C", showing({2, 1, 1})), dotOf("A -> B -> C", showing({1, 2})));
}

TEST(Picture, OfAnEmptySelectionIsEmpty) {
  const std::string dot = dotOf("A -> B", showing({}));

  EXPECT_EQ(nodeStatement(dot, "m0"), "");
  EXPECT_EQ(headWords(dot), "");
}

TEST(Picture, RefusesModulesThatTheSnapshotDoesNotHave) {
  PictureOptions marked;
  marked.runMarks[2] = {"applied", RunEffect::kExecuted, {}, {}};

  EXPECT_THROW(dotOf("A -> B", showing({0, 2})), std::out_of_range);
  EXPECT_THROW(dotOf("A -> B", marked), std::out_of_range);
}

TEST(Picture, RefusesEntriesThatTheSnapshotDoesNotHave) {
  GraphSnapshot next = snapshotOf(graph("A -> B"));
  next.modules[0].next.push_back({7, "C"});
  GraphSnapshot previous = snapshotOf(graph("A -> B"));
  previous.modules[0].previous.push_back({7, "C"});

  EXPECT_THROW(dotText(next), std::out_of_range);
  EXPECT_THROW(dotText(previous), std::out_of_range);
  EXPECT_THROW(followersOf(next, 0), std::out_of_range);
  EXPECT_THROW(ancestorsOf(previous, 0), std::out_of_range);
}

// The last run

TEST(Picture, WritesTheOutcomeOfTheRunOnTheModules) {
  PictureOptions options;
  options.runMarks[0] = {"applied", RunEffect::kExecuted, std::chrono::microseconds(12300),
                         "the torque <changed>"};
  options.runMarks[1] = {"signalled", RunEffect::kNone, {}, {}};
  const std::string dot = dotOf("[active] A -> B -> C", options);

  EXPECT_EQ(wordsOn(dot, 0), "A|applied|12.3 ms|the torque <changed>");
  EXPECT_EQ(wordsOn(dot, 1), "B|signalled");
  EXPECT_EQ(wordsOn(dot, 2), "C");
  EXPECT_THAT(attributeOf(nodeStatement(dot, "m0"), "tooltip"),
              HasSubstr(R"(\nlast run: applied, 12.3 ms: the torque <changed>)"));
}

TEST(Picture, ShowsAFailureAsAMarkInItsOwnWords) {
  PictureOptions options;
  options.runMarks[0] = {"apply failed", RunEffect::kFailed, {}, "undercut"};
  options.runMarks[1] = {"", RunEffect::kFailed, {}, ""};
  const std::string dot = dotOf("[active] A -> B", options);

  EXPECT_EQ(wordsOn(dot, 0), "A|apply failed|undercut");
  EXPECT_EQ(wordsOn(dot, 1), "B|failed");
}

TEST(Picture, BreaksALongReasonIntoAFewLines) {
  PictureOptions options;
  options.runMarks[0] = {"applied",
                         RunEffect::kExecuted,
                         {},
                         "one two three four five six seven eight nine ten "
                         "eleven twelve thirteen fourteen fifteen sixteen seventeen eighteen"};
  const std::string dot = dotOf("[active] A", options);

  EXPECT_EQ(wordsOn(dot, 0),
            "A|applied|one two three four five six|seven eight nine ten eleven|"
            "twelve thirteen fourteen|fifteen sixteen seventeen …");
}

/// How wide the filled part of a module's bar is.
int filledOf(const std::string& dot, std::size_t module) {
  const std::string label = attributeOf(nodeStatement(dot, 'm' + std::to_string(module)), "label");
  const std::string beginning = "<TD FIXEDSIZE=\"TRUE\" WIDTH=\"";
  const std::size_t place = label.find(beginning);
  return place == std::string::npos ? 0 : std::stoi(label.substr(place + beginning.size()));
}

TEST(Picture, MeasuresDurationsAgainstTheLongest) {
  using std::chrono::milliseconds;
  PictureOptions options;
  options.runMarks[0] = {"applied", RunEffect::kExecuted, milliseconds(200), {}};
  options.runMarks[1] = {"applied", RunEffect::kExecuted, milliseconds(50), {}};
  options.runMarks[2] = {"applied", RunEffect::kExecuted, std::chrono::nanoseconds(1), {}};
  options.runMarks[3] = {"signalled", RunEffect::kNone, {}, {}};
  const std::string dot = dotOf("[active] A -> B -> C -> D", options);

  EXPECT_EQ(filledOf(dot, 1) * 4, filledOf(dot, 0));
  EXPECT_EQ(filledOf(dot, 2), 1);
  EXPECT_EQ(filledOf(dot, 3), 0);
}

TEST(Picture, DrawsNoBarWhereNothingTookTime) {
  PictureOptions options;
  options.runMarks[0] = {"applied", RunEffect::kExecuted, std::chrono::nanoseconds(0), {}};

  EXPECT_EQ(filledOf(dotOf("[active] A", options), 0), 0);
}

// Detail

GraphSnapshot longChain(std::size_t length) {
  GraphSnapshot snapshot;
  for (std::size_t index = 0; index < length; ++index) {
    SnapshotModule& module = snapshot.modules.emplace_back();
    module.name = "/design/assembly " + std::to_string(index) + "/a rather long name of a step";
    module.flags = SnapshotFlags{.active = true, .inputOk = false};
  }
  return snapshot;
}

TEST(Picture, IsInFullUpToAboutSixtyModulesAndInBriefAbove) {
  ASSERT_EQ(kMostModulesInFull, 60U);

  EXPECT_THAT(wordsOn(dotText(longChain(60)), 0), HasSubstr("input not ok"));
  EXPECT_THAT(wordsOn(dotText(longChain(61)), 0), Not(HasSubstr("input not ok")));
  // What counts is what is drawn.
  EXPECT_THAT(wordsOn(dotText(longChain(61), showing({0, 1})), 0), HasSubstr("input not ok"));
}

TEST(Picture, IsAsDetailedAsItIsTold) {
  PictureOptions full;
  full.detail = PictureDetail::kFull;
  PictureOptions brief;
  brief.detail = PictureDetail::kBrief;

  EXPECT_EQ(wordsOn(dotText(longChain(300), full), 7),
            "assembly 7/a rather long name of a step|input not ok");
  EXPECT_EQ(wordsOn(dotText(longChain(3), brief), 2), "assembly …f a step|I");
}

TEST(Picture, InBriefHasALetterForEachFlag) {
  PictureOptions options;
  options.detail = PictureDetail::kBrief;
  const std::string dot =
      dotOf("[active] A[inconsistent,badinput,frozen,skipped,additional] -> B", options);

  EXPECT_EQ(wordsOn(dot, 0), "A|!|I|F|S|A");
  EXPECT_EQ(wordsOn(dot, 1), "B");
}

TEST(Picture, InBriefShowsDurationsAndFailuresOfTheRun) {
  PictureOptions options;
  options.detail = PictureDetail::kBrief;
  options.runMarks[0] = {"applied", RunEffect::kExecuted, std::chrono::milliseconds(12), "changed"};
  options.runMarks[1] = {"signalled", RunEffect::kNone, {}, "followed"};
  options.runMarks[2] = {"failed", RunEffect::kFailed, std::chrono::milliseconds(6), "undercut"};
  const std::string dot = dotOf("[active] A -> B -> C", options);

  EXPECT_EQ(wordsOn(dot, 0), "A|E|12.0 ms");
  EXPECT_EQ(wordsOn(dot, 1), "B");
  EXPECT_EQ(wordsOn(dot, 2), "C|X|6.00 ms");
}

TEST(Picture, InBriefIsSetCloser) {
  PictureOptions brief;
  brief.detail = PictureDetail::kBrief;
  const auto spaceOf = [](const std::string& dot) {
    return std::stod(attributeOf(dot.substr(dot.find("graph [")), "ranksep"));
  };

  EXPECT_LT(spaceOf(dotOf("A -> B", brief)), spaceOf(dotOf("A -> B")));
}

}  // namespace
}  // namespace Tessaril::Diagnostics
