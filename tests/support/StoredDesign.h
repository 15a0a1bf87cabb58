#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tests/support/GraphText.h"

namespace Tessaril {
class PersistenceArchiver;
}

namespace Tessaril::TestSupport {

/// A module of the parameter tree that an archive can hold: registered as "Test.StoredModule",
/// version 1, with its Object part, its ApplyModule part and a note of its own.
class StoredModule : public ApplyModule, public Object {
 public:
  explicit StoredModule(const std::string& name = "module");
  ~StoredModule() override;

  std::string note;

  static void serialization_register(void* descriptor);

 private:
  void save(PersistenceArchiver& archiver) const;
  void load(PersistenceArchiver& archiver);
};

/// The objects of a tree and the links of their modules. A design is stored as its root, with
/// everything below, and the records of its links behind it.
struct StoredDesign {
  std::shared_ptr<Object> root;
  /// The modules directly below the root.
  TestGraph graph;
};

/// Plants the modules of a graph below a new root, in the order in which they were made.
StoredDesign plant(TestGraph graph, const std::string& rootName = "design");
/// The bytes of an archive with the whole design.
std::string save(const StoredDesign& design);
StoredDesign open(const std::string& archive);

/// The modules of a graph as ApplyGraph::storeApplyGraph() takes them.
std::vector<std::shared_ptr<const ApplyModule>> constModules(const TestGraph& graph);
/// What ApplyGraph::storeApplyGraph() stores of all modules of a graph.
std::vector<ApplyModuleData> storedLinks(const TestGraph& graph);
/// The bytes of an archive with the ApplyModule record of every module, whatever its class, and the
/// records of their links. Requires: the modules are objects.
std::string storedBytes(const TestGraph& graph);

}  // namespace Tessaril::TestSupport
