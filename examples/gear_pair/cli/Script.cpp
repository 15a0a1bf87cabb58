#include "examples/gear_pair/cli/Script.h"

#include <algorithm>
#include <fstream>
#include <ostream>

#include "examples/gear_pair/application/KeyFigures.h"
#include "examples/gear_pair/application/ToothFormCache.h"
#include "examples/gear_pair/calculation/TextTools.h"
#include "examples/gear_pair/cli/ClassList.h"
#include "examples/gear_pair/cli/ModuleTable.h"
#include "examples/gear_pair/cli/ProgressView.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "tessaril/graph/ApplyGraph.h"

namespace GearPair {

namespace {

constexpr int kRefused = 2;
constexpr const char* kNoFileToSaveTo =
    "there is no file to save to: the design was not opened from a saved one; use --save-as FILE";

std::shared_ptr<Tessaril::ThreadManager> makeThreads(std::size_t count) {
  if (count == 0) {
    return nullptr;
  }
  return std::make_shared<Tessaril::ReferencePlatform::WorkerPoolThreadManager>(count);
}

UnitSystem readUnitSystem(const std::string& word) {
  if (word == "metric") {
    return UnitSystem::kMetric;
  }
  if (word == "us") {
    return UnitSystem::kUsCustomary;
  }
  throw UsageError("there is no unit system " + inQuotes(word) + "; choose metric or us");
}

bool namesModule(Action action) {
  return action == Action::kUpTo || (action >= Action::kFreeze && action <= Action::kUnskip);
}

void writeFile(const std::string& fileName, const std::string& text) {
  std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file) {
    throw OutputError("cannot write " + inQuotes(fileName) +
                      "; is there such a folder, and may you write there?");
  }
}

std::string cacheText(const ToothFormCache& cache) {
  return "Tooth forms in the last update: " + std::to_string(cache.getMisses()) + " computed, " +
         std::to_string(cache.getHits()) + " found in its cache.";
}

}  // namespace

Script::Script(const Arguments& parsed, const OpenedDesign& opened, Console where)
    : arguments(parsed),
      console(where),
      session(opened, makeThreads(parsed.threads)),
      firstClasses(opened.classes),
      announcesSteps(std::count_if(parsed.steps.begin(), parsed.steps.end(), [](const Step& step) {
                       return step.action < Action::kTable;
                     }) > 1) {}

int Script::run() {
  check();
  showClasses(firstClasses);
  for (const Step& step : arguments.steps) {
    carryOut(step);
  }
  return wasRefused ? kRefused : exitCode;
}

// Whoever mistypes the last step does not want to find out after the first ones.
void Script::check() const {
  DesignInput input = session.design()->getValues().input;
  for (const Step& step : arguments.steps) {
    if (step.action == Action::kSet) {
      setValue(input, step.argument);
    } else if (step.action == Action::kSetUnitSystem) {
      readUnitSystem(step.argument);
    } else if (namesModule(step.action)) {
      moduleOf(step);
    }
  }
  checkHistory();
  checkFiles();
}

void Script::checkHistory() const {
  int done = 0;
  int undone = 0;
  for (const Step& step : arguments.steps) {
    if (step.action == Action::kOpen) {
      done = 0;
      undone = 0;
    } else if (step.action == Action::kUndo) {
      --done;
      ++undone;
    } else if (step.action == Action::kRedo) {
      ++done;
      --undone;
    } else if (step.action < Action::kTable) {
      ++done;
      undone = 0;
    }
    if (done < 0 || undone < 0) {
      throw UsageError(std::string("there is nothing to ") + (done < 0 ? "undo" : "redo") +
                       " where the steps say so");
    }
  }
}

// Whether an opened file is one to save to shows only when it is opened.
void Script::checkFiles() const {
  bool mayHaveFile = !session.getFile().empty();
  for (const Step& step : arguments.steps) {
    mayHaveFile |= step.action == Action::kOpen || step.action == Action::kSaveAs;
    if (step.action == Action::kSave && !mayHaveFile) {
      throw UsageError(kNoFileToSaveTo);
    }
  }
}

std::shared_ptr<DesignModule> Script::moduleOf(const Step& step) const {
  auto module = session.design()->findModule(step.argument);
  if (module != nullptr) {
    return module;
  }
  std::vector<std::string> names;
  for (const auto& known : session.design()->getModules()) {
    names.push_back(known->getName());
  }
  throw UsageError("there is no module " + inQuotes(step.argument) + "; choose " +
                   enumerated(names, "or"));
}

void Script::carryOut(const Step& step) {
  switch (step.action) {
    case Action::kUpdate:
      update(session.design()->report());
      break;
    case Action::kUpTo:
      update(moduleOf(step));
      break;
    case Action::kOpen:
      open(step);
      break;
    case Action::kUndo:
      undo();
      break;
    case Action::kRedo:
      redo();
      break;
    default:
      step.action < Action::kUpdate ? change(step) : write(step);
      break;
  }
}

void Script::announce(const std::string& description) {
  if (announcesSteps) {
    console.out << "* " << description << std::endl;
  }
}

