#include <gmock/gmock.h>

#include "diagnostics/graph/GraphChecker.h"
#include "diagnostics/graph/RunReach.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/support/GraphInvariants.h"
#include "tests/support/RandomGraph.h"

// The checker against the literal invariants of the test support, on random graphs with faults of
// every kind, and on graphs that are far deeper than a stack.

namespace Tessaril::Diagnostics {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::TestGraph;

std::size_t countOf(const std::vector<GraphFinding>& findings, FindingKind kind) {
  return textsOf(findings, kind).size();
}

std::size_t countOf(const std::vector<std::string>& sentences, const std::string& part) {
  return static_cast<std::size_t>(std::count_if(
      sentences.begin(), sentences.end(),
      [&](const std::string& sentence) { return sentence.find(part) != std::string::npos; }));
}

TEST(RandomCheckTest, findsTheLinksThatBreakAnInvariant) {
  TestSupport::forSeeds(2000, [](std::uint64_t seed) {
    const TestGraph g = TestSupport::randomGraph(seed, TestSupport::faultyGraphs());
    const auto findings = checkGraph(snapshotOf(g));
    const auto violations = TestSupport::linkViolations(g);
    EXPECT_EQ(countOf(findings, FindingKind::OneSidedLink), countOf(violations, "is not known to"));
    EXPECT_EQ(countOf(findings, FindingKind::SelfLink), countOf(violations, "with itself"));
  });
}

TEST(RandomCheckTest, countsDeadAndRepeatedEntriesByHand) {
  TestSupport::forSeeds(2000, [](std::uint64_t seed) {
    const TestGraph g = TestSupport::randomGraph(seed, TestSupport::faultyGraphs());
    std::size_t dead = 0;
    std::size_t repeated = 0;
    for (const auto& member : g) {
      for (const auto* list :
           {&member.module->getNextApplyModules(), &member.module->getPreviousApplyModules()}) {
        std::map<const ApplyModule*, int> entries;
        for (const auto& entry : *list) {
          const auto module = entry.lock();
          dead += module == nullptr ? 1 : 0;
          repeated += module != nullptr && ++entries[module.get()] == 2 ? 1 : 0;
        }
      }
    }
    const auto findings = checkGraph(snapshotOf(g));
    EXPECT_EQ(countOf(findings, FindingKind::DeadEntry), dead);
    EXPECT_EQ(countOf(findings, FindingKind::RepeatedEntry), repeated);
  });
}

TEST(RandomCheckTest, findsCyclesWhereAModuleIsBehindItself) {
  std::size_t cyclic = 0;
  TestSupport::forSeeds(2000, [&](std::uint64_t seed) {
    TestSupport::RandomGraphParameters parameters;
    parameters.backLinks = 2;
    const TestGraph g = TestSupport::randomGraph(seed, parameters);
    bool hasCycle = false;
    for (const auto& member : g) {
      member.module->forAllFollowingModules([&](const std::shared_ptr<ApplyModule>& follower) {
        hasCycle = hasCycle || follower == member.module;
        return true;
      });
    }
    EXPECT_EQ(countOf(checkGraph(snapshotOf(g)), FindingKind::Cycle) > 0, hasCycle);
    cyclic += hasCycle ? 1 : 0;
  });
  EXPECT_GT(cyclic, 300U);
}

TEST(RandomCheckTest, findsMergesAndFlagsThatBreakAnInvariant) {
  TestSupport::forSeeds(2000, [](std::uint64_t seed) {
    TestSupport::RandomGraphParameters parameters;
    parameters.chains = 3;
    parameters.flags = 30;
    parameters.dead = 5;
    const TestGraph g = TestSupport::randomGraph(seed, parameters);
    const auto findings = checkGraph(snapshotOf(g));
    const auto violations = TestSupport::chainViolations(g);
    EXPECT_EQ(countOf(findings, FindingKind::MergeMode), countOf(violations, "in merge mode"));
    EXPECT_EQ(countOf(findings, FindingKind::MergeChains),
              countOf(violations, " but follows ") - countOf(violations, "nothing"));
  });
}

GraphSnapshot chainOf(std::size_t count) {
  GraphSnapshot snapshot;
  for (std::size_t index = 0; index < count; ++index) {
    SnapshotModule& module = snapshot.modules.emplace_back();
    module.name = std::to_string(index);
    module.insertMode = ApplyModuleInsertInfo::AddToChain;
    if (index > 0) {
      module.previous.push_back({index - 1, std::to_string(index - 1)});
      snapshot.modules[index - 1].next.push_back({index, module.name});
    }
  }
  return snapshot;
}

constexpr std::size_t kMany = 100'000;

TEST(LargeCheckTest, aDeepChainIsCheckedWithoutRecursion) {
  EXPECT_THAT(checkGraph(chainOf(kMany)), IsEmpty());
}

TEST(LargeCheckTest, aDeepChainThatIsClosedToARingIsOneFinding) {
  GraphSnapshot snapshot = chainOf(kMany);
  snapshot.modules.front().previous.push_back({kMany - 1, std::to_string(kMany - 1)});
  snapshot.modules.back().next.push_back({0, "0"});
  const auto findings = checkGraph(snapshot);
  ASSERT_THAT(findings, SizeIs(1));
  EXPECT_EQ(findings[0].text,
            "the order runs in a circle: 0 -> 1 -> 2 -> 3 -> 4 -> 5 -> 6 -> 7 -> 8 -> ... 99988 "
            "more ... -> 99997 -> 99998 -> 99999 -> 0. Each of them waits for the one before it, "
            "so no update gets to them.");
}

TEST(LargeCheckTest, aRunAlongADeepChainIsTwoRemarks) {
  EXPECT_THAT(
      linesOf(checkRun(chainOf(kMany), 10, kMany - 11)),
      ElementsAre("remark: 99990, 99991, 99992, 99993, 99994 and 5 more are behind the end, "
                  "99989. They are auto-applied at most.",
                  "remark: 0, 1, 2, 3, 4 and 5 more are before the start, 10: their "
                  "results are taken as they are."));
}

TEST(LargeCheckTest, aWideGraphIsCheckedInLittleTime) {
  GraphSnapshot snapshot = chainOf(1);
  snapshot.modules.resize(kMany);
  SnapshotModule& last = snapshot.modules.back();
  last.name = "last";
  last.insertMode = ApplyModuleInsertInfo::MergeFork;
  for (std::size_t index = 1; index + 1 < kMany; ++index) {
    SnapshotModule& module = snapshot.modules[index];
    module.name = std::to_string(index);
    module.insertMode = ApplyModuleInsertInfo::StartFork;
    module.chainId = Identifier(1, index);
    module.previous.push_back({0, "0"});
    module.next.push_back({kMany - 1, "last"});
    snapshot.modules[0].next.push_back({index, module.name});
    last.previous.push_back({index, module.name});
    last.mergeChainIds.push_back(module.chainId);
  }
  EXPECT_THAT(checkGraph(snapshot), IsEmpty());
}

}  // namespace
}  // namespace Tessaril::Diagnostics
