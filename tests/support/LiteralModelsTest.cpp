#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/RandomGraph.h"
#include "tests/support/TestModule.h"
#include "tests/support/literal/LiteralEdits.h"
#include "tests/support/literal/LiteralTraversal.h"
#include "tests/support/literal/LiteralWalks.h"

// The literal models and the library on the same random graphs: what is measured and tested against
// a model must do the same work.

namespace Tessaril::TestSupport {
namespace {

constexpr std::uint64_t kSeeds = 400;
/// Graphs are compared as texts after each edit, which takes its time.
constexpr std::uint64_t kEditSeeds = 100;

RandomGraphParameters shape(std::uint64_t seed) {
  return seed % 2 == 0 ? faultyGraphs()
                       : RandomGraphParameters{.modules = 4 + seed % 20, .links = 20, .flags = 20};
}

/// Two equal graphs, and what is told of each.
struct Worlds {
  explicit Worlds(std::uint64_t seed)
      : graph(randomGraph(seed, shape(seed))),
        literalGraph(randomGraph(seed, shape(seed))),
        random(seed + 5) {}

  /// The index of a module, or graph.size() for none.
  std::size_t anyIndex(unsigned percentNone) {
    return graph.size() == 0 || random.percent(percentNone) ? graph.size()
                                                            : random.below(graph.size());
  }

  TestGraph graph;
  TestGraph literalGraph;
  Random random;
};

ModulePtr moduleAt(const TestGraph& graph, std::size_t index) {
  return index < graph.size() ? graph.members()[index].module : nullptr;
}

/// Writes the names of the modules that it is called with; answers false for every fifth name.
struct Visitor {
  bool operator()(const ModulePtr& module) { return (*this)(*module); }
  bool operator()(const ApplyModule& module) {
    const std::string name = graph->nameOf(&module);
    *told += name + " ";
    return name.front() % 5 != 0 || goesOnAlways;
  }
  bool operator()(const ModulePtr& module, bool outside) {
    *told += outside ? "outside " : "";
    return (*this)(*module);
  }

