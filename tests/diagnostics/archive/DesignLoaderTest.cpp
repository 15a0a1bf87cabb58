#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "diagnostics/archive/DesignLoader.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/diagnostics/archive/SavedGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;
using TestSupport::HandMadeArchive;
using TestSupport::openStep;
using TestSupport::presentClasses;
using TestSupport::savedGraph;

TEST(DesignLoader, ReadsObjectsAndRestoresTheirLinks) {
  const LoadedDesign loaded = loadDesign(savedGraph("A -> B; A -> (S):s[side<main]"));
  EXPECT_EQ(loaded.treeRoot, loaded.design);
  ASSERT_EQ(loaded.modules.size(), 3U);
  EXPECT_EQ(loaded.modules[0]->getNextApplyModule(), loaded.modules[1]);
  EXPECT_TRUE(loaded.modules[2]->isStartOfSideChain());
  EXPECT_EQ(loaded.links.size(), 3U);
}

TEST(DesignLoader, PutsADesignThatWasSavedBelowTheRootBelowOne) {
  // As an application has it that keeps its designs under one root.
  const auto root = std::make_shared<Object>("application");
  auto design = TestSupport::plant(TestSupport::graphOf<TestSupport::StoredModule>("A -> B"));
  root->addChild(design.root);
  const LoadedDesign loaded = loadDesign(TestSupport::save(design));
  EXPECT_EQ(loaded.design->getParent(), loaded.treeRoot.get());
  ASSERT_EQ(loaded.modules.size(), 2U);
  EXPECT_EQ(loaded.modules[0]->getNextApplyModule(), loaded.modules[1]);
}

TEST(DesignLoader, TellsWhichLinksWereDropped) {
  auto design = TestSupport::plant(TestSupport::graphOf<TestSupport::StoredModule>("A -> B"));
  design.root->addChild(std::make_shared<Object>("box"));
  PersistenceArchiver archiver;
  archiver.writeShared(design.root);
  std::vector<ApplyModuleData> links = TestSupport::storedLinks(design.graph);
  links[0].nextPaths = {Path("/box"), Path("/B"), Path("/gone")};
  writeContainer(archiver, links);
  const std::vector<DroppedLink> dropped = droppedLinks(loadDesign(archiver.finish()));
  ASSERT_EQ(dropped.size(), 2U);
  EXPECT_EQ(dropped[0], (DroppedLink{"/A", "/box", true, true, false}));
  EXPECT_EQ(dropped[1], (DroppedLink{"/A", "/gone", true, false, false}));
}

TEST(DesignLoader, RefusesClassesThatAreNotKnown) {
  HandMadeArchive archive;
  archive.number(1);
  openStep(archive, "App.Step", "A").close();
  archive.open("ApplyModuleData").number(0).close();
  const std::string bytes = archive.with(presentClasses({{"App.Step", 1}}));
  EXPECT_THAT([&] { loadDesign(bytes); }, ThrowsMessage<ArchiveException>(HasSubstr("App.Step")));
}

TEST(DesignLoader, RefusesAnArchiveWithoutADesign) {
  EXPECT_THAT([] { loadDesign(HandMadeArchive().number(0).with({})); },
              ThrowsMessage<ArchiveException>("byte 20: there is no design"));
}

TEST(DesignLoader, NamesALibraryThatCannotBeOpened) {
  EXPECT_THAT([] { loadApplicationLibrary("/no/such/library.so"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("/no/such/library.so")));
}

}  // namespace
}  // namespace Tessaril::Diagnostics
