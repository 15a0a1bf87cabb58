#include "bench/DesignTree.h"

#include <utility>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril::Bench {

namespace {

const Identifier kMainFork(0, 7);

std::shared_ptr<NumberedModule> makeStep(Number number) {
  auto step = std::make_shared<DesignStep>(number);
  step->setActive(true, false);
  step->setConsistent(number % 2 == 0, false);
  step->setInputIsOk(number % 3 != 0, false);
  step->value = number;
  if (number % 10 == 0) {
    step->setStartSideChainInsertMode(Identifier(number + 1, 1), kMainFork);
  }
  return step;
}

[[maybe_unused]] const bool kStepIsKnown = registerBaseClass<Object, DesignStep>();

}  // namespace

DesignStep::DesignStep(Number stepNumber)
    : NumberedModule(stepNumber), Object("step " + std::to_string(stepNumber)) {}

void DesignStep::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<DesignStep>(
      "Bench.DesignStep", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<DesignStep*>(target.object)->load(archiver);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const DesignStep*>(source.object)->save(archiver);
      });
}

void DesignStep::save(PersistenceArchiver& archiver) const {
  writeNested<Object>(archiver, *this);
  writeNested<ApplyModule>(archiver, *this);
  archiver << value;
}

void DesignStep::load(PersistenceArchiver& archiver) {
  readNested<Object>(archiver, *this);
  readNested<ApplyModule>(archiver, *this);
  archiver >> value;
}

std::shared_ptr<Object> plant(const std::vector<std::shared_ptr<Object>>& steps,
                              std::size_t stepsInGroup) {
  const auto root = std::make_shared<Object>("design");
  std::shared_ptr<Object> parent = root;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (stepsInGroup != 0 && i % stepsInGroup == 0) {
      parent = std::make_shared<Object>("group " + std::to_string(i / stepsInGroup));
      root->addChild(parent);
    }
    parent->addChild(steps[i]);
  }
  return root;
}

DesignTree::DesignTree(const Shape& shape, std::size_t stepsInGroup) : modules(shape, makeStep) {
  std::vector<std::shared_ptr<Object>> steps;
  for (Number i = 0; i < modules.size(); ++i) {
    steps.push_back(std::dynamic_pointer_cast<Object>(modules[i]));
  }
  rootObject = plant(steps, stepsInGroup);
  ApplyGraph::storeApplyGraph(rootObject, {modules.start()}, storedLinks);
}

std::vector<Path> DesignTree::paths() const {
  std::vector<Path> paths;
  for (Number i = 0; i < modules.size(); ++i) {
    paths.push_back(dynamic_cast<const Object&>(*modules[i]).getPath(RequestedPathType::Absolute));
  }
  return paths;
}

std::string saveDesign(const std::shared_ptr<Object>& root,
                       const std::vector<ApplyModuleData>& links) {
  PersistenceArchiver archiver;
  archiver.writeShared(root);
  writeContainer(archiver, links);
  return archiver.finish();
}

OpenedDesign openDesign(const std::string& archive) {
  PersistenceArchiver archiver(archive);
  OpenedDesign opened;
  opened.root = archiver.readShared<Object>();
  readContainer(archiver, opened.links);
  archiver.requireEnd();
  return opened;
}

}  // namespace Tessaril::Bench