  const TestGraph* graph;
  std::string* told;
  bool goesOnAlways;
};

struct Telling {
  std::string fast;
  std::string literal;
};

TEST(LiteralModelsTest, WalksAreThoseOfTheLibrary) {
  forSeeds(kSeeds, [](std::uint64_t seed) {
    Worlds worlds(seed);
    for (std::size_t i = 0; i < worlds.graph.size(); ++i) {
      Telling told;
      const bool always = worlds.random.percent(50);
      const Visitor visitor{&worlds.graph, &told.fast, always};
      const Visitor literalVisitor{&worlds.literalGraph, &told.literal, always};
      const ApplyModule& module = *moduleAt(worlds.graph, i);
      const ApplyModule& same = *moduleAt(worlds.literalGraph, i);
      EXPECT_EQ(Literal::forAllFollowingModules(same, literalVisitor),
                module.forAllFollowingModules(visitor));
      EXPECT_EQ(Literal::forAllPreviousModules(same, literalVisitor),
                module.forAllPreviousModules(visitor));
      EXPECT_EQ(Literal::forThisAndAllFollowingModules(same, literalVisitor),
                module.forThisAndAllFollowingModules(visitor));
      EXPECT_EQ(Literal::forThisAndAllPreviousModules(same, literalVisitor),
                module.forThisAndAllPreviousModules(visitor));
      EXPECT_EQ(told.literal, told.fast) << text(worlds.graph);
    }
  });
}

TEST(LiteralModelsTest, QuestionsAreThoseOfTheLibrary) {
  std::size_t answers = 0;
  std::size_t yes = 0;
  forSeeds(kSeeds, [&](std::uint64_t seed) {
    Worlds worlds(seed);
    for (std::size_t i = 0; i < worlds.graph.size(); ++i) {
      const bool strict = worlds.random.percent(50);
      const std::size_t other = worlds.anyIndex(10);
      const auto answersOf = [&](const TestGraph& graph, bool literal) {
        const ModulePtr module = moduleAt(graph, i);
        auto& necessary = dynamic_cast<TestModule&>(*moduleAt(graph, i / 2)).answers;
        necessary.applyNecessary = i % 3 == 0;
        necessary.applyNecessaryAsEnd = i % 4 == 0;
        const ModulePtr ancestor = moduleAt(graph, other);
        const std::vector<bool> result =
            literal ? std::vector<bool>{Literal::hasAsAncestor(*module, ancestor),
                                        Literal::isApplyGraphConsistent(*module),
                                        Literal::isDependencyGraphConsistent(*module),
                                        Literal::isDependencyGraphInputOk(*module, strict),
                                        Literal::isDependencyGraphApplyNecessary(*module, strict)}
                    : std::vector<bool>{module->hasAsAncestor(ancestor),
                                        module->isApplyGraphConsistent(),
                                        module->isDependencyGraphConsistent(),
                                        module->isDependencyGraphInputOk(strict),
                                        module->isDependencyGraphApplyNecessary(strict)};
        return result;
      };
      const auto expected = answersOf(worlds.graph, false);
      EXPECT_EQ(answersOf(worlds.literalGraph, true), expected) << text(worlds.graph);
      for (const bool answer : expected) {
        ++answers;
        yes += answer ? 1 : 0;
      }
    }
  });
  EXPECT_GT(yes, answers / 5);
  EXPECT_LT(yes, answers * 4 / 5);
}

TEST(LiteralModelsTest, SignalsAreThoseOfTheLibrary) {
  forSeeds(kSeeds / 4, [](std::uint64_t seed) {
    Worlds worlds(seed);
    const std::size_t origin = worlds.anyIndex(0);
    const auto listen = [&](const TestGraph& graph, std::string& told) {
      for (const auto& member : graph) {
        member.module->connectToSigStateChanged(
            Signals::Slot<void()>([&told, name = member.name] { told += name + " "; }));
      }
      return moduleAt(graph, origin);
    };
    Telling told;
    if (const ModulePtr module = listen(worlds.graph, told.fast)) {
      module->sendStateChangeSignalsOfFollowingModules();
      Literal::sendStateChangeSignalsOfFollowingModules(*listen(worlds.literalGraph, told.literal));
    }
    EXPECT_EQ(told.literal, told.fast) << text(worlds.graph);
  });
}

TEST(LiteralModelsTest, GatheredModulesAreThoseOfTheLibrary) {
  forSeeds(kSeeds, [](std::uint64_t seed) {
    const Worlds worlds(seed);
    Random random(seed);
    for (const auto& member : worlds.graph) {
      const ModulePtr stop = moduleAt(worlds.graph, random.below(worlds.graph.size() + 1));
      Literal::ModuleSet successors{moduleAt(worlds.graph, random.below(worlds.graph.size()))};
      Literal::ModuleSet dependencies = successors;
      Literal::ModuleSet literalSuccessors = successors;
      Literal::ModuleSet literalDependencies = successors;
      member.module->gatherAllSuccessors(successors, stop);
      member.module->gatherAllDependencies(dependencies, stop);
      Literal::gatherAllSuccessors(*member.module, literalSuccessors, stop);
      Literal::gatherAllDependencies(*member.module, literalDependencies, stop);
      EXPECT_EQ(literalSuccessors, successors) << member.name << " in " << text(worlds.graph);
      EXPECT_EQ(literalDependencies, dependencies) << member.name << " in " << text(worlds.graph);
    }
  });
}

TEST(LiteralModelsTest, OrderedTraversalsAreThoseOfTheLibrary) {
  std::size_t visits = 0;
  forSeeds(kSeeds, [&](std::uint64_t seed) {
    Worlds worlds(seed);
    for (int round = 0; round < 4; ++round) {
      const std::size_t start = worlds.anyIndex(5);
      const std::size_t end = worlds.anyIndex(30);
      const bool always = worlds.random.percent(50);
      Telling told;
      Visitor visitor{&worlds.graph, &told.fast, always};
      Visitor literalVisitor{&worlds.literalGraph, &told.literal, always};
      const TestGraph& graph = worlds.graph;
      const TestGraph& same = worlds.literalGraph;
      ApplyGraph::forSemanticOrderedModuleRange(visitor, moduleAt(graph, start),
                                                moduleAt(graph, end));
      Literal::forSemanticOrderedModuleRange(literalVisitor, moduleAt(same, start),
                                             moduleAt(same, end));
      ApplyGraph::forSemanticOrderedModuleFullRange(visitor, moduleAt(graph, start),
                                                    moduleAt(graph, end));
      Literal::forSemanticOrderedModuleFullRange(literalVisitor, moduleAt(same, start),
                                                 moduleAt(same, end));
      ApplyGraph::forSemanticOrderedPreviousModules(visitor, moduleAt(graph, end));
      Literal::forSemanticOrderedPreviousModules(literalVisitor, moduleAt(same, end));
      EXPECT_EQ(told.literal, told.fast) << text(worlds.graph);
      visits += told.fast.size();
    }
  });
  EXPECT_GT(visits, kSeeds * 20);
}

TEST(LiteralModelsTest, NextModuleInOrderIsThatOfTheLibrary) {
  forSeeds(kSeeds, [](std::uint64_t seed) {
    Worlds worlds(seed);
    Literal::ModuleSet visited;
    Literal::ModuleSet scope;
    Literal::ModuleQueue queue;
    for (const auto& member : worlds.graph) {
      if (worlds.random.percent(40)) {
        visited.insert(member.module);
      }
      if (worlds.random.percent(70)) {
        scope.insert(member.module);
      }
      queue.push(moduleAt(worlds.graph, worlds.anyIndex(10)));
    }
    Literal::ModuleQueue literalQueue = queue;
    ModulePtr module;
    do {
      module = ApplyGraph::getNextModuleInOrder(queue, visited, scope);
      EXPECT_EQ(Literal::getNextModuleInOrder(literalQueue, visited, scope), module);
      EXPECT_EQ(literalQueue, queue);
    } while (module != nullptr && !::testing::Test::HasFailure());
  });
}

/// Edits both graphs, and compares what the modules are told and what comes out.
void expectSameEdits(const std::function<void(bool literal, const std::vector<ModulePtr>& modules,
                                              bool startOfSideChain)>& edit,
                     std::size_t moduleCount) {
  std::size_t changes = 0;
  forSeeds(kEditSeeds, [&](std::uint64_t seed) {
    Worlds worlds(seed);
    std::string before;
    for (int round = 0; round < 6; ++round) {
      std::vector<std::size_t> indices(moduleCount);
      for (auto& index : indices) {
        index = worlds.anyIndex(10);
      }
      const bool flag = worlds.random.percent(50);
      const auto apply = [&](const TestGraph& graph, bool literal) {
        std::string told;
        for (const auto& member : graph) {
          dynamic_cast<TestModule&>(*member.module).whenGraphChanges =
              [&graph, &told](TestModule& module) { told += graph.nameOf(&module) + " "; };
        }
        std::vector<ModulePtr> modules;
        for (const std::size_t index : indices) {
          modules.push_back(moduleAt(graph, index));
        }
        edit(literal, modules, flag);
        return told;
      };
      const std::string told = apply(worlds.graph, false);
      EXPECT_EQ(apply(worlds.literalGraph, true), told) << before;
      const std::string after = text(worlds.graph);
      EXPECT_EQ(text(worlds.literalGraph), after) << before;
      before = after;
      changes += told.size();
    }
  });
  EXPECT_GT(changes, kEditSeeds * 10);
}

TEST(LiteralModelsTest, InsertsAreThoseOfTheLibrary) {
  expectSameEdits(
      [](bool literal, const std::vector<ModulePtr>& modules, bool flag) {
        (literal ? &Literal::insert : &ApplyGraph::insert)(modules[0], modules[1], modules[2],
                                                           flag);
      },
      3);
  expectSameEdits(
      [](bool literal, const std::vector<ModulePtr>& modules, bool /*flag*/) {
        (literal ? &Literal::insertAfter : &ApplyGraph::insertAfter)(modules[0], modules[1]);
      },
      2);
  expectSameEdits(
      [](bool literal, const std::vector<ModulePtr>& modules, bool /*flag*/) {
        (literal ? &Literal::insertBefore : &ApplyGraph::insertBefore)(modules[0], modules[1]);
      },
      2);
}

TEST(LiteralModelsTest, RemovalsAreThoseOfTheLibrary) {
  expectSameEdits(
      [](bool literal, const std::vector<ModulePtr>& modules, bool /*flag*/) {
        (literal ? &Literal::remove : &ApplyGraph::remove)(modules[0]);
      },
      1);
}

TEST(LiteralModelsTest, ReplacementsAreThoseOfTheLibrary) {
  expectSameEdits(
      [](bool literal, const std::vector<ModulePtr>& modules, bool /*flag*/) {
        (literal ? &Literal::replace : &ApplyGraph::replace)(modules[0], modules[1]);
      },
      2);
}

}  // namespace
}  // namespace Tessaril::TestSupport
