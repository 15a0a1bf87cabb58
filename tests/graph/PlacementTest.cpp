#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/graph/EditFixture.h"

namespace Tessaril {
namespace {

using ::testing::IsEmpty;
using TestSupport::chainViolations;
using TestSupport::ModulePtr;

/// Places M, or the sub-graph from S to E.
class Placement : public TestSupport::EditFixture {
 protected:
  void placeModule(const char* anchor) {
    ApplyGraph::insertAccordingToInsertMode(m("M"), m(anchor));
  }

  void placeSubGraph(const char* anchor) {
    ApplyGraph::insertSubGraphAccordingToInsertMode(m("S"), m("E"), m(anchor));
  }

  void mergeModule(std::initializer_list<const char*> previous, const char* next) {
    ApplyGraph::insertAccordingToInsertMode(m("M"), all(previous), m(next));
  }

  void mergeSubGraph(std::initializer_list<const char*> previous, const char* next) {
    ApplyGraph::insertSubGraphAccordingToInsertMode(m("S"), m("E"), all(previous), m(next));
  }

 private:
  std::vector<ModulePtr> all(std::initializer_list<const char*> names) const {
    std::vector<ModulePtr> modules;
    for (const auto* name : names) {
      modules.push_back(m(name));
    }
    return modules;
  }
};

class AddToChain : public Placement {};
class TransferChains : public Placement {};
class StartChain : public Placement {};
class Merge : public Placement {};

TEST_F(AddToChain, GoesBetweenTheAnchorAndItsSuccessorInTheChain) {
  given("A -> (X):x; A -> B; A -> (Y):y; Q -> B; M");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> (X):x; A -> M -> B; A -> (Y):y; Q -> B");
  EXPECT_EQ(calls(), "M M A B");
}

TEST_F(AddToChain, TakesTheSuccessorOfItsOwnChain) {
  given("A:s -> B; A -> C:s; M:s");
  placeModule("A");
  EXPECT_EQ(shown(), "A:s -> B; A -> M:s -> C:s");
}

TEST_F(AddToChain, GoesToTheEndOfTheNextModulesWhereTheChainEnds) {
  given("A -> (X):x; M");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> (X):x; A -> M");
  EXPECT_EQ(calls(), "M A");
}

TEST_F(AddToChain, TakesThePlaceOfADeadEntryWhereTheChainEnds) {
  given("A -> ~; A -> (X):x; M");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M; A -> (X):x");
}

TEST_F(AddToChain, CutsTheModuleOutOfItsOldPlaceInTheChain) {
  given("A -> B; P -> M -> N");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M -> B; P; N");
  EXPECT_EQ(calls(), "M N M P M M A B");
}

TEST_F(AddToChain, MovesAModuleForwards) {
  // The gap is not closed.
  given("A -> M -> B -> C");
  placeModule("B");
  EXPECT_EQ(shown(), "M -> C; B -> M; A");
}

TEST_F(AddToChain, KeepsLinksToOtherChains) {
  given("A -> B; P:x -> M -> (N):y");
  placeModule("A");
  EXPECT_EQ(shown(), "P:x -> M -> (N):y; M -> B; A -> M");
}

TEST_F(AddToChain, CutsOneLinkOnEachSide) {
  given("A -> B; P -> M -> N; Q -> M -> O");
  placeModule("A");
  EXPECT_EQ(g.names(m("M")->getPreviousApplyModules()), "Q A");
  EXPECT_EQ(g.names(m("M")->getNextApplyModules()), "O B");
  shown();
}

TEST_F(AddToChain, LeavesTheFlag) {
  given("A -> B; (M)");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> (M) -> B");
}

TEST_F(AddToChain, PlacesASubGraph) {
  given("S -> I -> E; A -> B; A -> (X):x");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "S -> I -> E -> B; A -> S; A -> (X):x");
  EXPECT_EQ(calls(), "S E A B");
}

TEST_F(AddToChain, CutsTheOldLinksOfASubGraph) {
  given("P -> S -> I -> E -> N; A -> B");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "S -> I -> E -> B; A -> S; P; N");
  EXPECT_EQ(calls(), "E N S P S E A B");
}

