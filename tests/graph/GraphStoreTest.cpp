#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ObjectLookup.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/RandomGraph.h"
#include "tests/support/StoredDesign.h"
#include "tests/support/TestModule.h"

// Records are written here as "/B: /A | /C /D (S)": the module, its previous and its next modules,
// and the start-of-side-chain flag. A list of them is separated by "; ".

namespace Tessaril {
namespace {

using TestSupport::constModules;
using TestSupport::forSeeds;
using TestSupport::graph;
using TestSupport::graphOf;
using TestSupport::ModulePtr;
using TestSupport::ObjectModule;
using TestSupport::plant;
using TestSupport::RandomGraphParameters;
using TestSupport::StoredDesign;
using TestSupport::storedLinks;
using TestSupport::StoredModule;
using TestSupport::TestGraph;
using TestSupport::TestModule;
namespace PrivateLinks = TestSupport::PrivateLinks;

using Records = std::vector<ApplyModuleData>;
using ModuleList = std::vector<std::shared_ptr<const ApplyModule>>;

// Records as text

std::string textOf(const std::vector<Path>& paths) {
  std::string result;
  for (const Path& path : paths) {
    result += " " + path.toString();
  }
  return result;
}

std::string textOf(const Records& records) {
  std::string result;
  for (const ApplyModuleData& record : records) {
    result += (result.empty() ? "" : "; ") + record.path.toString() + ":" +
              textOf(record.previousPaths) + " |" + textOf(record.nextPaths) +
              (record.startOfSideChain ? " (S)" : "");
  }
  return result;
}

std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t length = std::min(text.find(separator), text.size());
    if (length > 0) {
      parts.emplace_back(text.substr(0, length));
    }
    text.remove_prefix(std::min(length + separator.size(), text.size()));
  }
  return parts;
}

Records records(std::string_view text) {
  Records result;
  for (const std::string& recordText : split(text, "; ")) {
    ApplyModuleData record;
    std::vector<Path>* list = &record.previousPaths;
    for (const std::string& word : split(recordText, " ")) {
      if (word.ends_with(':')) {
        record.path = Path(word.substr(0, word.size() - 1));
      } else if (word == "|") {
        list = &record.nextPaths;
      } else if (word == "(S)") {
        record.startOfSideChain = true;
      } else {
        list->emplace_back(word);
      }
    }
    result.push_back(record);
  }
  return result;
}

TEST(RecordTextTest, ReadsWhatItWrites) {
  const std::string text = "/A: | /B; /B: /A /x/y | /C /D (S); /D: |";
  EXPECT_EQ(textOf(records(text)), text);
  EXPECT_EQ(records(text).size(), 3u);
}

class GraphStoreTest : public ::testing::Test {
 protected:
  void given(std::string_view graphText) { design = plant(graphOf<ObjectModule>(graphText)); }

  const ModulePtr& m(std::string_view name) const { return design.graph[name]; }

  /// What is stored when these modules are handed in; "~" is a null pointer.
  std::string stored(std::string_view names) const {
    ModuleList modules;
    for (const std::string& name : split(names, " ")) {
      modules.push_back(name == "~" ? nullptr : m(name));
    }
    Records data;
    ApplyGraph::storeApplyGraph(design.root, modules, data);
    return textOf(data);
  }

  void restore(std::string_view recordTexts) const {
    ApplyGraph::restoreApplyGraph(design.root, records(recordTexts));
  }

  std::string shown() const { return text(design.graph); }

  StoredDesign design;
};

// Storing

TEST_F(GraphStoreTest, StoresAModuleARecord) {
  given("A -> B -> C");
  EXPECT_EQ(stored("A"), "/A: | /B; /B: /A | /C; /C: /B |");
}

TEST_F(GraphStoreTest, StoresALoneModule) {
  given("A; B");
  EXPECT_EQ(stored("A"), "/A: |");
}

TEST_F(GraphStoreTest, StoresNothingForNoModules) {
  given("A -> B");
  EXPECT_EQ(stored(""), "");
}

TEST_F(GraphStoreTest, BeginsAtTheStartOfTheGraphWhicheverModuleIsNamed) {
  given("A -> B -> C; B -> (S):side[side] -> T:side");
  const std::string all = stored("A");
  for (const char* name : {"B", "C", "S", "T"}) {
    EXPECT_EQ(stored(name), all) << name;
  }
  EXPECT_EQ(all, "/A: | /B; /B: /A | /C /S; /S: /B | /T (S); /T: /S |; /C: /B |");
}

