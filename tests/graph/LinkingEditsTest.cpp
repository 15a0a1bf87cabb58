#include <memory>
#include <stdexcept>

#include "tests/graph/EditFixture.h"

namespace Tessaril {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::chainViolations;

// Each test shows the graph after one edit, and whose graph hooks were called in which order. A
// list that an edit clears or copies as a whole has no part in the calls.

class Insert : public TestSupport::EditFixture {};
class InsertAfter : public TestSupport::EditFixture {};
class InsertBefore : public TestSupport::EditFixture {};
class Remove : public TestSupport::EditFixture {};
class Replace : public TestSupport::EditFixture {};
class AddFork : public TestSupport::EditFixture {};
class RemoveFork : public TestSupport::EditFixture {};

TEST_F(Insert, TakesThePlaceOfTheLinkInBothLists) {
  given("P -> X; P -> N1; P -> N; P -> Y; Q -> N; M");
  ApplyGraph::insert(m("M"), m("P"), m("N"), false);
  EXPECT_EQ(shown(), "P -> X; P -> N1; P -> M -> N; P -> Y; Q -> N");
  EXPECT_EQ(calls(), "M P M N");
}

TEST_F(Insert, TakesThePlaceBetweenOtherPreviousModules) {
  given("Q -> N; P -> N; R -> N; M");
  ApplyGraph::insert(m("M"), m("P"), m("N"), false);
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "Q M R");
  EXPECT_EQ(shown(), "Q -> N; P -> M -> N; R -> N");
}

TEST_F(Insert, AppendsBetweenModulesThatWereNotLinked) {
  given("P -> X; Q -> N; M");
  ApplyGraph::insert(m("M"), m("P"), m("N"), false);
  EXPECT_EQ(shown(), "P -> X; P -> M; Q -> N; M -> N");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "Q M");
  EXPECT_EQ(calls(), "M P M N");
}

TEST_F(Insert, AppendsWhereOnlyOneEndKnewOfTheLink) {
  given("P -> X; P ->. N; Q -> N; P -> Y; M");
  ApplyGraph::insert(m("M"), m("P"), m("N"), false);
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X M Y");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "Q M");
  EXPECT_EQ(shown(), "P -> X; P -> M; P -> Y; Q -> N; M -> N");
}

TEST_F(Insert, WithoutNextAppendsToThePreviousModule) {
  given("P -> N; M");
  ApplyGraph::insert(m("M"), m("P"), nullptr, true);
  EXPECT_EQ(shown(), "P -> N; P -> (M)");
  EXPECT_EQ(calls(), "M P");
}

TEST_F(Insert, WithoutNextTakesThePlaceOfTheFirstDeadEntry) {
  given("P -> X; P -> ~; P -> N; P -> ~; M");
  ApplyGraph::insert(m("M"), m("P"), nullptr, true);
  EXPECT_EQ(shown(), "P -> X; P -> (M); P -> N; P -> ~");
  EXPECT_EQ(calls(), "M P");
}

TEST_F(Insert, WithoutPreviousTakesThePlaceOfTheFirstDeadEntry) {
  given("X -> N; ~ -> N; Y -> N; ~ -> N; M");
  ApplyGraph::insert(m("M"), nullptr, m("N"), false);
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "X M Y ~");
  EXPECT_EQ(calls(), "M N");
}

TEST_F(Insert, WithoutPreviousAppendsToTheNextModule) {
  given("X -> N; M");
  ApplyGraph::insert(m("M"), nullptr, m("N"), false);
  EXPECT_EQ(shown(), "X -> N; M -> N");
  EXPECT_EQ(calls(), "M N");
}

TEST_F(Insert, WithoutNeighboursSetsTheFlag) {
  given("A -> M -> B");
  ApplyGraph::insert(m("M"), nullptr, nullptr, true);
  EXPECT_EQ(shown(), "A -> (M) -> B");
  EXPECT_EQ(calls(), "");
}

TEST_F(Insert, ClearsTheFlagAsWell) {
  given("P -> N; (M)");
  ApplyGraph::insert(m("M"), m("P"), m("N"), false);
  EXPECT_EQ(shown(), "P -> M -> N");
}

TEST_F(Insert, KeepsTheModulesOtherLinks) {
  given("A -> M -> B; P -> N");
  ApplyGraph::insert(m("M"), m("P"), m("N"), false);
  EXPECT_EQ(g.names(m("M")->getPreviousApplyModules()), "A P");
  EXPECT_EQ(g.names(m("M")->getNextApplyModules()), "B N");
  EXPECT_EQ(shown(), "A -> M -> B; M -> N; P -> M");
}

