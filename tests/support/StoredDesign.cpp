#include "tests/support/StoredDesign.h"

#include <utility>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril::TestSupport {

StoredModule::StoredModule(const std::string& name) : Object(name) {}
StoredModule::~StoredModule() = default;

void StoredModule::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<StoredModule>(
      "Test.StoredModule", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<StoredModule*>(target.object)->load(archiver);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const StoredModule*>(source.object)->save(archiver);
      });
}

void StoredModule::save(PersistenceArchiver& archiver) const {
  writeNested<Object>(archiver, *this);
  writeNested<ApplyModule>(archiver, *this);
  archiver << note;
}

void StoredModule::load(PersistenceArchiver& archiver) {
  readNested<Object>(archiver, *this);
  readNested<ApplyModule>(archiver, *this);
  archiver >> note;
}

namespace {

[[maybe_unused]] const bool kStoredModuleIsKnown =
    registerBaseClass<Object, StoredModule>() && registerBaseClass<ApplyModule, StoredModule>();

}  // namespace

StoredDesign plant(TestGraph graph, const std::string& rootName) {
  StoredDesign design{std::make_shared<Object>(rootName), std::move(graph)};
  for (const auto& member : design.graph) {
    design.root->addChild(std::dynamic_pointer_cast<Object>(member.module));
  }
  return design;
}

std::string save(const StoredDesign& design) {
  PersistenceArchiver archiver;
  archiver.writeShared(design.root);
  writeContainer(archiver, storedLinks(design.graph));
  return archiver.finish();
}

StoredDesign open(const std::string& archive) {
  PersistenceArchiver archiver(archive);
  StoredDesign design;
  design.root = archiver.readShared<Object>();
  std::vector<ApplyModuleData> links;
  readContainer(archiver, links);
  archiver.requireEnd();
  ApplyGraph::restoreApplyGraph(design.root, links);
  for (const auto& child : design.root->getChildren()) {
    if (auto module = std::dynamic_pointer_cast<ApplyModule>(child)) {
      design.graph.add(child->getName(), std::move(module));
    }
  }
  return design;
}

std::vector<std::shared_ptr<const ApplyModule>> constModules(const TestGraph& graph) {
  std::vector<std::shared_ptr<const ApplyModule>> modules;
  for (const auto& member : graph) {
    modules.push_back(member.module);
  }
  return modules;
}

std::vector<ApplyModuleData> storedLinks(const TestGraph& graph) {
  std::vector<ApplyModuleData> links;
  ApplyGraph::storeApplyGraph(nullptr, constModules(graph), links);
  return links;
}

std::string storedBytes(const TestGraph& graph) {
  PersistenceArchiver archiver;
  for (const auto& member : graph) {
    writeNested(archiver, *member.module);
  }
  writeContainer(archiver, storedLinks(graph));
  return archiver.finish();
}

}  // namespace Tessaril::TestSupport
