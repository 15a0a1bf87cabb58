// Edits of long chains and of hubs, and the placement of a whole design by insert mode.

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/ModuleGraph.h"
#include "bench/Paired.h"
#include "bench/Shapes.h"
#include "bench/VisitHash.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/literal/LiteralEdits.h"

namespace Tessaril::Bench {

namespace {

/// Tells whose links were changed, in which order.
class EditedModule : public NumberedModule {
 public:
  using NumberedModule::NumberedModule;

  /// The hash of the changes since the last call.
  static std::uint64_t takeChanges() { return std::exchange(changes, VisitHash()).value(); }

 protected:
  void onApplyGraphChanged() override { changes.add(number); }

 private:
  inline static VisitHash changes;
};

std::shared_ptr<EditedModule> makeModule(Number number) {
  return std::make_shared<EditedModule>(number);
}

/// The edits of the library or of the literal model.
struct Edits {
  void (*insert)(ModulePtr module, ModulePtr previous, ModulePtr next, bool startOfSideChain);
  void (*insertAfter)(ModulePtr module, ModulePtr anchor);
  void (*insertBefore)(ModulePtr module, ModulePtr anchor);
  void (*remove)(ModulePtr module);
  void (*replace)(ModulePtr oldModule, ModulePtr newModule);
};

const Edits kLibraryEdits{ApplyGraph::insert, ApplyGraph::insertAfter, ApplyGraph::insertBefore,
                          ApplyGraph::remove, ApplyGraph::replace};
const Edits kLiteralEdits{Literal::insert, Literal::insertAfter, Literal::insertBefore,
                          Literal::remove, Literal::replace};

// What the signatures force: shared pointers by value.

void neitherInsert(ModulePtr /*module*/, ModulePtr /*previous*/, ModulePtr /*next*/,
                   bool /*startOfSideChain*/) {}
void neitherInsertBetween(ModulePtr /*module*/, ModulePtr /*anchor*/) {}
void neitherRemove(ModulePtr /*module*/) {}

const Edits kBareCalls{neitherInsert, neitherInsertBetween, neitherInsertBetween, neitherRemove,
                       neitherInsertBetween};

/// A module that edits are made around, the one that follows it in a chain, and one that has no
/// links yet.
struct Place {
  ModulePtr anchor;
  ModulePtr next;
  ModulePtr spare;
};
using Places = std::vector<Place>;

/// Edits and takes back what it did, so that the next run finds the same graph.
using PairOfEdits = void (*)(const Edits& edits, const Places& places);

void removeSpares(const Edits& edits, const Places& places) {
  for (const Place& place : places) {
    edits.remove(place.spare);
  }
}

void insertAndRemove(const Edits& edits, const Places& places) {
  for (const Place& place : places) {
    edits.insert(place.spare, place.anchor, place.next, false);
  }
  removeSpares(edits, places);
}

void insertAfterAndRemove(const Edits& edits, const Places& places) {
  for (const Place& place : places) {
    edits.insertAfter(place.spare, place.anchor);
  }
  removeSpares(edits, places);
}

void insertBeforeAndRemove(const Edits& edits, const Places& places) {
  for (const Place& place : places) {
    edits.insertBefore(place.spare, place.anchor);
  }
  removeSpares(edits, places);
}

void replaceAndReplaceBack(const Edits& edits, const Places& places) {
  for (const Place& place : places) {
    edits.replace(place.anchor, place.spare);
  }
  for (const Place& place : places) {
    edits.replace(place.spare, place.anchor);
  }
}

void addContestants(Comparison& measured, const Places& places, PairOfEdits pair,
                    bool withLiteral) {
  const auto contestant = [&places, pair](const char* name, const Edits& edits) {
    return Contestant{.name = name, .run = [&places, pair, &edits] {
                        pair(edits, places);
                        return EditedModule::takeChanges();
                      }};
  };
  measured.contestants.push_back(contestant(kLibrary, kLibraryEdits));
  if (withLiteral) {
    measured.contestants.push_back(contestant(kLiteral, kLiteralEdits));
  }
  measured.contestants.push_back(contestant(kFloor, kBareCalls));
  measured.contestants.back().order = "nothing is changed";
}

// A long chain, at every other of its modules, in shuffled order

void measureChain(Paired& paired, std::size_t modules) {
  const std::pair<const char*, PairOfEdits> works[] = {
      {"insert, remove", insertAndRemove},
      {"insert after, remove", insertAfterAndRemove},
      {"insert before, remove", insertBeforeAndRemove},
      {"replace, replace back", replaceAndReplaceBack},
  };
  const std::size_t count = modules / 2 - 1;
  Shape shape = chain(modules);
  shape.modules += count;
  const ModuleGraph graph(shape, makeModule);
  Places places;
  for (const Number place : shuffled(count)) {
    const Number anchor = 2 * place + 1;
    places.push_back(
        {graph[anchor], graph[anchor + 1], graph[static_cast<Number>(modules) + place]});
  }
  for (const auto& [work, pair] : works) {
    Comparison measured{.work = work, .shape = "chain", .size = modules, .contestants = {}};
    measured.units = 2 * count;
    measured.unit = "edit";
    if (modules <= 10'000) {
      measured.bounds = {{kLiteral, 0.75}};
    }
    addContestants(measured, places, pair, true);
    paired.compare(measured);
  }
}

// Hubs. However large each of them is, together they have as many neighbours, so that what is
// compared is not how much of the memory is near.

constexpr std::size_t kNeighbours = 10'000;

enum class Side { Next, Previous };

/// Hubs with their neighbours on one side and one module on the other; a spare for each hub.
/// Numbers: the hubs, the modules on the other side, the spares, the neighbours.
Shape hubs(std::size_t neighbours, Side side) {
  const Number count = static_cast<Number>(kNeighbours / neighbours);
  Shape shape{.name = side == Side::Next ? "next modules" : "previous modules",
              .modules = 3 * count + kNeighbours,
              .links = {}};
  const auto link = [&](Number back, Number front) {
    shape.links.emplace_back(side == Side::Next ? std::pair(back, front) : std::pair(front, back));
  };
  for (Number hub = 0; hub < count; ++hub) {
    link(count + hub, hub);
  }
  for (Number neighbour = 0; neighbour < kNeighbours; ++neighbour) {
    link(neighbour % count, 3 * count + neighbour);
  }
  return shape;
}

/// Looking at all neighbours for each of them takes seconds where there are many.
bool isLiteralAffordable(std::size_t neighbours) { return neighbours <= 100; }

void measureHubs(Paired& paired, std::size_t neighbours, Side side) {
  const std::pair<const char*, PairOfEdits> works[] = {
      {"hub: insert, remove", side == Side::Next ? insertAfterAndRemove : insertBeforeAndRemove},
      {"hub: replace, replace back", replaceAndReplaceBack},
      {"hub: insert a leaf, remove", insertAndRemove},
  };
  const Shape shape = hubs(neighbours, side);
  const ModuleGraph graph(shape, makeModule);
  const Number count = static_cast<Number>(kNeighbours / neighbours);
  Places places;
  for (const Number hub : shuffled(count)) {
    places.push_back({graph[hub], nullptr, graph[2 * count + hub]});
  }
  for (const auto& [work, pair] : works) {
    if (pair == insertAndRemove && side == Side::Previous) {
      continue;
    }
    Comparison measured{.work = work, .shape = shape.name, .size = neighbours, .contestants = {}};
    measured.units = kNeighbours;
    measured.unit = "neighbour";
    addContestants(measured, places, pair, isLiteralAffordable(neighbours));
    paired.compare(measured);
  }
}

// Placement: the modules of a design, each with its insert mode, find their places one after the
// other

struct Placed {
  Number module;
  /// Several ones for a merge.
  std::vector<Number> anchors;
};

/// A design whose modules know how they are to be inserted, and the order of their insertion.
class PlacedDesign {
 public:
  using SetModes = void (*)(PlacedDesign& design);

