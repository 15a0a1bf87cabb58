#include <stdexcept>

#include "tests/graph/EditFixture.h"

namespace Tessaril {
namespace {

using ::testing::IsEmpty;
using TestSupport::chainViolations;

// In all these tests S -> I -> E is the sub-graph and I must not be called.

class InsertSubGraph : public TestSupport::EditFixture {};
class InsertSubGraphAfter : public TestSupport::EditFixture {};
class InsertSubGraphBefore : public TestSupport::EditFixture {};
class RemoveSubGraph : public TestSupport::EditFixture {};
class MoveStartOfSubChain : public TestSupport::EditFixture {};

TEST_F(InsertSubGraph, TakesThePlaceOfTheLinkInBothLists) {
  given("S -> I -> E; P -> X; P -> N; P -> Y; Q -> N");
  ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), m("N"), false);
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X S Y");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "E Q");
  EXPECT_EQ(shown(), "S -> I -> E -> N; P -> X; P -> S; P -> Y; Q -> N");
  EXPECT_EQ(calls(), "S E P N");
}

TEST_F(InsertSubGraph, AppendsBetweenModulesThatWereNotLinked) {
  given("S -> I -> E; P -> X; Q -> N");
  ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), m("N"), false);
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X S");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "Q E");
  EXPECT_EQ(calls(), "S E P N");
}

TEST_F(InsertSubGraph, WithoutNextAppendsToThePreviousModule) {
  given("S -> I -> E; P -> N");
  ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), nullptr, true);
  EXPECT_EQ(shown(), "(S) -> I -> E; P -> N; P -> S");
  EXPECT_EQ(calls(), "S P");
}

TEST_F(InsertSubGraph, WithoutNextTakesThePlaceOfTheFirstDeadEntry) {
  given("S -> E; P -> X; P -> ~; P -> Y; P -> ~");
  ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), nullptr, false);
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X S Y ~");
}

TEST_F(InsertSubGraph, WithoutPreviousAppendsToTheNextModule) {
  given("S -> I -> E; P -> N");
  ApplyGraph::insertSubGraph(m("S"), m("E"), nullptr, m("N"), false);
  EXPECT_EQ(shown(), "S -> I -> E; P -> N; E -> N");
  EXPECT_EQ(calls(), "E N");
}

TEST_F(InsertSubGraph, WithoutPreviousTakesThePlaceOfTheFirstDeadEntry) {
  given("S -> E; X -> N; ~ -> N; Y -> N");
  ApplyGraph::insertSubGraph(m("S"), m("E"), nullptr, m("N"), false);
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "X E Y");
}

TEST_F(InsertSubGraph, SetsTheFlagButNeverClearsIt) {
  given("(S) -> E; P -> N");
  ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), m("N"), false);
  EXPECT_EQ(shown(), "(S) -> E -> N; P -> S");
  given("S -> E");
  ApplyGraph::insertSubGraph(m("S"), m("E"), nullptr, nullptr, true);
  EXPECT_EQ(shown(), "(S) -> E");
  given("S -> E");
  ApplyGraph::insertSubGraph(m("S"), m("E"), nullptr, nullptr, false);
  EXPECT_EQ(shown(), "S -> E");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertSubGraph, OfOneModuleLinksThatOnBothSides) {
  given("P -> N; S");
  ApplyGraph::insertSubGraph(m("S"), m("S"), m("P"), m("N"), false);
  EXPECT_EQ(shown(), "P -> S -> N");
  EXPECT_EQ(calls(), "S S P N");
}

TEST_F(InsertSubGraph, LeavesOtherLinksOfItsEnds) {
  given("A -> S -> E -> B; P -> N");
  ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), m("N"), false);
  EXPECT_EQ(shown(), "A -> S -> E -> B; E -> N; P -> S");
}

TEST_F(InsertSubGraph, WithNullEndsChangesNothing) {
  given("S -> E; P -> N; P -> ~");
  ApplyGraph::insertSubGraph(nullptr, m("E"), m("P"), m("N"), true);
  ApplyGraph::insertSubGraph(m("S"), nullptr, m("P"), m("N"), true);
  EXPECT_EQ(shown(), "S -> E; P -> N; P -> ~");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertSubGraph, IsPartlyDoneWhenAHookThrows) {
  given("S -> E; P -> N");
  failing = "P";
  EXPECT_THROW(ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), m("N"), true),
               std::runtime_error);
  EXPECT_EQ(shown({"E -> N is not known to N", "P -> N is not known to P"}),
            "S -> E ->. N; P -> S; P .-> N");
}