TEST_F(Insert, OfAModuleThatIsLinkedThereAlreadyLinksItTwice) {
  // The exchange of an entry does not look for duplicates.
  given("P -> M; P -> N; M -> N");
  ApplyGraph::insert(m("M"), m("P"), m("N"), false);
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "M M");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "M M");
  shown({"P -> M stands twice in P", "M -> N stands twice in N"});
  EXPECT_EQ(calls(), "P N");
}

TEST_F(Insert, BetweenAModuleAndItselfTakesTheDetour) {
  given("P; M");
  ApplyGraph::insert(m("M"), m("P"), m("P"), false);
  EXPECT_EQ(shown(), "P -> M -> P");
}

TEST_F(Insert, OfAModuleBesideItselfLinksNothing) {
  given("M -> N");
  ApplyGraph::insert(m("M"), m("M"), m("M"), true);
  EXPECT_EQ(shown(), "(M) -> N");
  EXPECT_EQ(calls(), "");
}

TEST_F(Insert, OfNullChangesNothing) {
  given("P -> N; P -> ~; ~ -> N");
  ApplyGraph::insert(nullptr, m("P"), m("N"), true);
  EXPECT_EQ(shown(), "P -> N; ~ -> N; P -> ~");
  EXPECT_EQ(calls(), "");
}

TEST_F(Insert, LeavesTheInsertInformation) {
  given("P:p -> N:n; M:m[side<p,transfer]");
  ApplyGraph::insert(m("M"), m("P"), m("N"), true);
  EXPECT_EQ(shown(), "P:p -> (M):m[transfer,side<p] -> N:n");
}

TEST_F(InsertAfter, BecomesTheOnlyNextModuleAndTakesOverTheOthers) {
  given("A -> B -> C; A -> (S):s; M");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> M -> B -> C; M -> (S):s");
  EXPECT_EQ(calls(), "M B M S M A");
}

TEST_F(InsertAfter, TakesTheAnchorsPlaceInPreviousLists) {
  given("Q -> B; A -> B; R -> B; M");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(g.names(m("B")->getPreviousApplyModules()), "Q M R");
  EXPECT_EQ(shown(), "Q -> B; A -> M -> B; R -> B");
}

TEST_F(InsertAfter, CutsTheModuleLooseFirst) {
  given("A -> B; X -> M -> Y; W -> M -> Z");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> M -> B; X; Y; W; Z");
  EXPECT_EQ(calls(), "Y Z X W M B M A");
}

TEST_F(InsertAfter, MovesAModuleForwards) {
  given("M -> A -> B");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "M -> B; A -> M");
}

TEST_F(InsertAfter, MovesAModuleBackwards) {
  // Its old neighbours are not connected with one another.
  given("A -> B -> M -> C");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> M -> B; C");
}

TEST_F(InsertAfter, DropsDeadEntries) {
  given("A -> ~; A -> B; A -> ~; ~ -> M -> ~");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> M -> B");
  EXPECT_EQ(calls(), "M B M A");
}

TEST_F(InsertAfter, LeavesAllFlags) {
  given("A -> (S):s; (M)");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> (M) -> (S):s");
  given("(A) -> B; M");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "(A) -> M -> B");
}

TEST_F(InsertAfter, LeavesTheInsertInformation) {
  given("A -> S:s[side]; M:m[fork<s,transfer]");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> M:m[transfer,fork<s] -> S:s[side]");
}

TEST_F(InsertAfter, ChangesNothingWhereTheModuleFollowsAlready) {
  given("A -> B; A -> M -> C");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> B; A -> M -> C");
  given("A .-> M -> C; A -> B");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown({"A -> M is not known to A"}), "A -> B; A .-> M -> C");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertAfter, AsksTheModuleNotTheAnchor) {
  given("A ->. M; A -> B");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> M -> B");
}

TEST_F(InsertAfter, TakesOverOneSidedLinksOneSided) {
  given("A ->. B; M");
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown({"M -> B is not known to B"}), "A -> M ->. B");
  EXPECT_EQ(calls(), "M M A");
}

