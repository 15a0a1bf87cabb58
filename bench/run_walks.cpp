// The walks, the gathers, the questions about the graph around a module, and the notification of
// all followers.

#include <cstdio>
#include <cstdlib>
#include <unordered_set>
#include <utility>

#include "bench/ModuleGraph.h"
#include "bench/Paired.h"
#include "bench/Shapes.h"
#include "bench/VisitHash.h"
#include "tests/support/literal/LiteralWalks.h"
#ifdef TESSARIL_BENCH_BOOSTGRAPH
#include "bench/peers/BoostGraph.h"
#endif

namespace Tessaril::Bench {

namespace {

using Modules = std::vector<ModulePtr>;
using ModuleSet = std::unordered_set<ModulePtr>;
using Walk = std::function<bool(ApplyModule::ModuleVisitor)>;
using RefWalk = std::function<bool(ApplyModule::ModuleRefVisitor)>;
using Gather = std::function<void(ModuleSet&)>;
using Question = std::function<bool()>;
using LinksOf = const std::vector<std::weak_ptr<ApplyModule>>& (ApplyModule::*)() const;

constexpr const char* kFloorWithLinks = "floor with links";
constexpr const char* kFloorOneByOne = "floor, one by one";
constexpr const char* kBoost = "Boost.Graph";
constexpr const char* kBoostInOrder = "Boost.Graph, in order";

std::uint64_t hashOf(const Walk& walk) {
  VisitHash hash;
  walk([&hash](const ModulePtr& module) {
    hash.add(numberOf(*module));
    return true;
  });
  return hash.value();
}

std::uint64_t hashOf(const RefWalk& walk) {
  VisitHash hash;
  walk([&hash](const ApplyModule& module) {
    hash.add(numberOf(module));
    return true;
  });
  return hash.value();
}

// What the signatures of the walks force: a call a module, with a shared pointer or a reference.

Walk bareCalls(const Modules& modules) {
  return [&modules](const ApplyModule::ModuleVisitor& visitor) {
    for (const ModulePtr& module : modules) {
      visitor(module);
    }
    return true;
  };
}

RefWalk bareRefCalls(const Modules& modules) {
  return [&modules](const ApplyModule::ModuleRefVisitor& visitor) {
    for (const ModulePtr& module : modules) {
      visitor(*module);
    }
    return true;
  };
}

// The same, with every link of the module locked once, which is the only way to what it names.

template <typename Use>
void forLinksOf(const ApplyModule& module, LinksOf linksOf, const Use& use) {
  for (const auto& link : (module.*linksOf)()) {
    use(link.lock());
  }
}

Walk callsAndLinks(const Modules& modules, LinksOf linksOf) {
  return [&modules, linksOf](const ApplyModule::ModuleVisitor& visitor) {
    std::size_t live = 0;
    for (const ModulePtr& module : modules) {
      visitor(module);
      forLinksOf(*module, linksOf, [&live](const ModulePtr& linked) { live += linked != nullptr; });
    }
    return live > 0;
  };
}

RefWalk refCallsAndLinks(const Modules& modules, LinksOf linksOf) {
  return [&modules, linksOf](const ApplyModule::ModuleRefVisitor& visitor) {
    std::size_t live = 0;
    for (const ModulePtr& module : modules) {
      visitor(*module);
      forLinksOf(*module, linksOf, [&live](const ModulePtr& linked) { live += linked != nullptr; });
    }
    return live > 0;
  };
}

/// The same where each module is known only from the one before it, which tells no more than that:
/// how long the memory lets a walk wait that meets no module twice.
RefWalk callsOneByOne(const Modules& modules) {
  const NumberedModule* following = nullptr;
  for (auto module = modules.rbegin(); module != modules.rend(); ++module) {
    auto& numbered = static_cast<NumberedModule&>(**module);
    numbered.following = std::exchange(following, &numbered);
  }
  return [following](const ApplyModule::ModuleRefVisitor& visitor) {
    for (const NumberedModule* module = following; module != nullptr; module = module->following) {
      visitor(*module);
    }
    return true;
  };
}

Modules visitedBy(const Walk& walk) {
  Modules visited;
  walk([&visited](const ModulePtr& module) {
    visited.push_back(module);
    return true;
  });
  return visited;
}

Modules with(const ModulePtr& first, const Modules& others) {
  Modules all{first};
  all.insert(all.end(), others.begin(), others.end());
  return all;
}

Comparison comparison(const std::string& work, const Shape& shape, std::size_t units) {
  return {
      .work = work, .shape = shape.name, .size = shape.modules, .contestants = {}, .units = units};
}

std::vector<Bound> boundsOfWalk(std::size_t size, double atTenThousand, double atHundredThousand) {
  return size == 10'000    ? std::vector<Bound>{{kLiteral, atTenThousand}}
         : size == 100'000 ? std::vector<Bound>{{kLiteral, atHundredThousand}}
                           : std::vector<Bound>{};
}

void measureWalk(Paired& paired, Comparison measured, const Walk& library, const Walk& literal,
                 LinksOf linksOf, const Modules& visited) {
  measured.contestants = {
      {kLibrary, [&] { return hashOf(library); }},
      {kLiteral, [&] { return hashOf(literal); }},
      {kFloor, [&] { return hashOf(bareCalls(visited)); }},
      {kFloorWithLinks, [&] { return hashOf(callsAndLinks(visited, linksOf)); }}};
  paired.compare(measured);
}

void measureRefWalk(Paired& paired, Comparison measured, const RefWalk& library,
                    const RefWalk& literal, LinksOf linksOf, const Modules& visited,
                    const std::vector<Contestant>& peers) {
  measured.bounds = boundsOfWalk(measured.size, 0.30, 0.45);
  if (measured.size == 100'000) {
    measured.bounds.push_back({kBoost, 1.1});
  }
  const RefWalk oneByOne = callsOneByOne(visited);
  measured.contestants = {
      {kLibrary, [&] { return hashOf(library); }},
      {kLiteral, [&] { return hashOf(literal); }},
      {kFloor, [&] { return hashOf(bareRefCalls(visited)); }},
      {kFloorOneByOne, [&] { return hashOf(oneByOne); }},
      {kFloorWithLinks, [&] { return hashOf(refCallsAndLinks(visited, linksOf)); }}};
  measured.contestants.insert(measured.contestants.end(), peers.begin(), peers.end());
  paired.compare(measured);
}

/// What is gathered is looked at between the timed runs, as it has no order to be hashed.
class GatheredSet {
 public:
  explicit GatheredSet(const Modules& modules) : expected(modules.begin(), modules.end()) {}

