#include <gmock/gmock.h>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/persistence/GoldenFiles.h"
#include "tests/persistence/Step.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::GoldenDesign;
using TestSupport::goldenFile;
using TestSupport::readDesign;
using TestSupport::readWhole;
using TestSupport::Step;
using TestSupport::TestGraph;
using TestSupport::writeDesign;
using TestSupport::writeWhole;

constexpr unsigned int kVersions[] = {53013, 53014, 499999, 500000, 500001, 500002, 500003};

std::string goldenFile(const char* className, unsigned int version) {
  return goldenFile(className + std::string("-") + std::to_string(version) + ".tsr");
}

TEST(GoldenFilesTest, NoneIsMissing) {
  EXPECT_EQ(TestSupport::goldenFiles().size(), 4 * std::size(kVersions) + 2);
}

// The state that every file with one holds, as far as its version has the flags.
void expectState(const ModuleState& state, bool frozenStored, bool skippedStored) {
  EXPECT_FALSE(state.isConsistent());
  EXPECT_TRUE(state.isActive());
  EXPECT_FALSE(state.isInputOk());
  EXPECT_EQ(state.isFrozen(), frozenStored);
  EXPECT_EQ(state.isSkipped(), skippedStored);
}

TEST(GoldenFilesTest, ModuleStates) {
  for (const unsigned int version : kVersions) {
    SCOPED_TRACE(version);
    ModuleState state;
    readWhole(goldenFile("ModuleState", version), state);
    expectState(state, version >= 53014, version > 500000);
  }
}

TEST(GoldenFilesTest, InsertInformation) {
  for (const unsigned int version : kVersions) {
    SCOPED_TRACE(version);
    ApplyModuleInsertInfo info;
    readWhole(goldenFile("ApplyModuleInsertInfo", version), info);
    EXPECT_EQ(info.getInsertMode(), ApplyModuleInsertInfo::MergeFork);
    EXPECT_EQ(info.getChainId().toString(), "01234567-89ab-cdef-fedc-ba9876543210");
    EXPECT_THAT(info.getMergeChainIds(),
                ElementsAre(Identifier::fromString("11111111-1111-1111-2222-222222222222"),
                            Identifier::fromString("33333333-3333-3333-4444-444444444444")));
    EXPECT_FALSE(info.getTransferChains());
  }
}

TEST(GoldenFilesTest, Modules) {
  for (const unsigned int version : kVersions) {
    SCOPED_TRACE(version);
    ApplyModule module;
    readWhole(goldenFile("ApplyModule", version), module);
    expectState(module, version >= 53014, version > 500000);
    EXPECT_TRUE(module.isAdditionalModule());
    EXPECT_EQ(module.getSpeedRate(), LegacyProgress::Speed::VerySlow);
    EXPECT_EQ(module.isStartOfSideChain(), version == 500000 || version == 500001);
    if (version < 500000) {
      EXPECT_EQ(module.getInsertMode(), ApplyModuleInsertInfo::AddToChain);
      EXPECT_EQ(module.getChainId(), Identifier::getInvalidId());
      EXPECT_THAT(module.getMergeChainIds(), IsEmpty());
    } else {
      EXPECT_EQ(module.getInsertMode(), ApplyModuleInsertInfo::StartFork);
      EXPECT_EQ(module.getChainId().toString(), "55555555-5555-5555-6666-666666666666");
      EXPECT_THAT(module.getMergeChainIds(),
                  ElementsAre(Identifier::fromString("77777777-7777-7777-8888-888888888888")));
    }
  }
}

TEST(GoldenFilesTest, Links) {
  for (const unsigned int version : kVersions) {
    SCOPED_TRACE(version);
    ApplyModuleData data;
    readWhole(goldenFile("ApplyModuleData", version), data);
    EXPECT_EQ(data.path, Path("/gear/teeth"));
    EXPECT_THAT(data.previousPaths, ElementsAre(Path("/gear"), Path("/material/steel")));
    EXPECT_THAT(data.nextPaths, ElementsAre(Path("/check")));
    EXPECT_TRUE(data.startOfSideChain);
  }
}

template <typename T>
void expectSavedAgain(const char* className, unsigned int version) {
  const std::string file = goldenFile(className, version);
  T object;
  readWhole(file, object);
  EXPECT_EQ(writeWhole(object), file) << className;
}

TEST(GoldenFilesTest, TheCurrentVersionsAreSavedAsTheyWere) {
  expectSavedAgain<ModuleState>("ModuleState", 500001);
  expectSavedAgain<ApplyModuleInsertInfo>("ApplyModuleInsertInfo", 500000);
  expectSavedAgain<ApplyModule>("ApplyModule", 500002);
  expectSavedAgain<ApplyModuleData>("ApplyModuleData", 500000);
  const std::string file = goldenFile("design-500002.tsr");
  EXPECT_EQ(writeDesign(readDesign(file)), file);
}