TEST_F(InsertAfter, WithoutAnchorChangesNothing) {
  given("A -> M -> B");
  ApplyGraph::insertAfter(m("M"), nullptr);
  EXPECT_EQ(shown(), "A -> M -> B");
  // A dead entry is not the missing anchor.
  given("~ -> M -> B");
  ApplyGraph::insertAfter(m("M"), nullptr);
  EXPECT_EQ(shown(), "M -> B; ~ -> M");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertAfter, OfNullChangesNothing) {
  given("A -> B");
  ApplyGraph::insertAfter(nullptr, m("A"));
  EXPECT_EQ(shown(), "A -> B");
}

TEST_F(InsertAfter, OfAModuleAfterItselfCutsItLoose) {
  given("A -> M -> B");
  ApplyGraph::insertAfter(m("M"), m("M"));
  EXPECT_EQ(shown(), "A; M; B");
  EXPECT_EQ(calls(), "B A");
}

// The list that the edit goes through gets shorter under it.
TEST_F(InsertAfter, PassesOverWhatAHookTakesOut) {
  given("A -> B; A -> C; M");
  g.as<TestSupport::TestModule>("B")->whenGraphChanges = [this](TestSupport::TestModule&) {
    ApplyGraph::remove(m("C"));
  };
  ApplyGraph::insertAfter(m("M"), m("A"));
  EXPECT_EQ(shown(), "A -> M -> B; C");
}

TEST_F(InsertAfter, IsPartlyDoneWhenAHookThrows) {
  given("A -> B; A -> C; X -> M");
  failing = "B";
  EXPECT_THROW(ApplyGraph::insertAfter(m("M"), m("A")), std::runtime_error);
  EXPECT_EQ(shown({"A -> B is not known to B"}), "A ->. B; A -> C; M -> B; X");
  EXPECT_EQ(calls(), "X M B");
}

TEST_F(InsertBefore, BecomesTheOnlyPreviousModuleAndTakesOverTheOthers) {
  given("P -> A; Q -> A -> B; M");
  ApplyGraph::insertBefore(m("M"), m("A"));
  EXPECT_EQ(shown(), "P -> M -> A -> B; Q -> M");
  EXPECT_EQ(g.names(m("M")->getPreviousApplyModules()), "P Q");
  EXPECT_EQ(calls(), "M P M Q M A");
}

TEST_F(InsertBefore, TakesTheAnchorsPlaceInNextLists) {
  given("P -> X; P -> A; P -> Y; M");
  ApplyGraph::insertBefore(m("M"), m("A"));
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X M Y");
  EXPECT_EQ(shown(), "P -> X; P -> M -> A; P -> Y");
}

TEST_F(InsertBefore, TakesTheStartOfTheSideChain) {
  given("P -> (A):s -> B:s; M:s");
  ApplyGraph::insertBefore(m("M"), m("A"));
  EXPECT_EQ(shown(), "P -> (M):s -> A:s -> B:s");
  EXPECT_THAT(chainViolations(g), IsEmpty());
}

TEST_F(InsertBefore, LeavesTheModulesFlagWhereTheAnchorHasNone) {
  given("P -> A; (M)");
  ApplyGraph::insertBefore(m("M"), m("A"));
  EXPECT_EQ(shown(), "P -> (M) -> A");
}

TEST_F(InsertBefore, LeavesTheInsertInformation) {
  given("P -> (A):s[side]; M:m[merge<s+main,transfer]");
  ApplyGraph::insertBefore(m("M"), m("A"));
  EXPECT_EQ(shown(), "P -> (M):m[transfer,merge<s+main] -> A:s[side]");
}

TEST_F(InsertBefore, CutsTheModuleLooseFirst) {
  given("A -> B; X -> M -> Y; W -> M -> Z");
  ApplyGraph::insertBefore(m("M"), m("B"));
  EXPECT_EQ(shown(), "A -> M -> B; X; Y; W; Z");
  EXPECT_EQ(calls(), "Y Z X W M A M B");
}

TEST_F(InsertBefore, MovesAModuleBackwards) {
  given("A -> B -> M");
  ApplyGraph::insertBefore(m("M"), m("B"));
  EXPECT_EQ(shown(), "A -> M -> B");
}

TEST_F(InsertBefore, DropsDeadEntries) {
  given("~ -> B; A -> B; ~ -> B; ~ -> M -> ~");
  ApplyGraph::insertBefore(m("M"), m("B"));
  EXPECT_EQ(shown(), "A -> M -> B");
  EXPECT_EQ(calls(), "M A M B");
}

