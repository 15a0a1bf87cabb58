#include <gmock/gmock.h>

#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string printed(std::string_view written) { return text(graph(written)); }

std::string next(const TestGraph& g, std::string_view name) {
  return g.names(g[name]->getNextApplyModules());
}

std::string previous(const TestGraph& g, std::string_view name) {
  return g.names(g[name]->getPreviousApplyModules());
}

TEST(GraphTextTest, ArrowLinksBothEnds) {
  const auto g = graph("A -> B -> C");
  EXPECT_EQ(next(g, "A"), "B");
  EXPECT_EQ(previous(g, "A"), "");
  EXPECT_EQ(next(g, "B"), "C");
  EXPECT_EQ(previous(g, "B"), "A");
  EXPECT_EQ(next(g, "C"), "");
  EXPECT_EQ(previous(g, "C"), "B");
}

TEST(GraphTextTest, EntriesJoinTheirListsInReadingOrder) {
  const auto g = graph("A -> B; A -> C; D -> C; B -> C");
  EXPECT_EQ(next(g, "A"), "B C");
  EXPECT_EQ(previous(g, "C"), "A D B");
}

TEST(GraphTextTest, HalfArrowsMakeOneEntry) {
  const auto g = graph("A ->. B; C .-> D");
  EXPECT_EQ(next(g, "A"), "B");
  EXPECT_EQ(previous(g, "B"), "");
  EXPECT_EQ(next(g, "C"), "");
  EXPECT_EQ(previous(g, "D"), "C");
}

TEST(GraphTextTest, TildeIsADeadEntry) {
  const auto g = graph("A -> ~; A -> B; ~ -> B");
  EXPECT_EQ(next(g, "A"), "~ B");
  EXPECT_EQ(previous(g, "B"), "A ~");
  EXPECT_EQ(g.size(), 2U);
}

TEST(GraphTextTest, EveryMarkIsSetAndNothingElse) {
  const auto g = graph(
      "(S):c2[active,inconsistent,badinput,frozen,skipped,additional,transfer,"
      "fork<c1]; N");
  const auto& s = *g["S"];
  EXPECT_TRUE(s.isStartOfSideChain());
  EXPECT_TRUE(s.isActive());
  EXPECT_FALSE(s.isConsistent());
  EXPECT_FALSE(s.isInputOk());
  EXPECT_TRUE(s.isFrozen());
  EXPECT_TRUE(s.isSkipped());
  EXPECT_TRUE(s.isAdditionalModule());
  EXPECT_TRUE(PrivateLinks::insertInfo(s).getTransferChains());
  EXPECT_EQ(s.getInsertMode(), ApplyModuleInsertInfo::StartFork);
  EXPECT_EQ(s.getChainId(), chain("c2"));
  EXPECT_EQ(s.getStartChainId(), chain("c1"));
  const auto& n = *g["N"];
  EXPECT_EQ(marksText(n), "");
  EXPECT_FALSE(n.isStartOfSideChain());
  EXPECT_EQ(marksText(*std::make_shared<ApplyModule>()), "");
}

TEST(GraphTextTest, EachMarkAloneSurvivesTheRoundTrip) {
  for (const std::string mark :
       {"active", "inconsistent", "badinput", "frozen", "skipped", "additional", "transfer", "side",
        "fork", "merge", "<c1", "side<main", "merge<main+c1+main", "fork<c1"}) {
    EXPECT_EQ(printed("A[" + mark + "]"), "A[" + mark + "]");
  }
}

TEST(GraphTextTest, ReadingCallsNoHookAndAnnouncesNothing) {
  const auto g = graphOf<ObjectModule>("[active] A -> B[frozen]; A -> A");
  EXPECT_EQ(g.as<TestModule>("A")->graphChanges, 0);
  EXPECT_EQ(g.as<TestModule>("B")->graphChanges, 0);
}