  Contestant contestant(const std::string& name, const Gather& gather) {
    return {.name = name,
            .run =
                [this, gather] {
                  gather(gathered);
                  return gathered.size();
                },
            .prepare = [this] { checkAndEmpty(); }};
  }

 private:
  void checkAndEmpty() {
    if (!gathered.empty() && gathered != expected) {
      std::fprintf(stderr, "Other modules were gathered than were visited\n");
      std::exit(EXIT_FAILURE);
    }
    gathered = ModuleSet();
  }

  ModuleSet expected;
  ModuleSet gathered;
};

void measureGather(Paired& paired, Comparison measured, const Gather& library,
                   const Gather& literal, const Modules& all) {
  GatheredSet set(all);
  measured.bounds = {{kLiteral, measured.size == 10'000 ? 0.7 : 1.0}};
  measured.contestants = {set.contestant(kLibrary, library), set.contestant(kLiteral, literal),
                          set.contestant(kFloor, [&all](ModuleSet& modules) {
                            for (const ModulePtr& module : all) {
                              modules.insert(module);
                            }
                          })};
  paired.compare(measured);
}

void measureForwards(Paired& paired, const Shape& shape, const ModuleGraph& graph,
                     const std::vector<Contestant>& peers) {
  const ApplyModule& start = *graph.start();
  const Walk walk = [&](ApplyModule::ModuleVisitor visitor) {
    return start.forAllFollowingModules(std::move(visitor));
  };
  const Modules followers = visitedBy(walk);

  Comparison measured = comparison("followers", shape, followers.size());
  measured.bounds = boundsOfWalk(shape.modules, 0.40, 0.65);
  measureWalk(
      paired, measured, walk,
      [&](ApplyModule::ModuleVisitor visitor) {
        return Literal::forAllFollowingModules(start, std::move(visitor));
      },
      &ApplyModule::getNextApplyModules, followers);
  measureRefWalk(
      paired, comparison("this and followers", shape, followers.size() + 1),
      [&](ApplyModule::ModuleRefVisitor visitor) {
        return start.forThisAndAllFollowingModules(std::move(visitor));
      },
      [&](ApplyModule::ModuleRefVisitor visitor) {
        return Literal::forThisAndAllFollowingModules(start, std::move(visitor));
      },
      &ApplyModule::getNextApplyModules, with(graph.start(), followers), peers);
  measureGather(
      paired, comparison("gather followers", shape, followers.size()),
      [&](ModuleSet& modules) { start.gatherAllSuccessors(modules, nullptr); },
      [&](ModuleSet& modules) { Literal::gatherAllSuccessors(start, modules, nullptr); },
      followers);
}

void measureBackwards(Paired& paired, const Shape& shape, const ModuleGraph& graph,
                      const std::vector<Contestant>& peers) {
  const ApplyModule& end = *graph.end();
  const Walk walk = [&](ApplyModule::ModuleVisitor visitor) {
    return end.forAllPreviousModules(std::move(visitor));
  };
  const Modules dependencies = visitedBy(walk);

  measureWalk(
      paired, comparison("dependencies", shape, dependencies.size()), walk,
      [&](ApplyModule::ModuleVisitor visitor) {
        return Literal::forAllPreviousModules(end, std::move(visitor));
      },
      &ApplyModule::getPreviousApplyModules, dependencies);
  measureRefWalk(
      paired, comparison("this and dependencies", shape, dependencies.size() + 1),
      [&](ApplyModule::ModuleRefVisitor visitor) {
        return end.forThisAndAllPreviousModules(std::move(visitor));
      },
      [&](ApplyModule::ModuleRefVisitor visitor) {
        return Literal::forThisAndAllPreviousModules(end, std::move(visitor));
      },
      &ApplyModule::getPreviousApplyModules, with(graph.end(), dependencies), peers);
  measureGather(
      paired, comparison("gather dependencies", shape, dependencies.size()),
      [&](ModuleSet& modules) { end.gatherAllDependencies(modules, nullptr); },
      [&](ModuleSet& modules) { Literal::gatherAllDependencies(end, modules, nullptr); },
      dependencies);
}

void measureWalks(Paired& paired, const Shape& shape) {
  const ModuleGraph graph(shape);
  std::vector<Contestant> forwardPeers;
  std::vector<Contestant> backwardPeers;
#ifdef TESSARIL_BENCH_BOOSTGRAPH
  const BoostGraph scattered(shape, BoostGraph::Layout::Scattered);
  const BoostGraph inOrder(shape, BoostGraph::Layout::InOrder);
  forwardPeers = {{kBoost, [&] { return scattered.visitFollowers(); }},
                  {kBoostInOrder, [&] { return inOrder.visitFollowers(); }}};
  backwardPeers = {{kBoost, [&] { return scattered.visitDependencies(); }},
                   {kBoostInOrder, [&] { return inOrder.visitDependencies(); }}};
#endif
  measureForwards(paired, shape, graph, forwardPeers);
  measureBackwards(paired, shape, graph, backwardPeers);
}

/// Tells which modules were asked something, or have signalled, in which order.
class WatchedModule : public NumberedModule {
 public:
  explicit WatchedModule(Number moduleNumber) : NumberedModule(moduleNumber) {
    connectToSigStateChanged([this] { note(); });
  }

  bool isActive() const override { return true; }
  bool isConsistent() const override { return note(), ApplyModule::isConsistent(); }
  bool isInputOk() const override { return note(), ApplyModule::isInputOk(); }
  bool isApplyNecessary(bool isEndModule) const override {
    return note(), ApplyModule::isApplyNecessary(isEndModule);
  }

  /// The hash of what was noted since the last call, and of the answer.
  static std::uint64_t take(bool answer) {
    VisitHash taken = std::exchange(noted, VisitHash());
    taken.add(answer ? 1 : 0);
    return taken.value();
  }

 private:
  void note() const { noted.add(number); }

  inline static VisitHash noted;
};

void measureQuestion(Paired& paired, Comparison measured, const Question& library,
                     const Question& literal, const Question& floor = {}) {
  const auto hashOfAnswer = [](const Question& question) {
    return [&question] { return WatchedModule::take(question()); };
  };
  measured.contestants = {{kLibrary, hashOfAnswer(library)}, {kLiteral, hashOfAnswer(literal)}};
  if (floor) {
    measured.contestants.push_back({kFloor, hashOfAnswer(floor)});
  }
  paired.compare(measured);
}

/// Every question with the answer that takes longest: nothing is found that would end the walk.
void measureQuestions(Paired& paired, const Shape& shape) {
  const ModuleGraph graph(shape,
                          [](Number number) { return std::make_shared<WatchedModule>(number); });
  const ApplyModule& start = *graph.start();
  const ApplyModule& end = *graph.end();
  const NumberedModule stranger(0);

  measureQuestion(
      paired, comparison("has as ancestor", shape, 0), [&] { return end.hasAsAncestor(stranger); },
      [&] { return Literal::hasAsAncestor(end, stranger); });
  measureQuestion(
      paired, comparison("apply graph consistent", shape, 0),
      [&] { return start.isApplyGraphConsistent(); },
      [&] { return Literal::isApplyGraphConsistent(start); });
  measureQuestion(
      paired, comparison("dependencies consistent", shape, 0),
      [&] { return end.isDependencyGraphConsistent(); },
      [&] { return Literal::isDependencyGraphConsistent(end); });
  measureQuestion(
      paired, comparison("dependencies' input ok", shape, 0),
      [&] { return end.isDependencyGraphInputOk(true); },
      [&] { return Literal::isDependencyGraphInputOk(end, true); });
  measureQuestion(
      paired, comparison("apply required", shape, 0),
      [&] { return end.isDependencyGraphApplyRequired(); },
      [&] {
        return Literal::isDependencyGraphInputOk(end, false) &&
               Literal::isDependencyGraphApplyNecessary(end, true);
      });

  const Modules followers = visitedBy([&](ApplyModule::ModuleVisitor visitor) {
    return start.forAllFollowingModules(std::move(visitor));
  });
  measureQuestion(
      paired, comparison("notify followers", shape, followers.size()),
      [&] { return start.sendStateChangeSignalsOfFollowingModules(), true; },
      [&] { return Literal::sendStateChangeSignalsOfFollowingModules(start), true; },
      [&] {
        for (const ModulePtr& follower : followers) {
          follower->sendStateChangeSignal();
        }
        return true;
      });
}

}  // namespace

}  // namespace Tessaril::Bench

int main(int argc, char** argv) {
  using namespace Tessaril::Bench;
  Paired paired(argc, argv);
#ifndef TESSARIL_BENCH_BOOSTGRAPH
  paired.missing(kBoost);
#endif
  for (const std::size_t size : paired.sizes()) {
    for (const Shape& shape : allShapes(size)) {
      measureWalks(paired, shape);
    }
    measureQuestions(paired, chain(size));
    measureQuestions(paired, merges(size));
  }
  return paired.finish();
}
