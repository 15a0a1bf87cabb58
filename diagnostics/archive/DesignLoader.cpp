#include "diagnostics/archive/DesignLoader.h"

#include <dlfcn.h>

#include <algorithm>
#include <stdexcept>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril::Diagnostics {
namespace {

PathTarget targetOf(const Object& root, const Path& path) {
  const std::shared_ptr<Object> object = root.getObject(path, GetObjectBehavior::ReturnNull);
  if (object == nullptr) {
    return PathTarget::Nothing;
  }
  return std::dynamic_pointer_cast<ApplyModule>(object) != nullptr ? PathTarget::Module
                                                                   : PathTarget::OtherObject;
}

std::size_t resolvedRecords(const Object& root, const std::vector<ApplyModuleData>& links) {
  return static_cast<std::size_t>(
      std::count_if(links.begin(), links.end(), [&root](const ApplyModuleData& record) {
        return targetOf(root, record.path) == PathTarget::Module;
      }));
}

/// A design may have been saved from below the root of its tree, whose name does not count.
std::shared_ptr<Object> rootFor(const std::shared_ptr<Object>& design,
                                const std::vector<ApplyModuleData>& links) {
  auto above = std::make_shared<Object>("root");
  above->addChild(design);
  const std::size_t fromAbove = resolvedRecords(*above, links);
  above->removeChild(*design);
  if (fromAbove <= resolvedRecords(*design, links)) {
    return design;
  }
  above->addChild(design);
  return above;
}

void gatherModules(const std::shared_ptr<Object>& object,
                   std::vector<std::shared_ptr<ApplyModule>>& modules) {
  if (auto module = std::dynamic_pointer_cast<ApplyModule>(object)) {
    modules.push_back(std::move(module));
  }
  for (const std::shared_ptr<Object>& child : object->getChildren()) {
    gatherModules(child, modules);
  }
}

}  // namespace

void loadApplicationLibrary(const std::filesystem::path& library) {
  // A name without a slash would be looked for among the libraries of the system.
  const std::filesystem::path file = std::filesystem::absolute(library);
  if (dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
    const char* const why = dlerror();
    throw std::runtime_error(why != nullptr ? why : file.string() + ": cannot be opened");
  }
}

LoadedDesign loadDesign(const std::string& bytes) {
  PersistenceArchiver archiver(bytes);
  LoadedDesign loaded;
  loaded.design = archiver.readShared<Object>();
  if (loaded.design == nullptr || loaded.design->getParent() != nullptr) {
    throw ArchiveException("byte 20: there is no design");
  }
  readContainer(archiver, loaded.links);
  loaded.treeRoot = rootFor(loaded.design, loaded.links);
  ApplyGraph::restoreApplyGraph(loaded.treeRoot, loaded.links);
  gatherModules(loaded.treeRoot, loaded.modules);
  return loaded;
}

std::vector<DroppedLink> droppedLinks(const LoadedDesign& loaded) {
  return droppedLinks(loaded.links,
                      [&loaded](const Path& path) { return targetOf(*loaded.treeRoot, path); });
}

}  // namespace Tessaril::Diagnostics
