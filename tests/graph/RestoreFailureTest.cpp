#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tests/support/StoredDesign.h"
#include "tests/support/TestModule.h"

// What a host's tree does to a restore that throws while it looks for an object.
// Object::getObject() is replaced by the one below: this program comes first where the loader looks
// for it.

namespace Tessaril {
namespace {

using TestSupport::graphOf;
using TestSupport::ObjectModule;
using TestSupport::plant;
using TestSupport::StoredDesign;

std::vector<GetObjectBehavior> behavioursAskedFor;

ApplyModuleData record(const char* path, const std::vector<const char*>& previous,
                       const std::vector<const char*>& next, bool startOfSideChain = false) {
  ApplyModuleData result;
  result.path = Path(path);
  for (const char* neighbour : previous) {
    result.previousPaths.emplace_back(neighbour);
  }
  for (const char* neighbour : next) {
    result.nextPaths.emplace_back(neighbour);
  }
  result.startOfSideChain = startOfSideChain;
  return result;
}

}  // namespace

/// Finds children of the root; fails at the name "broken".
std::shared_ptr<Object> Object::getObject(const Path& path, GetObjectBehavior behavior) const {
  behavioursAskedFor.push_back(behavior);
  const std::string& name = path.getNames().at(0);
  if (name == "broken") {
    throw std::runtime_error("a broken tree");
  }
  return getRoot().getChild(name);
}

namespace {

/// D stands for what was there before.
class RestoreFailureTest : public ::testing::Test {
 protected:
  std::string restored(const std::vector<ApplyModuleData>& data) {
    try {
      ApplyGraph::restoreApplyGraph(design.root, data);
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(e.what(), "a broken tree");
      return "throws; " + text(design.graph);
    }
    return text(design.graph);
  }

  StoredDesign design = plant(graphOf<ObjectModule>("A; B; C; D -> (E)"));
};

TEST_F(RestoreFailureTest, TheTreeIsThisProgramsOne) {
  EXPECT_EQ(restored({record("/A", {}, {"/B"}), record("/B", {"/A"}, {})}), "A -> B; D -> (E); C");
}

TEST_F(RestoreFailureTest, AsksForNullAndNeverForAnException) {
  behavioursAskedFor.clear();
  restored({record("/A", {"/C"}, {"/B"})});
  EXPECT_EQ(behavioursAskedFor, std::vector<GetObjectBehavior>(3, GetObjectBehavior::ReturnNull));
}

TEST_F(RestoreFailureTest, AModuleThatCannotBeLookedUpEndsItWithTheRecordsBeforeApplied) {
  EXPECT_EQ(restored({record("/A", {}, {"/B"}, true), record("/B", {"/A"}, {}),
                      record("/broken", {}, {}), record("/D", {}, {}), record("/E", {}, {})}),
            "throws; (A) -> B; D -> (E); C");
}

TEST_F(RestoreFailureTest, ANeighbourThatCannotBeLookedUpEndsItWithTheRecordsBeforeApplied) {
  const ApplyModuleData first = record("/A", {}, {"/B"}, true);
  const ApplyModuleData second = record("/B", {"/A"}, {});
  const ApplyModuleData last = record("/E", {}, {});
  EXPECT_EQ(restored({first, second, record("/C", {"/broken"}, {}), last}),
            "throws; (A) -> B; D -> (E); C");
  EXPECT_EQ(restored({first, second, record("/C", {}, {"/broken"}), last}),
            "throws; (A) -> B; D -> (E); C");
}

}  // namespace
}  // namespace Tessaril
