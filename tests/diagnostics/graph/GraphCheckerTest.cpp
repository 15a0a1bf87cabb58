#include <gmock/gmock.h>

#include "diagnostics/graph/GraphChecker.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril::Diagnostics {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::graph;
using TestSupport::TestGraph;

std::vector<std::string> check(std::string_view text) {
  return linesOf(checkGraph(snapshotOf(graph(text))));
}

std::vector<std::string> check(const TestGraph& g) { return linesOf(checkGraph(snapshotOf(g))); }

std::vector<std::string> check(const std::vector<ApplyModuleData>& records) {
  return linesOf(checkGraph(snapshotOf(records)));
}

// Links

TEST(GraphCheckerTest, isSilentAboutSoundGraphs) {
  EXPECT_THAT(check(""), IsEmpty());
  EXPECT_THAT(check("A"), IsEmpty());
  EXPECT_THAT(check("A -> B -> C; D -> E"), IsEmpty());
  EXPECT_THAT(check("A -> B -> M[merge<main+wheel] -> Z; A -> W:wheel[fork] -> M; "
                    "B -> (S):cutter[side] -> T:cutter; T -> (U):deep[side<cutter]"),
              IsEmpty());
}

TEST(GraphCheckerTest, namesACycleByItsPath) {
  EXPECT_THAT(check("R -> A -> B[merge<main] -> A[merge<main]"),
              Contains("error: the order runs in a circle: A -> B -> A. Each of them waits for the "
                       "one before it, so no update gets to them."));
}

TEST(GraphCheckerTest, namesTheShortestCycleOfAPartAndCountsTheOthers) {
  const auto findings =
      checkGraph(snapshotOf(graph("A -> B -> C -> D -> A; C -> E -> B; X -> Y -> X")));
  EXPECT_THAT(textsOf(findings, FindingKind::Cycle),
              ElementsAre("the order runs in a circle: B -> C -> E -> B. Each of them waits for "
                          "the one before it, so no update gets to them. 2 more modules are in "
                          "circles with them.",
                          "the order runs in a circle: X -> Y -> X. Each of them waits for the one "
                          "before it, so no update gets to them."));
  EXPECT_THAT(findings.at(0).modules, ElementsAre(1U, 2U, 4U));
}

TEST(GraphCheckerTest, aCycleOfWhichALinkHasOneEndIsACycleToo) {
  EXPECT_THAT(
      check("A -> B; B ->. A"),
      ElementsAre("error: the order runs in a circle: A -> B -> A. A link of it is known to "
                  "one end only.",
                  "error: the link B -> A has one end only: B names A as next, but A does "
                  "not name B as previous. B leads to A, which does not wait for it."));
}

TEST(GraphCheckerTest, ofALongCycleItShowsTheEnds) {
  std::string text = "A1";
  for (int number = 2; number <= 20; ++number) {
    text += " -> A" + std::to_string(number);
  }
  EXPECT_THAT(
      textsOf(checkGraph(snapshotOf(graph(text + " -> A1"))), FindingKind::Cycle),
      ElementsAre("the order runs in a circle: A1 -> A2 -> A3 -> A4 -> A5 -> A6 -> A7 -> A8 -> A9 "
                  "-> ... 8 more ... -> A18 -> A19 -> A20 -> A1. Each of them waits for the one "
                  "before it, so no update gets to them."));
}

TEST(GraphCheckerTest, namesSelfLinksBySideAndNotAsCycles) {
  EXPECT_THAT(check("R -> A -> A"),
              ElementsAre("error: A is linked with itself: it stands in its own previous and next "
                          "lists. It waits for itself, so no update gets to it or past it."));
  EXPECT_THAT(check("A .-> A"),
              ElementsAre("error: A is linked with itself: it stands in its own previous list. It "
                          "waits for itself, so no update gets to it or past it."));
  EXPECT_THAT(check("A ->. A"),
              ElementsAre("warning: A is linked with itself: it stands in its own next list."));
}