TEST_F(AddToChain, ReadsTheChainOfTheStart) {
  given("S:s -> E:e; A:s -> B:e; A -> C:s");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "S:s -> E:e -> C:s; A:s -> B:e; A -> S");
}

TEST_F(AddToChain, CutsTheOldLinksInTheChainOfTheStart) {
  given("S:s -> E:e -> X:e; E -> Y:s; W:e -> S; A:s");
  placeSubGraph("A");
  EXPECT_EQ(g.names(m("E")->getNextApplyModules()), "X");
  EXPECT_EQ(g.names(m("S")->getPreviousApplyModules()), "W A");
  shown();
}

TEST_F(AddToChain, WithoutAnchorOnlyCutsTheOldLinks) {
  given("P -> M -> N; M -> (X):x");
  placeModule("~");
  EXPECT_EQ(shown(), "M -> (X):x; P; N");
  EXPECT_EQ(calls(), "M N M P");
}

// The successor in the chain is looked up before the old links are cut: it is the module itself.
// No module is linked with itself, and the former successor is left behind.
TEST_F(AddToChain, AtItsOwnAnchorLosesItsSuccessor) {
  given("A -> M -> B");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M; B");
  EXPECT_EQ(calls(), "M B M A M A");
}

// As above, but here the end can be linked with the start: a circle, and in the start's previous
// list the end takes the anchor's place.
TEST_F(AddToChain, OfASubGraphAtItsOwnAnchorMakesACircle) {
  given("A -> S -> I -> E -> B");
  placeSubGraph("A");
  EXPECT_EQ(shown({"A -> S is not known to S"}), "A ->. S -> I -> E -> S; B");
  EXPECT_EQ(calls(), "E B S A S E A S");
}

TEST_F(AddToChain, OfNullChangesNothing) {
  given("S -> E; A -> ~");
  ApplyGraph::insertAccordingToInsertMode(nullptr, m("A"));
  ApplyGraph::insertSubGraphAccordingToInsertMode(nullptr, m("E"), m("A"));
  ApplyGraph::insertSubGraphAccordingToInsertMode(m("S"), nullptr, m("A"));
  EXPECT_EQ(shown(), "S -> E; A -> ~");
  EXPECT_EQ(calls(), "");
}

TEST_F(AddToChain, IsPartlyDoneWhenAHookThrows) {
  given("A -> B; P -> M -> N");
  failing = "P";
  EXPECT_THROW(placeModule("A"), std::runtime_error);
  EXPECT_EQ(shown(), "A -> B; P; M; N");
}

TEST_F(TransferChains, TakesOverAllNextModulesOnce) {
  given("A -> B; A -> (X):x; A -> (Y):y; M[transfer]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M -> B; M -> (X):x; M -> (Y):y");
  EXPECT_EQ(calls(), "M B M X M Y M A");
}

TEST_F(TransferChains, IsUsedUpByOnePlacement) {
  given("A -> (X):x; B -> (Y):y; M[transfer]");
  placeModule("A");
  placeModule("B");
  EXPECT_EQ(shown(), "B -> (Y):y; B -> M -> (X):x; A");
}

TEST_F(TransferChains, TakesOverForASubGraph) {
  given("S[transfer] -> E[transfer]; A -> B; A -> (X):x");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "S -> E[transfer] -> B; E -> (X):x; A -> S");
}

TEST_F(TransferChains, ReadsTheRequestOfTheStart) {
  given("S -> E[transfer]; A -> B; A -> (X):x");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "S -> E[transfer] -> B; A -> S; A -> (X):x");
}

TEST_F(TransferChains, CutsTheModuleLooseEntirely) {
  given("A -> B; P:x -> M[transfer] -> (N):y");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M -> B; P:x; (N):y");
}

// What follows the anchor on another chain already counts as in place; the request goes all the
// same.
TEST_F(TransferChains, IsUsedUpEvenWhereNothingMoves) {
  given("A:x -> M[transfer]; A -> B");
  placeModule("A");
  EXPECT_EQ(shown(), "A:x -> M; A -> B");
  EXPECT_EQ(calls(), "");
}

TEST_F(TransferChains, WithoutAnchorIsUsedUp) {
  given("P -> M[transfer] -> N");
  placeModule("~");
  EXPECT_EQ(shown(), "P; M; N");
}

