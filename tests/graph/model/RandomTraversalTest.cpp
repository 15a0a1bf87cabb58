#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/graph/model/TraversalModel.h"
#include "tests/support/RandomGraph.h"

// The library's walks and ordered traversals against the literal ones, on random graphs with dead
// entries, duplicates, circles, several roots and one-sided links. Callbacks answer at random; the
// answers depend on the module only, so that both sides get the same.

namespace Tessaril {
namespace {

using GraphModel::Direction;
using GraphModel::kNone;
using GraphModel::Name;
using GraphModel::Names;
using GraphModel::NameSet;
using TestSupport::ModulePtr;
using TestSupport::Random;
using TestSupport::RandomGraphParameters;
using TestSupport::TestGraph;
using ModuleSet = ApplyGraph::ModuleSet;

constexpr std::uint64_t kSeeds = 3000;

/// One seed's graph in both worlds.
struct World {
  World(std::uint64_t seed, const RandomGraphParameters& parameters)
      : graph(TestSupport::randomGraph(seed, parameters)), model(graph), random(seed + 1000003) {
    for (const auto& member : graph) {
      names.push_back(member.name);
      goesOn[member.name] = !random.percent(25);
    }
  }

  ModulePtr find(const Name& name) const { return name == kNone ? nullptr : graph[name]; }

  Name anyModule(unsigned percentNone) {
    return names.empty() || random.percent(percentNone) ? kNone : names[random.below(names.size())];
  }

  /// Every other time the first module, from which the most can be reached.
  Name anyStart() { return names.empty() || random.percent(50) ? anyModule(5) : names.front(); }

  NameSet anySet(unsigned percentOfModules) {
    NameSet set;
    for (const auto& name : names) {
      if (random.percent(percentOfModules)) {
        set.insert(name);
      }
    }
    return set;
  }

  ModuleSet modulesOf(const NameSet& set) const {
    ModuleSet modules;
    for (const auto& name : set) {
      modules.insert(graph[name]);
    }
    return modules;
  }

  NameSet namesOf(const ModuleSet& modules) const {
    NameSet set;
    for (const auto& module : modules) {
      set.insert(graph.nameOf(module));
    }
    return set;
  }

