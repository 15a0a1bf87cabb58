#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/GraphText.h"

/// A second, plain implementation of graphs: names in lists, every edit written down step by step.
/// It shares no code with the library and stays as it is when the library becomes faster: it says
/// what the result has to be.
///
/// A name is a module; "~" is the empty pointer and, in a list, an entry whose module has gone. A
/// search for the empty pointer therefore finds the first dead entry.
namespace Tessaril::GraphModel {

using Name = std::string;
using Names = std::vector<Name>;
using NameSet = std::set<Name>;

inline const Name kNone = "~";

enum class Mode { AddToChain, StartSideChain, StartFork, MergeFork };

struct Module {
  Names previous;
  Names next;
  Name chain = "main";
  Names mergeChains;
  Mode mode = Mode::AddToChain;
  bool transferChains = false;
  bool startOfSideChain = false;

  friend bool operator==(const Module&, const Module&) = default;
};

/// A walk from module to module ran in a circle; the library would not come back from it.
class CircularWalk : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a graph hook throws.
class HookFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// " A[P|N ~]": the lists of a module, as a graph hook saw them.
std::string shown(const Name& module, const Names& previous, const Names& next);

class Graph {
 public:
  Graph() = default;
  /// The model of what the library's modules say of themselves.
  explicit Graph(const TestSupport::TestGraph& graph);

  const std::map<Name, Module>& modules() const { return all; }
  Module& operator[](const Name& name) { return all.at(name); }
  const Module& operator[](const Name& name) const { return all.at(name); }
  bool contains(const Name& name) const { return all.contains(name); }
  /// The entries of the module in all lists are dead from now on.
  void drop(const Name& name);
  /// One line a module: its lists, its chains, its marks.
  std::string describe() const;

  /// The modules whose onApplyGraphChanged() is due, in order: "A B A".
  std::string calls;
  /// Modules whose lists each such call looks at, and adds to `calls`.
  Names watched;
  /// From now on, the call that throws HookFailure; 0 for none.
  std::size_t callsUntilFailure = 0;

  // Navigation

  Name getStart(const Name& module) const;
  Name getEnd(const Name& module) const;
  Name getFirstModuleOfChain(const Name& module) const;
  Name getNextModuleWithChainId(const Name& module, const Name& chain) const;
  Name getPreviousModuleWithChainId(const Name& module, const Name& chain) const;

  // Edits

  void insert(const Name& module, const Name& previous, const Name& next, bool startOfSideChain);
  void insertAfter(const Name& module, const Name& anchor);
  void insertBefore(const Name& module, const Name& anchor);
  void remove(const Name& module);
  void replace(const Name& oldModule, const Name& newModule);
  void addFork(const Name& from, const Name& to);
  /// False, with nothing changed, for a pair that no caller may pass: no module of from's chain
  /// leads into `to`.
  bool removeFork(const Name& from, const Name& to);
  void insertSubGraph(const Name& start, const Name& end, const Name& previous, const Name& next,
                      bool startOfSideChain);
  void insertSubGraphAfter(const Name& start, const Name& end, const Name& anchor);
  void insertSubGraphBefore(const Name& start, const Name& end, const Name& anchor);
  void removeSubGraph(const Name& start, const Name& end);
  bool moveStartOfSubChain(const Name& sideStart, const Name& oldParent, const Name& newParent);
  void place(const Name& start, const Name& end, const Name& anchor);
  void place(const Name& start, const Name& end, const Names& previousModules, const Name& next);

 private:
  using List = Names Module::*;

  // What a module does to its own lists.
  void add(const Name& owner, List list, const Name& module);
  void addNext(const Name& owner, const Name& module) { add(owner, &Module::next, module); }
  void addPrevious(const Name& owner, const Name& module) { add(owner, &Module::previous, module); }
  void erase(const Name& owner, List list, const Name& module);
  void eraseNext(const Name& owner, const Name& module) { erase(owner, &Module::next, module); }
  void erasePrevious(const Name& owner, const Name& module) {
    erase(owner, &Module::previous, module);
  }
  bool exchange(const Name& owner, List list, const Name& oldModule, const Name& newModule);
  bool exchangeNext(const Name& owner, const Name& oldModule, const Name& newModule) {
    return exchange(owner, &Module::next, oldModule, newModule);
  }
  bool exchangePrevious(const Name& owner, const Name& oldModule, const Name& newModule) {
    return exchange(owner, &Module::previous, oldModule, newModule);
  }
  void changed(const Name& owner);

  void removeNext(const Name& module);
  void removePrevious(const Name& module);
  void setStartChain(const Name& module, Mode mode, const Name& startChain);
  void setAddToChain(const Name& module);

  std::map<Name, Module> all;
};

/// The live entries, in order.
Names liveOf(const Names& list);
bool holds(const Names& list, const Name& module);

}  // namespace Tessaril::GraphModel