// Its own links in the chain are cut first, so that it does not count as in place.
TEST_F(TransferChains, AtItsOwnAnchorTakesOverTheOthers) {
  given("A -> M[transfer] -> B; A -> (X):x");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M -> (X):x; B");
}

TEST_F(TransferChains, ConcernsNoOtherMode) {
  given("A -> B; M:s[side,transfer]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> B; A -> (M):s[transfer,side]");
}

TEST_F(StartChain, OfASideChainIsAppendedAndFlagged) {
  given("A -> B; M:s[side]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> B; A -> (M):s[side]");
  EXPECT_EQ(calls(), "M A");
  EXPECT_THAT(chainViolations(g), IsEmpty());
}

TEST_F(StartChain, OfAForkIsAppendedAndUnflagged) {
  given("A -> B; (M):f[fork]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> B; A -> M:f[fork]");
  EXPECT_EQ(calls(), "M A");
}

TEST_F(StartChain, TakesThePlaceOfADeadEntry) {
  given("A -> ~; A -> B; M:s[side]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> (M):s[side]; A -> B");
}

TEST_F(StartChain, LinksOnlyTheStartOfASubGraph) {
  given("A -> B; S:s[side] -> E:s -> X");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "A -> B; A -> (S):s[side] -> E:s -> X");
  EXPECT_EQ(calls(), "S A");
}

TEST_F(StartChain, KeepsOtherLinksOfANewStart) {
  given("A -> B; P -> M:s[side]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> B; P -> (M):s[side]; A -> M");
}

TEST_F(StartChain, WithoutAnchorSetsTheFlag) {
  given("P -> M:s[side]");
  placeModule("~");
  EXPECT_EQ(shown(), "P -> (M):s[side]");
  given("P -> (M):f[fork]");
  placeModule("~");
  EXPECT_EQ(shown(), "P -> M:f[fork]");
  EXPECT_EQ(calls(), "");
}

TEST_F(StartChain, OfASideChainBecomesItsNewBeginning) {
  given("A -> B; A -> (F):s[side] -> T:s; A -> C; M:s[side]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> B; A -> (M):s[side] -> F:s -> T:s; A -> C");
  EXPECT_EQ(calls(), "M A M F");
  EXPECT_THAT(chainViolations(g), IsEmpty());
}

TEST_F(StartChain, LeavesTheStartChainIdOfTheFormerBeginning) {
  given("A:x -> (F):s[side<x,transfer]; M:s[side<x]");
  placeModule("A");
  EXPECT_EQ(shown(), "A:x -> (M):s[side<x] -> F:s[<x]");
}

TEST_F(StartChain, OfASideChainLeavesAFormerBeginningOfAnotherMode) {
  for (const char* mode : {"fork", "merge<main", "add"}) {
    given("A -> F:s[transfer," + std::string(mode) + "]; M:s[side]");
    const auto before = TestSupport::marksText(*m("F"));
    placeModule("A");
    EXPECT_EQ(TestSupport::marksText(*m("F")), before);
    EXPECT_EQ(shown().substr(0, 9), "A -> M:s[") << "a beginning without flag hands none on";
  }
}

TEST_F(StartChain, OfAForkMakesAnyFormerBeginningAnOrdinaryModule) {
  for (const char* mode : {"side", "fork", "merge", "add"}) {
    given("A -> F:f[" + std::string(mode) + "<x,transfer]; M:f[fork]");
    placeModule("A");
    EXPECT_EQ(shown(), "A -> M:f[fork] -> F:f[<x]") << mode;
  }
}

TEST_F(StartChain, OfAForkTakesTheFlagOfTheFormerBeginning) {
  given("A -> (F):f[side]; M:f[fork]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> (M):f[fork] -> F:f");
}

TEST_F(StartChain, OfASubGraphBecomesTheNewBeginning) {
  given("A -> (F):s[side] -> T:s; P -> S:s[side] -> I:s -> E:s -> N");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "A -> (S):s[side] -> I:s -> E:s -> F:s -> T:s; P; N");
  EXPECT_EQ(calls(), "N P S A E F");
}

TEST_F(StartChain, TakesTheFirstModuleOfTheChainThatFollows) {
  given("A -> (F):s[side]; A -> (G):s[side]; M:s[side]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> (M):s[side] -> F:s; A -> (G):s[side]");
}

