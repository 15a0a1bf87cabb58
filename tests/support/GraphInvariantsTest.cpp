#include <gmock/gmock.h>

#include "tests/support/GraphInvariants.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(GraphInvariantsTest, SoundLinksHaveNoViolations) {
  for (const auto* sound : {"", "A", "A -> B -> C; A -> C", "A -> B -> A", "A -> ~; ~ -> B; A -> B",
                            "A -> ~; A -> ~"}) {
    EXPECT_THAT(linkViolations(graph(sound)), IsEmpty()) << sound;
  }
  forSeeds(200,
           [](std::uint64_t seed) { ASSERT_THAT(linkViolations(randomGraph(seed)), IsEmpty()); });
}

TEST(GraphInvariantsTest, OneSidedLinks) {
  EXPECT_THAT(linkViolations(graph("A ->. B")), ElementsAre("A -> B is not known to B"));
  EXPECT_THAT(linkViolations(graph("A .-> B")), ElementsAre("A -> B is not known to A"));
  EXPECT_THAT(linkViolations(graph("A ->. B; B .-> A")),
              ElementsAre("A -> B is not known to B", "B -> A is not known to B"));
}

TEST(GraphInvariantsTest, LinksWithItself) {
  EXPECT_THAT(linkViolations(graph("A -> A")), ElementsAre("A -> A links a module with itself"));
  EXPECT_THAT(linkViolations(graph("A ->. A")), ElementsAre("A -> A links a module with itself"));
}

TEST(GraphInvariantsTest, Duplicates) {
  EXPECT_THAT(linkViolations(graph("A -> B; A ->. B")), ElementsAre("A -> B stands twice in A"));
  EXPECT_THAT(linkViolations(graph("A -> B; A .-> B")), ElementsAre("A -> B stands twice in B"));
  EXPECT_THAT(linkViolations(graph("A -> B; A ->. C; A -> C; A ->. B; A ->. B; A ->. C; A ->. C")),
              ElementsAre("A -> B stands thrice in A", "A -> C stands 4 times in A"));
}

TEST(GraphInvariantsTest, ModulesOutsideAreNotLookedAt) {
  auto g = graph("A ->. B");
  const auto kept = g["B"];
  g.drop("B");
  EXPECT_THAT(linkViolations(g), IsEmpty());
}

TEST(GraphInvariantsTest, SoundChainsHaveNoViolations) {
  for (const auto* sound :
       {"A -> B; A -> (S):c1[side] -> T:c1", "A -> B -> M[merge<main+c1]; A -> W:c1[fork] -> M",
        "A -> B -> M[merge<main+c1]; A -> (W):c1[fork] -> M", "S:c1[side] -> T:c1[side]"}) {
    EXPECT_THAT(chainViolations(graph(sound)), IsEmpty()) << sound;
  }
}

TEST(GraphInvariantsTest, StartsOfSideChains) {
  EXPECT_THAT(chainViolations(graph("(S)")),
              ElementsAre("S starts a side chain but follows nothing"));
  EXPECT_THAT(chainViolations(graph("~ -> (S)")),
              ElementsAre("S starts a side chain but follows nothing"));
  EXPECT_THAT(chainViolations(graph("A:c1 -> (S):c1")),
              ElementsAre("S starts a side chain within its chain"));
  EXPECT_THAT(chainViolations(graph("A -> S:c1[side]")),
              ElementsAre("S is in side mode but not flagged"));
}

TEST(GraphInvariantsTest, Merges) {
  EXPECT_THAT(chainViolations(graph("A -> M[merge<main]")),
              ElementsAre("M is in merge mode but has 1 previous"));
  EXPECT_THAT(chainViolations(graph("A -> M; B -> M")),
              ElementsAre("M has 2 previous but is not in merge mode"));
  EXPECT_THAT(chainViolations(graph("A -> M[merge<main+c1]; B:c2 -> M")),
              ElementsAre("M merges c1+main but follows c2+main"));
}

}  // namespace
}  // namespace Tessaril::TestSupport
