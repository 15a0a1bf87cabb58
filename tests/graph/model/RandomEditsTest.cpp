#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/graph/model/GraphModel.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/RandomGraph.h"

// Random edits of random graphs, in the library and in the model of plain lists: after each edit
// every list, flag and insert information has to be the same, and the same modules' graph hooks
// called in the same order. A sequence that fails is shown without the edits that do not matter.

namespace Tessaril {
namespace {

using GraphModel::CircularWalk;
using GraphModel::kNone;
using GraphModel::Name;
using GraphModel::Names;
using TestSupport::ModulePtr;
using TestSupport::Random;
using TestSupport::RandomGraphParameters;
using TestSupport::TestGraph;
using TestSupport::TestModule;

/// One edit as data; what its operation does not need is not looked at.
struct Edit {
  std::size_t operation = 0;
  /// Modules, or "~".
  Names modules;
  /// The chain and the start chain of the operations that set an insert mode.
  Name chain;
  Name startChain;
  bool flag = false;
  /// The call of a graph hook, among those of this edit, that throws; 0 for none.
  std::size_t failingCall = 0;
};

/// Where the edits of one random test begin.
struct Beginning {
  std::uint64_t seed = 0;
  RandomGraphParameters parameters;
  /// So many modules get random links with most others, forwards or backwards, dead entries and
  /// duplicates among them.
  std::size_t hubs = 0;
  /// Modules whose lists every graph hook looks at.
  Names watched;
};

Name nameOf(const std::weak_ptr<ApplyModule>& link) {
  const ModulePtr module = link.lock();
  return module == nullptr ? kNone : dynamic_cast<const TestModule&>(*module).getModuleName();
}

Names namesOf(const std::vector<std::weak_ptr<ApplyModule>>& links) {
  Names names;
  for (const auto& link : links) {
    names.push_back(nameOf(link));
  }
  return names;
}

/// Links `hub` with most other modules of the graph, in the order in which they were made.
void makeHub(Random& random, const TestGraph& graph, const ModulePtr& hub) {
  using namespace TestSupport::PrivateLinks;
  const bool forwards = random.percent(50);
  LinkList& list = forwards ? nextList(*hub) : previousList(*hub);
  for (const auto& member : graph) {
    if (member.module == hub || random.percent(15)) {
      continue;
    }
    list.add(member.module);
    if (random.percent(3)) {
      list.add(member.module);
    }
    if (random.percent(5)) {
      list.add(nullptr);
    }
    if (!random.percent(3)) {
      (forwards ? previousList(*member.module) : nextList(*member.module)).add(hub);
    }
  }
}

/// The library's graph, which listens to its modules.
struct Library {
  explicit Library(const Beginning& beginning)
      : watched(beginning.watched),
        graph(TestSupport::randomGraph(
            beginning.seed, beginning.parameters, [this](const Name& name) -> ModulePtr {
              auto module = std::make_shared<TestModule>(name);
              module->whenGraphChanges = [this](TestModule& changed) { onGraphChanged(changed); };
              return module;
            })) {
    Random random(beginning.seed + 31);
    for (std::size_t i = 0; i < beginning.hubs && i < graph.size(); ++i) {
      makeHub(random, graph, graph.members()[i].module);
    }
  }

  ModulePtr find(const Name& name) const { return name == kNone ? nullptr : graph[name]; }

  void onGraphChanged(const TestModule& changed) {
    calls += (calls.empty() ? "" : " ") + changed.getModuleName();
    for (const auto& name : watched) {
      if (graph.contains(name)) {
        const ModulePtr& module = graph[name];
        calls += GraphModel::shown(name, namesOf(module->getPreviousApplyModules()),
                                   namesOf(module->getNextApplyModules()));
      }
    }
    if (callsUntilFailure > 0 && --callsUntilFailure == 0) {
      throw GraphModel::HookFailure("the hook of " + changed.getModuleName());
    }
  }