TEST(GraphCheckerTest, namesTheEndThatDoesNotKnowALink) {
  EXPECT_THAT(check("A ->. B"),
              ElementsAre("error: the link A -> B has one end only: A names B as next, but B does "
                          "not name A as previous. A leads to B, which does not wait for it."));
  EXPECT_THAT(check("A .-> B"),
              ElementsAre("error: the link A -> B has one end only: B names A as previous, but A "
                          "does not name B as next. B waits for A, which does not lead to it."));
  const auto findings = checkGraph(snapshotOf(graph("A .-> B")));
  EXPECT_THAT(findings.at(0).modules, ElementsAre(1U, 0U));
}

TEST(GraphCheckerTest, countsRepeatedEntriesOfEachList) {
  EXPECT_THAT(check("A -> B; A ->. B; A ->. B"),
              ElementsAre("warning: A names B as next 3 times; an edit that takes the link out "
                          "takes only one of them."));
  EXPECT_THAT(check("A -> B; A .-> B"),
              ElementsAre("warning: B names A as previous 2 times; an edit that takes the link out "
                          "takes only one of them."));
}

TEST(GraphCheckerTest, countsThePlaceOfADeadEntry) {
  EXPECT_THAT(check("A -> B; A -> ~; ~ -> B"),
              ElementsAre("warning: entry 2 of 2 in the next list of A is dead: the module that it "
                          "led to is gone.",
                          "warning: entry 2 of 2 in the previous list of B is dead: the module "
                          "that it led to is gone."));
}

TEST(GraphCheckerTest, namesTheRootsOfOneGraph) {
  EXPECT_THAT(
      check("A -> M[merge<main]; B -> M; C -> D"),
      ElementsAre("warning: 2 modules of one graph follow nothing: A and B. An update begins "
                  "at one of them and does not get to what lies only behind the others."));
}

// Records

TEST(GraphCheckerTest, storedGraphsAreCheckedWithoutTheirModules) {
  EXPECT_THAT(check({record("A", {}, {"B"}), record("B", {"A"}, {})}), IsEmpty());
  EXPECT_THAT(check({record("A", {"B"}, {"B"}), record("B", {"A"}, {"A", "X"})}),
              ElementsAre("error: the order runs in a circle: /A -> /B -> /A. Each of them waits "
                          "for the one before it, so no update gets to them.",
                          "warning: /B names /X as next, but no such module is known; restoring "
                          "drops the link."));
}

TEST(GraphCheckerTest, namesRecordsThatCountTwiceOrNotAtAll) {
  const auto g = TestSupport::graphOf<TestSupport::ObjectModule>("A -> B; R");
  const auto root = std::make_shared<Object>("design");
  for (const auto& member : g) {
    root->addChild(std::dynamic_pointer_cast<Object>(member.module));
  }
  const std::vector<ApplyModuleData> records{record("A", {}, {"B"}),
                                             record("B", {"A", "R", "gone"}, {}),
                                             record("gone", {}, {"B"}), record("A", {}, {"B"})};
  EXPECT_THAT(linesOf(checkGraph(snapshotOf(records, root))),
              ElementsAre("error: a record describes /gone, but there is no such module; restoring "
                          "passes it over.",
                          "error: /B names /R as previous, but no record describes /R: restored, "
                          "the link has one end only.",
                          "warning: /B names /gone as previous, but no such module is known; "
                          "restoring drops the link.",
                          "warning: 2 records describe /A; restored, the last one counts.",
                          "warning: /B follows 2 modules (/A and /R), but does not have the insert "
                          "mode of a merge."));
}

// Start-of-side-chain flags and insert modes

TEST(GraphCheckerTest, aFlagOnTheMainChainContradictsIt) {
  EXPECT_THAT(check("A -> (B)"),
              ElementsAre("warning: B is marked as the start of a side chain, but is on the main "
                          "chain; the way to the end of the graph passes it by."));
}

TEST(GraphCheckerTest, aFlagOnARootContradictsIt) {
  const std::string expected =
      "warning: A is marked as the start of a side chain, but follows nothing.";
  EXPECT_THAT(check("(A) -> B"), ElementsAre(expected));
  EXPECT_THAT(check({record("A", {}, {}, true)}),
              ElementsAre("warning: /A is marked as the start of a side chain, but follows "
                          "nothing."));
}

