#include "examples/gear_pair/application/GearPairDesign.h"

#include "examples/gear_pair/application/commands/StepCmdFactory.h"
#include "examples/gear_pair/calculation/TextTools.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace GearPair {

namespace {

using Tessaril::ApplyGraph;
using Tessaril::Identifier;
using Tessaril::PersistenceArchiver;
using UndoBy = StepCmdFactory::UndoBy;

// The invalid identifier names the main chain; the others are ours and stay the same for ever, so
// that stored designs find their chains.
const Identifier kMainChain;
constexpr Identifier kWheelChain{0x6ea2'9a1f'0000'4000, 0x8000'0000'0000'0001};
constexpr Identifier kCutterChain{0x6ea2'9a1f'0000'4000, 0x8000'0000'0000'0002};
constexpr Identifier kDrawingChain{0x6ea2'9a1f'0000'4000, 0x8000'0000'0000'0003};

DesignModule& asModule(Tessaril::Object& child) { return dynamic_cast<DesignModule&>(child); }

void makeStepsOf(const std::shared_ptr<DesignModule>& module, UndoBy undoBy) {
  module->setApplyCmdFactory(std::make_shared<StepCmdFactory>(module, undoBy));
}

void makeTeethOf(const std::shared_ptr<ToothModule>& module) {
  module->setApplyCmdFactory(std::make_shared<ToothCmdFactory>(module));
}

}  // namespace

std::string unitSystemName(UnitSystem units) {
  return units == UnitSystem::kMetric ? "metric" : "US customary";
}

std::shared_ptr<GearPairDesign> GearPairDesign::create(const DesignInput& input) {
  return make(input);
}

std::unique_ptr<GearPairDesign> GearPairDesign::make(const DesignInput& input) {
  std::unique_ptr<GearPairDesign> design(new GearPairDesign(input));
  design->setUpModules();
  design->setUpGraph();
  design->refresh();
  return design;
}

GearPairDesign::GearPairDesign(const DesignInput& input)
    : Object("design"),
      values(std::make_shared<DesignValues>(DesignValues{input, UnitSystem::kMetric})),
      requirementsModule(std::make_shared<RequirementsModule>(values)),
      pinionModule(std::make_shared<ToothModule>(Member::kPinion, requirementsModule)),
      wheelModule(std::make_shared<ToothModule>(Member::kWheel, requirementsModule)),
      meshModule(std::make_shared<MeshModule>(requirementsModule, pinionModule, wheelModule)),
      strengthModule(std::make_shared<StrengthModule>(values, pair())),
      reportModule(std::make_shared<ReportModule>(values, pair(), strengthModule)),
      cutterModule(std::make_shared<CutterModule>(requirementsModule)),
      drawingModule(std::make_shared<DrawingModule>(values, pair())),
      planModule(
          std::make_shared<PlanModule>(values, requirementsModule, pinionModule, wheelModule)) {}

PairModules GearPairDesign::pair() const {
  return {requirementsModule, pinionModule, wheelModule, meshModule};
}

void GearPairDesign::setUpModules() {
  for (const std::shared_ptr<DesignModule>& module :
       {start(), std::shared_ptr<DesignModule>(pinionModule),
        std::shared_ptr<DesignModule>(wheelModule), std::shared_ptr<DesignModule>(meshModule),
        std::shared_ptr<DesignModule>(strengthModule), std::shared_ptr<DesignModule>(reportModule),
        std::shared_ptr<DesignModule>(cutterModule), std::shared_ptr<DesignModule>(drawingModule),
        std::shared_ptr<DesignModule>(planModule)}) {
    addChild(module);
    module->setActive(true, false);
  }
  makeStepsOf(requirementsModule, UndoBy::kStoredResult);
  makeTeethOf(pinionModule);
  makeTeethOf(wheelModule);
  makeStepsOf(meshModule, UndoBy::kRecomputing);
  makeStepsOf(strengthModule, UndoBy::kStoredResult);
  makeStepsOf(reportModule, UndoBy::kRecomputing);
  makeStepsOf(cutterModule, UndoBy::kStoredResult);
  makeStepsOf(drawingModule, UndoBy::kRecomputing);
  makeStepsOf(planModule, UndoBy::kRecomputing);
}

