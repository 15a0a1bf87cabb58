#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "tessaril/module/ApplyModule.h"
#include "tests/module/StateLog.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril {
namespace {

using TestSupport::faultyGraphs;
using TestSupport::forSeeds;
using TestSupport::graph;
using TestSupport::graphOf;
using TestSupport::ModulePtr;
using TestSupport::ObjectModule;
using TestSupport::Random;
using TestSupport::randomGraph;
using TestSupport::StateLog;
using TestSupport::TestGraph;
using TestSupport::TestModule;
using ModuleSet = std::unordered_set<ModulePtr>;

static_assert(std::is_same_v<ApplyModule::ModuleVisitor, std::function<bool(ModulePtr)>>);
static_assert(
    std::is_same_v<ApplyModule::ModuleRefVisitor, std::function<bool(const ApplyModule&)>>);

// The walks in both directions

struct Direction {
  const char* name;
  bool (ApplyModule::*others)(ApplyModule::ModuleVisitor) const;
  bool (ApplyModule::*withThis)(ApplyModule::ModuleRefVisitor) const;
  void (ApplyModule::*gather)(ModuleSet&, const ModulePtr&) const;
  const std::vector<std::weak_ptr<ApplyModule>>& (ApplyModule::*list)() const;
  bool forwards;
};

void PrintTo(const Direction& direction, std::ostream* out) { *out << direction.name; }

const Direction kDirections[] = {
    {"Following", &ApplyModule::forAllFollowingModules, &ApplyModule::forThisAndAllFollowingModules,
     &ApplyModule::gatherAllSuccessors, &ApplyModule::getNextApplyModules, true},
    {"Previous", &ApplyModule::forAllPreviousModules, &ApplyModule::forThisAndAllPreviousModules,
     &ApplyModule::gatherAllDependencies, &ApplyModule::getPreviousApplyModules, false},
};

// The graph as lists of numbers, -1 being a dead entry; and what a walk over it ought to visit.
class Model {
 public:
  Model(const TestGraph& graph, const Direction& way) {
    std::map<const ApplyModule*, int> numbers;
    for (const auto& member : graph) {
      numbers.emplace(member.module.get(), static_cast<int>(numbers.size()));
    }
    for (const auto& member : graph) {
      auto& list = lists.emplace_back();
      for (const auto& link : (member.module.get()->*way.list)()) {
        const auto neighbour = link.lock();
        list.push_back(neighbour == nullptr ? -1 : numbers.at(neighbour.get()));
      }
    }
  }

  /// Depth first, the last-listed neighbour first.
  std::vector<int> walk(int origin, bool withOrigin) const {
    std::vector<int> order;
    std::set<int> visited;
    if (withOrigin) {
      visited.insert(origin);
      order.push_back(origin);
    }
    descend(origin, visited, order);
    return order;
  }

  /// The smallest set that holds `before`, the neighbours of `origin`, and the neighbours of all
  /// that it holds besides `before` and `stop`.
  std::set<int> gathered(int origin, const std::set<int>& before, int stop) const {
    std::set<int> result = before;
    std::set<int> open = {origin};
    while (!open.empty()) {
      std::set<int> found;
      for (const int number : open) {
        for (const int neighbour : lists.at(static_cast<std::size_t>(number))) {
          if (neighbour >= 0 && !result.contains(neighbour)) {
            found.insert(neighbour);
          }
        }
      }
      result.insert(found.begin(), found.end());
      found.erase(stop);
      open = found;
    }
    return result;
  }

 private:
  void descend(int from, std::set<int>& visited, std::vector<int>& order) const {
    const auto& list = lists.at(static_cast<std::size_t>(from));
    for (auto neighbour = list.rbegin(); neighbour != list.rend(); ++neighbour) {
      if (*neighbour >= 0 && visited.insert(*neighbour).second) {
        order.push_back(*neighbour);
        descend(*neighbour, visited, order);
      }
    }
  }