TEST(GraphCheckerTest, aFlagWithinAChainContradictsIt) {
  EXPECT_THAT(check("A -> (S):c[side] -> (T):c"),
              ElementsAre("warning: T is marked as the start of a side chain, but chain 1 goes on "
                          "before it, at S."));
}

TEST(GraphCheckerTest, aStartModeOnTheMainChainContradictsIt) {
  EXPECT_THAT(check("A -> B[side]"),
              ElementsAre("warning: B has the insert mode of the start of a side chain, but is on "
                          "the main chain."));
  EXPECT_THAT(check("A -> B[fork]"),
              ElementsAre("warning: B has the insert mode of the start of a fork, but is on the "
                          "main chain."));
}

TEST(GraphCheckerTest, anInsertModeThatDoesNotExistIsNamed) {
  const auto g = graph("A -> B");
  TestSupport::PrivateLinks::insertInfo(*g["B"]).setInsertMode(
      static_cast<ApplyModuleInsertInfo::ApplyGraphInsertMode>(9));
  EXPECT_THAT(check(g), ElementsAre("warning: B is in an insert mode that does not exist (9)."));
}

TEST(GraphCheckerTest, aForkThatLeadsNowhereAndASideChainThatLeadsBackAreRemarks) {
  EXPECT_THAT(check("A -> W:wheel[fork] -> X:wheel; X -> (S):deep[side<wheel]"),
              ElementsAre("remark: W starts a fork, but chain 1 leads back into no other chain."));
  EXPECT_THAT(check("A -> B -> M[merge<main+wheel]; A -> (W):wheel[side] -> X:wheel -> M"),
              ElementsAre("remark: W starts a side chain, but chain 1 leads back into the main "
                          "chain (X -> M), which makes it a fork."));
}

// What the library's own edits leave on purpose is no more than a remark.

TEST(GraphCheckerTest, aFlaggedForkIsSound) {
  auto g = graph("A -> B -> M; A -> (S):c[side]");
  ApplyGraph::addFork(g["S"], g["M"]);
  ASSERT_TRUE(g["S"]->isStartOfSideChain());
  EXPECT_THAT(check(g), IsEmpty());
}

TEST(GraphCheckerTest, aForkThatIsTakenBackBecomesASideChainWithoutFlag) {
  auto g = graph("A -> B -> M; A -> W:c[fork]");
  ApplyGraph::addFork(g["W"], g["M"]);
  ApplyGraph::removeFork(g["W"], g["M"]);
  EXPECT_THAT(check(g),
              ElementsAre("remark: W is the first module of chain 1, but is not marked as the "
                          "start of a side chain; the way to the end of the graph may lead into "
                          "it."));
}

TEST(GraphCheckerTest, aStartThatIsTakenOutHandsItsFlagOn) {
  auto g = graph("A -> (S):c[side] -> T:c");
  ApplyGraph::remove(g["S"]);
  g.drop("S");
  EXPECT_THAT(check(g), ElementsAre("remark: T is marked as the start of chain 1, but its insert "
                                    "mode is that of a module added to a chain."));
}

TEST(GraphCheckerTest, aStartThatIsTakenOutAsASubGraphDoesNot) {
  auto g = graph("A -> (S):c[side] -> T:c");
  ApplyGraph::removeSubGraph(g["S"], g["S"]);
  g.drop("S");
  EXPECT_THAT(check(g),
              ElementsAre("remark: T is the first module of chain 1, but is not marked as the "
                          "start of a side chain; the way to the end of the graph may lead into "
                          "it."));
}

TEST(GraphCheckerTest, aModulePutBeforeAStartLeavesTheMode) {
  auto g = graph("A -> (S):c[side]; N:c[side]");
  ApplyGraph::insertBefore(g["N"], g["S"]);
  EXPECT_THAT(check(g), ElementsAre("remark: S has the insert mode of the start of a side chain, "
                                    "but chain 1 goes on before it, at N."));
}

TEST(GraphCheckerTest, aStartThatBecomesAMergeKeepsItsFlag) {
  auto g = graph("A -> (S):c[side]; A -> (T):d[side]");
  ApplyGraph::addFork(g["T"], g["S"]);
  EXPECT_THAT(check(g), Contains("remark: S is marked as the start of chain 1, but its insert mode "
                                 "is that of a merge."));
}

