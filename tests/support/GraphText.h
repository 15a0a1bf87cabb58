#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tessaril/module/ApplyModule.h"
#include "tests/support/TestModule.h"

// Graphs in one line, both ways.
//
//   graph     := ["[" flag {"," flag} "]"] statement {";" statement}    the flags of all modules
//   statement := node {arrow node}
//   arrow     := "->"     both list entries: right in left's next list, left in right's previous
//   list
//              | "->."    only the entry in left's next list
//              | ".->"    only the entry in right's previous list
//   node      := "~" | module      "~": a dead entry, so that "A -> ~" and "~ -> B" make one entry
//   module    := name | "(" name ")"   then   [":" chain] ["[" mark {"," mark} "]"]
//                "(S)" carries the start-of-side-chain flag; no chain means the main chain
//   mark      := flag | "additional" | "transfer" | ["add" | "side" | "fork" | "merge"] ["<" chain
//                {"+" chain}]      insert mode with the start chain id or the merge chain ids
//   flag      := "active" | "inconsistent" | "badinput" | "frozen" | "skipped"
//   chain     := a name of up to 16 letters; "main" is the invalid identifier, and an identifier
//                that was not made from a name prints as its own text form in "{" "}"
//
// A module is made where its name comes first, and its marks need to stand only once. Entries join
// their lists in reading order. What is as in a new module is left unsaid:
//
//   A -> B -> C; A -> (S):cutter[side] -> T:cutter
//   A -> M[merge<main+wheel]; A -> W:wheel[fork] -> M

namespace Tessaril::TestSupport {

using ModulePtr = std::shared_ptr<ApplyModule>;
using ModuleFactory = std::function<ModulePtr(const std::string& name)>;

/// Owns the modules of a graph and knows their names. Moves; modules stay where they are.
class TestGraph {
 public:
  struct Member {
    std::string name;
    ModulePtr module;
  };

  TestGraph();

  /// Takes a module in. Throws std::invalid_argument for a name that is taken.
  ModulePtr add(const std::string& name, ModulePtr module);
  bool contains(std::string_view name) const;
  /// Throws std::out_of_range, with the name, where there is none.
  const ModulePtr& operator[](std::string_view name) const;
  /// The module as what it is; throws std::bad_cast where it is something else.
  template <typename Module>
  std::shared_ptr<Module> as(std::string_view name) const {
    auto module = std::dynamic_pointer_cast<Module>((*this)[name]);
    if (module == nullptr) {
      throw std::bad_cast();
    }
    return module;
  }

  /// Lets go of a module: unless somebody else holds it, its neighbours' entries are dead now.
  void drop(std::string_view name);

  /// The modules in the order in which they were made.
  const std::vector<Member>& members() const { return allMembers; }
  std::vector<Member>::const_iterator begin() const { return allMembers.begin(); }
  std::vector<Member>::const_iterator end() const { return allMembers.end(); }
  std::size_t size() const { return allMembers.size(); }

  /// "?" for a module of somebody else, "~" for null.
  std::string nameOf(const ApplyModule* module) const;
  std::string nameOf(const std::shared_ptr<const ApplyModule>& module) const;
  /// "A B C", in the order given.
  std::string names(const std::vector<ModulePtr>& modules) const;
  /// The same for a link list; "~" for a dead entry.
  std::string names(const std::vector<std::weak_ptr<ApplyModule>>& links) const;
  /// The same for a set, in the order in which the modules were made.
  std::string names(const std::unordered_set<ModulePtr>& modules) const;

 private:
  std::vector<Member> allMembers;
};

/// Reads a graph, writing lists and fields directly: no hook is called, nothing is announced.
/// Throws std::invalid_argument, with the place, for text that is no graph.
TestGraph graph(std::string_view text);
/// The same with modules of one's own.
TestGraph graph(std::string_view text, const ModuleFactory& factory);
/// The same with modules that are constructed from their name.
template <typename Module>
TestGraph graphOf(std::string_view text) {
  return graph(text, [](const std::string& name) { return std::make_shared<Module>(name); });
}

/// Writes a graph so that two graphs that differ in a list, a flag or an insert information print
/// differently, and that graph(text(g)) prints the same as g. Chains of links begin at the module
/// that was made first. A link to a module outside of the graph prints as "?", which graph()
/// refuses.
std::string text(const TestGraph& graph);
/// The links alone, without flags, chains and marks.
std::string linkText(const TestGraph& graph);
/// The flags and marks of one module, as in its brackets: "active,frozen"; "" for a new module's.
std::string marksText(const ApplyModule& module);

/// The identifier of a chain; "main" is the invalid one. Throws std::invalid_argument for a name
/// that is none.
Identifier chain(std::string_view name);
std::string chainName(const Identifier& id);

}  // namespace Tessaril::TestSupport
