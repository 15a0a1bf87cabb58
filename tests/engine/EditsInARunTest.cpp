#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tests/support/ScriptedDesign.h"

// A run keeps links in a form of its own, and has to notice each kind of edit that a command makes
// on the way. The literal update reads the links each time it needs them.

namespace Tessaril {
namespace {

using TestSupport::ScriptedDesign;
using TestSupport::ScriptedLiteralUpdate;

struct KindOfEdit {
  const char* name;
  std::function<void(ScriptedDesign&)> edit;
};

std::ostream& operator<<(std::ostream& stream, const KindOfEdit& kind) {
  return stream << kind.name;
}

class EditsInARunTest : public testing::TestWithParam<KindOfEdit> {
 protected:
  /// An update during which B's command makes the edit.
  template <typename Update>
  std::string eventsOf(const std::function<void(ScriptedDesign&)>& edit) {
    ScriptedDesign design(
        "A -> B -> C -> D -> E; B -> P:p[fork] -> R:p -> T:p -> E; C -> (S):s[side]; X -> Y; Q");
    design.needApply("A B C D E P R T S X Y Q");
    design["B"].apply.script->whenExecuted = [&](ApplyUpdateInfo&) { edit(design); };
    const auto update = std::make_shared<Update>(design.log, design.root, design.module("A"),
                                                 design.module("E"), design.module(""));
    return design.run(*update);
  }
};

TEST_P(EditsInARunTest, AreNoticed) {
  const std::string events = eventsOf<TestSupport::ScriptedUpdate>(GetParam().edit);
  EXPECT_EQ(events, eventsOf<ScriptedLiteralUpdate>(GetParam().edit));
  EXPECT_NE(events, eventsOf<ScriptedLiteralUpdate>([](ScriptedDesign&) {}))
      << "an edit that nothing can be seen of tests nothing";
}

/// Takes the links from C to its next modules, and those back, out of the stored graph.
void restoreWithoutNextOfC(ScriptedDesign& design) {
  std::vector<ApplyModuleData> records;
  ApplyGraph::storeApplyGraph(design.root, {design.module("A")}, records);
  for (ApplyModuleData& record : records) {
    if (record.path == design["C"].getPath(RequestedPathType::Absolute)) {
      record.nextPaths.clear();
    }
  }
  ApplyGraph::restoreApplyGraph(design.root, records);
}

using D = ScriptedDesign;

INSTANTIATE_TEST_SUITE_P(
    Kinds, EditsInARunTest,
    testing::Values(
        KindOfEdit{
            "Insert",
            [](D& d) { ApplyGraph::insert(d.module("Q"), d.module("C"), d.module("D"), false); }},
        KindOfEdit{"InsertAfter",
                   [](D& d) { ApplyGraph::insertAfter(d.module("Q"), d.module("C")); }},
        KindOfEdit{"InsertBefore",
                   [](D& d) { ApplyGraph::insertBefore(d.module("Q"), d.module("D")); }},
        KindOfEdit{"Remove", [](D& d) { ApplyGraph::remove(d.module("D")); }},
        KindOfEdit{"Replace", [](D& d) { ApplyGraph::replace(d.module("D"), d.module("Q")); }},
        KindOfEdit{"AddFork", [](D& d) { ApplyGraph::addFork(d.module("T"), d.module("D")); }},
        KindOfEdit{"RemoveFork",
                   [](D& d) { ApplyGraph::removeFork(d.module("T"), d.module("E")); }},
        KindOfEdit{"InsertSubGraph",
                   [](D& d) {
                     ApplyGraph::insertSubGraph(d.module("X"), d.module("Y"), d.module("C"),
                                                d.module("D"), false);
                   }},
        KindOfEdit{"InsertSubGraphAfter",
                   [](D& d) {
                     ApplyGraph::insertSubGraphAfter(d.module("X"), d.module("Y"), d.module("C"));
                   }},
        KindOfEdit{"InsertSubGraphBefore",
                   [](D& d) {
                     ApplyGraph::insertSubGraphBefore(d.module("X"), d.module("Y"), d.module("D"));
                   }},
        KindOfEdit{"RemoveSubGraph",
                   [](D& d) { ApplyGraph::removeSubGraph(d.module("R"), d.module("T")); }},
        KindOfEdit{"MoveStartOfSubChain",
                   [](D& d) {
                     ApplyGraph::moveStartOfSubChain(d.module("S"), d.module("C"), d.module("T"));
                   }},
        KindOfEdit{
            "Place",
            [](D& d) { ApplyGraph::insertAccordingToInsertMode(d.module("Q"), d.module("C")); }},
        KindOfEdit{"Merge",
                   [](D& d) {
                     ApplyGraph::insertAccordingToInsertMode(
                         d.module("Q"), {d.module("C"), d.module("T")}, d.module("D"));
                   }},
        KindOfEdit{"Restore", restoreWithoutNextOfC}),
    [](const testing::TestParamInfo<KindOfEdit>& kind) { return std::string(kind.param.name); });

}  // namespace
}  // namespace Tessaril