// Chains

TEST(GraphCheckerTest, aParentChainThatTheFirstModuleDoesNotFollowIsNamed) {
  auto g = graph("A -> (S):c[side] -> T:c; A -> (D):d[side<main]");
  ASSERT_TRUE(ApplyGraph::moveStartOfSubChain(g["D"], g["A"], g["T"]));
  EXPECT_THAT(check(g),
              ElementsAre("warning: D is the first module of chain 2 and names the main chain as "
                          "the chain that it branches off, but follows chain 1."));
}

TEST(GraphCheckerTest, aParentChainWithoutAModuleIsNamed) {
  const auto g = graph("A -> (S):c[side<gone]");
  EXPECT_THROW(ApplyGraph::computeLevelOfChain(g["S"]), TsException);
  EXPECT_THAT(check(g),
              ElementsAre("warning: S is the first module of chain 1 and names chain 2 as the "
                          "chain that it branches off, but there is no module of chain 2."));
  const auto findings = checkGraph(snapshotOf(g));
  EXPECT_THAT(findings.at(0).chains,
              ElementsAre(TestSupport::chain("c"), TestSupport::chain("gone")));
}

TEST(GraphCheckerTest, aStartChainThatAnotherModeLeftBehindCountsAsWell) {
  const auto g = graph("A -> (S):c[add<gone]");
  EXPECT_THROW(ApplyGraph::computeLevelOfChain(g["S"]), TsException);
  EXPECT_THAT(textsOf(checkGraph(snapshotOf(g)), FindingKind::ParentChain),
              ElementsAre("S is the first module of chain 1 and names chain 2 as the chain that it "
                          "branches off, but there is no module of chain 2."));
}

TEST(GraphCheckerTest, aModuleThatIsNoStartNeedNotNameItsParentChain) {
  EXPECT_THAT(
      check("A -> (S):c[side] -> (D):d"),
      ElementsAre("remark: D is marked as the start of chain 2, but its insert mode is that "
                  "of a module added to a chain."));
  EXPECT_THAT(textsOf(checkGraph(snapshotOf(graph("A -> (S):c[side]; A -> (T):d[side]; "
                                                  "S -> M:e[merge<gone+c]; T -> M"))),
                      FindingKind::ParentChain),
              IsEmpty());
}

TEST(GraphCheckerTest, whatFollowsAModuleOfAnUnknownPlaceIsPassedOver) {
  GraphSnapshot snapshot = snapshotOf(graph("A -> (S):c[side<gone]; A -> M[merge]"));
  snapshot.modules[0].insertMode.reset();
  EXPECT_THAT(linesOf(checkGraph(snapshot)), IsEmpty());
}

TEST(GraphCheckerTest, aChainThatBranchesOffItselfIsNamed) {
  const auto g = graph("A -> (S):c[side<c]");
  EXPECT_THROW(ApplyGraph::computeLevelOfChain(g["S"]), TsException);
  EXPECT_THAT(check(g), ElementsAre("warning: S starts chain 1 and names it as the chain that it "
                                    "branches off as well."));
}

TEST(GraphCheckerTest, aSideChainThatFollowsNothingIsNamed) {
  EXPECT_THAT(check("(S):c[side] -> T:c"),
              ElementsAre("warning: S is the first module of chain 1, but follows nothing; the "
                          "chain branches off no other."));
}

// Merges

TEST(GraphCheckerTest, aMergeOfOneIsNamed) {
  EXPECT_THAT(check("A -> M[merge<main]; M -> N[merge<main]; ~ -> N"),
              Contains("warning: M has the insert mode of a merge, but follows only A."));
  EXPECT_THAT(check("M[merge<main+c]"),
              ElementsAre("warning: M has the insert mode of a merge, but follows nothing."));
}

TEST(GraphCheckerTest, aMergeThatDoesNotSaySoIsNamed) {
  EXPECT_THAT(check("A -> B -> M; A -> M"),
              ElementsAre("warning: M follows 2 modules (B and A), but does not have the insert "
                          "mode of a merge."));
}