TEST(GraphTextTest, OrdinaryGraphsPrintAsTheyAreWritten) {
  for (const std::string written : {
           "",
           "A",
           "A -> B -> C",
           "A -> B -> C; A -> (S):cutter[side] -> T:cutter",
           "A -> B -> M[merge<main+wheel]; A -> W:wheel[fork] -> M",
           "[active] A -> B[frozen] -> C",
           "A[active] -> B",
           "A -> B -> A",
           "A -> A",
           "A -> B; A -> B",
           "A -> ~; A -> B; C",
           "~ -> B",
           "A ->. B",
           "A .-> B",
       }) {
    EXPECT_EQ(printed(written), written);
  }
}

TEST(GraphTextTest, ListsThatWaitForOneAnotherPrintAsHalfLinks) {
  // A lists C before D, B lists D before C; C lists B before A, D lists A before B.
  const std::string knot = "A ->. C; A ->. D; B ->. D; B ->. C; B .-> C; A .-> C; A .-> D; B .-> D";
  const auto g = graph(knot);
  const auto again = graph(text(g));
  for (const auto* name : {"A", "B", "C", "D"}) {
    EXPECT_EQ(next(again, name), next(g, name)) << name << " in " << text(g);
    EXPECT_EQ(previous(again, name), previous(g, name)) << name << " in " << text(g);
  }
  EXPECT_EQ(text(g), "A ->. C; A -> D; B -> D; B -> C; A .-> C");
}

TEST(GraphTextTest, WhateverDiffersPrintsDifferently) {
  const std::vector<std::string> graphs = {
      "A -> B; A -> C; B -> C",
      "A -> C; A -> B; B -> C",
      "A -> B -> C; A -> C",
      "A -> B; A -> C; B -> C; ~ -> C",
      "A -> B; A -> C; B -> C; C -> ~",
      "A -> B; A -> ~; A -> C; B -> C",
      "A -> B; A -> C; B -> C; A -> C",
      "A -> B; A -> C; B -> C; A ->. C",
      "A -> B; A -> C; B -> C; A .-> C",
      "A -> B; A -> C; B ->. C",
      "A -> B; A -> C; B -> C; C -> C",
      "A -> B; A -> C; B -> C; D",
      "A -> (B); A -> C; B -> C",
      "A -> B:c1; A -> C; B -> C",
      "A -> B:c2; A -> C; B -> C",
      "A -> B[side]; A -> C; B -> C",
      "A -> B[side<c1]; A -> C; B -> C",
      "A -> B[<c1]; A -> C; B -> C",
      "A -> B[frozen]; A -> C; B -> C",
      "[active] A -> B; A -> C; B -> C",
  };
  std::unordered_set<std::string> texts;
  for (const auto& written : graphs) {
    EXPECT_TRUE(texts.insert(printed(written)).second) << written;
  }
}

TEST(GraphTextTest, RandomGraphsSurviveTheRoundTrip) {
  forSeeds(1500, [](std::uint64_t seed) {
    auto parameters = faultyGraphs();
    parameters.modules = 1 + seed % 12;
    parameters.links = static_cast<unsigned>(10 + seed % 50);
    const auto g = randomGraph(seed, parameters);
    const auto again = graph(text(g));
    ASSERT_EQ(text(again), text(g));
    ASSERT_EQ(linkText(again), linkText(g));
    ASSERT_EQ(again.size(), g.size());
    for (const auto& [name, module] : g) {
      ASSERT_EQ(next(again, name), next(g, name)) << name << " in " << text(g);
      ASSERT_EQ(previous(again, name), previous(g, name)) << name << " in " << text(g);
      ASSERT_EQ(marksText(*again[name]), marksText(*module)) << name << " in " << text(g);
      ASSERT_EQ(again[name]->getChainId(), module->getChainId()) << name;
      ASSERT_EQ(again[name]->isStartOfSideChain(), module->isStartOfSideChain()) << name;
    }
  });
}

TEST(GraphTextTest, SoundRandomGraphsPrintWithoutDeadEntries) {
  forSeeds(300, [](std::uint64_t seed) {
    ASSERT_EQ(text(randomGraph(seed)).find('~'), std::string::npos);
  });
}

TEST(GraphTextTest, LinkTextLeavesMarksOut) {
  EXPECT_EQ(linkText(graph("[active] A -> (S):c1[side,frozen]; A -> B")), "A -> S; A -> B");
}

