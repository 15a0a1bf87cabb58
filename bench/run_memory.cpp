// What modules, links and updates take from the heap. Not times: every run counts the same.

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/CountedMemory.h"
#include "bench/ModuleGraph.h"
#include "bench/Paired.h"
#include "bench/Shapes.h"
#include "bench/UpdateDesign.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/literal/LiteralUpdate.h"

namespace Tessaril::Bench {

namespace {

using Applied = UpdateDesign::Applied;
using Others = UpdateDesign::Others;
using Library = UpdateApplyModulesCmd;
using LiteralEngine = Literal::LiteralUpdate;

constexpr std::size_t kModules = 10'000;
/// The exit code counts what must not grow and did.
int grown = 0;

double perModule(std::size_t bytes, std::size_t count = kModules) {
  return static_cast<double>(bytes) / static_cast<double>(count);
}

std::vector<ModulePtr> makeModules() {
  std::vector<ModulePtr> modules(kModules);
  std::generate(modules.begin(), modules.end(), [] { return std::make_shared<ApplyModule>(); });
  return modules;
}

void countModulesAndLinks(Paired& paired) {
  std::vector<ModulePtr> modules(kModules);
  const HeapUse before = heapUse();
  std::generate(modules.begin(), modules.end(), [] { return std::make_shared<ApplyModule>(); });
  const HeapUse made = heapUse();
  for (std::size_t i = 1; i < modules.size(); ++i) {
    ApplyGraph::insertAfter(modules[i], modules[i - 1]);
  }
  const HeapUse linked = heapUse();

  const std::vector<ModulePtr> leaves = makeModules();
  const HeapUse apart = heapUse();
  for (const ModulePtr& leaf : leaves) {
    ApplyGraph::insert(leaf, modules.front(), nullptr, true);
  }
  const HeapUse hung = heapUse();

  paired.note("a module without links", "", perModule(made.bytes - before.bytes), "bytes");
  paired.note("a module without links", "", perModule(made.blocks - before.blocks), "blocks");
  paired.note("a link, both ends", "chain", perModule(linked.bytes - made.bytes, kModules - 1),
              "bytes");
  paired.note("a link, both ends", "hub of 10,000", perModule(hung.bytes - apart.bytes), "bytes");
}

template <typename Update>
void countRun(Paired& paired, const std::string& engine, const UpdateDesign& design,
              const std::string& which, const std::string& shape) {
  const auto update = design.makeUpdate<Update>();
  const HeapUse before = heapUse();
  startPeak();
  update->execute();
  const HeapUse after = heapUse();
  const std::string what = ", a module, " + which + ", " + engine;
  paired.note("at most while it runs" + what, shape, perModule(peakBytes() - before.bytes),
              "bytes");
  paired.note("kept by the update" + what, shape, perModule(after.bytes - before.bytes), "bytes");
  paired.note("taken in the course of a run" + what, shape, perModule(after.taken - before.taken),
              "blocks");
}

void countRuns(Paired& paired, const Shape& shape) {
  const UpdateDesign idle(shape, Applied::Nothing, Others::WithoutCommand);
  countRun<Library>(paired, "library", idle, "nothing to do", shape.name);
  countRun<LiteralEngine>(paired, "literal", idle, "nothing to do", shape.name);
  const UpdateDesign busy(shape, Applied::First, Others::AutoApplied);
  countRun<Library>(paired, "library", busy, "auto-applied", shape.name);
  countRun<LiteralEngine>(paired, "literal", busy, "auto-applied", shape.name);
}

/// What is live after ten runs and after a thousand more.
void expectNoGrowth(Paired& paired, const std::string& what, const std::string& shape,
                    const std::function<void()>& run) {
  const auto repeat = [&run](int times) {
    for (int i = 0; i < times; ++i) {
      run();
    }
    return heapUse();
  };
  const HeapUse before = repeat(10);
  const HeapUse after = repeat(1'000);
  const double growth = static_cast<double>(after.bytes) - static_cast<double>(before.bytes);
  paired.note("more after a thousand times: " + what, shape, growth, "bytes", 0);
  if (growth > 0 || after.blocks > before.blocks) {
    ++grown;
  }
}

void expectNoGrowth(Paired& paired, const Shape& shape) {
  const UpdateDesign design(shape, Applied::First, Others::AutoApplied);
  expectNoGrowth(paired, "a new update", shape.name, [&] { design.run<Library>(); });
  const auto update = design.makeUpdate<Library>();
  expectNoGrowth(paired, "one update, executed and undone", shape.name, [&] {
    update->execute();
    design.undo(*update);
  });
  const UpdateDesign applied(shape, Applied::All, Others::AutoApplied);
  expectNoGrowth(paired, "a new update, all applied", shape.name, [&] { applied.run<Library>(); });
}

}  // namespace

}  // namespace Tessaril::Bench

int main(int argc, char** argv) {
  using namespace Tessaril::Bench;
  Paired paired(argc, argv);
  if (paired.wants("memory", "all", kModules)) {
    countModulesAndLinks(paired);
    countRuns(paired, chain(kModules));
    for (const Shape& shape : {chain(100), merges(100), randomLinks(100)}) {
      expectNoGrowth(paired, shape);
    }
  }
  const int written = paired.finish();
  return written != 0 ? written : grown;
}
