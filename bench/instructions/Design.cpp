#include "bench/instructions/Design.h"

#include <algorithm>
#include <random>

#include "tessaril/commands/ApplyCommand.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril::Bench {

namespace {

class StepCommand : public ApplyCommand {
 public:
  explicit StepCommand(StepModule& commandedModule)
      : ApplyCommand("Apply step"), module(commandedModule) {}

  void doExecute(ApplyUpdateInfo& /*info*/) override { ++module.applied; }
  void doUndo(ApplyUpdateInfo& /*info*/) override { --module.applied; }
  UndoType getUndoType() override { return module.undoneFirst ? StorageUndo : DependentUndo; }

 private:
  StepModule& module;
};

[[maybe_unused]] const bool kStepModuleIsKnown =
    registerBaseClass<Object, StepModule>() && registerBaseClass<ApplyModule, StepModule>();

}  // namespace

StepModule::StepModule(const std::string& name) : Object(name) {}
StepModule::~StepModule() = default;

bool StepModule::isApplyNecessary(bool /*isEndModule*/) const {
  ++questions;
  return needsApply;
}

bool StepModule::isApplyPossible() const { return true; }

void StepModule::sendStateChangeSignal() const {
  ++signals;
  ApplyModule::sendStateChangeSignal();
}

std::shared_ptr<CommandBase> StepModule::createApplyCommand(std::shared_ptr<Object> /*object*/) {
  return std::make_shared<StepCommand>(*this);
}

std::shared_ptr<CommandBase> StepModule::createAutoApplyCommand(std::shared_ptr<Object> /*object*/,
                                                                bool /*mayRunAlone*/) {
  return std::make_shared<StepCommand>(*this);
}

void StepModule::onApplyGraphChanged() { ++graphChanges; }

void StepModule::serialization_register(void* descriptor) {
  *static_cast<BaseClassRegister*>(descriptor) = *registerClass<StepModule>(
      "Measured.Step", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<StepModule*>(target.object)->load(archiver);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const StepModule*>(source.object)->save(archiver);
      });
}

void StepModule::save(PersistenceArchiver& archiver) const {
  writeNested<Object>(archiver, *this);
  writeNested<ApplyModule>(archiver, *this);
}

void StepModule::load(PersistenceArchiver& archiver) {
  readNested<Object>(archiver, *this);
  readNested<ApplyModule>(archiver, *this);
}

Design::Design(std::size_t stepCount) : steps(stepCount) {
  std::mt19937_64 random(stepCount);
  for (const Number number : shuffled(stepCount)) {
    steps[number] = std::make_shared<StepModule>("step" + std::to_string(number));
    fillers.push_back(std::make_unique<std::byte[]>(16 + random() % 256));
  }
  for (const auto& step : steps) {
    root->addChild(step);
  }
}

Design::Design(const Shape& shape) : Design(shape.modules) {
  endNumber = shape.end;
  link(shape);
}

// As stored links, which are the only ones that a whole graph takes at once.
void Design::link(const Shape& shape) {
  std::vector<ApplyModuleData> links(shape.modules);
  for (std::size_t number = 0; number < shape.modules; ++number) {
    links[number].path = steps[number]->getPath(root.get(), RequestedPathType::Absolute);
  }
  for (const auto& [from, to] : shape.links) {
    links[from].nextPaths.push_back(links[to].path);
    links[to].previousPaths.push_back(links[from].path);
  }
  for (const Number sideStart : shape.sideChainStarts) {
    links[sideStart].startOfSideChain = true;
  }
  ApplyGraph::restoreApplyGraph(root, links);
}

std::size_t Design::count(const std::function<bool(const StepModule&)>& condition) const {
  return static_cast<std::size_t>(std::count_if(
      steps.begin(), steps.end(), [&](const auto& step) { return condition(*step); }));
}

}  // namespace Tessaril::Bench