TEST_F(InsertBefore, ChangesNothingWhereTheModuleLeadsThereAlready) {
  given("A -> (B); M -> B");
  ApplyGraph::insertBefore(m("M"), m("B"));
  EXPECT_EQ(shown(), "A -> (B); M -> B");
  given("A -> (B); M ->. B");
  ApplyGraph::insertBefore(m("M"), m("B"));
  EXPECT_EQ(shown({"M -> B is not known to B"}), "A -> (B); M ->. B");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertBefore, AsksTheModuleNotTheAnchor) {
  given("A -> B; M .-> B");
  ApplyGraph::insertBefore(m("M"), m("B"));
  EXPECT_EQ(shown(), "A -> M -> B");
}

TEST_F(InsertBefore, TakesOverOneSidedLinksOneSided) {
  given("A .-> B; M");
  ApplyGraph::insertBefore(m("M"), m("B"));
  EXPECT_EQ(shown({"A -> M is not known to A"}), "A .-> M -> B");
  EXPECT_EQ(calls(), "M M B");
}

TEST_F(InsertBefore, WithoutAnchorChangesNothing) {
  given("A -> M -> B");
  ApplyGraph::insertBefore(m("M"), nullptr);
  EXPECT_EQ(shown(), "A -> M -> B");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertBefore, OfNullChangesNothing) {
  given("A -> (B)");
  ApplyGraph::insertBefore(nullptr, m("B"));
  EXPECT_EQ(shown(), "A -> (B)");
}

TEST_F(InsertBefore, OfAModuleBeforeItselfCutsItLoose) {
  given("A -> (M) -> B");
  ApplyGraph::insertBefore(m("M"), m("M"));
  EXPECT_EQ(shown(), "A; (M); B");
  EXPECT_EQ(calls(), "B A");
}

TEST_F(InsertBefore, IsPartlyDoneWhenAHookThrows) {
  given("P -> (A); Q -> A; M");
  failing = "A";
  EXPECT_THROW(ApplyGraph::insertBefore(m("M"), m("A")), std::runtime_error);
  // All links are there; the flag has not moved.
  EXPECT_EQ(shown(), "P -> M -> (A); Q -> M");
}

TEST_F(Remove, LinksTheNeighboursAtTheEndsOfTheirLists) {
  given("P -> M; P -> X; M -> N; Y -> N");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "P -> X; Y -> N; P -> N; M");
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X N");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "Y P");
  EXPECT_EQ(calls(), "P M P N M N");
}

TEST_F(Remove, LinksEachPreviousModuleWithEachNextModule) {
  given("P -> M; Q -> M; M -> N; M -> O");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "P -> N; P -> O; Q -> N; Q -> O; M");
  EXPECT_EQ(calls(), "P M P P Q M Q Q N M N N O M O O");
}

TEST_F(Remove, DoesNotLinkTwice) {
  given("P -> M -> N; P -> N");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "P -> N; M");
  EXPECT_EQ(calls(), "P M N M");
}

TEST_F(Remove, OfAStartLeavesTheNextModulesWithoutPrevious) {
  given("M -> N; M -> O");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "M; N; O");
  EXPECT_EQ(calls(), "N M O M");
}

TEST_F(Remove, OfAnEndLeavesThePreviousModulesWithoutNext) {
  given("P -> M; Q -> M");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "P; M; Q");
  EXPECT_EQ(calls(), "P M Q M");
}

TEST_F(Remove, OfASideChainStartHandsTheFlagToAllNextModules) {
  given("P -> (M):s; M -> N:s; M -> O:o");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "P -> (N):s; P -> (O):o; M:s");
}

TEST_F(Remove, OfAnOrdinaryModuleLeavesFlags) {
  given("P -> M -> (N):s; M -> O");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "P -> (N):s; P -> O; M");
}

TEST_F(Remove, ClearsTheFlagOfALoneModule) {
  given("(M)");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "M");
  EXPECT_EQ(calls(), "");
}

TEST_F(Remove, PassesOverDeadEntriesAndLeavesThem) {
  given("~ -> M; P -> M -> ~; M -> N; ~ -> N; P -> ~");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(g.names(m("M")->getPreviousApplyModules()), "~");
  EXPECT_EQ(g.names(m("M")->getNextApplyModules()), "~");
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "~ N");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "~ P");
  EXPECT_EQ(calls(), "P M P N M N");
}

TEST_F(Remove, LeavesTheInsertInformation) {
  given("P -> M:m[merge<p+q,transfer] -> N:n[side]");
  ApplyGraph::remove(m("M"));
  EXPECT_EQ(shown(), "P -> N:n[side]; M:m[transfer,merge<p+q]");
}