TEST_F(StartChain, ChangesNothingWhereItIsInPlace) {
  given("A -> M:s[side] -> T:s");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M:s[side] -> T:s");
  given("A -> (S):f[fork] -> E:f");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "A -> (S):f[fork] -> E:f");
  EXPECT_EQ(calls(), "");
}

TEST_F(StartChain, OfTheMainChainGoesByChainIdsAlone) {
  given("A -> B; M[side]");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> M[side] -> B");
}

TEST_F(StartChain, IsPartlyDoneWhenAHookThrows) {
  given("A -> (F):s[side]; M:s[side]");
  failing = "F";
  EXPECT_THROW(placeModule("A"), std::runtime_error);
  EXPECT_EQ(shown(), "A -> M:s[side] -> (F):s[side]");
}

TEST_F(Merge, ByAnchorDoesNothing) {
  given("A -> B; P -> M[merge<main,transfer] -> N");
  placeModule("A");
  EXPECT_EQ(shown(), "A -> B; P -> M[transfer,merge<main] -> N");
  given("A -> B; S[merge<main] -> E");
  placeSubGraph("A");
  EXPECT_EQ(shown(), "A -> B; S[merge<main] -> E");
  EXPECT_EQ(calls(), "");
}

TEST_F(Merge, AnUnknownModeDoesNothing) {
  given("A -> B; M");
  TestSupport::PrivateLinks::insertInfo(*m("M")).setInsertMode(
      static_cast<ApplyModuleInsertInfo::ApplyGraphInsertMode>(4));
  placeModule("A");
  EXPECT_EQ(TestSupport::linkText(g), "A -> B; M");
}

TEST_F(Merge, FollowsAllPreviousModulesAndLeadsIntoNext) {
  given("A -> P -> N -> O; A -> F:f[fork] -> Q:f; M[merge<main+f]");
  mergeModule({"P", "Q"}, "N");
  EXPECT_EQ(g.names(m("M")->getPreviousApplyModules()), "P Q");
  EXPECT_EQ(shown(), "A -> P -> M[merge<main+f] -> N -> O; A -> F:f[fork] -> Q:f -> M");
  EXPECT_EQ(calls(), "P M M P N M Q");
  EXPECT_THAT(chainViolations(g), IsEmpty());
}

TEST_F(Merge, TakesOverTheSuccessorsInItsChain) {
  given("A -> P -> X; P -> Y; P -> (S):s; F:f -> Q:f -> R:f; N:n; M");
  mergeModule({"P", "Q"}, "N");
  EXPECT_EQ(g.names(m("P")->getNextApplyModules()), "S M");
  EXPECT_EQ(g.names(m("M")->getNextApplyModules()), "X Y N");
  EXPECT_EQ(g.names(m("Q")->getNextApplyModules()), "R M");
  EXPECT_EQ(g.names(m("X")->getPreviousApplyModules()), "M");
  shown();
  EXPECT_EQ(calls(), "P X M X P Y M Y M M P N M Q");
}

TEST_F(Merge, TakesOverForTheEndOfASubGraph) {
  given("P -> X; Q:f -> R:f; S -> I -> E; N:n");
  mergeSubGraph({"P", "Q"}, "N");
  EXPECT_EQ(shown(), "P -> S -> I -> E -> X; E -> N:n; Q:f -> R:f; Q -> S");
  EXPECT_EQ(calls(), "P X E X S E P N S Q");
}

TEST_F(Merge, ReadsTheChainOfTheStart) {
  given("P -> X; Q:f -> R:f; S:f -> E; N:n");
  mergeSubGraph({"P", "Q"}, "N");
  EXPECT_EQ(shown(), "P -> X; P -> S:f -> E -> N:n; E -> R:f; Q:f -> S");
}

TEST_F(Merge, CutsAllFormerPreviousLinksOfNext) {
  given("X -> N; ~ -> N; Y -> N; P; M");
  mergeModule({"P"}, "N");
  EXPECT_EQ(shown(), "P -> M -> N; X; Y");
  EXPECT_EQ(calls(), "X Y M M P N");
}