// The walk is last in, first out: the follower listed last, with everything behind it, comes first.
TEST_F(GraphStoreTest, StoresInTheOrderOfTheWalkOverFollowers) {
  given("A -> P; A -> Q -> R; P -> R");
  EXPECT_EQ(stored("A"), "/A: | /P /Q; /Q: /A | /R; /R: /Q /P |; /P: /A | /R");
}

TEST_F(GraphStoreTest, KeepsTheOrderOfNeighbours) {
  given("A -> D; A -> B; A -> C; C -> E; D -> E; B -> E");
  EXPECT_EQ(stored("E"), "/A: | /D /B /C; /C: /A | /E; /E: /C /D /B |; /B: /A | /E; /D: /A | /E");
}

TEST_F(GraphStoreTest, StoresANeighbourAsOftenAsItIsListed) {
  given("A -> B; A -> B; A -> C");
  EXPECT_EQ(stored("A"), "/A: | /B /B /C; /C: /A |; /B: /A /A |");
}

TEST_F(GraphStoreTest, StoresEachSideOfALinkAsItStands) {
  given("A -> B; A ->. C; X .-> B; X -> Y");
  EXPECT_EQ(stored("A"), "/A: | /B /C; /C: |; /B: /A /X |");
}

TEST_F(GraphStoreTest, StoresTheStartOfSideChainFlag) {
  given("A -> (S) -> T; A -> (U)");
  EXPECT_EQ(stored("A"), "/A: | /S /U; /U: /A | (S); /S: /A | /T (S); /T: /S |");
}

TEST_F(GraphStoreTest, LeavesOutDestroyedNeighbours) {
  given("X -> C; ~ -> B; A -> ~; A -> B -> C; A -> Y");
  design.root->removeChild(dynamic_cast<Object&>(*m("X")));
  design.graph.drop("X");
  design.root->removeChild(dynamic_cast<Object&>(*m("Y")));
  design.graph.drop("Y");
  EXPECT_EQ(shown(), "~ -> C; B -> C; ~ -> B; A -> ~; A -> B; A -> ~");
  EXPECT_EQ(stored("C"), "/A: | /B; /B: /A | /C; /C: /B |");
}

TEST_F(GraphStoreTest, NamesModulesByTheirPathsFromTheRoot) {
  design.root = std::make_shared<Object>("design");
  const auto folder = std::make_shared<Object>("folder");
  design.root->addChild(folder);
  design.graph = graphOf<ObjectModule>("A -> B");
  design.root->addChild(design.graph.as<Object>("A"));
  folder->addChild(design.graph.as<Object>("B"));
  EXPECT_EQ(stored("A"), "/A: | /folder/B; /folder/B: /A |");
}

TEST_F(GraphStoreTest, NamesAModuleThatIsTheRoot) {
  design.graph = graphOf<ObjectModule>("A -> B");
  design.root = design.graph.as<Object>("A");
  design.root->addChild(design.graph.as<Object>("B"));
  EXPECT_EQ(stored("A"), "/: | /B; /B: / |");
}

TEST_F(GraphStoreTest, AppendsToWhatIsThereAlready) {
  given("A -> B");
  Records data = records("/before: /x | /y (S)");
  ApplyGraph::storeApplyGraph(design.root, {m("A")}, data);
  EXPECT_EQ(textOf(data), "/before: /x | /y (S); /A: | /B; /B: /A |");
}

TEST_F(GraphStoreTest, StoresAGraphOnceForModulesInARow) {
  given("A -> B -> C");
  EXPECT_EQ(stored("A B C A"), stored("A"));
  EXPECT_EQ(stored("C B"), stored("A"));
}

TEST_F(GraphStoreTest, StoresEachOfSeveralGraphs) {
  given("A -> B; X -> Y");
  EXPECT_EQ(stored("A B X Y"), "/A: | /B; /B: /A |; /X: | /Y; /Y: /X |");
  EXPECT_EQ(stored("Y A"), "/X: | /Y; /Y: /X |; /A: | /B; /B: /A |");
}