  Names watched;
  std::size_t callsUntilFailure = 0;
  std::string calls;
  TestGraph graph;
};

struct Operation {
  const char* name;
  std::size_t modules;
  std::function<void(Library&, const Edit&)> onLibrary;
  /// False where the library must not be asked.
  std::function<bool(GraphModel::Graph&, const Edit&)> onModel;
};

/// An operation on modules (and a flag), the same in the library and in the model.
template <std::size_t... Index, typename OnLibrary, typename OnModel>
Operation onModules(const char* name, std::index_sequence<Index...>, OnLibrary onLibrary,
                    OnModel onModel) {
  return {name, sizeof...(Index),
          [onLibrary](Library& library, const Edit& edit) {
            onLibrary(edit, library.find(edit.modules[Index])...);
          },
          [onModel](GraphModel::Graph& model, const Edit& edit) {
            onModel(model, edit, edit.modules[Index]...);
            return true;
          }};
}

using Two = std::make_index_sequence<2>;
using Three = std::make_index_sequence<3>;
using Four = std::make_index_sequence<4>;

void setMode(const ModulePtr& module, GraphModel::Mode mode, const Edit& edit) {
  if (module == nullptr) {
    return;
  }
  const auto chain = TestSupport::chain(edit.chain);
  const auto startChain = TestSupport::chain(edit.startChain);
  switch (mode) {
    case GraphModel::Mode::AddToChain:
      module->setAddToChainInsertMode(chain, edit.flag);
      break;
    case GraphModel::Mode::StartSideChain:
      module->setStartSideChainInsertMode(chain, startChain);
      break;
    case GraphModel::Mode::StartFork:
      module->setStartForkInsertMode(chain, startChain);
      break;
    case GraphModel::Mode::MergeFork:
      module->setMergeForkInsertMode({startChain, chain}, chain);
      break;
  }
}

void setMode(GraphModel::Graph& model, const Name& name, GraphModel::Mode mode, const Edit& edit) {
  if (name == kNone) {
    return;
  }
  auto& module = model[name];
  module.mode = mode;
  module.chain = edit.chain;
  if (mode == GraphModel::Mode::AddToChain) {
    module.transferChains = edit.flag;
  } else if (mode == GraphModel::Mode::MergeFork) {
    module.mergeChains = {edit.startChain, edit.chain};
  } else {
    module.mergeChains = edit.startChain == "main" ? Names{} : Names{edit.startChain};
  }
}

Operation modeOperation(const char* name, GraphModel::Mode mode) {
  return onModules(
      name, std::make_index_sequence<1>{},
      [mode](const Edit& edit, const ModulePtr& a) { setMode(a, mode, edit); },
      [mode](GraphModel::Graph& model, const Edit& edit, const Name& a) {
        setMode(model, a, mode, edit);
      });
}

const std::vector<Operation>& operations() {
  using Graph = GraphModel::Graph;
  using P = const ModulePtr&;
  using N = const Name&;
  static const std::vector<Operation> all{
      onModules(
          "insert", Three{},
          [](const Edit& e, P a, P b, P c) { ApplyGraph::insert(a, b, c, e.flag); },
          [](Graph& g, const Edit& e, N a, N b, N c) { g.insert(a, b, c, e.flag); }),
      onModules(
          "insertAfter", Two{}, [](const Edit&, P a, P b) { ApplyGraph::insertAfter(a, b); },
          [](Graph& g, const Edit&, N a, N b) { g.insertAfter(a, b); }),
      onModules(
          "insertBefore", Two{}, [](const Edit&, P a, P b) { ApplyGraph::insertBefore(a, b); },
          [](Graph& g, const Edit&, N a, N b) { g.insertBefore(a, b); }),
      onModules(
          "remove", std::make_index_sequence<1>{}, [](const Edit&, P a) { ApplyGraph::remove(a); },
          [](Graph& g, const Edit&, N a) { g.remove(a); }),
      onModules(
          "replace", Two{}, [](const Edit&, P a, P b) { ApplyGraph::replace(a, b); },
          [](Graph& g, const Edit&, N a, N b) { g.replace(a, b); }),
      onModules(
          "addFork", Two{}, [](const Edit&, P a, P b) { ApplyGraph::addFork(a, b); },
          [](Graph& g, const Edit&, N a, N b) { g.addFork(a, b); }),
      {"removeFork", 2,
       [](Library& library, const Edit& e) {
         ApplyGraph::removeFork(library.find(e.modules[0]), library.find(e.modules[1]));
       },
       // A pair without fork link is refused by the model, and must not be passed to the library.
       [](Graph& g, const Edit& e) { return g.removeFork(e.modules[0], e.modules[1]); }},
      onModules(
          "insertSubGraph", Four{},
          [](const Edit& e, P a, P b, P c, P d) { ApplyGraph::insertSubGraph(a, b, c, d, e.flag); },
          [](Graph& g, const Edit& e, N a, N b, N c, N d) {
            g.insertSubGraph(a, b, c, d, e.flag);
          }),
      onModules(
          "insertSubGraphAfter", Three{},
          [](const Edit&, P a, P b, P c) { ApplyGraph::insertSubGraphAfter(a, b, c); },
          [](Graph& g, const Edit&, N a, N b, N c) { g.insertSubGraphAfter(a, b, c); }),
      onModules(
          "insertSubGraphBefore", Three{},
          [](const Edit&, P a, P b, P c) { ApplyGraph::insertSubGraphBefore(a, b, c); },
          [](Graph& g, const Edit&, N a, N b, N c) { g.insertSubGraphBefore(a, b, c); }),
      onModules(
          "removeSubGraph", Two{}, [](const Edit&, P a, P b) { ApplyGraph::removeSubGraph(a, b); },
          [](Graph& g, const Edit&, N a, N b) { g.removeSubGraph(a, b); }),
      onModules(
          "moveStartOfSubChain", Three{},
          [](const Edit&, P a, P b, P c) { ApplyGraph::moveStartOfSubChain(a, b, c); },
          [](Graph& g, const Edit&, N a, N b, N c) { g.moveStartOfSubChain(a, b, c); }),
      onModules(
          "place", Two{},
          [](const Edit&, P a, P b) { ApplyGraph::insertAccordingToInsertMode(a, b); },
          [](Graph& g, const Edit&, N a, N b) { g.place(a, a, b); }),
      onModules(
          "placeSubGraph", Three{},
          [](const Edit&, P a, P b, P c) {
            ApplyGraph::insertSubGraphAccordingToInsertMode(a, b, c);
          },
          [](Graph& g, const Edit&, N a, N b, N c) { g.place(a, b, c); }),
      onModules(
          "merge", Four{},
          [](const Edit&, P a, P b, P c, P d) {
            ApplyGraph::insertAccordingToInsertMode(a, {b, c}, d);
          },
          [](Graph& g, const Edit&, N a, N b, N c, N d) {
            g.place(a, a, Names{b, c}, d);
          }),
      onModules(
          "mergeSubGraph", std::make_index_sequence<5>{},
          [](const Edit&, P a, P b, P c, P d, P e) {
            ApplyGraph::insertSubGraphAccordingToInsertMode(a, b, {c, d}, e);
          },
          [](Graph& g, const Edit&, N a, N b, N c, N d, N e) {
            g.place(a, b, Names{c, d}, e);
          }),
      modeOperation("setAddToChain", GraphModel::Mode::AddToChain),
      modeOperation("setStartSideChain", GraphModel::Mode::StartSideChain),
      modeOperation("setStartFork", GraphModel::Mode::StartFork),
      modeOperation("setMergeFork", GraphModel::Mode::MergeFork),
      {"drop", 1,
       [](Library& library, const Edit& e) {
         if (e.modules[0] != kNone) {
           library.graph.drop(e.modules[0]);
         }
       },
       [](Graph& g, const Edit& e) {
         g.drop(e.modules[0]);
         return true;
       }}};
  return all;
}

std::string describe(const Edit& edit) {
  const auto& operation = operations()[edit.operation];
  std::string text = std::string(operation.name) + "(";
  for (std::size_t i = 0; i < operation.modules; ++i) {
    text += (i == 0 ? "" : ", ") + edit.modules[i];
  }
  return text + ") chain " + edit.chain + " start chain " + edit.startChain +
         (edit.flag ? " true" : " false") +
         (edit.failingCall > 0 ? " failing at call " + std::to_string(edit.failingCall) : "");
}

std::string describe(const std::vector<Edit>& edits) {
  std::string text;
  for (const auto& edit : edits) {
    text += "  " + describe(edit) + "\n";
  }
  return text;
}

/// Carries the edits out on both sides. Empty when all is the same, else the first difference.
/// Edits of modules that have been dropped, and those that would walk in a circle, are left out.
std::string differenceAfter(const Beginning& beginning, const std::vector<Edit>& edits,
                            std::size_t* carriedOut = nullptr) {
  Library library(beginning);
  GraphModel::Graph model(library.graph);
  model.watched = beginning.watched;
  for (const auto& edit : edits) {
    const auto& operation = operations()[edit.operation];
    if (!std::all_of(edit.modules.begin(), edit.modules.end(), [&](const Name& name) {
          return name == kNone || library.graph.contains(name);
        })) {
      continue;
    }
    auto edited = model;
    edited.calls.clear();
    edited.callsUntilFailure = edit.failingCall;
    bool fails = false;
    try {
      if (!operation.onModel(edited, edit)) {
        continue;
      }
    } catch (const CircularWalk&) {
      continue;
    } catch (const GraphModel::HookFailure&) {
      fails = true;
    }
    library.calls.clear();
    library.callsUntilFailure = edit.failingCall;
    bool failed = false;
    try {
      operation.onLibrary(library, edit);
    } catch (const GraphModel::HookFailure&) {
      failed = true;
    }
    if (carriedOut != nullptr) {
      ++*carriedOut;
    }
    if (failed != fails) {
      return "the exception of a hook got lost in " + describe(edit) + "\n";
    }
    if (const GraphModel::Graph actual(library.graph); actual.modules() != edited.modules()) {
      return "before " + describe(edit) + "\n" + model.describe() + "the model then has\n" +
             edited.describe() + "but the library\n" + actual.describe();
    }
    if (library.calls != edited.calls) {
      return "before " + describe(edit) + "\n" + model.describe() + "the model then calls " +
             edited.calls + "\nbut the library " + library.calls + "\n";
    }
    model = edited;
  }
  return {};
}

/// Leaves out, one by one, the edits without which the difference stays.
std::vector<Edit> shrunk(const Beginning& beginning, std::vector<Edit> edits) {
  for (std::size_t i = edits.size(); i-- > 0;) {
    auto fewer = edits;
    fewer.erase(std::next(fewer.begin(), static_cast<std::ptrdiff_t>(i)));
    if (!differenceAfter(beginning, fewer).empty()) {
      edits = std::move(fewer);
    }
  }
  return edits;
}

class EditMaker {
 public:
  EditMaker(const Beginning& beginning, const TestGraph& graph)
      : random(beginning.seed + 1000003),
        chains(beginning.parameters.chains),
        hubs(beginning.hubs) {
    for (const auto& member : graph) {
      names.push_back(member.name);
    }
  }