TEST_F(InsertSubGraphAfter, BecomesTheOnlyNextAndTakesOverTheOthers) {
  given("S -> I -> E; A -> B; A -> (C):c");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "S -> I -> E -> B; E -> (C):c; A -> S");
  EXPECT_EQ(calls(), "E B E C S A");
}

TEST_F(InsertSubGraphAfter, TakesTheAnchorsPlaceInPreviousLists) {
  given("S -> E; Q -> B; A -> B; R -> B");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  EXPECT_EQ(g.names(m("B")->getPreviousApplyModules()), "Q E R");
}

TEST_F(InsertSubGraphAfter, CutsTheSubGraphOutOfItsSurroundings) {
  given("X -> S -> I -> E -> Y; I -> J; H -> I; A -> B");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "S -> I -> E -> B; I -> J; H -> I; A -> S; X; Y");
  EXPECT_EQ(calls(), "Y X E B S A");
}

TEST_F(InsertSubGraphAfter, LeavesWhatEndFollowsAndWhatStartLeadsTo) {
  given("Z -> E -> Y; X -> S -> W; S -> E; A -> B");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  EXPECT_EQ(g.names(m("E")->getPreviousApplyModules()), "Z S");
  EXPECT_EQ(g.names(m("S")->getNextApplyModules()), "W E");
  EXPECT_EQ(g.names(m("E")->getNextApplyModules()), "B");
  EXPECT_EQ(g.names(m("S")->getPreviousApplyModules()), "A");
  shown();
}

TEST_F(InsertSubGraphAfter, DropsDeadEntries) {
  given("~ -> S -> E -> ~; A -> ~; A -> B");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "S -> E -> B; A -> S");
}

TEST_F(InsertSubGraphAfter, LeavesAllFlags) {
  given("S -> E; (A) -> (B)");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "S -> E -> (B); (A) -> S");
}

TEST_F(InsertSubGraphAfter, ChangesNothingWhereItIsInPlace) {
  given("A -> B; A -> S -> E -> C");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "A -> B; A -> S -> E -> C");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertSubGraphAfter, AsksTheStartNotTheEnd) {
  given("S -> E; A -> E; A -> B");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A"));
  // The end follows the anchor itself and may not be linked with itself.
  EXPECT_EQ(g.names(m("A")->getNextApplyModules()), "S");
  EXPECT_EQ(g.names(m("E")->getNextApplyModules()), "B");
  EXPECT_EQ(g.names(m("E")->getPreviousApplyModules()), "S A");
  shown({"A -> E is not known to A"});
}

TEST_F(InsertSubGraphAfter, WithNullChangesNothing) {
  given("~ -> S -> E -> ~; A -> B");
  ApplyGraph::insertSubGraphAfter(m("S"), m("E"), nullptr);
  ApplyGraph::insertSubGraphAfter(nullptr, m("E"), m("A"));
  ApplyGraph::insertSubGraphAfter(m("S"), nullptr, m("A"));
  EXPECT_EQ(shown(), "S -> E -> ~; ~ -> S; A -> B");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertSubGraphAfter, IsPartlyDoneWhenAHookThrows) {
  given("S -> E; A -> B");
  failing = "S";
  EXPECT_THROW(ApplyGraph::insertSubGraphAfter(m("S"), m("E"), m("A")), std::runtime_error);
  EXPECT_EQ(shown({"A -> S is not known to A", "A -> B is not known to B"}),
            "S -> E -> B; A ->. B; A .-> S");
}

TEST_F(InsertSubGraphBefore, BecomesTheOnlyPreviousAndTakesOverTheOthers) {
  given("S -> I -> E; P -> A; Q -> A -> B");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "S -> I -> E -> A -> B; P -> S; Q -> S");
  EXPECT_EQ(calls(), "S P S Q E A");
}

TEST_F(InsertSubGraphBefore, TakesTheAnchorsPlaceInNextLists) {
  given("S -> E; P -> X; P -> A; P -> Y");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("A"));
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "X S Y");
}

TEST_F(InsertSubGraphBefore, TakesTheStartOfTheSideChain) {
  given("S:s -> E:s; P -> (A):s -> B:s");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "(S):s -> E:s -> A:s -> B:s; P -> S");
  EXPECT_THAT(chainViolations(g), IsEmpty());
}

TEST_F(InsertSubGraphBefore, LeavesTheFlagWhereTheAnchorHasNone) {
  given("(S) -> (E); P -> A");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "(S) -> (E) -> A; P -> S");
}

TEST_F(InsertSubGraphBefore, CutsTheSubGraphOutOfItsSurroundings) {
  given("X -> S -> I -> E -> Y; A -> B");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("B"));
  EXPECT_EQ(shown(), "S -> I -> E -> B; A -> S; X; Y");
  EXPECT_EQ(calls(), "Y X S A E B");
}