// Deliberate: only the graph stored last is known again; the caller groups. What comes twice costs
// room, and restores the same links.
TEST_F(GraphStoreTest, StoresAGraphAgainThatComesUpAgain) {
  given("A -> B; X");
  EXPECT_EQ(stored("A X B"), "/A: | /B; /B: /A |; /X: |; /A: | /B; /B: /A |");
}

// What two starts lead to belongs to the graph of each of them.
TEST_F(GraphStoreTest, StoresWhatFollowsTwoStartsWithEachOfThem) {
  given("A -> M; X -> M");
  EXPECT_EQ(stored("M"), "/A: | /M; /M: /A /X |");
  EXPECT_EQ(stored("A X M"), "/A: | /M; /M: /A /X |; /X: | /M; /M: /A /X |; /A: | /M; /M: /A /X |");
}

// The start is behind the first previous module that lives, whichever other modules lie on the way.
TEST_F(GraphStoreTest, FindsTheStartOfEachModuleWhateverWasNamedBefore) {
  given("A -> B; X -> B; X -> Y; B -> C; Y -> C");
  EXPECT_EQ(stored("Y"), stored("X"));
  EXPECT_EQ(stored("C Y B"), stored("A") + "; " + stored("X") + "; " + stored("A"));
}

TEST_F(GraphStoreTest, StoresACircleFromTheModuleThatIsNamed) {
  given("A -> B -> C -> A");
  EXPECT_EQ(stored("B A C"), "/B: /A | /C; /C: /B | /A; /A: /C | /B");
}

TEST_F(GraphStoreTest, PassesOverNullModules) {
  given("A -> B; X");
  EXPECT_EQ(stored("~"), "");
  EXPECT_EQ(stored("~ A ~ B ~ X ~"), stored("A B X"));
}

TEST_F(GraphStoreTest, DoesNotUseTheObject) {
  given("A -> B");
  const auto foreign = std::make_shared<Object>("foreign");
  for (const auto& object : {std::shared_ptr<Object>(), foreign}) {
    Records data;
    ApplyGraph::storeApplyGraph(object, {m("A")}, data);
    EXPECT_EQ(textOf(data), "/A: | /B; /B: /A |");
  }
}

TEST_F(GraphStoreTest, ChangesNothing) {
  given("[frozen] A -> B[active]; A -> (S):c1[side]; B -> ~");
  const std::string before = shown();
  int signals = 0;
  for (const auto& member : design.graph) {
    member.module->connectToSigStateChanged(Signals::Slot<void()>([&] { ++signals; }));
  }
  stored("A B S");
  EXPECT_EQ(shown(), before);
  EXPECT_EQ(signals, 0);
  for (const auto& member : design.graph) {
    EXPECT_EQ(design.graph.as<TestModule>(member.name)->graphChanges, 0);
  }
}

/// Graphs with modules that are no objects; their names begin with "n".
class MixedGraphStoreTest : public ::testing::Test {
 protected:
  void given(std::string_view graphText) {
    root = std::make_shared<Object>("design");
    g = graph(graphText, [this](const std::string& name) -> ModulePtr {
      if (name.starts_with('n')) {
        return std::make_shared<TestModule>(name);
      }
      auto module = std::make_shared<ObjectModule>(name);
      root->addChild(module);
      return module;
    });
  }

  std::shared_ptr<Object> root;
  TestGraph g;
};

TEST_F(MixedGraphStoreTest, LeavesOutPreviousModulesThatAreNoObjects) {
  given("A -> B; n .-> B; C .-> B; n .-> A");
  PrivateLinks::previousList(*g["A"]).clear();
  Records data;
  ApplyGraph::storeApplyGraph(root, {g["B"]}, data);
  EXPECT_EQ(textOf(data), "/A: | /B; /B: /A /C |");
}

TEST_F(MixedGraphStoreTest, EndsAtAModuleThatIsNoObjectWithTheRecordsBeforeIt) {
  given("A -> n -> C; A -> B; A -> D");
  Records data = records("/before: |");
  EXPECT_THROW(ApplyGraph::storeApplyGraph(root, {g["A"]}, data), std::bad_cast);
  EXPECT_EQ(textOf(data), "/before: |; /A: | /B /D; /D: /A |; /B: /A |");
}

TEST_F(MixedGraphStoreTest, EndsAtAStartThatIsNoObject) {
  given("X; n -> B");
  Records data;
  EXPECT_THROW(ApplyGraph::storeApplyGraph(root, {g["X"], g["B"], g["X"]}, data), std::bad_cast);
  EXPECT_EQ(textOf(data), "/X: |");
}