TEST_F(Remove, OfNullChangesNothing) {
  given("~ -> A -> ~");
  ApplyGraph::remove(nullptr);
  EXPECT_EQ(shown(), "A -> ~; ~ -> A");
}

TEST_F(Remove, IsPartlyDoneWhenAHookThrows) {
  given("P -> M -> N");
  failing = "M";
  EXPECT_THROW(ApplyGraph::remove(m("M")), std::runtime_error);
  EXPECT_EQ(shown(), "M -> N; P");
  EXPECT_EQ(calls(), "P M");
}

TEST_F(Replace, KeepsThePlacesInTheNeighboursLists) {
  given("P -> X; P -> O; P -> Y; V -> N; O -> N; W -> N; R");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X R Y");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "V R W");
  EXPECT_EQ(g.names(m("R")->getPreviousApplyModules()), "P");
  EXPECT_EQ(g.names(m("R")->getNextApplyModules()), "N");
  EXPECT_EQ(shown(), "P -> X; P -> R; P -> Y; V -> N; R -> N; W -> N; O");
  EXPECT_EQ(calls(), "N P");
}

TEST_F(Replace, TellsTheNextModulesFirst) {
  given("P -> O; Q -> O -> N; O -> M; R");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(shown(), "P -> R -> N; R -> M; Q -> R; O");
  EXPECT_EQ(calls(), "N M P Q");
}

TEST_F(Replace, TakesOverDeadEntries) {
  given("~ -> O; P -> O -> ~; O -> N; R");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(g.names(m("R")->getPreviousApplyModules()), "~ P");
  EXPECT_EQ(g.names(m("R")->getNextApplyModules()), "~ N");
  EXPECT_TRUE(m("O")->getNextApplyModules().empty());
  EXPECT_TRUE(m("O")->getPreviousApplyModules().empty());
}

TEST_F(Replace, OverwritesTheNewModulesLinksWithoutUnlinkingThem) {
  given("P -> O -> N; X -> R -> Y");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(g.names(m("R")->getPreviousApplyModules()), "P");
  EXPECT_EQ(g.names(m("R")->getNextApplyModules()), "N");
  shown({"X -> R is not known to R", "R -> Y is not known to R"});
  EXPECT_EQ(calls(), "N P");
}

TEST_F(Replace, MovesTheStartOfTheSideChain) {
  given("P -> (O):s -> N:s; R:s");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(shown(), "P -> (R):s -> N:s; O:s");
}

TEST_F(Replace, LeavesTheNewModulesFlagWhereTheOldOneHasNone) {
  given("P -> O -> N; (R)");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(shown(), "P -> (R) -> N; O");
}

TEST_F(Replace, LeavesTheInsertInformation) {
  given("P -> O:o[side<p]; R:r[fork<x,transfer]");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(shown(), "P -> R:r[transfer,fork<x]; O:o[side<p]");
}

TEST_F(Replace, LeavesOneSidedLinksOneSided) {
  given("P .-> O ->. N; R");
  ApplyGraph::replace(m("O"), m("R"));
  EXPECT_EQ(shown({"P -> R is not known to P", "R -> N is not known to N"}), "P .-> R ->. N; O");
  EXPECT_EQ(calls(), "");
}

// A module takes its own place: its lists go, its neighbours' entries stay.
TEST_F(Replace, OfAModuleByItselfLeavesItWithoutLists) {
  given("P -> (M) -> N");
  ApplyGraph::replace(m("M"), m("M"));
  EXPECT_EQ(shown({"P -> M is not known to M", "M -> N is not known to M"}), "P ->. (M) .-> N");
  EXPECT_EQ(calls(), "");
}

// The new module takes over the old one's link to it, and nobody may exchange it there.
TEST_F(Replace, ByTheNextModuleLinksThatWithItself) {
  given("P -> O -> N -> X");
  ApplyGraph::replace(m("O"), m("N"));
  EXPECT_EQ(g.names(m("N")->getNextApplyModules()), "N");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "P");
  EXPECT_EQ(shown({"N -> N links a module with itself", "N -> X is not known to N"}),
            "P -> N ->. N .-> X; O");
  EXPECT_EQ(calls(), "P");
}