// Each module is told how it joins the graph, and placed by that; no link is made by hand.
void GearPairDesign::setUpGraph() {
  pinionModule->setAddToChainInsertMode(kMainChain, false);
  ApplyGraph::insertAccordingToInsertMode(pinionModule, requirementsModule);

  wheelModule->setStartForkInsertMode(kWheelChain, kMainChain);
  ApplyGraph::insertAccordingToInsertMode(wheelModule, requirementsModule);

  meshModule->setMergeForkInsertMode({kMainChain, kWheelChain}, kMainChain);
  ApplyGraph::insertAccordingToInsertMode(meshModule, {pinionModule, wheelModule}, nullptr);

  // Strength and report belong together: they are placed as one piece.
  strengthModule->setAddToChainInsertMode(kMainChain, false);
  reportModule->setAddToChainInsertMode(kMainChain, false);
  ApplyGraph::insertAccordingToInsertMode(reportModule, strengthModule);
  ApplyGraph::insertSubGraphAccordingToInsertMode(strengthModule, reportModule, meshModule);

  planModule->setAddToChainInsertMode(kMainChain, false);
  ApplyGraph::insertAccordingToInsertMode(planModule, reportModule);

  cutterModule->setStartSideChainInsertMode(kCutterChain, kMainChain);
  ApplyGraph::insertAccordingToInsertMode(cutterModule, pinionModule);

  drawingModule->setStartSideChainInsertMode(kDrawingChain, kMainChain);
  ApplyGraph::insertAccordingToInsertMode(drawingModule, meshModule);
}

const DesignValues& GearPairDesign::getValues() const { return *values; }

void GearPairDesign::setInput(const DesignInput& input) {
  values->input = input;
  refresh();
}

void GearPairDesign::setUnits(UnitSystem units) {
  values->units = units;
  refresh();
}

void GearPairDesign::refresh() {
  requirementsModule->refreshFlags();
  announce();
}

void GearPairDesign::announce() const { requirementsModule->announce(); }

const std::shared_ptr<RequirementsModule>& GearPairDesign::requirements() const {
  return requirementsModule;
}
const std::shared_ptr<ToothModule>& GearPairDesign::pinion() const { return pinionModule; }
const std::shared_ptr<ToothModule>& GearPairDesign::wheel() const { return wheelModule; }
const std::shared_ptr<MeshModule>& GearPairDesign::mesh() const { return meshModule; }
const std::shared_ptr<StrengthModule>& GearPairDesign::strength() const { return strengthModule; }
const std::shared_ptr<ReportModule>& GearPairDesign::report() const { return reportModule; }
const std::shared_ptr<CutterModule>& GearPairDesign::cutter() const { return cutterModule; }
const std::shared_ptr<DrawingModule>& GearPairDesign::drawing() const { return drawingModule; }
const std::shared_ptr<PlanModule>& GearPairDesign::plan() const { return planModule; }

std::shared_ptr<DesignModule> GearPairDesign::start() const { return requirementsModule; }

std::shared_ptr<DesignModule> GearPairDesign::findModule(std::string_view name) const {
  return std::dynamic_pointer_cast<DesignModule>(getChild(name));
}

std::vector<std::shared_ptr<DesignModule>> GearPairDesign::getModules() const {
  std::vector<std::shared_ptr<DesignModule>> modules;
  ApplyGraph::forSemanticOrderedModuleRange(
      [&modules](const std::shared_ptr<Tessaril::ApplyModule>& module) {
        modules.push_back(std::dynamic_pointer_cast<DesignModule>(module));
      },
      requirementsModule, nullptr);
  return modules;
}

std::string GearPairDesign::chainName(const DesignModule& module) {
  const Identifier& chain = module.getChainId();
  if (chain == kWheelChain) {
    return "wheel";
  }
  if (chain == kCutterChain) {
    return "cutter";
  }
  return chain == kDrawingChain ? "drawing" : "main";
}

void GearPairDesign::serialization_register(void* descriptor) {
  using Tessaril::BaseClassRegister;
  *static_cast<BaseClassRegister*>(descriptor) = *Tessaril::registerClass<GearPairDesign>(
      "GearPair.Design", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<GearPairDesign*>(target.object)->load(archiver);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const GearPairDesign*>(source.object)->save(archiver);
      },
      []() -> void* { return make({}).release(); });
}

// Every design has the same modules. So each is stored in its place and read into the one that
// stands there: none has to be made from a file, and none can be missing.
void GearPairDesign::save(PersistenceArchiver& archiver) const {
  const auto modules = getChildren();
  for (const auto& child : modules) {
    Tessaril::writeNested(archiver, asModule(*child));
  }
  ValueWriter writer(archiver);
  writer.write(*values);
  for (const auto& child : modules) {
    asModule(*child).saveRecord(writer);
  }
}

void GearPairDesign::load(PersistenceArchiver& archiver) {
  const auto modules = getChildren();
  for (const auto& child : modules) {
    const std::string name = child->getName();
    Tessaril::readNested(archiver, asModule(*child));
    if (child->getName() != name) {
      throw Tessaril::ArchiveException("a module " + inQuotes(child->getName()) +
                                       " stands in the place of the " + name);
    }
  }
  ValueReader reader(archiver);
  reader.read(*values);
  const std::string objection = objectionToLoaded(values->input);
  reader.requireThat(objection.empty(), objection);
  for (const auto& child : modules) {
    asModule(*child).loadRecord(reader);
  }
}

}  // namespace GearPair