  std::vector<Edit> make(std::size_t count) {
    std::vector<Edit> edits(count);
    for (auto& edit : edits) {
      edit.operation = random.below(operations().size());
      for (std::size_t i = 0; i < operations()[edit.operation].modules; ++i) {
        edit.modules.push_back(anyModule());
      }
      edit.chain = anyChain();
      edit.startChain = anyChain();
      edit.flag = random.percent(50);
      if (random.percent(10)) {
        // More calls than that only come from modules with many neighbours.
        edit.failingCall = 1 + random.below(hubs > 0 ? 2 * names.size() : 6);
      }
    }
    return edits;
  }

 private:
  Name anyModule() {
    if (hubs > 0 && random.percent(40)) {
      return names[random.below(std::min(hubs, names.size()))];
    }
    return names.empty() || random.percent(4) ? kNone : names[random.below(names.size())];
  }

  Name anyChain() {
    const auto index = random.below(chains + 1);
    return index == 0 ? "main" : "c" + std::to_string(index);
  }

  Random random;
  std::size_t chains;
  std::size_t hubs;
  Names names;
};

void expectNoDifference(const Beginning& beginning, std::size_t* carriedOut) {
  constexpr std::size_t kEdits = 12;
  const auto graph = TestSupport::randomGraph(beginning.seed, beginning.parameters);
  const auto edits = EditMaker(beginning, graph).make(kEdits);
  if (!differenceAfter(beginning, edits, carriedOut).empty()) {
    const auto few = shrunk(beginning, edits);
    ADD_FAILURE() << "the graph " << TestSupport::text(graph) << "\nafter\n"
                  << describe(few) << differenceAfter(beginning, few);
  }
}

RandomGraphParameters wellFormed() {
  RandomGraphParameters parameters;
  parameters.modules = 6;
  parameters.links = 15;
  parameters.dead = 12;
  parameters.flags = 20;
  parameters.chains = 2;
  return parameters;
}

TEST(RandomEdits, OfWellFormedGraphsAreThoseOfTheModel) {
  constexpr std::uint64_t kSeeds = 4000;
  std::size_t carriedOut = 0;
  TestSupport::forSeeds(kSeeds, [&](std::uint64_t seed) {
    expectNoDifference({seed, wellFormed(), 0, {}}, &carriedOut);
  });
  EXPECT_TRUE(HasFailure() || carriedOut > kSeeds * 6) << carriedOut << " edits tell too little";
}

TEST(RandomEdits, OfFaultyGraphsAreThoseOfTheModel) {
  constexpr std::uint64_t kSeeds = 2000;
  std::size_t carriedOut = 0;
  TestSupport::forSeeds(kSeeds, [&](std::uint64_t seed) {
    expectNoDifference({seed, TestSupport::faultyGraphs(), 0, {}}, &carriedOut);
  });
  EXPECT_TRUE(HasFailure() || carriedOut > kSeeds * 6) << carriedOut << " edits tell too little";
}

// Half of the time the hooks look at the lists of the hubs: they have to see each entry go, though
// nobody else is in a hurry to take it out.
TEST(RandomEdits, OfHubsAreThoseOfTheModel) {
  constexpr std::uint64_t kSeeds = 150;
  std::size_t carriedOut = 0;
  TestSupport::forSeeds(kSeeds, [&](std::uint64_t seed) {
    Beginning beginning;
    beginning.seed = seed;
    beginning.parameters.modules = seed % 25 == 0 ? 300 : 20 + seed % 60;
    beginning.parameters.roots = beginning.parameters.modules;
    beginning.parameters.links = 0;
    beginning.parameters.chains = seed % 3;
    beginning.parameters.flags = 10;
    beginning.hubs = 1 + seed % 3;
    if (seed % 2 == 0) {
      beginning.watched = {"A", "B"};
    }
    expectNoDifference(beginning, &carriedOut);
  });
  EXPECT_TRUE(HasFailure() || carriedOut > kSeeds * 4) << carriedOut << " edits tell too little";
}

TEST(RandomNavigation, IsThatOfTheModel) {
  auto parameters = TestSupport::faultyGraphs();
  parameters.backLinks = 0;
  parameters.selfLinks = 0;
  TestSupport::forSeeds(2000, [&](std::uint64_t seed) {
    const auto g = TestSupport::randomGraph(seed, parameters);
    const GraphModel::Graph model(g);
    for (const auto& [name, module] : g) {
      EXPECT_EQ(g.nameOf(ApplyGraph::getStart(module)), model.getStart(name));
      EXPECT_EQ(g.nameOf(ApplyGraph::getEnd(module)), model.getEnd(name));
      EXPECT_EQ(g.nameOf(ApplyGraph::getFirstModuleOfChain(module)),
                model.getFirstModuleOfChain(name));
      for (const auto* chain : {"main", "c1", "c2", "c3"}) {
        const auto id = TestSupport::chain(chain);
        EXPECT_EQ(g.nameOf(ApplyGraph::getNextModuleWithChainId(module, id)),
                  model.getNextModuleWithChainId(name, chain));
        EXPECT_EQ(g.nameOf(ApplyGraph::getPreviousModuleWithChainId(module, id)),
                  model.getPreviousModuleWithChainId(name, chain));
      }
    }
    if (HasFailure()) {
      ADD_FAILURE() << "in the graph " << TestSupport::text(g);
    }
  });
}

}  // namespace
}  // namespace Tessaril