/// What is stored when each module is handed in by itself, unless it belongs to the graph before.
Records storedOneByOne(const ModuleList& modules) {
  Records data;
  std::shared_ptr<const ApplyModule> last;
  for (const auto& module : modules) {
    const auto start = ApplyGraph::getStartConst(module);
    if (start != nullptr && start != last) {
      ApplyGraph::storeApplyGraph(nullptr, {start}, data);
      last = start;
    }
  }
  return data;
}

TEST(GraphStoreOfManyTest, StoresWhatTheModulesOneByOneLeadTo) {
  forSeeds(300, [](std::uint64_t seed) {
    RandomGraphParameters parameters;
    parameters.modules = 20;
    parameters.roots = 4;
    parameters.links = 8;
    parameters.oneSided = 10;
    parameters.duplicates = 10;
    parameters.dead = 15;
    const StoredDesign design = plant(randomGraph(seed, parameters, [](const std::string& name) {
      return std::make_shared<ObjectModule>(name);
    }));
    const ModuleList all = constModules(design.graph);
    TestSupport::Random random(seed);
    ModuleList modules;
    for (std::size_t i = 0; i < 2 * all.size(); ++i) {
      modules.push_back(random.percent(10) ? nullptr : all[random.below(all.size())]);
    }
    Records data;
    ApplyGraph::storeApplyGraph(nullptr, modules, data);
    EXPECT_EQ(textOf(data), textOf(storedOneByOne(modules)));
  });
}

// Every module of a long chain, the last one first: with a climb for each it would not end soon.
TEST(GraphStoreOfManyTest, StoresALongChainOfWhichEveryModuleIsNamed) {
  constexpr std::size_t kModules = 100000;
  std::vector<std::shared_ptr<ObjectModule>> chain;
  for (std::size_t i = 0; i < kModules; ++i) {
    chain.push_back(std::make_shared<ObjectModule>("m"));
    if (i > 0) {
      ApplyGraph::insertAfter(chain[i], chain[i - 1]);
    }
  }
  Records data;
  ApplyGraph::storeApplyGraph(nullptr, {chain.rbegin(), chain.rend()}, data);
  EXPECT_EQ(data.size(), kModules);
}

// Restoring

TEST_F(GraphStoreTest, RestoresLinksAndFlags) {
  given("A; B; S");
  restore("/A: | /B /S; /B: /A |; /S: /A | (S)");
  EXPECT_EQ(shown(), "A -> B; A -> (S)");
}

TEST_F(GraphStoreTest, RestoresNothingFromNoRecords) {
  given("A -> (B)");
  restore("");
  EXPECT_EQ(shown(), "A -> (B)");
}

TEST_F(GraphStoreTest, RestoresTheOrderOfNeighbours) {
  given("A; B; C; D; E");
  restore("/A: | /D /B /C; /E: /C /D /B |");
  EXPECT_EQ(design.graph.names(m("A")->getNextApplyModules()), "D B C");
  EXPECT_EQ(design.graph.names(m("E")->getPreviousApplyModules()), "C D B");
}

TEST_F(GraphStoreTest, PassesOverRecordsWhoseModuleIsGone) {
  given("A -> B; C");
  restore("/gone: /A | /C (S); /A: | /C; /also/gone: |; /C: /A |");
  EXPECT_EQ(shown(), "A -> C; A .-> B");
}

TEST_F(GraphStoreTest, PassesOverRecordsWhoseObjectIsNoModule) {
  given("A -> B");
  design.root->addChild(std::make_shared<Object>("plain"));
  restore("/plain: /A | /B (S); /: /A | /B");
  EXPECT_EQ(shown(), "A -> B");
}

TEST_F(GraphStoreTest, PassesOverRecordsWithoutAPath) {
  given("A -> B");
  ApplyGraph::restoreApplyGraph(design.root, {ApplyModuleData()});
  EXPECT_EQ(shown(), "A -> B");
}

TEST_F(GraphStoreTest, LeavesOutNeighboursThatAreGone) {
  given("A; B; C");
  restore("/A: | /gone /B /gone/too /C; /B: /gone /A |; /C: /A /gone |");
  EXPECT_EQ(shown(), "A -> B; A -> C");
}