TEST_F(Replace, ByThePreviousModuleLinksThatWithItself) {
  given("X -> P -> O -> N");
  ApplyGraph::replace(m("O"), m("P"));
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "N");
  EXPECT_EQ(g.names(m("P")->getPreviousApplyModules()), "P");
  shown({"P -> P links a module with itself", "X -> P is not known to P"});
  EXPECT_EQ(calls(), "N");
}

TEST_F(Replace, WithNullChangesNothing) {
  given("P -> (O) -> N; R");
  ApplyGraph::replace(nullptr, m("R"));
  ApplyGraph::replace(m("O"), nullptr);
  EXPECT_EQ(shown(), "P -> (O) -> N; R");
  EXPECT_EQ(calls(), "");
}

TEST_F(Replace, IsPartlyDoneWhenAHookThrows) {
  given("P -> (O) -> N; R");
  failing = "N";
  EXPECT_THROW(ApplyGraph::replace(m("O"), m("R")), std::runtime_error);
  EXPECT_EQ(shown({"P -> O is not known to O", "P -> R is not known to P"}),
            "P ->. (O); P .-> R -> N");
}

TEST_F(AddFork, MakesAForkOfTheSideChainAndAMergeOfTheModule) {
  given("A -> B -> C; A -> (S):s[side] -> T:s");
  ApplyGraph::addFork(m("T"), m("C"));
  // The start keeps its flag.
  EXPECT_EQ(shown(), "A -> B -> C[merge<main+s]; A -> (S):s[fork] -> T:s -> C");
  EXPECT_EQ(calls(), "C T");
  EXPECT_THAT(chainViolations(g), IsEmpty());
}