  PlacedDesign(std::size_t count, SetModes setModesAndOrder)
      : modules(count), setModes(setModesAndOrder) {}

  /// Makes all modules anew, without links.
  void prepare() {
    placements.clear();
    for (const Number number : shuffled(modules.size())) {
      modules[number] = makeModule(number);
    }
    setModes(*this);
  }

  std::uint64_t place() const {
    for (const Placed& placed : placements) {
      const ModulePtr& module = modules[placed.module];
      if (placed.anchors.size() == 1) {
        ApplyGraph::insertAccordingToInsertMode(module, modules[placed.anchors.front()]);
        continue;
      }
      std::vector<ModulePtr> anchors;
      for (const Number anchor : placed.anchors) {
        anchors.push_back(modules[anchor]);
      }
      ApplyGraph::insertAccordingToInsertMode(module, anchors, nullptr);
    }
    return EditedModule::takeChanges();
  }

  std::size_t size() const { return modules.size(); }

  void add(Number module, Number anchor, const Identifier& chainId) {
    modules[module]->setAddToChainInsertMode(chainId, false);
    placements.push_back({module, {anchor}});
  }
  void startSideChain(Number module, Number anchor, const Identifier& chainId) {
    modules[module]->setStartSideChainInsertMode(chainId, modules[anchor]->getChainId());
    placements.push_back({module, {anchor}});
  }
  void startFork(Number module, Number anchor, const Identifier& chainId) {
    modules[module]->setStartForkInsertMode(chainId, modules[anchor]->getChainId());
    placements.push_back({module, {anchor}});
  }
  void merge(Number module, const std::vector<Number>& anchors, const Identifier& chainId) {
    std::vector<Identifier> chains;
    for (const Number anchor : anchors) {
      chains.push_back(modules[anchor]->getChainId());
    }
    modules[module]->setMergeForkInsertMode(chains, chainId);
    placements.push_back({module, anchors});
  }