TEST_F(Merge, WithoutNextOnlyFollows) {
  given("P -> X:x; Q:f; M");
  mergeModule({"P", "Q"}, "~");
  EXPECT_EQ(shown(), "P -> X:x; P -> M; Q:f -> M");
}

TEST_F(Merge, WithoutNextTakesThePlacesOfDeadEntries) {
  given("P -> ~; P -> X:x; M");
  mergeModule({"P"}, "~");
  EXPECT_EQ(shown(), "P -> M; P -> X:x");
}

TEST_F(Merge, WithoutPreviousModulesOnlyCutsNextLoose) {
  given("X -> N; M");
  mergeModule({}, "N");
  EXPECT_EQ(shown(), "X; N; M");
  EXPECT_EQ(calls(), "X");
}

TEST_F(Merge, PassesOverNullPreviousModules) {
  given("P -> N; ~ -> M");
  mergeModule({"~", "P", "~"}, "N");
  EXPECT_EQ(shown(), "M -> N; ~ -> M; P -> M");
}

TEST_F(Merge, OfThePreviousModulesTwiceLinksThemOnce) {
  given("P:f -> N; M");
  mergeModule({"P", "P"}, "N");
  EXPECT_EQ(shown(), "P:f -> M -> N");
}

TEST_F(Merge, LeavesFlagModeAndTransferRequest) {
  given("P -> N; (M)[side<x,transfer]");
  mergeModule({"P"}, "N");
  EXPECT_EQ(shown(), "P -> (M)[transfer,side<x] -> N");
}

TEST_F(Merge, OfNullChangesNothing) {
  given("X -> N; P; M");
  ApplyGraph::insertAccordingToInsertMode(nullptr, {m("P")}, m("N"));
  ApplyGraph::insertSubGraphAccordingToInsertMode(nullptr, m("M"), {m("P")}, m("N"));
  ApplyGraph::insertSubGraphAccordingToInsertMode(m("M"), nullptr, {m("P")}, m("N"));
  EXPECT_EQ(shown(), "X -> N; P; M");
  EXPECT_EQ(calls(), "");
}

// A module in place counts as the chain's successor and is cut off the previous module; being no
// next module of itself it is not linked again there.
TEST_F(Merge, AgainAtTheSamePlaceGivesTheSameGraph) {
  given("P -> M[merge<main+f] -> N; Q:f -> M");
  mergeModule({"P", "Q"}, "N");
  EXPECT_EQ(g.names(m("M")->getPreviousApplyModules()), "Q P");
  EXPECT_EQ(shown(), "M[merge<main+f] -> N; Q:f -> M; P -> M");
}

// The start counts as the previous module's successor and is hung behind the end.
TEST_F(Merge, OfASubGraphAgainAtTheSamePlaceMakesACircle) {
  given("P -> S[merge<main] -> E -> N");
  mergeSubGraph({"P"}, "N");
  EXPECT_EQ(g.names(m("E")->getNextApplyModules()), "S N");
  EXPECT_EQ(g.names(m("S")->getPreviousApplyModules()), "E P");
  shown();
}

TEST_F(Merge, IsPartlyDoneWhenAHookThrows) {
  given("P -> X; X -> N; M");
  failing = "P";
  EXPECT_THROW(mergeModule({"P"}, "N"), std::runtime_error);
  EXPECT_EQ(shown({"P -> X is not known to P"}), "P .-> X; N; M");
}

// What it takes over may be the start itself, which then follows the end already.
TEST_F(Merge, TheEndAmongManyPreviousModulesIsLinkedOnce) {
  std::string modules = "P -> S; T";
  std::vector<ModulePtr> previousModules;
  for (int i = 0; i < 40; ++i) {
    modules += "; N" + std::to_string(i) + ":other";
  }
  given(modules);
  for (int i = 0; i < 40; ++i) {
    previousModules.push_back(m("N" + std::to_string(i)));
  }
  previousModules.push_back(m("P"));
  previousModules.push_back(m("T"));
  ApplyGraph::insertSubGraphAccordingToInsertMode(m("S"), m("T"), previousModules, nullptr);
  const std::string names = g.names(m("S")->getPreviousApplyModules());
  EXPECT_EQ(names.substr(names.find("N38")), "N38 N39 P T");
}

}  // namespace
}  // namespace Tessaril