  std::vector<std::vector<int>> lists;
};

std::string namesOf(const TestGraph& graph, const std::vector<int>& numbers) {
  std::vector<ModulePtr> modules;
  for (const int number : numbers) {
    modules.push_back(graph.members()[static_cast<std::size_t>(number)].module);
  }
  return graph.names(modules);
}

struct Walked {
  std::string names;
  bool toTheEnd;
  bool operator==(const Walked&) const = default;
};

void PrintTo(const Walked& walked, std::ostream* out) {
  *out << walked.names << (walked.toTheEnd ? " (end)" : " (stopped)");
}

class WalkTest : public ::testing::TestWithParam<Direction> {
 protected:
  static const Direction& way() { return GetParam(); }

  /// Reads "A -> B" as it stands for the walk forwards, and as "B -> A" for the walk backwards.
  static TestGraph graphAlong(const std::string& written) {
    if (way().forwards) {
      return graph(written);
    }
    auto turned = graph(written);
    for (const auto& member : turned) {
      std::swap(TestSupport::PrivateLinks::nextList(*member.module),
                TestSupport::PrivateLinks::previousList(*member.module));
    }
    return turned;
  }

  /// Visits until the module number `last`, counted from 1, has been visited.
  static Walked walkOthers(const TestGraph& g, const ModulePtr& origin, std::size_t last = 1000) {
    std::vector<ModulePtr> visited;
    const bool toTheEnd = (origin.get()->*way().others)([&](ModulePtr module) {
      visited.push_back(module);
      return visited.size() != last;
    });
    return {g.names(visited), toTheEnd};
  }

  static Walked walkWithThis(const TestGraph& g, const ModulePtr& origin, std::size_t last = 1000) {
    std::string names;
    std::size_t count = 0;
    const bool toTheEnd = (origin.get()->*way().withThis)([&](const ApplyModule& module) {
      names += (names.empty() ? "" : " ") + g.nameOf(&module);
      return ++count != last;
    });
    return {names, toTheEnd};
  }

