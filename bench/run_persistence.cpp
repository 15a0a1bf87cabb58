// The tree of a design and its stored links: building, looking up, storing, restoring, saving and
// opening.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/DesignTree.h"
#include "bench/Paired.h"
#include "bench/Shapes.h"
#include "tessaril/graph/ApplyGraph.h"
#ifdef TESSARIL_BENCH_CEREALDESIGN
#include "bench/peers/CerealDesign.h"
#endif

namespace Tessaril::Bench {

namespace {

using ConstModules = std::vector<std::shared_ptr<const ApplyModule>>;

constexpr const char* kCereal = "cereal";
constexpr std::size_t kInGroups = 100;
constexpr std::size_t kBelowTheRoot = 0;

[[noreturn]] void fail(const char* complaint) {
  std::fprintf(stderr, "%s\n", complaint);
  std::exit(EXIT_FAILURE);
}

Comparison comparison(const std::string& work, const std::string& shape, std::size_t size) {
  return {.work = work, .shape = shape, .size = size};
}

// Trees

/// The steps of a tree before they are in it.
std::vector<std::shared_ptr<Object>> looseSteps(std::size_t count) {
  std::vector<std::shared_ptr<Object>> steps;
  for (const Number number : shuffled(count)) {
    steps.push_back(std::make_shared<DesignStep>(number));
  }
  return steps;
}

void measureBuilding(Paired& paired, const std::string& tree, std::size_t size,
                     std::size_t stepsInGroup) {
  Comparison measured = comparison("add to the tree", tree, size);
  const auto steps = looseSteps(size);
  std::shared_ptr<Object> root;
  measured.contestants = {{.name = kLibrary,
                           .run =
                               [&] {
                                 root = plant(steps, stepsInGroup);
                                 return root->getChildren().size();
                               },
                           .prepare = [&root] { root.reset(); }}};
  paired.compare(measured);
}

void measureLookUp(Paired& paired, const std::string& tree, const DesignTree& design) {
  const std::vector<Path> paths = design.paths();
  Comparison measured = comparison("look up by path", tree, paths.size());
  measured.contestants = {{kLibrary, [&] {
                             std::uint64_t found = 0;
                             for (const Path& path : paths) {
                               found += design.root()->getObject(path) != nullptr ? 1U : 0U;
                             }
                             return found;
                           }}};
  paired.compare(measured);
}

// Links

std::uint64_t recordsStored(const DesignTree& design, const ConstModules& named) {
  std::vector<ApplyModuleData> records;
  ApplyGraph::storeApplyGraph(design.root(), named, records);
  return records.size();
}

void measureLinks(Paired& paired, const Shape& shape) {
  const DesignTree design(shape, kInGroups);
  Comparison store = comparison("store", shape.name, shape.modules);
  const ConstModules one{design.graph().end()};
  ConstModules all;
  for (Number i = 0; i < design.graph().size(); ++i) {
    all.push_back(design.graph()[i]);
  }
  store.contestants = {{kLibrary, [&] { return recordsStored(design, one); }},
                       {"library, every module named", [&] { return recordsStored(design, all); }}};
  paired.compare(store);

  Comparison restore = comparison("restore", shape.name, shape.modules);
  restore.contestants = {{kLibrary, [&] {
                            ApplyGraph::restoreApplyGraph(design.root(), design.links());
                            return design.links().size();
                          }}};
  paired.compare(restore);
}

// Files, without the disk

void requireSameAgain(const DesignTree& design, const std::string& archive) {
  const OpenedDesign opened = openDesign(archive);
  if (saveDesign(opened.root, opened.links) != archive ||
      opened.links.size() != design.links().size()) {
    fail("What was opened is not what was saved");
  }
}

std::uint64_t countsOf(std::size_t children, std::size_t links) { return (children << 32) + links; }

void measureFiles(Paired& paired, const std::string& tree, const DesignTree& design) {
  const std::size_t size = design.graph().size();
  const std::string archive = saveDesign(design.root(), design.links());
  requireSameAgain(design, archive);
  Comparison save = comparison("save", tree, size);
  save.contestants = {{.name = kLibrary,
                       .run = [&] { return saveDesign(design.root(), design.links()).size(); },
                       .order = "our format"}};
  constexpr std::size_t kNoted = 10'000;
  const auto noteSize = [&](const std::string& whose, const std::string& bytes) {
    if (size == kNoted && paired.wants(save.work, tree, size)) {
      paired.note("saved, a module, " + whose, tree,
                  static_cast<double>(bytes.size()) / static_cast<double>(size), "bytes");
    }
  };
  noteSize(kLibrary, archive);
  Comparison open = comparison("open", tree, size);
  OpenedDesign opened;
  open.contestants = {{.name = kLibrary,
                       .run =
                           [&] {
                             opened = openDesign(archive);
                             return countsOf(opened.root->getChildren().size(),
                                             opened.links.size());
                           },
                       .prepare = [&opened] { opened = {}; }}};
#ifdef TESSARIL_BENCH_CEREALDESIGN
  const CerealDesign peer(*design.root(), design.links());
  const std::string peerArchive = peer.save();
  if (CerealDesign::open(peerArchive).save() != peerArchive) {
    fail("What cereal opened is not what it saved");
  }
  noteSize(kCereal, peerArchive);
  save.contestants.push_back(
      {.name = kCereal, .run = [&] { return peer.save().size(); }, .order = "cereal's format"});
  CerealDesign openedByPeer;
  open.contestants.push_back({.name = kCereal,
                              .run =
                                  [&] {
                                    openedByPeer = CerealDesign::open(peerArchive);
                                    return countsOf(openedByPeer.childCount(),
                                                    openedByPeer.linkCount());
                                  },
                              .prepare = [&openedByPeer] { openedByPeer = CerealDesign(); }});
  constexpr double kAtMost = 2;
  save.bounds = open.bounds = {{kCereal, kAtMost}};
#else
  paired.missing(kCereal);
#endif
  paired.compare(save);
  paired.compare(open);
}

void measureTree(Paired& paired, const std::string& tree, std::size_t size,
                 std::size_t stepsInGroup) {
  if (paired.wants("add to the tree", tree, size)) {
    measureBuilding(paired, tree, size, stepsInGroup);
  }
  if (paired.wants("look up by path", tree, size) || paired.wants("save", tree, size) ||
      paired.wants("open", tree, size)) {
    const DesignTree design(sideChains(size), stepsInGroup);
    measureLookUp(paired, tree, design);
    measureFiles(paired, tree, design);
  }
}

}  // namespace

}  // namespace Tessaril::Bench

int main(int argc, char** argv) {
  using namespace Tessaril::Bench;
  Paired paired(argc, argv);
  for (const std::size_t size : paired.sizes()) {
    measureTree(paired, "in groups", size, kInGroups);
    measureTree(paired, "below the root", size, kBelowTheRoot);
    for (const Shape& shape : allShapes(size)) {
      if (paired.wants("store", shape.name, size) || paired.wants("restore", shape.name, size)) {
        measureLinks(paired, shape);
      }
    }
  }
  constexpr double kGrowth = 10;
  for (const char* work :
       {"add to the tree", "look up by path", "store", "restore", "save", "open"}) {
    paired.boundGrowth(work, 1'000, 100'000, kGrowth);
  }
  return paired.finish();
}