TEST_F(InsertSubGraphBefore, DropsDeadEntries) {
  given("~ -> S -> E -> ~; ~ -> B; A -> B");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("B"));
  EXPECT_EQ(shown(), "S -> E -> B; A -> S");
}

TEST_F(InsertSubGraphBefore, ChangesNothingWhereItIsInPlace) {
  given("S -> E -> A; P -> (A)");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("A"));
  EXPECT_EQ(shown(), "S -> E -> (A); P -> A");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertSubGraphBefore, AsksTheEndNotTheStart) {
  given("S -> E; S -> A; P -> A");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("A"));
  // The start leads to the anchor itself and may not be linked with itself.
  EXPECT_EQ(g.names(m("A")->getPreviousApplyModules()), "E");
  EXPECT_EQ(g.names(m("S")->getPreviousApplyModules()), "P");
  EXPECT_EQ(g.names(m("S")->getNextApplyModules()), "E A");
  shown({"S -> A is not known to A"});
}

TEST_F(InsertSubGraphBefore, WithNullChangesNothing) {
  given("~ -> S -> E -> ~; P -> (A)");
  ApplyGraph::insertSubGraphBefore(m("S"), m("E"), nullptr);
  ApplyGraph::insertSubGraphBefore(nullptr, m("E"), m("A"));
  ApplyGraph::insertSubGraphBefore(m("S"), nullptr, m("A"));
  EXPECT_EQ(shown(), "S -> E -> ~; ~ -> S; P -> (A)");
  EXPECT_EQ(calls(), "");
}

TEST_F(InsertSubGraphBefore, IsPartlyDoneWhenAHookThrows) {
  given("S -> E; P -> (A)");
  failing = "E";
  EXPECT_THROW(ApplyGraph::insertSubGraphBefore(m("S"), m("E"), m("A")), std::runtime_error);
  EXPECT_EQ(shown({"E -> A is not known to A", "P -> A is not known to P"}),
            "S -> E ->. (A); P -> S; P .-> A");
}

TEST_F(RemoveSubGraph, LinksTheSurroundingsAtTheEndsOfTheirLists) {
  given("P -> S -> I -> E -> N; P -> X; Y -> N");
  ApplyGraph::removeSubGraph(m("S"), m("E"));
  EXPECT_EQ(shown(), "P -> X; S -> I -> E; Y -> N; P -> N");
  EXPECT_EQ(g.names(m("N")->getPreviousApplyModules()), "Y P");
  EXPECT_EQ(calls(), "P S P N E N");
}

TEST_F(RemoveSubGraph, LinksEachPreviousModuleWithEachNextModule) {
  given("P -> S; Q -> S -> E -> N; E -> O");
  ApplyGraph::removeSubGraph(m("S"), m("E"));
  EXPECT_EQ(shown(), "P -> N; P -> O; S -> E; Q -> N; Q -> O");
  EXPECT_EQ(calls(), "P S P P Q S Q Q N E N N O E O O");
}

TEST_F(RemoveSubGraph, KeepsTheFlagFromTheModulesBehindIt) {
  given("P -> (S):s -> E:s -> N:s");
  ApplyGraph::removeSubGraph(m("S"), m("E"));
  EXPECT_EQ(shown(), "P -> N:s; S:s -> E:s");
}

TEST_F(RemoveSubGraph, OfOneModuleKeepsTheFlagToo) {
  given("P -> (S):s -> N:s");
  ApplyGraph::removeSubGraph(m("S"), m("S"));
  EXPECT_EQ(shown(), "P -> N:s; S:s");
}

TEST_F(RemoveSubGraph, CanBeInsertedAgain) {
  given("P -> S -> I -> E -> N");
  ApplyGraph::removeSubGraph(m("S"), m("E"));
  ApplyGraph::insertSubGraph(m("S"), m("E"), m("P"), m("N"), false);
  EXPECT_EQ(shown(), "P -> S -> I -> E -> N");
}

TEST_F(RemoveSubGraph, LeavesOtherLinksOfItsModules) {
  given("P -> S -> I -> E -> N; S -> X; Y -> E; I -> Z");
  ApplyGraph::removeSubGraph(m("S"), m("E"));
  EXPECT_EQ(shown(), "P -> N; S -> I -> E; S -> X; I -> Z; Y -> E");
}

TEST_F(RemoveSubGraph, PassesOverDeadEntriesAndLeavesThem) {
  given("~ -> S; P -> S -> E -> ~; E -> N");
  ApplyGraph::removeSubGraph(m("S"), m("E"));
  EXPECT_EQ(shown(), "S -> E -> ~; ~ -> S; P -> N");
}

