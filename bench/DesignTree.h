#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/ModuleGraph.h"
#include "bench/Shapes.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Bench {

/// A step of a design that is stored: a module that is an object of the parameter tree, with one
/// value of its own.
class DesignStep : public NumberedModule, public Object {
 public:
  explicit DesignStep(Number stepNumber = 0);

  double value = 0;

  static void serialization_register(void* descriptor);

 private:
  void save(PersistenceArchiver& archiver) const;
  void load(PersistenceArchiver& archiver);
};

/// A graph whose modules are in a parameter tree.
class DesignTree {
 public:
  /// So many steps stand below one object; they are all below the root for 0.
  DesignTree(const Shape& shape, std::size_t stepsInGroup);

  const std::shared_ptr<Object>& root() const { return rootObject; }
  const ModuleGraph& graph() const { return modules; }
  const std::vector<ApplyModuleData>& links() const { return storedLinks; }
  /// The paths of all steps, in the order of their numbers.
  std::vector<Path> paths() const;

 private:
  ModuleGraph modules;
  std::shared_ptr<Object> rootObject;
  std::vector<ApplyModuleData> storedLinks;
};

/// A root with the steps, whose names are unique, below it.
std::shared_ptr<Object> plant(const std::vector<std::shared_ptr<Object>>& steps,
                              std::size_t stepsInGroup);

struct OpenedDesign {
  std::shared_ptr<Object> root;
  std::vector<ApplyModuleData> links;
};

/// The bytes of an archive, which are not yet in a file.
std::string saveDesign(const std::shared_ptr<Object>& root,
                       const std::vector<ApplyModuleData>& links);
OpenedDesign openDesign(const std::string& archive);

}  // namespace Tessaril::Bench
