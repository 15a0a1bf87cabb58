#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/ApplyModule.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/RandomGraph.h"

// The ordered traversals of graphs of thousands of modules, in which many modules wait for long,
// against the single step, which looks at every waiting module again after every ready one.

namespace Tessaril {
namespace {

using TestSupport::Random;
using TestSupport::PrivateLinks::ModulePtr;
using ModuleSet = ApplyGraph::ModuleSet;
using Order = std::vector<const ApplyModule*>;

class LargeGraph {
 public:
  explicit LargeGraph(std::size_t size) {
    while (modules.size() < size) {
      modules.push_back(std::make_shared<ApplyModule>());
    }
  }

  void link(std::size_t from, std::size_t to) {
    TestSupport::PrivateLinks::nextList(*modules[from]).add(modules[to]);
    TestSupport::PrivateLinks::previousList(*modules[to]).add(modules[from]);
  }
  const ModulePtr& operator[](std::size_t index) const { return modules[index]; }
  std::size_t size() const { return modules.size(); }

 private:
  std::vector<ModulePtr> modules;
};

Order orderOfRange(const ModulePtr& start) {
  Order order;
  ApplyGraph::forSemanticOrderedModuleRange(
      [&order](const ModulePtr& module) { order.push_back(module.get()); }, start, nullptr);
  return order;
}

Order orderOfSteps(const ModulePtr& start) {
  ModuleSet scope;
  start->gatherAllSuccessors(scope, nullptr);
  scope.insert(start);
  ModuleSet visited;
  ApplyGraph::ModuleQueue queue;
  queue.push(start);
  Order order;
  while (const ModulePtr module = ApplyGraph::getNextModuleInOrder(queue, visited, scope)) {
    order.push_back(module.get());
    visited.insert(module);
    for (const auto& next : module->getNextApplyModules()) {
      queue.push(next.lock());
    }
  }
  return order;
}

void expectSameOrder(const LargeGraph& graph) {
  const Order expected = orderOfSteps(graph[0]);
  EXPECT_EQ(expected.size(), graph.size());
  EXPECT_TRUE(orderOfRange(graph[0]) == expected);
}

// Everything is queued again and again at one place, between two modules that wait.
TEST(LargeTraversal, ManyModulesComeBetweenTwoThatWait) {
  constexpr std::size_t kFan = 3000;
  LargeGraph graph(kFan + 4);
  const std::size_t first = 1;
  const std::size_t hub = 2;
  const std::size_t last = 3;
  graph.link(0, first);
  graph.link(0, hub);
  graph.link(0, last);
  for (std::size_t i = 4; i < graph.size(); ++i) {
    graph.link(hub, i);
  }
  graph.link(graph.size() - 1, first);
  graph.link(graph.size() / 2, last);
  expectSameOrder(graph);
}

// Each lap of the queue adds modules between those of the laps before.
TEST(LargeTraversal, ModulesComeBetweenThoseThatCameBetween) {
  constexpr std::size_t kLaps = 60;
  constexpr std::size_t kWaiting = 40;
  LargeGraph graph(1 + kLaps * (kWaiting + 1));
  const std::size_t lastOfAll = graph.size() - 1;
  std::size_t before = 0;
  for (std::size_t lap = 0; lap < kLaps; ++lap) {
    const std::size_t head = 1 + lap * (kWaiting + 1);
    // The way goes on in the middle of those that wait.
    for (std::size_t i = 0; i <= kWaiting; ++i) {
      const std::size_t module = i == kWaiting / 2 ? head : head + (i < kWaiting / 2 ? i + 1 : i);
      graph.link(before, module);
    }
    before = head;
  }
  for (std::size_t lap = 0; lap + 1 < kLaps; ++lap) {
    for (std::size_t i = 1; i <= kWaiting; ++i) {
      graph.link(1 + (kLaps - 1) * (kWaiting + 1), 1 + lap * (kWaiting + 1) + i);
    }
  }
  ASSERT_GT(lastOfAll, 0U);
  expectSameOrder(graph);
}

TEST(LargeTraversal, RandomGraphsKeepTheOrder) {
  TestSupport::forSeeds(20, [](std::uint64_t seed) {
    Random random(seed);
    LargeGraph graph(600);
    for (std::size_t to = 1; to < graph.size(); ++to) {
      for (std::size_t links = 1 + random.below(4); links > 0; --links) {
        // Near ones make chains, far ones let modules wait for long.
        const std::size_t reach = random.percent(30) ? to : std::min<std::size_t>(to, 8);
        graph.link(to - 1 - random.below(reach), to);
      }
    }
    expectSameOrder(graph);
  });
}

}  // namespace
}  // namespace Tessaril
