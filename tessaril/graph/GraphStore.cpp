#include <utility>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/AddressNumbers.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/module/LinkEdits.h"
#include "tessaril/module/LiveLinks.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ObjectLookup.h"

namespace Tessaril {
namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;

/// Finds the starts of graphs as ApplyGraph::getStart() does, each way to one only once, however
/// many modules on it are asked for. Requires: no links are edited meanwhile.
class GraphStarts {
 public:
  std::shared_ptr<const ApplyModule> of(std::shared_ptr<const ApplyModule> module) {
    const std::size_t known = startNumbers.size();
    std::size_t start = starts.size();
    for (;;) {
      const auto [number, isNew] = modules.add(module.get());
      if (number < known) {
        start = startNumbers[number];
        break;
      }
      std::shared_ptr<const ApplyModule> previous = firstLive(module->getPreviousApplyModules());
      // A circle, of which no operation makes sense, has its start where it was entered.
      if (previous == nullptr || !isNew) {
        starts.push_back(std::move(module));
        break;
      }
      module = std::move(previous);
    }
    startNumbers.resize(modules.size(), start);
    return starts[start];
  }

 private:
  static std::shared_ptr<const ApplyModule> firstLive(const Links& links) {
    for (const auto& link : links) {
      if (auto module = link.lock()) {
        return module;
      }
    }
    return nullptr;
  }

  /// The modules from which the start is known.
  AddressNumbers modules;
  /// By the numbers of the modules.
  std::vector<std::size_t> startNumbers;
  std::vector<std::shared_ptr<const ApplyModule>> starts;
};

std::vector<Path> pathsOf(const Links& links) {
  std::vector<Path> paths;
  paths.reserve(links.size());
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

void replaceLinks(LinkList& links, const Object& root, const std::vector<Path>& paths) {
  links.clear();
  links.reserve(paths.size());
  for (const Path& path : paths) {
    if (const std::shared_ptr<ApplyModule> module = findModule(root, path)) {
      links.add(module);
    }
  }
}

}  // namespace

void ApplyGraph::storeApplyGraph(std::shared_ptr<const Object> /*object*/,
                                 const std::vector<std::shared_ptr<const ApplyModule>>& modules,
                                 std::vector<ApplyModuleData>& data) {
  GraphStarts starts;
  std::shared_ptr<const ApplyModule> lastStart;
  for (const std::shared_ptr<const ApplyModule>& module : modules) {
    if (module == nullptr) {
      continue;
    }
    std::shared_ptr<const ApplyModule> start = starts.of(module);
    if (start == lastStart) {
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
    module->settleLinks();
    replaceLinks(module->previousApplyModules, *root, record.previousPaths);
    replaceLinks(module->nextApplyModules, *root, record.nextPaths);
    LinkEdits::add();
    module->setStartOfSideChain(record.startOfSideChain);
  }
}

}  // namespace Tessaril