TEST_F(RemoveSubGraph, DoesNotLinkTwice) {
  given("P -> N; P -> S -> E -> N");
  ApplyGraph::removeSubGraph(m("S"), m("E"));
  EXPECT_EQ(shown(), "P -> N; S -> E");
}

TEST_F(RemoveSubGraph, WithNullChangesNothing) {
  given("~ -> (S) -> E -> ~");
  ApplyGraph::removeSubGraph(nullptr, m("E"));
  ApplyGraph::removeSubGraph(m("S"), nullptr);
  EXPECT_EQ(shown(), "(S) -> E -> ~; ~ -> S");
  EXPECT_EQ(calls(), "");
}

TEST_F(RemoveSubGraph, IsPartlyDoneWhenAHookThrows) {
  given("P -> (S) -> E -> N");
  failing = "N";
  EXPECT_THROW(ApplyGraph::removeSubGraph(m("S"), m("E")), std::runtime_error);
  EXPECT_EQ(shown({"E -> N is not known to N", "P -> N is not known to N"}),
            "P ->. N; (S) -> E ->. N");
  EXPECT_EQ(calls(), "P S P N");
}

TEST_F(MoveStartOfSubChain, KeepsThePlaceInThePreviousListAndAppendsToTheNext) {
  given("W -> S; A -> (S):s[side] -> T:s; X -> S; A -> Y; B -> Z");
  EXPECT_TRUE(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), m("B")));
  EXPECT_EQ(g.names(m("S")->getPreviousApplyModules()), "W B X");
  EXPECT_EQ(g.names(m("B")->getNextApplyModules()), "Z S");
  EXPECT_EQ(g.names(m("A")->getNextApplyModules()), "Y");
  EXPECT_EQ(shown(), "W -> (S):s[side] -> T:s; A -> Y; B -> Z; B -> S; X -> S");
  EXPECT_EQ(calls(), "S A B");
}

TEST_F(MoveStartOfSubChain, LeavesFlagAndInsertInformation) {
  given("A -> S:s[fork<x,transfer]; B:b");
  EXPECT_TRUE(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), m("B")));
  EXPECT_EQ(shown(), "B:b -> S:s[transfer,fork<x]; A");
}

TEST_F(MoveStartOfSubChain, ToTheSameParentMovesItToTheEnd) {
  given("A -> (S):s; A -> B");
  EXPECT_TRUE(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), m("A")));
  EXPECT_EQ(shown(), "A -> B; A -> (S):s");
  EXPECT_EQ(calls(), "S A A");
}

// The exchange of an entry does not look for duplicates.
TEST_F(MoveStartOfSubChain, ToAnotherParentOfItsOwnLeavesThatTwice) {
  given("A -> (S):s; B -> S");
  EXPECT_TRUE(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), m("B")));
  EXPECT_EQ(g.names(m("S")->getPreviousApplyModules()), "B B");
  EXPECT_EQ(g.names(m("B")->getNextApplyModules()), "S");
  shown({"B -> S stands twice in S"});
}

TEST_F(MoveStartOfSubChain, NeedsBothDirectionsOfTheLink) {
  for (const char* links : {"A ->. (S); B", "A .-> (S); B", "A; (S); B"}) {
    given(links);
    const auto before = text(g);
    EXPECT_FALSE(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), m("B"))) << links;
    EXPECT_EQ(text(g), before);
    EXPECT_EQ(calls(), "");
  }
}

TEST_F(MoveStartOfSubChain, ToItselfIsRefused) {
  given("A -> (S)");
  EXPECT_FALSE(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), m("S")));
  EXPECT_EQ(shown(), "A -> (S)");
  EXPECT_EQ(calls(), "");
}

TEST_F(MoveStartOfSubChain, WithNullIsRefused) {
  given("A -> (S) -> ~; ~ -> S; ~ -> A -> ~; B -> ~");
  const auto before = shown();
  EXPECT_FALSE(ApplyGraph::moveStartOfSubChain(nullptr, m("A"), m("B")));
  EXPECT_FALSE(ApplyGraph::moveStartOfSubChain(m("S"), nullptr, m("B")));
  EXPECT_FALSE(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), nullptr));
  EXPECT_EQ(shown(), before);
  EXPECT_EQ(calls(), "");
}

TEST_F(MoveStartOfSubChain, IsPartlyDoneWhenAHookThrows) {
  given("A -> (S); B");
  failing = "S";
  EXPECT_THROW(ApplyGraph::moveStartOfSubChain(m("S"), m("A"), m("B")), std::runtime_error);
  EXPECT_EQ(shown({"A -> S is not known to S", "B -> S is not known to B"}), "A ->. (S); B .-> S");
}

}  // namespace
}  // namespace Tessaril