TEST_F(GraphStoreTest, LeavesOutNeighboursThatAreNoModules) {
  given("A; B; C");
  design.root->addChild(std::make_shared<Object>("plain"));
  restore("/A: /plain / | /plain /B / /C; /B: /plain /A | /");
  EXPECT_EQ(shown(), "A -> B; A ->. C");
}

TEST_F(GraphStoreTest, RestoresALinkOnTheSideThatNamesItOnly) {
  given("A; B; C");
  restore("/A: | /B; /C: /B |");
  EXPECT_EQ(shown(), "A ->. B .-> C");
}

TEST_F(GraphStoreTest, ReplacesLinksAndDoesNotMerge) {
  given("A -> B -> (C); D -> B");
  restore("/B: /C | /A /D");
  EXPECT_EQ(design.graph.names(m("B")->getPreviousApplyModules()), "C");
  EXPECT_EQ(design.graph.names(m("B")->getNextApplyModules()), "A D");
  // Each module is rebuilt from its own record alone.
  EXPECT_EQ(design.graph.names(m("A")->getNextApplyModules()), "B");
  EXPECT_EQ(design.graph.names(m("C")->getPreviousApplyModules()), "B");
  EXPECT_TRUE(m("C")->isStartOfSideChain());
}

TEST_F(GraphStoreTest, RemovesLinksThatARecordDoesNotName) {
  given("A -> B -> C; B -> ~; ~ -> B");
  restore("/B: |");
  EXPECT_EQ(shown(), "A ->. B .-> C");
}

TEST_F(GraphStoreTest, SetsAndClearsTheStartOfSideChainFlag) {
  given("A; (B); (C); D");
  restore("/A: | (S); /B: |; /C: | (S); /D: |");
  EXPECT_EQ(shown(), "(A); B; (C); D");
}

TEST_F(GraphStoreTest, RestoresNeighboursAsOftenAsTheyAreNamed) {
  given("A; B; C");
  restore("/A: | /B /C /B; /B: /A /A |; /C: /A |");
  EXPECT_EQ(design.graph.names(m("A")->getNextApplyModules()), "B C B");
  EXPECT_EQ(design.graph.names(m("B")->getPreviousApplyModules()), "A A");
}

TEST_F(GraphStoreTest, RestoresLinksThatNoEditWouldMake) {
  given("A; B");
  restore("/A: /A /B | /A /B; /B: /A | /A");
  EXPECT_EQ(design.graph.names(m("A")->getPreviousApplyModules()), "A B");
  EXPECT_EQ(design.graph.names(m("A")->getNextApplyModules()), "A B");
  EXPECT_EQ(design.graph.names(m("B")->getNextApplyModules()), "A");
}

TEST_F(GraphStoreTest, TakesTheLastOfSeveralRecordsOfAModule) {
  given("A; B; C");
  restore("/A: /C | /B (S); /A: | /C");
  EXPECT_EQ(shown(), "A ->. C; B");
}

TEST_F(GraphStoreTest, RestoresModulesAtAnyDepthAndTheRootItself) {
  design.graph = graphOf<ObjectModule>("A; B; C");
  design.root = design.graph.as<Object>("A");
  const auto folder = std::make_shared<Object>("folder");
  design.root->addChild(folder);
  folder->addChild(design.graph.as<Object>("B"));
  design.graph.as<Object>("B")->addChild(design.graph.as<Object>("C"));
  restore("/: | /folder/B; /folder/B: / | /folder/B/C; /folder/B/C: /folder/B |");
  EXPECT_EQ(shown(), "A -> B -> C");
}

TEST_F(GraphStoreTest, RestoresSilently) {
  given("A -> (B); C");
  int announcements = 0;
  for (const auto& member : design.graph) {
    member.module->connectToSigStateChanged(Signals::Slot<void()>([&] { ++announcements; }));
  }
  design.root->connectToSigTreeChanged(Signals::Slot<void(const Object&, ObjectTreeChangeReason)>(
      [&](const Object&, ObjectTreeChangeReason) { ++announcements; }));
  restore("/A: /B | /C (S); /B: | /A; /C: /A |");
  EXPECT_EQ(shown(), "(A) -> C; B -> A");
  EXPECT_EQ(announcements, 0);
  for (const auto& member : design.graph) {
    EXPECT_EQ(design.graph.as<TestModule>(member.name)->graphChanges, 0);
  }
}

