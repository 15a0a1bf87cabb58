#include "fuzz/StoredDesign.h"

#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril::Fuzz {
namespace {

void collectModules(const std::shared_ptr<Object>& object,
                    std::vector<std::shared_ptr<ApplyModule>>& modules) {
  if (auto module = std::dynamic_pointer_cast<ApplyModule>(object)) {
    modules.push_back(std::move(module));
  }
  for (const std::shared_ptr<Object>& child : object->getChildren()) {
    collectModules(child, modules);
  }
}

}  // namespace

std::string saveDesign(const StoredDesign& design) {
  PersistenceArchiver archiver;
  archiver.writeShared(design.root);
  writeContainer(archiver, design.links);
  for (const std::shared_ptr<ApplyModule>& module : design.marked) {
    archiver.writeShared(module);
  }
  return archiver.finish();
}

StoredDesign openDesign(const std::string& bytes) {
  PersistenceArchiver archiver(bytes);
  StoredDesign design;
  design.root = archiver.readShared<Object>();
  readContainer(archiver, design.links);
  for (std::shared_ptr<ApplyModule>& module : design.marked) {
    module = archiver.readShared<ApplyModule>();
  }
  archiver.requireEnd();
  if (design.root != nullptr && design.root->getParent() != nullptr) {
    throw ArchiveException("The root of the design has a parent");
  }
  return design;
}

std::vector<std::shared_ptr<ApplyModule>> modulesOf(const StoredDesign& design) {
  std::vector<std::shared_ptr<ApplyModule>> modules;
  if (design.root != nullptr) {
    collectModules(design.root, modules);
  }
  return modules;
}

}  // namespace Tessaril::Fuzz
