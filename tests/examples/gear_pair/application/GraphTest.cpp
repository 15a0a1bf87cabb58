#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/examples/gear_pair/application/TemporaryFile.h"
#include "tests/examples/gear_pair/application/TestSession.h"
#include "tests/support/GraphInvariants.h"
#include "tests/support/GraphText.h"

namespace GearPair {
namespace {

using Tessaril::ApplyGraph;
using Tessaril::ApplyModuleInsertInfo;
using testing::ElementsAre;
using testing::IsEmpty;

Tessaril::TestSupport::TestGraph graphOf(const GearPairDesign& design) {
  Tessaril::TestSupport::TestGraph graph;
  for (const auto& child : design.getChildren()) {
    graph.add(child->getName(), std::dynamic_pointer_cast<DesignModule>(child));
  }
  return graph;
}

TEST(Graph, HasAMainChainAForkThatIsMergedAndTwoSideChains) {
  const auto design = GearPairDesign::create(soundDesign());
  EXPECT_EQ(Tessaril::TestSupport::linkText(graphOf(*design)),
            "requirements -> pinion -> mesh -> strength -> report -> plan; "
            "requirements -> wheel -> mesh -> drawing; pinion -> cutter");
  for (const auto& module : design->getModules()) {
    EXPECT_EQ(module->isStartOfSideChain(),
              module == design->cutter() || module == design->drawing())
        << module->getName();
  }
}

TEST(Graph, ObeysTheRulesOfPlacedGraphs) {
  const auto design = GearPairDesign::create(soundDesign());
  EXPECT_THAT(Tessaril::TestSupport::linkViolations(graphOf(*design)), IsEmpty());
  EXPECT_THAT(Tessaril::TestSupport::chainViolations(graphOf(*design)), IsEmpty());
}

TEST(Graph, NamesItsChains) {
  const auto design = GearPairDesign::create(soundDesign());
  std::vector<std::string> chains;
  for (const auto& module : design->getModules()) {
    chains.push_back(module->getName() + " " + GearPairDesign::chainName(*module) + " " +
                     std::to_string(ApplyGraph::computeLevelOfChain(module)));
  }
  EXPECT_THAT(chains, ElementsAre("requirements main 0", "pinion main 0", "wheel wheel 1",
                                  "mesh main 0", "cutter cutter 1", "strength main 0",
                                  "drawing drawing 1", "report main 0", "plan main 0"));
  EXPECT_EQ(design->mesh()->getInsertMode(), ApplyModuleInsertInfo::MergeFork);
  EXPECT_EQ(design->wheel()->getInsertMode(), ApplyModuleInsertInfo::StartFork);
  EXPECT_EQ(design->cutter()->getInsertMode(), ApplyModuleInsertInfo::StartSideChain);
}

TEST(Graph, HasOneModuleWithSharedResourcesAndStepsOfDifferentSpeed) {
  const auto design = GearPairDesign::create(soundDesign());
  std::string sharing;
  std::set<int> rates;
  for (const auto& module : design->getModules()) {
    sharing += module->usesSharedResources() ? module->getName() : "";
    rates.insert(module->getSpeedRate());
  }
  EXPECT_EQ(sharing, "cutter");
  EXPECT_GT(rates.size(), 3U);
}

TEST(Graph, IsWrittenAsTextWithThePathsOfTheModules) {
  const DesignSession session = inlineSession();
  const TemporaryFile file("gear_pair_graph.txt");
  ApplyGraph::write(session.design()->report(), file.name());
  EXPECT_THAT(file.content(), testing::HasSubstr("Node:\n"
                                                 "=====\n"
                                                 "Name: mesh  AbsolutePath: /design/mesh\n"
                                                 "  Previous Nodes:\n"
                                                 "  ---------------\n"
                                                 "    Name: pinion  AbsolutePath: /design/pinion\n"
                                                 "    Name: wheel  AbsolutePath: /design/wheel\n"
                                                 "  Next Nodes:\n"
                                                 "  -----------\n"
                                                 "    Name: strength  AbsolutePath: "
                                                 "/design/strength\n"
                                                 "    Name: drawing (S) AbsolutePath: "
                                                 "/design/drawing\n"));
}

TEST(Graph, IsGoneWithItsDesign) {
  std::weak_ptr<DesignModule> requirements;
  std::weak_ptr<DesignModule> report;
  {
    DesignSession session = inlineSession();
    session.update();
    requirements = session.design()->requirements();
    report = session.design()->report();
  }
  EXPECT_TRUE(requirements.expired());
  EXPECT_TRUE(report.expired());
}

}  // namespace
}  // namespace GearPair