 private:
  std::vector<ModulePtr> modules;
  SetModes setModes;
  std::vector<Placed> placements;
};

const Identifier& mainChain() { return Identifier::getInvalidId(); }

void placeInMainChain(PlacedDesign& design) {
  for (Number module = 1; module < design.size(); ++module) {
    design.add(module, module - 1, mainChain());
  }
}

/// The same as sideChains().
void placeInSideChains(PlacedDesign& design) {
  Number last = 0;
  Identifier sideChain;
  for (Number module = 1; module < design.size(); ++module) {
    if (module % 20 < 10) {
      design.add(module, last, mainChain());
      last = module;
    } else if (module % 20 == 10) {
      sideChain = Identifier::createRandom();
      design.startSideChain(module, last, sideChain);
    } else {
      design.add(module, module - 1, sideChain);
    }
  }
}

/// One module spreads to eight, which merge in one, which spreads to eight, and so on: the first of
/// the eight goes on in the main chain, seven are forks.
void placeInForks(PlacedDesign& design) {
  constexpr Number kWidth = 8;
  Number start = 0;
  for (Number merge = kWidth + 1; merge < design.size(); merge += kWidth + 1) {
    std::vector<Number> branches;
    for (Number branch = start + 1; branch < merge; ++branch) {
      if (branches.empty()) {
        design.add(branch, start, mainChain());
      } else {
        design.startFork(branch, start, Identifier::createRandom());
      }
      branches.push_back(branch);
    }
    design.merge(merge, branches, mainChain());
    start = merge;
  }
}

void measurePlacement(Paired& paired, std::size_t modules) {
  const std::pair<const char*, PlacedDesign::SetModes> shapes[] = {
      {"chain", placeInMainChain}, {"side chains", placeInSideChains}, {"forks", placeInForks}};
  for (const auto& [shape, setModes] : shapes) {
    PlacedDesign design(modules, setModes);
    Comparison measured{
        .work = "place a design", .shape = shape, .size = modules, .contestants = {}};
    measured.contestants = {{.name = kLibrary,
                             .run = [&design] { return design.place(); },
                             .prepare = [&design] { design.prepare(); }}};
    paired.compare(measured);
  }
}

}  // namespace

}  // namespace Tessaril::Bench

int main(int argc, char** argv) {
  using namespace Tessaril::Bench;
  Paired paired(argc, argv);
  for (const std::size_t size : paired.sizes()) {
    measureChain(paired, size);
    measurePlacement(paired, size);
  }
  for (const std::size_t neighbours : {10, 100, 1'000, 10'000}) {
    measureHubs(paired, neighbours, Side::Next);
    measureHubs(paired, neighbours, Side::Previous);
  }
  paired.boundGrowth("place a design", 1'000, 100'000, 10);
  paired.boundGrowth("hub: insert, remove", 10, 10'000, 1.5);
  paired.boundGrowth("hub: replace, replace back", 10, 10'000, 1.5);
  paired.boundGrowth("hub: insert a leaf, remove", 10, 10'000, 1.5);
  return paired.finish();
}