  static std::string gathered(const TestGraph& g, const ModulePtr& origin, const ModulePtr& stop,
                              ModuleSet modules = {}) {
    (origin.get()->*way().gather)(modules, stop);
    return g.names(modules);
  }
};

TEST_P(WalkTest, TheLastListedNeighbourComesFirstWithAllBehindIt) {
  const auto g = graphAlong("T -> P; T -> Q -> R");
  EXPECT_EQ(walkOthers(g, g["T"]), (Walked{"Q R P", true}));
  EXPECT_EQ(walkWithThis(g, g["T"]), (Walked{"T Q R P", true}));
}

TEST_P(WalkTest, ADiamondIsVisitedOnce) {
  const auto g = graphAlong("T -> P -> R; T -> Q -> R");
  EXPECT_EQ(walkOthers(g, g["T"]), (Walked{"Q R P", true}));
  EXPECT_EQ(walkWithThis(g, g["T"]), (Walked{"T Q R P", true}));
}

TEST_P(WalkTest, WithoutNeighboursNothingIsCalledButForThis) {
  const auto g = graphAlong("T; X -> T");
  EXPECT_EQ(walkOthers(g, g["T"]), (Walked{"", true}));
  EXPECT_EQ(walkWithThis(g, g["T"]), (Walked{"T", true}));
}

TEST_P(WalkTest, DeadEntriesArePassedOver) {
  const auto g = graph(way().forwards ? "T -> ~; T -> P -> ~; T -> ~; T -> Q"
                                      : "~ -> T; P -> T; ~ -> P; ~ -> T; Q -> T");
  EXPECT_EQ(walkOthers(g, g["T"]), (Walked{"Q P", true}));
  EXPECT_EQ(walkWithThis(g, g["T"]), (Walked{"T Q P", true}));
  EXPECT_EQ(gathered(g, g["T"], nullptr), "P Q");
}

TEST_P(WalkTest, ACycleLeadsBackToTheStartOnce) {
  const auto g = graphAlong("T -> P -> T");
  EXPECT_EQ(walkOthers(g, g["T"]), (Walked{"P T", true}));
  EXPECT_EQ(walkWithThis(g, g["T"]), (Walked{"T P", true}));
  const auto self = graphAlong("T -> T; T -> T");
  EXPECT_EQ(walkOthers(self, self["T"]), (Walked{"T", true}));
}

TEST_P(WalkTest, FalseStopsTheWholeWalk) {
  const auto g = graphAlong("T -> P; T -> Q -> R");
  EXPECT_EQ(walkOthers(g, g["T"], 1), (Walked{"Q", false}));
  EXPECT_EQ(walkOthers(g, g["T"], 3), (Walked{"Q R P", false})) << "the last one counts, too";
  EXPECT_EQ(walkWithThis(g, g["T"], 1), (Walked{"T", false}));
  EXPECT_EQ(walkWithThis(g, g["T"], 2), (Walked{"T Q", false}));
}

TEST_P(WalkTest, AnEmptyVisitorThrowsAtTheFirstModule) {
  const auto lone = graph("T");
  EXPECT_TRUE((lone["T"].get()->*way().others)(nullptr));
  EXPECT_THROW((lone["T"].get()->*way().withThis)(nullptr), std::bad_function_call);
  const auto dead = graph("~ -> T -> ~");
  EXPECT_TRUE((dead["T"].get()->*way().others)(nullptr));
  const auto linked = graph("P -> T -> N");
  EXPECT_THROW((linked["T"].get()->*way().others)(nullptr), std::bad_function_call);
}

TEST_P(WalkTest, WhatTheVisitorThrowsReachesTheCallerAndNothingStaysHeld) {
  auto g = graphAlong("T -> P; T -> Q");
  EXPECT_THROW(
      (g["T"].get()->*way().others)([](ModulePtr) -> bool { throw std::runtime_error("visitor"); }),
      std::runtime_error);
  EXPECT_THROW((g["T"].get()->*way().withThis)(
                   [](const ApplyModule&) -> bool { throw std::runtime_error("visitor"); }),
               std::runtime_error);
  const std::weak_ptr<ApplyModule> q = g["Q"];
  g.drop("Q");
  EXPECT_TRUE(q.expired());
}

TEST_P(WalkTest, AModuleThatDiesDuringTheWalkIsPassedOver) {
  auto g = graphAlong("T -> P; T -> Q");
  std::string visited;
  (g["T"].get()->*way().others)([&](ModulePtr module) {
    visited += g.nameOf(module);
    g.drop("P");
    return true;
  });
  EXPECT_EQ(visited, "Q");
}

// As listeners do who hear of a changed state and edit the graph.
TEST_P(WalkTest, EditsOfVisitedModulesComeTooLateForTheWalk) {
  for (const bool inserts : {false, true}) {
    auto g = graphAlong("T -> M; M -> P; M -> Q; N");
    auto& links = way().forwards ? TestSupport::PrivateLinks::nextList(*g["M"])
                                 : TestSupport::PrivateLinks::previousList(*g["M"]);
    std::string visited;
    (g["T"].get()->*way().others)([&](ModulePtr module) {
      visited += g.nameOf(module);
      if (module == g["Q"]) {
        if (inserts) {
          const LinkList::Links before = links.links();
          links.clear();
          links.add(g["N"]);
          for (const auto& link : before) {
            links.add(link.lock());
          }
        } else {
          links.erase(0, 1);
        }
      }
      return true;
    });
    EXPECT_EQ(visited, "MQP") << (inserts ? "N inserted" : "P removed");
  }
}

// A walk that called itself for each module would run out of stack here.
TEST_P(WalkTest, ALongChainIsNoDeepCall) {
  constexpr std::size_t kLength = 100000;
  std::vector<ModulePtr> modules(kLength);
  for (std::size_t i = 0; i < kLength; ++i) {
    modules[i] = std::make_shared<ApplyModule>();
    if (i > 0) {
      TestSupport::PrivateLinks::nextList(*modules[i - 1]).add(modules[i]);
      TestSupport::PrivateLinks::previousList(*modules[i]).add(modules[i - 1]);
    }
  }
  const auto& origin =
      way().gather == &ApplyModule::gatherAllSuccessors ? *modules.front() : *modules.back();
  std::size_t visited = 0;
  EXPECT_TRUE((origin.*way().others)([&](ModulePtr) { return ++visited != 0; }));
  EXPECT_EQ(visited, kLength - 1);
  visited = 0;
  EXPECT_TRUE((origin.*way().withThis)([&](const ApplyModule&) { return ++visited != 0; }));
  EXPECT_EQ(visited, kLength);
  ModuleSet gatheredModules;
  (origin.*way().gather)(gatheredModules, nullptr);
  EXPECT_EQ(gatheredModules.size(), kLength - 1);
}

TEST_P(WalkTest, RandomWalksVisitWhatTheModelVisits) {
  forSeeds(3000, [](std::uint64_t seed) {
    const auto g = randomGraph(seed, faultyGraphs());
    const Model model(g, way());
    for (int origin = 0; origin < static_cast<int>(g.size()); ++origin) {
      const auto& module = g.members()[static_cast<std::size_t>(origin)].module;
      const auto others = model.walk(origin, false);
      const auto withThis = model.walk(origin, true);
      ASSERT_EQ(walkOthers(g, module), (Walked{namesOf(g, others), true})) << text(g);
      ASSERT_EQ(walkWithThis(g, module), (Walked{namesOf(g, withThis), true})) << text(g);
    }
  });
}

TEST_P(WalkTest, RandomWalksStopWhereTheyAreStopped) {
  forSeeds(500, [](std::uint64_t seed) {
    const auto g = randomGraph(seed, faultyGraphs());
    if (g.size() == 0) {
      return;
    }
    const Model model(g, way());
    Random random(seed);
    const auto origin = static_cast<int>(random.below(g.size()));
    const auto& module = g.members()[static_cast<std::size_t>(origin)].module;
    for (const bool withThis : {false, true}) {
      auto order = model.walk(origin, withThis);
      if (order.empty()) {
        continue;
      }
      order.resize(1 + random.below(order.size()));
      const auto walked =
          withThis ? walkWithThis(g, module, order.size()) : walkOthers(g, module, order.size());
      ASSERT_EQ(walked, (Walked{namesOf(g, order), false})) << text(g);
    }
  });
}

// Gathering

TEST_P(WalkTest, GatheringLeavesThisModuleOut) {
  const auto g = graphAlong("T -> P -> R; T -> Q -> R; X -> T");
  EXPECT_EQ(gathered(g, g["T"], nullptr), "P R Q");
}

TEST_P(WalkTest, GatheringStopsAtTheStopModuleButTakesItIn) {
  const auto g = graphAlong("T -> P -> R -> S; T -> Q -> S; S -> U");
  EXPECT_EQ(gathered(g, g["T"], g["P"]), "P S Q U");
  EXPECT_EQ(gathered(g, g["T"], g["S"]), "P R S Q");
}

TEST_P(WalkTest, ADirectNeighbourAsStopModuleIsGatheredAlone) {
  const auto g = graphAlong("T -> P -> R -> S");
  EXPECT_EQ(gathered(g, g["T"], g["P"]), "P");
}

TEST_P(WalkTest, WhatIsInTheSetAlreadyCountsAsVisited) {
  const auto g = graphAlong("T -> P -> R; T -> Q");
  EXPECT_EQ(gathered(g, g["T"], nullptr, {g["P"]}), "P Q") << "R lies behind P only";
  EXPECT_EQ(gathered(g, g["T"], nullptr, {g["R"]}), "P R Q");
  EXPECT_EQ(gathered(g, g["T"], nullptr, {g["T"]}), "T P R Q") << "the set is not cleared";
}

TEST_P(WalkTest, ACycleGathersTheStartToo) {
  const auto g = graphAlong("T -> P -> T; P -> Q");
  EXPECT_EQ(gathered(g, g["T"], nullptr), "T P Q");
}

TEST_P(WalkTest, RandomGatheringFindsWhatTheModelFinds) {
  forSeeds(3000, [](std::uint64_t seed) {
    const auto g = randomGraph(seed, faultyGraphs());
    const Model model(g, way());
    Random random(seed);
    for (int origin = 0; origin < static_cast<int>(g.size()); ++origin) {
      const auto stop = random.percent(70) ? static_cast<int>(random.below(g.size())) : -1;
      std::set<int> before;
      ModuleSet modules;
      for (int number = 0; number < static_cast<int>(g.size()); ++number) {
        if (random.percent(15)) {
          before.insert(number);
          modules.insert(g.members()[static_cast<std::size_t>(number)].module);
        }
      }
      const auto expected = model.gathered(origin, before, stop);
      const auto stopModule =
          stop < 0 ? nullptr : g.members()[static_cast<std::size_t>(stop)].module;
      ASSERT_EQ(
          gathered(g, g.members()[static_cast<std::size_t>(origin)].module, stopModule, modules),
          namesOf(g, {expected.begin(), expected.end()}))
          << text(g);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Directions, WalkTest, ::testing::ValuesIn(kDirections),
                         [](const auto& suite) { return std::string(suite.param.name); });

// Questions

TEST(DependencyQueryTest, AModuleIsItsOwnAncestorAndFollowersAreNone) {
  const auto g = graph("A -> B -> C; X -> C");
  EXPECT_TRUE(g["B"]->hasAsAncestor(*g["B"]));
  EXPECT_TRUE(g["B"]->hasAsAncestor(g["B"]));
  EXPECT_TRUE(g["B"]->hasAsAncestor(*g["A"]));
  EXPECT_TRUE(g["C"]->hasAsAncestor(g["A"]));
  EXPECT_TRUE(g["C"]->hasAsAncestor(g["X"]));
  EXPECT_FALSE(g["B"]->hasAsAncestor(*g["C"]));
  EXPECT_FALSE(g["B"]->hasAsAncestor(g["X"]));
  EXPECT_FALSE(g["B"]->hasAsAncestor(ModulePtr()));
  EXPECT_FALSE(g["B"]->hasAsAncestor(std::make_shared<ApplyModule>()));
  const auto dead = graph("~ -> B");
  EXPECT_FALSE(dead["B"]->hasAsAncestor(ModulePtr())) << "a dead entry is no ancestor";
}

TEST(DependencyQueryTest, ConsistencyAheadToleratesAdditionalModules) {
  EXPECT_TRUE(graph("A -> B -> C")["A"]->isApplyGraphConsistent());
  EXPECT_FALSE(graph("A -> B -> C[inconsistent]")["A"]->isApplyGraphConsistent());
  EXPECT_FALSE(graph("A[inconsistent] -> B")["A"]->isApplyGraphConsistent());
  EXPECT_TRUE(graph("A[inconsistent] -> B")["B"]->isApplyGraphConsistent());
  EXPECT_TRUE(graph("A -> B[inconsistent,additional] -> C")["A"]->isApplyGraphConsistent());
  EXPECT_TRUE(graph("A[inconsistent,additional] -> B")["A"]->isApplyGraphConsistent());
  EXPECT_FALSE(
      graph("A -> B[inconsistent,additional] -> C[inconsistent]")["A"]->isApplyGraphConsistent());
}

// A result can only be trusted when everything that it was computed from can.
TEST(DependencyQueryTest, ConsistencyBehindDoesNotTolerateAdditionalModules) {
  EXPECT_TRUE(graph("A -> B -> C")["C"]->isDependencyGraphConsistent());
  EXPECT_FALSE(graph("A[inconsistent] -> B -> C")["C"]->isDependencyGraphConsistent());
  EXPECT_FALSE(graph("A[inconsistent,additional] -> B")["B"]->isDependencyGraphConsistent());
  EXPECT_FALSE(graph("A -> B[inconsistent,additional]")["B"]->isDependencyGraphConsistent());
  EXPECT_TRUE(graph("A -> B[inconsistent]")["A"]->isDependencyGraphConsistent());
}

struct InputFlags {
  bool active, frozen, skipped, inputOk, additional;

  void writeTo(ApplyModule& module) const {
    module.setStates(&active, nullptr, &inputOk, &frozen, &skipped);
    module.setAdditionalModule(additional);
  }
};

TEST(DependencyQueryTest, InputOkByEveryCombinationOfFlags) {
  for (unsigned bits = 0; bits < 32; ++bits) {
    const InputFlags flags{(bits & 1U) != 0, (bits & 2U) != 0, (bits & 4U) != 0, (bits & 8U) != 0,
                           (bits & 16U) != 0};
    const bool usable = !flags.active || flags.frozen || flags.skipped || flags.inputOk;
    const auto g = graph("A -> B -> C");
    flags.writeTo(*g["B"]);
    EXPECT_EQ(g["B"]->isDependencyGraphInputOk(false), usable || flags.additional) << bits;
    EXPECT_EQ(g["B"]->isDependencyGraphInputOk(true), usable) << bits;
    for (const bool strict : {false, true}) {
      EXPECT_EQ(g["C"]->isDependencyGraphInputOk(strict), usable || flags.additional)
          << "strictness is about the module that is asked only: " << bits;
      EXPECT_TRUE(g["A"]->isDependencyGraphInputOk(strict)) << "B lies ahead of A: " << bits;
    }
  }
}

// The getters of a module are virtual; flags that a module computes are the ones that count.
class ComputedState : public TestModule {
 public:
  using TestModule::TestModule;
  bool isActive() const override { return computed("active", ApplyModule::isActive()); }
  bool isConsistent() const override { return computed("consistent", ApplyModule::isConsistent()); }
  bool isInputOk() const override { return computed("inputOk", ApplyModule::isInputOk()); }
  bool isFrozen() const override { return computed("frozen", ApplyModule::isFrozen()); }

  std::map<std::string, bool> overridden;
  mutable std::string asked;

 private:
  bool computed(const std::string& flag, bool own) const {
    asked += flag + " ";
    const auto found = overridden.find(flag);
    return found == overridden.end() ? own : found->second;
  }
};

TEST(DependencyQueryTest, FlagsAreReadThroughTheVirtualGetters) {
  const auto g = graphOf<ComputedState>("A -> B");
  const auto a = g.as<ComputedState>("A");
  a->overridden = {{"consistent", false}};
  EXPECT_FALSE(g["B"]->isDependencyGraphConsistent());
  EXPECT_FALSE(a->isApplyGraphConsistent());
  a->overridden = {{"active", true}, {"inputOk", false}};
  EXPECT_FALSE(g["B"]->isDependencyGraphInputOk(false));
  a->overridden["frozen"] = true;
  EXPECT_TRUE(g["B"]->isDependencyGraphInputOk(false));
}

TEST(DependencyQueryTest, InputQuestionsAreAskedInOrderAndOnlyAsFarAsNeeded) {
  const auto askedOf = [](const std::string& flags) {
    const auto g = graphOf<ComputedState>("A" + flags);
    g["A"]->isDependencyGraphInputOk(true);
    return g.as<ComputedState>("A")->asked;
  };
  EXPECT_EQ(askedOf(""), "active ");
  EXPECT_EQ(askedOf("[active,frozen]"), "active frozen ");
  EXPECT_EQ(askedOf("[active,skipped]"), "active frozen ");
  EXPECT_EQ(askedOf("[active]"), "active frozen inputOk ");
}

TEST(DependencyQueryTest, QuestionsEndAtTheFirstModuleThatDecides) {
  const auto g = graphOf<ComputedState>("A -> B[active,inconsistent,badinput] -> C -> D");
  EXPECT_FALSE(g["D"]->isDependencyGraphConsistent());
  EXPECT_FALSE(g["D"]->isDependencyGraphInputOk(false));
  EXPECT_EQ(g.as<ComputedState>("A")->asked, "");
}

// Notes what it is asked.
class AskedModule : public TestModule {
 public:
  using TestModule::TestModule;
  bool isApplyNecessary(bool isEndModule) const override {
    log += getModuleName() + (isEndModule ? "(true) " : "(false) ");
    return TestModule::isApplyNecessary(isEndModule);
  }
  bool isDependencyGraphApplyNecessary(bool necessaryForThis) const override {
    log += std::string("graph(") + (necessaryForThis ? "true) " : "false) ");
    return graphAnswer.value_or(TestModule::isDependencyGraphApplyNecessary(necessaryForThis));
  }

  std::optional<bool> graphAnswer;
  static inline std::string log;
};

class ApplyNecessaryTest : public ::testing::Test {
 protected:
  ApplyNecessaryTest() { AskedModule::log.clear(); }
  static std::string takeLog() { return std::exchange(AskedModule::log, {}); }
};

TEST_F(ApplyNecessaryTest, OnlyTheModuleItselfIsAskedWithTheGivenValue) {
  const auto g = graphOf<AskedModule>("X -> A -> B -> C");
  EXPECT_FALSE(g["B"]->ApplyModule::isDependencyGraphApplyNecessary(true));
  EXPECT_EQ(takeLog(), "B(true) A(false) X(false) ");
  EXPECT_FALSE(g["B"]->ApplyModule::isDependencyGraphApplyNecessary(false));
  EXPECT_EQ(takeLog(), "B(false) A(false) X(false) ");
}

TEST_F(ApplyNecessaryTest, TheFirstYesEndsTheQuestion) {
  const auto g = graphOf<AskedModule>("X -> A -> B -> C");
  g.as<AskedModule>("A")->answers.applyNecessary = true;
  EXPECT_TRUE(g["B"]->ApplyModule::isDependencyGraphApplyNecessary(true));
  EXPECT_EQ(takeLog(), "B(true) A(false) ");
  g.as<AskedModule>("A")->answers.applyNecessary = false;
  g.as<AskedModule>("C")->answers.applyNecessary = true;
  EXPECT_FALSE(g["B"]->ApplyModule::isDependencyGraphApplyNecessary(true)) << "C lies ahead";
}

TEST_F(ApplyNecessaryTest, AModuleMayNeedAnApplyAsTheEndOnly) {
  const auto g = graphOf<AskedModule>("A -> B");
  g.as<AskedModule>("A")->answers.applyNecessary = false;
  g.as<AskedModule>("A")->answers.applyNecessaryAsEnd = true;
  EXPECT_TRUE(g["A"]->ApplyModule::isDependencyGraphApplyNecessary(true));
  EXPECT_FALSE(g["A"]->ApplyModule::isDependencyGraphApplyNecessary(false));
  EXPECT_FALSE(g["B"]->ApplyModule::isDependencyGraphApplyNecessary(true));
}

TEST_F(ApplyNecessaryTest, RequiredNeedsUsableInputFirst) {
  const auto g = graphOf<AskedModule>("A -> B");
  const auto a = g.as<AskedModule>("A");
  const auto b = g.as<AskedModule>("B");
  EXPECT_FALSE(b->isDependencyGraphApplyRequired());
  EXPECT_EQ(takeLog(), "graph(true) B(true) A(false) ");
  a->answers.applyNecessary = true;
  EXPECT_TRUE(b->isDependencyGraphApplyRequired());
  takeLog();
  a->setActive(true, false);
  a->setInputIsOk(false, false);
  EXPECT_FALSE(b->isDependencyGraphApplyRequired());
  EXPECT_EQ(takeLog(), "") << "not even asked";
}

TEST_F(ApplyNecessaryTest, RequiredIsNotStrictAboutThisModule) {
  const auto g = graphOf<AskedModule>("A[active,badinput,additional]");
  g.as<AskedModule>("A")->answers.applyNecessary = true;
  EXPECT_TRUE(g["A"]->isDependencyGraphApplyRequired());
}

TEST_F(ApplyNecessaryTest, RequiredAsksThroughTheVirtualFunction) {
  const auto g = graphOf<AskedModule>("A");
  g.as<AskedModule>("A")->graphAnswer = true;
  EXPECT_TRUE(g["A"]->isDependencyGraphApplyRequired());
  EXPECT_EQ(takeLog().substr(0, 12), "graph(true) ");
}

// Every query against sets of modules, on random graphs with random flags.
TEST(DependencyQueryTest, RandomQueriesAnswerWhatTheModelAnswers) {
  const Direction& forwards = kDirections[0];
  const Direction& backwards = kDirections[1];
  forSeeds(2000, [&](std::uint64_t seed) {
    const auto g = randomGraph(seed, faultyGraphs());
    Random random(seed);
    for (const auto& member : g) {
      auto& answers = dynamic_cast<TestModule&>(*member.module).answers;
      answers.applyNecessary = random.percent(20);
      answers.applyNecessaryAsEnd = random.percent(20);
    }
    const Model ahead(g, forwards);
    const Model behind(g, backwards);
    const auto at = [&](int number) -> const ApplyModule& {
      return *g.members()[static_cast<std::size_t>(number)].module;
    };
    for (int origin = 0; origin < static_cast<int>(g.size()); ++origin) {
      const auto& module = at(origin);
      const auto followers = ahead.walk(origin, true);
      const auto dependencies = behind.walk(origin, true);
      const auto badInput = [&](int number) {
        const auto& m = at(number);
        return m.isActive() && !m.isFrozen() && !m.isSkipped() && !m.isInputOk();
      };
      const auto all = [](const std::vector<int>& numbers, const auto& predicate) {
        return std::all_of(numbers.begin(), numbers.end(), predicate);
      };
      const bool inputOk = all(dependencies, [&](int number) {
        return !badInput(number) || at(number).isAdditionalModule();
      });
      const auto necessary = [&](bool forThis) {
        return !all(dependencies, [&](int number) {
          return !at(number).isApplyNecessary(number == origin && forThis);
        });
      };
      ASSERT_EQ(module.isApplyGraphConsistent(), all(followers,
                                                     [&](int number) {
                                                       return at(number).isConsistent() ||
                                                              at(number).isAdditionalModule();
                                                     }))
          << text(g);
      ASSERT_EQ(module.isDependencyGraphConsistent(),
                all(dependencies, [&](int number) { return at(number).isConsistent(); }))
          << text(g);
      ASSERT_EQ(module.isDependencyGraphInputOk(false), inputOk) << text(g);
      ASSERT_EQ(module.isDependencyGraphInputOk(true), inputOk && !badInput(origin)) << text(g);
      ASSERT_EQ(module.isDependencyGraphApplyNecessary(true), necessary(true)) << text(g);
      ASSERT_EQ(module.isDependencyGraphApplyNecessary(false), necessary(false)) << text(g);
      ASSERT_EQ(module.isDependencyGraphApplyRequired(), inputOk && necessary(true)) << text(g);
      for (int other = 0; other < static_cast<int>(g.size()); ++other) {
        const bool isAncestor =
            std::find(dependencies.begin(), dependencies.end(), other) != dependencies.end();
        ASSERT_EQ(module.hasAsAncestor(at(other)), isAncestor) << text(g);
      }
    }
  });
}

// Notification of followers

TEST(FollowerSignalTest, EachFollowerSignalsOnceInWalkOrder) {
  const auto g = graph("X -> A -> P -> R -> U; A -> Q -> R; Q -> ~");
  StateLog log;
  log.listenTo(g);
  g["A"]->sendStateChangeSignalsOfFollowingModules();
  EXPECT_EQ(log.take(), "Q R U P");
}

TEST(FollowerSignalTest, ACycleReachesTheModuleItselfOnce) {
  const auto g = graph("A -> B -> A");
  StateLog log;
  log.listenTo(g);
  g["A"]->sendStateChangeSignalsOfFollowingModules();
  EXPECT_EQ(log.take(), "B A");
}

// Followers are reached by the walk. If each one notified its own followers, a module behind two
// branches would signal twice.
class CountingModule : public TestModule {
 public:
  using TestModule::TestModule;
  void sendStateChangeSignal() const override {
    ++signals;
    TestModule::sendStateChangeSignal();
  }
  void sendStateChangeSignalsOfFollowingModules() const override {
    ++followerCalls;
    TestModule::sendStateChangeSignalsOfFollowingModules();
  }
  mutable int signals = 0;
  mutable int followerCalls = 0;
};

TEST(FollowerSignalTest, FollowersSignalThroughTheVirtualFunctionWithoutRecursion) {
  const auto g = graphOf<CountingModule>("[active] A -> B -> D; A -> C -> D");
  g["A"]->setConsistent(false, true);
  for (const auto* name : {"A", "B", "C", "D"}) {
    EXPECT_EQ(g.as<CountingModule>(name)->signals, 1) << name;
    EXPECT_EQ(g.as<CountingModule>(name)->followerCalls, name == std::string("A") ? 1 : 0) << name;
  }
}

TEST(FollowerSignalTest, RandomNotificationsFollowTheWalk) {
  forSeeds(1000, [](std::uint64_t seed) {
    const auto g = randomGraph(seed, faultyGraphs());
    StateLog log;
    log.listenTo(g);
    const Model model(g, kDirections[0]);
    for (int origin = 0; origin < static_cast<int>(g.size()); ++origin) {
      const auto& member = g.members()[static_cast<std::size_t>(origin)];
      const auto followers = namesOf(g, model.walk(origin, false));
      member.module->setFrozen(!member.module->isFrozen(), true);
      ASSERT_EQ(log.take(), member.name + (followers.empty() ? "" : " ") + followers) << text(g);
    }
  });
}

}  // namespace
}  // namespace Tessaril