  TestGraph graph;
  GraphModel::Graph model;
  Random random;
  Names names;
  std::map<Name, bool> goesOn;
};

/// Loosely linked graphs get far before a circle stops them; dense ones wait a lot.
RandomGraphParameters shape(std::uint64_t seed) {
  auto parameters = TestSupport::faultyGraphs();
  parameters.modules = 4 + seed % 9;
  parameters.roots = 1 + seed % 3;
  parameters.links = seed % 2 == 0 ? 15 : 35;
  parameters.backLinks = seed % 3 == 0 ? 4 : 0;
  parameters.selfLinks = seed % 5 == 0 ? 4 : 0;
  parameters.oneSided = seed % 4 == 0 ? 10 : 3;
  parameters.dead = seed % 2 == 0 ? 12 : 4;
  return parameters;
}

template <typename Body>
void forWorlds(const Body& body) {
  TestSupport::forSeeds(kSeeds, [&](std::uint64_t seed) {
    World world(seed, shape(seed));
    body(world);
    if (::testing::Test::HasFailure()) {
      ADD_FAILURE() << "in the graph " << TestSupport::text(world.graph);
    }
  });
}

TEST(RandomTraversal, NextModuleInOrderIsThatOfTheModel) {
  std::size_t found = 0;
  forWorlds([&](World& world) {
    const auto visited = world.anySet(40);
    const auto scope = world.anySet(70);
    GraphModel::Queue expectedQueue;
    ApplyGraph::ModuleQueue queue;
    for (std::size_t i = world.random.below(8); i > 0; --i) {
      const auto name = world.anyModule(0);
      if (name != kNone) {
        expectedQueue.push_back(name);
        queue.push(world.graph[name]);
      }
    }
    const auto modulesVisited = world.modulesOf(visited);
    const auto modulesInScope = world.modulesOf(scope);
    // Until both queues are empty: nothing is marked as visited in between, so that duplicates and
    // deferred modules come round again.
    for (bool more = true; more;) {
      const auto expected =
          GraphModel::getNextModuleInOrder(world.model, expectedQueue, visited, scope);
      const auto actual = world.graph.nameOf(
          ApplyGraph::getNextModuleInOrder(queue, modulesVisited, modulesInScope));
      EXPECT_EQ(actual, expected);
      GraphModel::Queue rest;
      for (auto copy = queue; !copy.empty(); copy.pop()) {
        rest.push_back(world.graph.nameOf(copy.front()));
      }
      EXPECT_EQ(rest, expectedQueue);
      more = expected != kNone && actual == expected;
      found += more ? 1 : 0;
    }
  });
  EXPECT_GT(found, kSeeds);
}

TEST(RandomTraversal, RangeIsThatOfTheModel) {
  std::size_t visits = 0;
  forWorlds([&](World& world) {
    const auto start = world.anyStart();
    const auto end = world.anyModule(30);
    Names expected;
    GraphModel::forModuleRange(
        world.model, [&](const Name& name) { expected.push_back(name); }, start, end);
    Names actual;
    ApplyGraph::forSemanticOrderedModuleRange(
        [&](const ModulePtr& module) { actual.push_back(world.graph.nameOf(module)); },
        world.find(start), world.find(end));
    EXPECT_EQ(actual, expected) << "from " << start << " to " << end;
    visits += expected.size();
  });
  EXPECT_GT(visits, kSeeds * 2);
}

TEST(RandomTraversal, FullRangeIsThatOfTheModel) {
  std::size_t visits = 0;
  std::size_t outsideVisits = 0;
  forWorlds([&](World& world) {
    const auto start = world.anyStart();
    const auto end = world.anyModule(30);
    Names expected;
    GraphModel::forModuleFullRange(
        world.model,
        [&](const Name& name, bool outside) {
          expected.push_back(name + (outside ? " outside" : ""));
          outsideVisits += outside ? 1 : 0;
          return world.goesOn[name];
        },
        start, end);
    Names actual;
    ApplyGraph::forSemanticOrderedModuleFullRange(
        [&](const ModulePtr& module, bool outside) {
          const auto name = world.graph.nameOf(module);
          actual.push_back(name + (outside ? " outside" : ""));
          return world.goesOn[name];
        },
        world.find(start), world.find(end));
    EXPECT_EQ(actual, expected) << "from " << start << " to " << end;
    visits += expected.size();
  });
  EXPECT_GT(visits, kSeeds * 2);
  EXPECT_GT(outsideVisits, kSeeds / 4);
}

TEST(RandomTraversal, PreviousModulesAreThoseOfTheModel) {
  std::size_t visits = 0;
  forWorlds([&](World& world) {
    const auto module = world.anyModule(3);
    Names expected;
    GraphModel::forPreviousModules(
        world.model,
        [&](const Name& name) {
          expected.push_back(name);
          return world.goesOn[name];
        },
        module);
    Names actual;
    ApplyGraph::forSemanticOrderedPreviousModules(
        [&](const ModulePtr& previous) {
          actual.push_back(world.graph.nameOf(previous));
          return world.goesOn[actual.back()];
        },
        world.find(module));
    EXPECT_EQ(actual, expected) << "of " << module;
    visits += expected.size();
  });
  EXPECT_GT(visits, kSeeds);
}

TEST(RandomTraversal, WalksAreThoseOfTheModel) {
  forWorlds([](World& world) {
    for (const auto& [name, module] : world.graph) {
      for (const auto direction : {Direction::Forwards, Direction::Backwards}) {
        const bool forwards = direction == Direction::Forwards;
        Names expected;
        const auto expectVisit = [&](const Name& visited) {
          expected.push_back(visited);
          return world.goesOn[visited];
        };
        Names actual;
        const auto visit = [&](const ModulePtr& visited) {
          actual.push_back(world.graph.nameOf(visited));
          return world.goesOn[actual.back()];
        };
        const auto visitReference = [&](const ApplyModule& visited) {
          actual.push_back(world.graph.nameOf(&visited));
          return world.goesOn[actual.back()];
        };
        EXPECT_EQ(
            forwards ? module->forAllFollowingModules(visit) : module->forAllPreviousModules(visit),
            GraphModel::walkNeighbours(world.model, name, direction, expectVisit));
        EXPECT_EQ(actual, expected);
        EXPECT_EQ(forwards ? module->forThisAndAllFollowingModules(visitReference)
                           : module->forThisAndAllPreviousModules(visitReference),
                  GraphModel::walkFromThis(world.model, name, direction, expectVisit));
        EXPECT_EQ(actual, expected);
      }
    }
  });
}

TEST(RandomTraversal, GatheredModulesAreThoseOfTheModel) {
  forWorlds([](World& world) {
    for (const auto& [name, module] : world.graph) {
      const auto stop = world.anyModule(30);
      const auto gatheredBefore = world.random.percent(50) ? NameSet{} : world.anySet(20);
      auto successors = gatheredBefore;
      GraphModel::gather(world.model, name, Direction::Forwards, successors, stop);
      auto dependencies = gatheredBefore;
      GraphModel::gather(world.model, name, Direction::Backwards, dependencies, stop);
      auto modules = world.modulesOf(gatheredBefore);
      module->gatherAllSuccessors(modules, world.find(stop));
      EXPECT_EQ(world.namesOf(modules), successors) << "of " << name << " up to " << stop;
      modules = world.modulesOf(gatheredBefore);
      module->gatherAllDependencies(modules, world.find(stop));
      EXPECT_EQ(world.namesOf(modules), dependencies) << "of " << name << " back to " << stop;
    }
  });
}

}  // namespace
}  // namespace Tessaril
