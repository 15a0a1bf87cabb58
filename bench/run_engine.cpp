// Updates whose modules and commands do next to nothing, and their undo.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench/Paired.h"
#include "bench/Shapes.h"
#include "bench/UpdateDesign.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"
#include "tests/support/literal/LiteralUpdate.h"

namespace Tessaril::Bench {

namespace {

using Applied = UpdateDesign::Applied;
using Others = UpdateDesign::Others;
using Events = std::vector<UpdateTrace::Entry>;
using Library = UpdateApplyModulesCmd;
using LiteralEngine = Literal::LiteralUpdate;

/// What looking at every waiting module again would take seconds or minutes for is left out.
bool isLiteralAffordable(const Shape& shape) {
  return shape.modules <= (shape.name == "starving"           ? 1'000
                           : shape.name.starts_with("random") ? 10'000
                                                              : 100'000);
}

/// Random links, and all that leads nowhere else leads to the end: without it, few modules are on
/// the way there, and the others are sub-graphs beside it.
Shape randomToEnd(std::size_t modules) {
  Shape shape = randomLinks(modules);
  shape.name = "random to one end";
  std::vector<bool> leadsOn(modules);
  for (const auto& [from, to] : shape.links) {
    leadsOn[from] = true;
  }
  for (Number number = 0; number < shape.end; ++number) {
    if (!leadsOn[number]) {
      shape.links.emplace_back(number, shape.end);
    }
  }
  return shape;
}

std::vector<Shape> allUpdatedShapes(std::size_t modules) {
  std::vector<Shape> shapes = allShapes(modules);
  shapes.push_back(randomToEnd(modules));
  return shapes;
}

Comparison comparison(const std::string& work, const Shape& shape) {
  return {.work = work, .shape = shape.name, .size = shape.modules, .contestants = {}};
}

/// Whole runs of both engines, and the bare calls that they both make.
void measureRuns(Paired& paired, Comparison measured, const Shape& shape, Applied applied,
                 Others others) {
  if (!paired.wants(measured.work, measured.shape, measured.size)) {
    return;
  }
  const UpdateDesign design(shape, applied, others);
  const Events events = design.eventsOf([&] { return design.run<Library>(); });
  measured.contestants = {{kLibrary, [&] { return design.run<Library>(); }},
                          {kFloor, [&] { return design.replay(events); }}};
  if (isLiteralAffordable(shape)) {
    measured.contestants.push_back({kLiteral, [&] { return design.run<LiteralEngine>(); }});
  }
  paired.compare(measured);
}

std::vector<Bound> boundsOfScheduling(const Shape& shape) {
  if (isLinear(shape) && shape.modules == 1'000) {
    return {{kLiteral, 0.4}};
  }
  if (shape.name == "merges" && shape.modules == 10'000) {
    return {{kLiteral, 0.2}};
  }
  if (shape.name.starts_with("random") && shape.modules == 10'000) {
    return {{kLiteral, 0.05}};
  }
  return {};
}

/// The first module is applied, what follows is passed over: in what order, is all the work.
void measureScheduling(Paired& paired, const Shape& shape) {
  Comparison signalled = comparison("update, others signalled", shape);
  signalled.bounds = boundsOfScheduling(shape);
  measureRuns(paired, signalled, shape, Applied::First, Others::Signalled);
}

/// The same with commands, which the platform logs and keeps for the undo.
void measureAutoApply(Paired& paired, const Shape& shape) {
  measureRuns(paired, comparison("update, others auto-applied", shape), shape, Applied::First,
              Others::AutoApplied);
}

void measureIdleRun(Paired& paired, const Shape& shape) {
  Comparison measured = comparison("update, nothing to do", shape);
  if (shape.modules == 100'000) {
    measured.bounds = {{"", 1'000}};
  }
  measureRuns(paired, measured, shape, Applied::Nothing, Others::WithoutCommand);
}

void measureLastApplied(Paired& paired, const Shape& shape) {
  measureRuns(paired, comparison("update, only the end applied", shape), shape, Applied::Last,
              Others::WithoutCommand);
}

// Every module is applied. Each time a command is issued, all modules from there to the end are
// asked for their speed rates, which makes such a run quadratic whoever does it.

void measureAllApplied(Paired& paired, const Shape& shape) {
  Comparison measured = comparison("update, all applied", shape);
  if (shape.name == "chain") {
    measured.bounds = {{kLiteral, 0.1}};
  }
  measureRuns(paired, measured, shape, Applied::All, Others::WithoutCommand);
}

/// The literal engine takes half a minute for a chain of 10,000: of its run only the beginning is
/// compared, the run as a whole on request.
void measureAllAppliedInLongChain(Paired& paired) {
  constexpr std::size_t kFirst = 100;
  const Shape shape = chain(10'000);
  Comparison beginning = comparison("update, all applied, the first 100", shape);
  Comparison whole = comparison("update, all applied, whole run", shape);
  if (!paired.wants(beginning.work, shape.name, shape.modules) &&
      !paired.wants(whole.work, shape.name, shape.modules)) {
    return;
  }
  const UpdateDesign design(shape, Applied::All, Others::WithoutCommand);
  const Events events = design.eventsOf([&] { return design.runFirst<Library>(kFirst); });
  beginning.units = kFirst;
  beginning.bounds = {{kLiteral, 0.1}};
  beginning.contestants = {
      {kLibrary, [&] { return design.runFirst<Library>(kFirst); }},
      {kLiteral, [&] { return design.runFirst<LiteralEngine>(kFirst); }},
      {kFloor, [&] { return design.replay(events); }},
  };
  paired.compare(beginning);

  whole.contestants = {{kLibrary, [&] { return design.run<Library>(); }}};
  if (paired.sizes().back() >= 1'000'000) {
    whole.bounds = {{kLiteral, 0.1}};
    whole.contestants.push_back({kLiteral, [&] { return design.run<LiteralEngine>(); }});
  }
  paired.compare(whole);
}

// Sub-graphs off the way to the end

/// A chain, and beside each of its modules two others that lead nowhere.
Shape ownSubGraphs(std::size_t count) {
  Shape shape{.name = "own", .modules = 3 * count, .links = {}};
  for (Number i = 0; i < count; ++i) {
    if (i > 0) {
      shape.links.emplace_back(i - 1, i);
    }
    const Number root = static_cast<Number>(count) + 2 * i;
    shape.links.emplace_back(i, root);
    shape.links.emplace_back(root, root + 1);
  }
  shape.end = static_cast<Number>(count - 1);
  return shape;
}

/// A chain with a module beside each of its modules, all of which lead to one other chain.
Shape sharedSubGraph(std::size_t count) {
  constexpr Number kShared = 100;
  const Number roots = static_cast<Number>(count);
  const Number shared = 2 * roots;
  Shape shape{.name = "shared", .modules = 2 * count + kShared, .links = {}};
  for (Number i = 0; i < roots; ++i) {
    if (i > 0) {
      shape.links.emplace_back(i - 1, i);
    }
    shape.links.emplace_back(i, roots + i);
    shape.links.emplace_back(roots + i, shared);
  }
  for (Number i = 1; i < kShared; ++i) {
    shape.links.emplace_back(shared + i - 1, shared + i);
  }
  shape.end = roots - 1;
  return shape;
}

void measureSubGraphs(Paired& paired, std::size_t count) {
  for (const Shape& shape : {ownSubGraphs(count), sharedSubGraph(count)}) {
    Comparison measured = comparison("update, sub-graphs off the way", shape);
    measured.size = count;
    measured.units = shape.modules;
    measureRuns(paired, measured, shape, Applied::First, Others::WithoutCommand);
  }
}

// Undo

/// The commands of an update in the order in which they are to be undone.
std::vector<CommandBase*> inOrderOfUndo(const MacroCommand& update) {
  const auto& commands = update.getCommands();
  const auto isStorage = [](const std::shared_ptr<CommandBase>& command) {
    return dynamic_cast<ApplyModuleDataInterface&>(*command).getUndoType() ==
           ApplyModuleDataInterface::StorageUndo;
  };
  std::vector<CommandBase*> ordered;
  std::for_each(commands.rbegin(), commands.rend(), [&](const auto& command) {
    if (isStorage(command)) {
      ordered.push_back(command.get());
    }
  });
  for (const auto& command : commands) {
    if (!isStorage(command)) {
      ordered.push_back(command.get());
    }
  }
  return ordered;
}

void measureUndo(Paired& paired, const Shape& shape) {
  Comparison measured = comparison("undo of an update", shape);
  if (!paired.wants(measured.work, measured.shape, measured.size)) {
    return;
  }
  const UpdateDesign design(shape, Applied::First, Others::AutoApplied);
  const auto library = design.makeUpdate<Library>();
  library->execute();
  const auto literal = design.makeUpdate<LiteralEngine>();
  literal->execute();
  design.undo(*library);
  const std::vector<CommandBase*> commands = inOrderOfUndo(*library);
  measured.contestants = {{kLibrary, [&] { return design.undo(*library); }},
                          {kLiteral, [&] { return design.undo(*literal); }},
                          {kFloor, [&] { return design.undoEach(commands); }}};
  paired.compare(measured);
}

}  // namespace

}  // namespace Tessaril::Bench

int main(int argc, char** argv) {
  using namespace Tessaril::Bench;
  Paired paired(argc, argv);
  for (const std::size_t size : paired.sizes()) {
    for (const Shape& shape : allUpdatedShapes(size)) {
      measureScheduling(paired, shape);
      measureIdleRun(paired, shape);
    }
    for (const Shape& shape : {chain(size), merges(size), randomToEnd(size)}) {
      measureAutoApply(paired, shape);
      measureLastApplied(paired, shape);
    }
    measureUndo(paired, chain(size));
  }
  for (const Shape& shape : {chain(1'000), merges(1'000), randomLinks(1'000)}) {
    measureAllApplied(paired, shape);
  }
  measureAllAppliedInLongChain(paired);
  measureSubGraphs(paired, 1'000);
  measureSubGraphs(paired, 10'000);
  paired.boundGrowth("update, nothing to do", 1'000, 100'000, 10);
  return paired.finish();
}
