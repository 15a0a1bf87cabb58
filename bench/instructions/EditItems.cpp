#include <memory>

#include "bench/instructions/Design.h"
#include "bench/instructions/Item.h"
#include "tessaril/graph/ApplyGraph.h"

namespace Tessaril::Bench {

namespace {

constexpr std::size_t kModules = 10'000;
constexpr std::size_t kEdits = 1'000;
constexpr std::size_t kNeighbours = 2'000;

bool isUnlinkedAgain(const StepModule& step) {
  return step.graphChanges > 0 && step.getNextApplyModules().empty() &&
         step.getPreviousApplyModules().empty();
}

/// Modules are put between others of a long chain, and taken out again.
Work chainEdits() {
  const auto design = std::make_shared<const Design>(chain(kModules));
  const auto added = std::make_shared<const Design>(kEdits);
  return {[=] {
            for (std::size_t i = 0; i < kEdits; ++i) {
              const std::size_t at = i * (kModules / kEdits);
              ApplyGraph::insert(added->step(i), design->step(at), design->step(at + 1), false);
            }
            for (std::size_t i = 0; i < kEdits; ++i) {
              ApplyGraph::remove(added->step(i));
            }
          },
          [=] { return added->count(isUnlinkedAgain); }};
}

/// All neighbours of a hub, on either side, go to another module and back, and to a new hub.
Work hubEdits() {
  const auto design = std::make_shared<const Design>(fan(kNeighbours + 2));
  const auto added = std::make_shared<const Design>(2);
  return {[=] {
            const auto& other = added->step(0);
            ApplyGraph::insertAfter(other, design->start());
            ApplyGraph::remove(other);
            ApplyGraph::insertBefore(other, design->end());
            ApplyGraph::remove(other);
            ApplyGraph::replace(design->start(), added->step(1));
          },
          [=] { return (*added)[1].getNextApplyModules().size(); }};
}

Identifier chainIdOf(std::size_t sideChain) { return {0, sideChain}; }

/// A whole design is placed module by module: ten of the main chain, ten of a side chain, and so
/// on.
Work placement() {
  constexpr std::size_t kLength = 10;
  const auto design = std::make_shared<const Design>(kModules);
  const auto anchors = std::make_shared<std::vector<std::size_t>>(kModules);
  std::size_t lastOfMainChain = 0;
  for (std::size_t number = 1; number < kModules; ++number) {
    const std::size_t sideChain = (number / kLength + 1) / 2;
    StepModule& step = (*design)[number];
    if (number / kLength % 2 == 0) {
      step.setAddToChainInsertMode(Identifier(), false);
      (*anchors)[number] = lastOfMainChain;
      lastOfMainChain = number;
      continue;
    }
    if (number % kLength == 0) {
      step.setStartSideChainInsertMode(chainIdOf(sideChain), Identifier());
    } else {
      step.setAddToChainInsertMode(chainIdOf(sideChain), false);
    }
    (*anchors)[number] = number - 1;
  }
  return {[=] {
            for (std::size_t number = 1; number < kModules; ++number) {
              ApplyGraph::insertAccordingToInsertMode(design->step(number),
                                                      design->step((*anchors)[number]));
            }
          },
          [=] {
            return design->count(
                [](const StepModule& step) { return step.getPreviousApplyModules().size() == 1; });
          }};
}

}  // namespace

std::vector<Item> editItems() {
  return {
      {"edit-chain", kEdits, chainEdits},
      {"edit-hub", kNeighbours, hubEdits},
      {"placement", kModules - 1, placement},
  };
}

}  // namespace Tessaril::Bench