// By a hook, which should edit no links, in the middle of an edit that takes many entries out.
TEST_F(GraphStoreTest, RestoresAModuleWhoseLinksAreBeingTakenOut) {
  std::string graphText;
  for (int i = 10; i < 40; ++i) {
    graphText += "A -> N" + std::to_string(i) + "; ";
  }
  given(graphText);
  int calls = 0;
  design.graph.as<TestModule>("A")->whenGraphChanges = [&](TestModule& /*module*/) {
    if (++calls == 20) {
      restore("/A: | /N38 /N39");
    }
  };
  ApplyGraph::remove(m("A"));
  EXPECT_EQ(calls, 22) << "twenty entries were gone, and two were left by the record";
  EXPECT_TRUE(m("A")->getNextApplyModules().empty());
  for (const auto& member : design.graph) {
    EXPECT_TRUE(member.module->getPreviousApplyModules().empty()) << member.name;
  }
}

TEST_F(GraphStoreTest, LeavesStateAndInsertInfoAlone) {
  given(
      "A[active,inconsistent,badinput,frozen,skipped,additional,transfer]; "
      "B:wheel[fork<cutter]; C:cutter[merge<main+wheel]");
  PrivateLinks::setSpeedRate(*m("A"), LegacyProgress::Speed::Slow);
  restore("/A: | /B; /B: /A | /C (S); /C: /B |");
  EXPECT_EQ(shown(),
            "A[active,inconsistent,badinput,frozen,skipped,additional,transfer] -> "
            "(B):wheel[fork<cutter] -> C:cutter[merge<main+wheel]");
  EXPECT_EQ(m("A")->getSpeedRate(), LegacyProgress::Speed::Slow);
}

TEST_F(GraphStoreTest, RestoresUnderARootOfAnotherName) {
  given("A -> B -> C; A -> (S) -> T");
  const Records data = storedLinks(design.graph);
  const std::string before = shown();
  design = plant(graphOf<ObjectModule>("A; B; C; S; T"), "other");
  ApplyGraph::restoreApplyGraph(design.root, data);
  EXPECT_EQ(shown(), before);
}

TEST_F(GraphStoreTest, HoldsModulesWeakly) {
  given("A; B");
  restore("/A: | /B; /B: /A |");
  design.root->removeChild(dynamic_cast<Object&>(*m("B")));
  design.graph.drop("B");
  EXPECT_EQ(shown(), "A -> ~");
}

// Looking up

class ObjectLookupTest : public GraphStoreTest {
 protected:
  void SetUp() override {
    given("A");
    design.root->addChild(std::make_shared<Object>("plain"));
  }

  std::shared_ptr<ApplyModule> find(const char* path, GetObjectBehavior behavior) const {
    return getObjectAs<ApplyModule>(*design.root, Path(path), behavior);
  }
  std::string refusal(const char* path) const {
    try {
      find(path, GetObjectBehavior::Throw);
    } catch (const ObjectException& e) {
      return e.what();
    }
    return "none";
  }
};

TEST_F(ObjectLookupTest, FindsAModule) {
  EXPECT_EQ(find("/A", GetObjectBehavior::Throw), m("A"));
  EXPECT_EQ(find("/A", GetObjectBehavior::ReturnNull), m("A"));
}

TEST_F(ObjectLookupTest, AnswersNullOnDemand) {
  EXPECT_EQ(find("/plain", GetObjectBehavior::ReturnNull), nullptr);
  EXPECT_EQ(find("/gone", GetObjectBehavior::ReturnNull), nullptr);
  EXPECT_EQ(find("", GetObjectBehavior::ReturnNull), nullptr);
}

TEST_F(ObjectLookupTest, RefusesAnObjectOfAnotherClassOnDemand) {
  EXPECT_EQ(refusal("/plain"), "Object::getObject: Failed to cast object to requested type");
}

TEST_F(ObjectLookupTest, RefusesAPathToNothingInTheWordsOfTheTree) {
  EXPECT_EQ(refusal("/gone"), "From \"design\", the path \"/gone\" leads to no object");
}

// Both ways

