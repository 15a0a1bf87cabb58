#include <memory>
#include <string>

#include "bench/instructions/Design.h"
#include "bench/instructions/Item.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril::Bench {

namespace {

constexpr std::size_t kModules = 10'000;

using Links = std::vector<ApplyModuleData>;

DesignPtr storedDesign() { return std::make_shared<const Design>(sideChains(kModules)); }

void store(const Design& design, Links& links) {
  ApplyGraph::storeApplyGraph(design.root, {design.start()}, links);
}

Work storeLinks() {
  const auto design = storedDesign();
  const auto links = std::make_shared<Links>();
  return {[=] { store(*design, *links); }, [=] { return links->size(); }};
}

/// The modules have no links before.
Work restoreLinks() {
  const auto links = std::make_shared<Links>();
  store(*storedDesign(), *links);
  const auto design = std::make_shared<const Design>(kModules);
  return {[=] { ApplyGraph::restoreApplyGraph(design->root, *links); },
          [=] {
            return 1 + design->count([](const StepModule& step) {
              return step.getPreviousApplyModules().size() == 1;
            });
          }};
}

std::string saved(const Design& design) {
  Links links;
  store(design, links);
  PersistenceArchiver archiver;
  archiver.writeShared(design.root);
  writeContainer(archiver, links);
  return archiver.finish();
}

std::shared_ptr<Object> opened(const std::string& bytes) {
  PersistenceArchiver archiver(bytes);
  auto root = archiver.readShared<Object>();
  Links links;
  readContainer(archiver, links);
  archiver.requireEnd();
  ApplyGraph::restoreApplyGraph(root, links);
  return root;
}

std::size_t modulesBelow(const std::shared_ptr<Object>& root) {
  return root == nullptr ? 0 : root->getChildren().size();
}

Work save() {
  const auto design = storedDesign();
  const auto bytes = std::make_shared<std::string>();
  return {[=] { *bytes = saved(*design); }, [=] { return modulesBelow(opened(*bytes)); }};
}

Work open() {
  const auto bytes = std::make_shared<const std::string>(saved(*storedDesign()));
  const auto root = std::make_shared<std::shared_ptr<Object>>();
  return {[=] { *root = opened(*bytes); }, [=] { return modulesBelow(*root); }};
}

}  // namespace

std::vector<Item> storeItems() {
  return {
      {"store-links", kModules, storeLinks},
      {"restore-links", kModules, restoreLinks},
      {"save", kModules, save},
      {"open", kModules, open},
  };
}

}  // namespace Tessaril::Bench