// Every other file becomes one of the current version that says the same.
TEST(GoldenFilesTest, OtherVersionsAreSavedAsTheCurrentOne) {
  for (const unsigned int version : {500001U, 500002U, 500003U}) {
    ModuleState state;
    readWhole(goldenFile("ModuleState", version), state);
    EXPECT_EQ(writeWhole(state), goldenFile("ModuleState", 500001));
  }
  for (const unsigned int version : kVersions) {
    ApplyModuleInsertInfo info;
    readWhole(goldenFile("ApplyModuleInsertInfo", version), info);
    EXPECT_EQ(writeWhole(info), goldenFile("ApplyModuleInsertInfo", 500000));
    ApplyModuleData data;
    readWhole(goldenFile("ApplyModuleData", version), data);
    EXPECT_EQ(writeWhole(data), goldenFile("ApplyModuleData", 500000));
  }
  for (const unsigned int version : {500001U, 500002U, 500003U}) {
    ApplyModule module;
    readWhole(goldenFile("ApplyModule", version), module);
    EXPECT_EQ(writeWhole(module), goldenFile("ApplyModule", 500002));
  }
}

// Whole designs

class GoldenDesignsTest : public ::testing::TestWithParam<unsigned int> {
 protected:
  std::string file() const { return goldenFile("design-" + std::to_string(GetParam()) + ".tsr"); }
  bool isCurrent() const { return GetParam() == 500002; }
};
INSTANTIATE_TEST_SUITE_P(Versions, GoldenDesignsTest, ::testing::Values(500000U, 500002U));

std::shared_ptr<Step> stepAt(const GoldenDesign& design, const char* path) {
  return std::dynamic_pointer_cast<Step>(design.root->getObject(Path(path)));
}

TestGraph graphOf(const GoldenDesign& design) {
  TestGraph graph;
  for (const char* path : {"/input", "/teeth", "/body/bore", "/body/keyway", "/rack", "/check"}) {
    const auto step = stepAt(design, path);
    graph.add(step->getName(), step);
  }
  return graph;
}

TEST_P(GoldenDesignsTest, TheTree) {
  const GoldenDesign design = readDesign(file());
  const auto namesIn = [](const Object& object) {
    std::vector<std::string> names;
    for (const auto& child : object.getChildren()) {
      names.push_back(child->getName());
    }
    return names;
  };
  EXPECT_EQ(design.root->getName(), "gear pair");
  EXPECT_THAT(namesIn(*design.root), ElementsAre("input", "teeth", "body", "rack", "check"));
  const auto body = design.root->getChild("body");
  EXPECT_EQ(std::dynamic_pointer_cast<Step>(body), nullptr);
  EXPECT_THAT(namesIn(*body), ElementsAre("bore", "keyway"));
  EXPECT_EQ(body->getChild("bore")->getParent(), body.get());
}

TEST_P(GoldenDesignsTest, SharedObjectsAreOne) {
  const GoldenDesign design = readDesign(file());
  EXPECT_EQ(design.first, stepAt(design, "/input"));
  EXPECT_EQ(design.last, stepAt(design, "/check"));
  EXPECT_EQ(design.following, nullptr);
}

TEST_P(GoldenDesignsTest, Links) {
  const GoldenDesign design = readDesign(file());
  std::vector<std::string> paths;
  for (const ApplyModuleData& data : design.links) {
    paths.push_back(data.path.toString());
    EXPECT_EQ(data.startOfSideChain, data.path == Path("/body/bore"));
  }
  EXPECT_THAT(paths,
              ElementsAre("/input", "/rack", "/check", "/body/bore", "/body/keyway", "/teeth"));
  EXPECT_THAT(design.links[0].nextPaths,
              ElementsAre(Path("/teeth"), Path("/body/bore"), Path("/rack")));
  EXPECT_THAT(design.links[2].previousPaths, ElementsAre(Path("/teeth"), Path("/rack")));
}

TEST_P(GoldenDesignsTest, ModulesBeforeTheirLinksAreRestored) {
  const TestGraph graph = graphOf(readDesign(file()));
  // Records of the old version mark the start of the fork as the start of a side chain.
  const std::string rack = isCurrent() ? "rack" : "(rack)";
  EXPECT_EQ(text(graph),
            "input[active,frozen]; teeth[active,inconsistent]; "
            "bore:bore[active,additional,side<main]; keyway:bore; " +
                rack + ":rack[active,badinput,fork<main]; check[active,merge<main+rack]");
}

TEST_P(GoldenDesignsTest, Rates) {
  const GoldenDesign design = readDesign(file());
  EXPECT_EQ(stepAt(design, "/input")->getSpeedRate(), LegacyProgress::Speed::Normal);
  EXPECT_EQ(stepAt(design, "/teeth")->getSpeedRate(), LegacyProgress::Speed::Slow);
  EXPECT_EQ(stepAt(design, "/check")->getSpeedRate(), LegacyProgress::Speed::VerySlow);
}

TEST_P(GoldenDesignsTest, TheGraph) {
  const GoldenDesign design = readDesign(file());
  ApplyGraph::restoreApplyGraph(design.root, design.links);
  EXPECT_EQ(text(graphOf(design)),
            "input[active,frozen] -> teeth[active,inconsistent] -> check[active,merge<main+rack]; "
            "input -> (bore):bore[active,additional,side<main] -> keyway:bore; "
            "input -> rack:rack[active,badinput,fork<main] -> check");
}

TEST_P(GoldenDesignsTest, SavedAsTheCurrentOneFromTheLinksOfItsGraph) {
  GoldenDesign design = readDesign(file());
  ApplyGraph::restoreApplyGraph(design.root, design.links);
  design.links.clear();
  ApplyGraph::storeApplyGraph(design.root, {stepAt(design, "/teeth")}, design.links);
  EXPECT_EQ(writeDesign(design), goldenFile("design-500002.tsr"));
}

}  // namespace
}  // namespace Tessaril
