#include <utility>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/module/LinkEdits.h"
#include "tessaril/module/LiveLinks.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ObjectLookup.h"

namespace Tessaril {
namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;

std::vector<Path> pathsOf(const Links& links) {
  std::vector<Path> paths;
  forEachLive(links, [&paths](const std::shared_ptr<ApplyModule>& module) {
    if (const auto* object = dynamic_cast<const Object*>(module.get())) {
      paths.push_back(object->getPath(RequestedPathType::Absolute));
    }
  });
  return paths;
}

ApplyModuleData recordOf(const ApplyModule& module) {
  ApplyModuleData record;
  record.path = dynamic_cast<const Object&>(module).getPath(RequestedPathType::Absolute);
  record.previousPaths = pathsOf(module.getPreviousApplyModules());
  record.nextPaths = pathsOf(module.getNextApplyModules());
  record.startOfSideChain = module.isStartOfSideChain();
  return record;
}

std::shared_ptr<ApplyModule> findModule(const Object& root, const Path& path) {
  return getObjectAs<ApplyModule>(root, path, GetObjectBehavior::ReturnNull);
}

void replaceLinks(Links& links, const Object& root, const std::vector<Path>& paths) {
  links.clear();
  for (const Path& path : paths) {
    if (const std::shared_ptr<ApplyModule> module = findModule(root, path)) {
      links.push_back(module);
    }
  }
}

}  // namespace

void ApplyGraph::storeApplyGraph(std::shared_ptr<const Object> /*object*/,
                                 const std::vector<std::shared_ptr<const ApplyModule>>& modules,
                                 std::vector<ApplyModuleData>& data) {
  std::shared_ptr<const ApplyModule> lastStart;
  for (const std::shared_ptr<const ApplyModule>& module : modules) {
    std::shared_ptr<const ApplyModule> start = getStartConst(module);
    if (start == nullptr || start == lastStart) {
      continue;
    }
    start->forThisAndAllFollowingModules([&data](const ApplyModule& node) {
      data.push_back(recordOf(node));
      return true;
    });
    lastStart = std::move(start);
  }
}

void ApplyGraph::restoreApplyGraph(std::shared_ptr<const Object> root,
                                   const std::vector<ApplyModuleData>& data) {
  for (const ApplyModuleData& record : data) {
    const std::shared_ptr<ApplyModule> module = findModule(*root, record.path);
    if (module == nullptr) {
      continue;
    }
    replaceLinks(module->previousApplyModules, *root, record.previousPaths);
    replaceLinks(module->nextApplyModules, *root, record.nextPaths);
    LinkEdits::add();
    module->setStartOfSideChain(record.startOfSideChain);
  }
}

}  // namespace Tessaril