/// Acyclic, both ends in step: every module is reached from its start.
RandomGraphParameters storableGraphs() {
  RandomGraphParameters parameters;
  parameters.modules = 12;
  parameters.roots = 2;
  parameters.links = 20;
  parameters.duplicates = 8;
  parameters.flags = 30;
  parameters.chains = 2;
  return parameters;
}

StoredDesign randomDesign(std::uint64_t seed, const RandomGraphParameters& parameters) {
  StoredDesign design = plant(randomGraph(seed, parameters, [](const std::string& name) {
    return std::make_shared<StoredModule>(name);
  }));
  TestSupport::Random random(seed);
  for (const auto& member : design.graph) {
    const auto rate = static_cast<LegacyProgress::Speed::Rate>(random.below(6));
    PrivateLinks::setSpeedRate(*member.module, rate);
  }
  return design;
}

void eraseDead(LinkList& links) {
  for (std::size_t place = links.size(); place-- > 0;) {
    if (!links.isLive(place)) {
      links.erase(place, place + 1);
    }
  }
}

/// Takes away what is not stored: dead entries and the request to transfer chains.
void reduceToStored(const TestGraph& g) {
  for (const auto& member : g) {
    eraseDead(PrivateLinks::previousList(*member.module));
    eraseDead(PrivateLinks::nextList(*member.module));
    PrivateLinks::insertInfo(*member.module).setTransferChains(false);
  }
}

TEST(GraphStoreRoundTripTest, ChangesNothingOnTheSameObjects) {
  forSeeds(100, [](std::uint64_t seed) {
    const StoredDesign design = randomDesign(seed, storableGraphs());
    const std::string before = text(design.graph);
    ApplyGraph::restoreApplyGraph(design.root, storedLinks(design.graph));
    EXPECT_EQ(text(design.graph), before);
  });
}

TEST(GraphStoreRoundTripTest, RepairsWhatWasChangedSince) {
  forSeeds(100, [](std::uint64_t seed) {
    const StoredDesign design = randomDesign(seed, storableGraphs());
    const std::string before = text(design.graph);
    const Records data = storedLinks(design.graph);
    for (const auto& member : design.graph) {
      std::swap(PrivateLinks::previousList(*member.module), PrivateLinks::nextList(*member.module));
      PrivateLinks::setStartOfSideChain(*member.module, !member.module->isStartOfSideChain());
    }
    EXPECT_NE(text(design.graph), before);
    ApplyGraph::restoreApplyGraph(design.root, data);
    EXPECT_EQ(text(design.graph), before);
  });
}

TEST(GraphStoreRoundTripTest, CarriesAGraphThroughAnArchive) {
  forSeeds(100, [](std::uint64_t seed) {
    const StoredDesign design = randomDesign(seed, storableGraphs());
    const std::string archive = save(design);
    const StoredDesign opened = TestSupport::open(archive);
    reduceToStored(design.graph);
    EXPECT_EQ(text(opened.graph), text(design.graph));
    for (const auto& member : opened.graph) {
      EXPECT_EQ(member.module->getSpeedRate(), design.graph[member.name]->getSpeedRate());
    }
    EXPECT_EQ(save(opened), archive);
  });
}

TEST(GraphStoreRoundTripTest, CarriesAGraphWithDeadEntriesThroughAnArchive) {
  forSeeds(100, [](std::uint64_t seed) {
    RandomGraphParameters parameters = storableGraphs();
    parameters.dead = 25;
    const StoredDesign design = randomDesign(seed, parameters);
    const std::string archive = save(design);
    const StoredDesign opened = TestSupport::open(archive);
    reduceToStored(design.graph);
    EXPECT_EQ(text(opened.graph), text(design.graph));
    EXPECT_EQ(save(opened), archive);
  });
}

TEST(GraphStoreRoundTripTest, KeepsWhatAnApplicationAdds) {
  StoredDesign design = plant(graphOf<StoredModule>("A -> B"));
  design.graph.as<StoredModule>("B")->note = "a note";
  design.root->addChild(std::make_shared<Object>("plain"));
  const StoredDesign opened = TestSupport::open(save(design));
  EXPECT_EQ(opened.graph.as<StoredModule>("B")->note, "a note");
  EXPECT_EQ(opened.root->getName(), "design");
  EXPECT_NE(opened.root->getChild("plain"), nullptr);
  EXPECT_EQ(text(opened.graph), "A -> B");
}

}  // namespace
}  // namespace Tessaril