TEST_F(AddFork, NamesTheChainOfThePreviousModuleAsStartChain) {
  given("A -> P:p[side] -> (S):s[side<x+y]; A -> C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "fork<p");
  EXPECT_EQ(TestSupport::marksText(*m("C")), "merge<main+s");
  given("A -> (S):s[side<x]; A -> C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "fork");
}

TEST_F(AddFork, KeepsTheChainIdOfTheModuleJoined) {
  given("A -> B:b -> C:b[add]; A -> S:s[side]");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> B:b -> C:b[merge<b+s]; A -> S:s[fork] -> C");
}

TEST_F(AddFork, LeavesATransferRequest) {
  given("A -> C[transfer]; A -> S:s[side,transfer]");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> C[transfer,merge<main+s]; A -> S:s[transfer,fork] -> C");
}

TEST_F(AddFork, ListsTheChainsOfAllLivePreviousModulesInOrder) {
  given("A:a -> C; ~ -> C; B:b -> C; ~ -> C; A2:a -> C; F:f");
  ApplyGraph::addFork(m("F"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("C")), "merge<a+b+a+f");
}

TEST_F(AddFork, IntoAModuleWithoutPreviousMakesAMergeOfOne) {
  given("S:s; C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "S:s -> C[merge<s]");
  EXPECT_THAT(chainViolations(g), ElementsAre("C is in merge mode but has 1 previous"));
}

TEST_F(AddFork, LooksForTheFirstModuleOfTheChain) {
  given("A -> S:s[side] -> T:s[side] -> U:s[side]; A -> C");
  ApplyGraph::addFork(m("U"), m("C"));
  EXPECT_EQ(shown(), "A -> S:s[fork] -> T:s[side] -> U:s[side]; A -> C[merge<main+s]; U -> C");
}

TEST_F(AddFork, OfTheMainChainLooksAtTheStartOfTheGraph) {
  given("R:r -> A[side] -> B; X:x -> C");
  ApplyGraph::addFork(m("B"), m("C"));
  EXPECT_EQ(shown(), "R:r -> A[side] -> B; X:x -> C[merge<x+main]; B -> C");
  given("~ -> A[side] -> B; X:x -> C");
  ApplyGraph::addFork(m("B"), m("C"));
  EXPECT_EQ(shown(), "A[side] -> B; ~ -> A; X:x -> C[merge<x+main]; B -> C");
}

TEST_F(AddFork, LeavesOtherModesOfTheFirstModule) {
  for (const char* mode : {"add", "fork<x", "merge<x+y"}) {
    given("A -> S:s[" + std::string(mode) + "]; A -> C");
    const auto before = TestSupport::marksText(*m("S"));
    ApplyGraph::addFork(m("S"), m("C"));
    EXPECT_EQ(TestSupport::marksText(*m("S")), before);
  }
}

TEST_F(AddFork, LeavesAFirstModuleThatHangsOnNone) {
  given("S:s[side<x]; A -> C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> C[merge<main+s]; S:s[side<x] -> C");
}

TEST_F(AddFork, LeavesAFirstModuleThatHangsOnTwo) {
  given("A -> S:s[side<x]; B -> S; A -> C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "side<x");
}

// Entries are counted, not neighbours.
TEST_F(AddFork, CountsDeadEntriesOfTheFirstModule) {
  given("A -> S:s[side<x]; ~ -> S; A -> C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "side<x");
  given("~ -> S:s[side<x]; A -> C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "side<x");
}

TEST_F(AddFork, OfALinkThatExistsOnlySetsTheModes) {
  given("A -> C; A -> S:s[side] -> C");
  ApplyGraph::addFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> C[merge<main+s]; A -> S:s[fork] -> C");
  EXPECT_EQ(calls(), "");
}

TEST_F(AddFork, OfAModuleIntoItselfOnlySetsTheModes) {
  given("A -> S:s[side]");
  ApplyGraph::addFork(m("S"), m("S"));
  EXPECT_EQ(shown(), "A -> S:s[merge<main]");
  EXPECT_EQ(calls(), "");
}

TEST_F(AddFork, WithNullChangesNothing) {
  given("~ -> C; A -> S:s[side] -> ~");
  ApplyGraph::addFork(nullptr, m("C"));
  ApplyGraph::addFork(m("S"), nullptr);
  EXPECT_EQ(shown(), "~ -> C; A -> S:s[side] -> ~");
  EXPECT_EQ(calls(), "");
}

TEST_F(AddFork, IsPartlyDoneWhenAHookThrows) {
  given("A -> C; A -> S:s[side]");
  failing = "C";
  EXPECT_THROW(ApplyGraph::addFork(m("S"), m("C")), std::runtime_error);
  EXPECT_EQ(shown({"S -> C is not known to S"}), "A -> C; A -> S:s[fork] .-> C");
}

TEST_F(RemoveFork, UndoesAddFork) {
  given("A -> B -> C; A -> (S):s[side] -> T:s");
  ApplyGraph::addFork(m("T"), m("C"));
  calls();
  ApplyGraph::removeFork(m("T"), m("C"));
  // The chain ids stay behind in the insert information.
  EXPECT_EQ(shown(), "A -> B -> C[<main+s]; A -> (S):s[side] -> T:s");
  EXPECT_EQ(calls(), "C T");
  EXPECT_THAT(chainViolations(g), IsEmpty());
}

TEST_F(RemoveFork, ClearsATransferRequestOfTheModule) {
  given("A -> C:c[merge<a+s,transfer]; A -> S:s[fork] -> C");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> C:c[<a+s]; A -> S:s[side]");
}

// A fork that was placed as one is not flagged, and does not become so.
TEST_F(RemoveFork, LeavesAMergeOfThreeAsItIs) {
  given("A -> C[merge<main+s+t]; A -> S:s[fork] -> C; A -> T:t[fork] -> C");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> C[merge<main+s+t]; A -> S:s[side]; A -> T:t[fork] -> C");
  EXPECT_THAT(chainViolations(g), ElementsAre("C merges main+s+t but follows main+t",
                                              "S is in side mode but not flagged"));
}

TEST_F(RemoveFork, LeavesAModuleWithoutPreviousInMergeMode) {
  given("A -> S:s[fork] -> C[merge<s]");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> S:s[side]; C[merge<s]");
  EXPECT_THAT(chainViolations(g), ElementsAre("S is in side mode but not flagged",
                                              "C is in merge mode but has 0 previous"));
}

TEST_F(RemoveFork, CountsDeadPreviousEntriesOfTheModule) {
  given("~ -> C[merge<main+s]; A -> S:s[fork] -> C");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("C")), "<main+s");
  given("A -> C[merge<main+s]; ~ -> C; A -> S:s[fork] -> C");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("C")), "merge<main+s");
}

TEST_F(RemoveFork, NamesTheChainOfThePreviousModuleAsStartChain) {
  given("A -> P:p -> S:s[fork<x] -> C; A -> C");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "side<p");
}

TEST_F(RemoveFork, LeavesTheForkWhileAModuleOfItLeadsElsewhere) {
  given("A -> S:s[fork] -> T:s -> C; T -> D; A -> C");
  ApplyGraph::removeFork(m("T"), m("C"));
  EXPECT_EQ(shown(), "A -> S:s[fork] -> T:s -> D; A -> C");
  given("A -> S:s[fork] -> T:s -> C; A -> C; S -> D");
  ApplyGraph::removeFork(m("T"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "fork");
}

TEST_F(RemoveFork, CountsDeadNextEntriesOfTheFork) {
  given("A -> S:s[fork] -> ~; S -> T:s -> C; A -> C");
  ApplyGraph::removeFork(m("T"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "fork");
}

// The link that is removed counts too: a fork link out of the middle leaves a fork.
TEST_F(RemoveFork, CountsTheNextEntriesBeforeTheLinkIsRemoved) {
  given("A -> S:s[fork] -> T:s; S -> C; A -> C");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> S:s[fork] -> T:s; A -> C");
}

TEST_F(RemoveFork, LooksAtTheWholeChainFromItsFirstModuleOn) {
  given("A -> S:s[fork] -> T:s -> U:s -> V:s; T -> C; A -> C; V -> X; V -> Y");
  ApplyGraph::removeFork(m("T"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "fork");
}

TEST_F(RemoveFork, CountsAnEntryThatStandsTwice) {
  given("A -> S:s[fork] -> T:s -> C; A -> C; S ->. T");
  ApplyGraph::removeFork(m("T"), m("C"));
  EXPECT_EQ(TestSupport::marksText(*m("S")), "fork");
}

TEST_F(RemoveFork, CutsTheModuleOfTheChainThatLeadsThere) {
  given("A -> S:s[fork] -> T:s -> C; A -> C");
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(shown(), "A -> S:s[side] -> T:s; A -> C");
  EXPECT_EQ(calls(), "C T");
}

TEST_F(RemoveFork, CutsTheFirstOfTwoModulesOfTheChainThatLeadThere) {
  given("A -> S:s[fork] -> T:s; S -> C; T -> C");
  ApplyGraph::removeFork(m("T"), m("C"));
  EXPECT_EQ(shown(), "A -> S:s[fork] -> T:s -> C");
}

TEST_F(RemoveFork, LeavesOtherModesOfTheFirstModule) {
  for (const char* mode : {"add<x", "side<x", "merge<x+y"}) {
    given("A -> S:s[" + std::string(mode) + "] -> C; A -> C");
    const auto before = TestSupport::marksText(*m("S"));
    ApplyGraph::removeFork(m("S"), m("C"));
    EXPECT_EQ(TestSupport::marksText(*m("S")), before);
  }
}

TEST_F(RemoveFork, CountsTheEntriesThatTheFirstModuleHangsOn) {
  for (const char* others : {"", "A -> S; B -> S; ", "A -> S; ~ -> S; ", "~ -> S; "}) {
    given("S:s[fork<x] -> C; " + std::string(others) + "A -> C");
    ApplyGraph::removeFork(m("S"), m("C"));
    EXPECT_EQ(TestSupport::marksText(*m("S")), "fork<x") << others;
  }
}

TEST_F(RemoveFork, OfTheMainChainMakesNoSideChain) {
  given("R:r -> A[fork<x] -> C:c[merge<main+r]; R -> C");
  ApplyGraph::removeFork(m("A"), m("C"));
  EXPECT_EQ(shown(), "R:r -> A[fork<x]; R -> C:c[<main+r]");
}

TEST_F(RemoveFork, WithoutAForkLinkChangesNothing) {
  given("A -> S:s[fork]; A -> C[merge<main,transfer]; ~ -> C");
  const auto before = shown();
  ApplyGraph::removeFork(m("S"), m("C"));
  EXPECT_EQ(shown(), before);
  EXPECT_EQ(calls(), "");
}

TEST_F(RemoveFork, WithNullChangesNothing) {
  given("~ -> C; A -> S:s[fork] -> ~");
  ApplyGraph::removeFork(nullptr, m("C"));
  ApplyGraph::removeFork(m("S"), nullptr);
  EXPECT_EQ(shown(), "~ -> C; A -> S:s[fork] -> ~");
  EXPECT_EQ(calls(), "");
}

TEST_F(RemoveFork, IsPartlyDoneWhenAHookThrows) {
  given("A -> C[merge<main+s]; A -> S:s[fork] -> C");
  failing = "S";
  EXPECT_THROW(ApplyGraph::removeFork(m("S"), m("C")), std::runtime_error);
  EXPECT_EQ(shown(), "A -> C[merge<main+s]; A -> S:s[fork]");
  EXPECT_EQ(calls(), "C S");
}

}  // namespace
}  // namespace Tessaril