void Script::open(const Step& step) {
  announce("Open " + excerpt(step.argument));
  try {
    showClasses(session.open(step.argument));
    lastUpdate.reset();
    mustNameFile = false;
  } catch (const std::runtime_error& e) {
    complain(e.what());
    console.out << "The design that is open stays as it is." << std::endl;
    wasRefused = true;
    mustNameFile = true;
  }
}

void Script::showClasses(const std::vector<Tessaril::ArchivedClass>& classes) {
  if (!classes.empty()) {
    console.out << classList(classes, console.width) << std::flush;
  }
}

void Script::save(const Step& step) {
  if (step.action == Action::kSaveAs) {
    announce("Save as " + excerpt(step.argument));
    session.saveAs(step.argument);
    mustNameFile = false;
    return;
  }
  if (mustNameFile) {
    throw UsageError("a design was refused before; name the file to save to with --save-as FILE");
  }
  if (session.getFile().empty()) {
    throw UsageError(kNoFileToSaveTo);
  }
  announce("Save " + excerpt(session.getFile().string()));
  session.save();
}

void Script::change(const Step& step) {
  switch (step.action) {
    case Action::kSet:
      session.set(step.argument);
      break;
    case Action::kSetUnitSystem:
      session.setUnitSystem(readUnitSystem(step.argument));
      break;
    case Action::kFreeze:
    case Action::kUnfreeze:
      session.setFlag(moduleOf(step), ModuleFlag::kFrozen, step.action == Action::kFreeze);
      break;
    default:
      session.setFlag(moduleOf(step), ModuleFlag::kSkipped, step.action == Action::kSkip);
      break;
  }
  announce(session.getLastDescription());
}

void Script::update(const std::shared_ptr<DesignModule>& end) {
  const auto update = session.makeUpdate(end, arguments.horizon);
  announce(update->getDescription());
  ProgressView view(*update, console.error, console.errorIsTerminal);
  session.run(update);
  lastUpdate = update;
  const std::string problem = whyNotMade(*update, *end);
  view.finish(!problem.empty());
  exitCode = problem.empty() ? 0 : 1;
  if (!problem.empty()) {
    complain(problem);
  }
}

std::string Script::whyNotMade(const UpdateDesignCmd& update, const DesignModule& end) const {
  for (const StepEvent& event : update.getEvents()) {
    if (!event.failure.empty()) {
      return event.module->getTitle() + " failed: " + event.failure;
    }
  }
  for (const auto& module : session.design()->getModules()) {
    if (!end.hasAsAncestor(*module) || module->offersUsableResult()) {
      continue;
    }
    const std::string reason = module->isSkipped()  ? " is skipped"
                               : module->isFrozen() ? " is frozen without a result"
                                                    : " is not up to date";
    return end.getTitle() + " cannot be made: the " + module->getName() + reason + ".";
  }
  return {};
}

void Script::undo() { console.out << "* Undo: " << session.undo() << std::endl; }

void Script::redo() { console.out << "* Redo: " << session.redo() << std::endl; }

void Script::write(const Step& step) {
  const GearPairDesign& design = *session.design();
  switch (step.action) {
    case Action::kTable:
      writeTable();
      break;
    case Action::kFigures:
      console.out << keyFigures(design) << std::flush;
      break;
    case Action::kSay:
      console.out << step.argument << std::endl;
      break;
    case Action::kReport:
      writeText(step, *design.report(), design.report()->getResult());
      break;
    case Action::kPlan:
      writeText(step, *design.plan(), design.plan()->getResult());
      break;
    case Action::kDrawing:
      writeText(step, *design.drawing(), design.drawing()->getResult());
      break;
    case Action::kCutter:
      writeCutter(step);
      break;
    case Action::kSave:
    case Action::kSaveAs:
      save(step);
      break;
    default:
      // The library does not report a file that it cannot write, so it is tried first.
      writeFile(step.argument, {});
      Tessaril::ApplyGraph::write(design.start(), step.argument);
      break;
  }
}

void Script::writeCutter(const Step& step) {
  const CutterModule& cutter = *session.design()->cutter();
  const auto sheet = cutter.getResult();
  writeText(step, cutter,
            sheet == nullptr ? nullptr : std::make_shared<const std::string>(sheet->drawing));
  if (sheet != nullptr) {
    console.out << "Cutter, used for\n" << sheet->gearsCut << std::flush;
  }
}

void Script::writeTable() {
  console.out << moduleTable(*session.design(), session.getAccount(), console.width);
  if (lastUpdate != nullptr && lastUpdate->getCache().getMisses() > 0) {
    console.out << cacheText(lastUpdate->getCache()) << "\n";
  }
  console.out << std::flush;
}

void Script::writeText(const Step& step, const DesignModule& module,
                       const std::shared_ptr<const std::string>& text) {
  if (text == nullptr) {
    exitCode = 1;
    complain("There is no " + module.getName() + " to write: it has not been computed.");
    return;
  }
  if (!module.isDependencyGraphConsistent()) {
    complain("The " + module.getName() + " is out of date: it shows the design as it was.");
  }
  if (step.argument == "-") {
    console.out << *text << std::flush;
  } else {
    writeFile(step.argument, *text);
  }
}

void Script::complain(const std::string& sentence) {
  console.error << "gear_pair: " << sentence << std::endl;
}

}  // namespace GearPair