TEST(GraphCheckerTest, ofManyPreviousModulesTheFirstAreNamed) {
  EXPECT_THAT(textsOf(checkGraph(snapshotOf(
                          graph("A -> B; A -> C; A -> D; A -> E; A -> F; A -> G; A -> M; B -> M; "
                                "C -> M; D -> M; E -> M; F -> M; G -> M"))),
                      FindingKind::MergeMode),
              ElementsAre("M follows 7 modules (A, B, C, D, E and 2 more), but does not have the "
                          "insert mode of a merge."));
}

TEST(GraphCheckerTest, aMergeOfOtherChainsThanItSaysIsNamed) {
  EXPECT_THAT(check("A -> M[merge<main+cutter]; A -> W:wheel[fork] -> M; A -> (C):cutter[side]"),
              ElementsAre("warning: M says that it merges the main chain and chain 2, but follows "
                          "the main chain and chain 1."));
  EXPECT_THAT(check("A -> M[merge]; A -> W:wheel[fork] -> M"),
              ElementsAre("warning: M says that it merges no chain, but follows the main chain and "
                          "chain 1."));
}

TEST(GraphCheckerTest, theOrderAndTheNumberOfMergedChainsDoNotMatter) {
  EXPECT_THAT(check("A -> M[merge<wheel+main+wheel]; A -> W:wheel[fork] -> M"), IsEmpty());
}

// Output

TEST(GraphCheckerTest, errorsComeFirstAndRemarksLast) {
  EXPECT_THAT(check("A -> W:wheel[fork] -> (B); B -> C; C ->. ~; R ->. C"),
              ElementsAre(::testing::StartsWith("error: the link R -> C"),
                          ::testing::StartsWith("warning: entry 1"),
                          ::testing::StartsWith("warning: 2 modules"),
                          ::testing::StartsWith("warning: B is marked")));
}

TEST(GraphCheckerTest, anIndexOutsideOfTheSnapshotIsRefused) {
  GraphSnapshot snapshot = snapshotOf(graph("A"));
  snapshot.modules[0].next.push_back({7, "B"});
  EXPECT_THROW(checkGraph(snapshot), std::out_of_range);
}

TEST(GraphFindingTest, namesOfAnyBytesLeaveItOneLineOfText) {
  GraphSnapshot snapshot = snapshotOf(graph("A -> B; B -> ~"));
  snapshot.modules[0].name = "first\nsecond \x1B[2J";
  snapshot.modules[1].name = "caf\xE9";
  snapshot.modules[1].previous.clear();
  snapshot.modules[1].next[0].name = "\x7F";
  EXPECT_THAT(
      linesOf(checkGraph(snapshot)),
      ElementsAre("error: the link first second \uFFFD[2J -> caf\uFFFD has one end only: first "
                  "second \uFFFD[2J names caf\uFFFD as next, but caf\uFFFD does not name first "
                  "second \uFFFD[2J as previous. first second \uFFFD[2J leads to caf\uFFFD, which "
                  "does not wait for it.",
                  "warning: caf\uFFFD names \uFFFD as next, but no such module is known; "
                  "restoring drops the link."));
}

TEST(GraphFindingTest, asText) {
  EXPECT_EQ(findingsText({}), "");
  EXPECT_EQ(findingsText(checkGraph(snapshotOf(graph("A -> (B)")))),
            "warning: B is marked as the start of a side chain, but is on the main chain; the way "
            "to the end of the graph passes it by.\n");
}

TEST(GraphFindingTest, asJson) {
  const GraphSnapshot snapshot = snapshotOf(graph("A -> (S):c[side] -> (T):c"));
  EXPECT_EQ(toJson(checkGraph(snapshot), snapshot).dump(),
            R"([{"severity":"warning","kind":"startFlag",)"
            R"("modules":[{"module":2,"name":"T"},{"module":1,"name":"S"}],)"
            R"("chains":[{"name":"chain 1","id":")" +
                TestSupport::chain("c").toString() +
                R"("}],"text":"T is marked as the start of a side chain, but chain 1 goes on )"
                R"(before it, at S."}])");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