TEST(GraphTextTest, DroppedModulesLeaveDeadEntries) {
  auto g = graph("A -> B -> C; A -> C");
  const std::weak_ptr<ApplyModule> dropped = g["B"];
  g.drop("B");
  EXPECT_TRUE(dropped.expired());
  EXPECT_FALSE(g.contains("B"));
  EXPECT_THROW(g["B"], std::out_of_range);
  EXPECT_EQ(text(g), "A -> ~; ~ -> C; A -> C");
}

TEST(GraphTextTest, AModuleOfSomebodyElsePrintsAsAQuestionMark) {
  auto g = graph("A -> B -> C");
  const auto kept = g["B"];
  g.drop("B");
  EXPECT_EQ(text(g), "A ->. ? .-> C");
  EXPECT_EQ(g.nameOf(kept), "?");
  EXPECT_THROW(graph(text(g)), std::invalid_argument);
}

TEST(GraphTextTest, NamesFollowTheGivenOrderAndSetsTheOrderOfMaking) {
  const auto g = graph("A -> B -> C");
  EXPECT_EQ(g.names(std::vector<ModulePtr>{g["C"], nullptr, g["A"]}), "C ~ A");
  EXPECT_EQ(g.names(std::unordered_set<ModulePtr>{g["C"], g["A"]}), "A C");
  EXPECT_EQ(g.names(std::unordered_set<ModulePtr>{g["C"], std::make_shared<ApplyModule>()}), "C ?");
  std::vector<std::string> made;
  for (const auto& member : g) {
    made.push_back(member.name);
  }
  EXPECT_THAT(made, ElementsAre("A", "B", "C"));
}

TEST(GraphTextTest, ModulesCanBeOfOnesOwnClass) {
  const auto g = graphOf<ObjectModule>("A -> B");
  EXPECT_EQ(g.as<ObjectModule>("B")->getName(), "B");
  EXPECT_THROW(graph("A").as<ObjectModule>("A"), std::bad_cast);
  auto h = graph("A");
  EXPECT_THROW(h.add("A", std::make_shared<TestModule>()), std::invalid_argument);
  h.add("X", std::make_shared<TestModule>());
  EXPECT_EQ(text(h), "A; X");
}

TEST(GraphTextTest, ChainNamesAreIdentifiers) {
  EXPECT_TRUE(chain("main").isNull());
  EXPECT_FALSE(chain("a").isNull());
  EXPECT_NE(chain("a"), chain("b"));
  EXPECT_NE(chain("ab"), chain("ba"));
  for (const std::string name : {"a", "cutter", "eightlet", "ninelette", "sixteen_letters_"}) {
    EXPECT_EQ(chainName(chain(name)), name);
  }
  EXPECT_EQ(chainName(Identifier()), "main");
  EXPECT_THROW(chain(""), std::invalid_argument);
  EXPECT_THROW(chain("seventeen_letters"), std::invalid_argument);
  EXPECT_THROW(chain("a-b"), std::invalid_argument);
  const Identifier other(0x123456789abcdef0U, 1);
  EXPECT_EQ(chainName(other), "{" + other.toString() + "}");
  const auto g = graph("A:" + chainName(other) + "[merge<" + chainName(other) + "+c1]");
  EXPECT_EQ(g["A"]->getChainId(), other);
  EXPECT_EQ(printed(text(g)), text(g));
}

TEST(GraphTextTest, TextThatIsNoGraphIsRefusedWithThePlace) {
  for (const std::string wrong :
       {"A ->", "-> A", "A B", "A[", "A[red]", "A[active", "(A", "A:", "A:{1}", "~ -> ~", "A -> ?",
        "[red] A", "[active A", "A[<]", "A[merge<]", "A:{00"}) {
    EXPECT_THROW(graph(wrong), std::invalid_argument) << wrong;
  }
  try {
    graph("A -> B[red]");
    FAIL();
  } catch (const std::invalid_argument& refused) {
    EXPECT_THAT(refused.what(), HasSubstr("a mark at character 7 of \"A -> B[red]\""));
  }
}

}  // namespace
}  // namespace Tessaril::TestSupport
