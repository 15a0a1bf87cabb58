#include <memory>

#include "bench/instructions/Design.h"
#include "bench/instructions/Item.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"

namespace Tessaril::Bench {

namespace {

constexpr std::size_t kModules = 10'000;
/// Where the progress of each apply asks all modules behind it.
constexpr std::size_t kAppliedModules = 1'000;
constexpr std::size_t kShortRun = 10;

std::shared_ptr<UpdateApplyModulesCmd> updateOf(const Design& design) {
  return std::make_shared<UpdateApplyModulesCmd>(design.root, design.start(), design.end(),
                                                 nullptr);
}

bool isApplied(const StepModule& step) { return step.applied == 1; }

/// Each module is asked, and needs nothing.
Work nothingToDo() {
  const auto design = std::make_shared<const Design>(merges(kModules));
  const auto update = updateOf(*design);
  return {
      [=] { update->execute(); },
      [=] { return design->count([](const StepModule& step) { return step.questions == 1; }); }};
}

/// Each module of a chain becomes a sub-command.
Work allApplied() {
  const auto design = std::make_shared<const Design>(chain(kAppliedModules));
  for (std::size_t number = 0; number < design->size(); ++number) {
    (*design)[number].needsApply = true;
  }
  const auto update = updateOf(*design);
  return {[=] { update->execute(); }, [=] { return design->count(isApplied); }};
}

/// Many short designs, whose runs end before what grows with a run's length shows.
Work shortRuns() {
  const auto designs = std::make_shared<std::vector<DesignPtr>>();
  for (std::size_t run = 0; run < kAppliedModules / kShortRun; ++run) {
    designs->push_back(std::make_shared<const Design>(chain(kShortRun)));
    for (std::size_t number = 0; number < kShortRun; ++number) {
      (*designs->back())[number].needsApply = true;
    }
  }
  return {[=] {
            for (const auto& design : *designs) {
              updateOf(*design)->execute();
            }
          },
          [=] {
            std::size_t applied = 0;
            for (const auto& design : *designs) {
              applied += design->count(isApplied);
            }
            return applied;
          }};
}

/// One sub-command; the main chain and, off the way to its end, the side chains are auto-applied.
DesignPtr designOfAutoApplies() {
  auto design = std::make_shared<const Design>(sideChains(kModules));
  design->start()->needsApply = true;
  for (std::size_t number = 0; number < design->size(); number += 2) {
    (*design)[number].undoneFirst = true;
  }
  return design;
}

Work autoApplies() {
  const auto design = designOfAutoApplies();
  const auto update = updateOf(*design);
  return {[=] { update->execute(); }, [=] { return design->count(isApplied); }};
}

Work undoOfLongRun() {
  const auto design = designOfAutoApplies();
  const auto update = updateOf(*design);
  update->execute();
  const std::size_t executed = design->count(isApplied);
  return {[=] { update->undo(); }, [=] { return executed - design->count(isApplied); }};
}

}  // namespace

std::vector<Item> updateItems() {
  return {
      {"update-nothing", kModules, nothingToDo},
      {"update-all-applied", kAppliedModules, allApplied},
      {"update-short-runs", kAppliedModules, shortRuns},
      {"update-sub-graphs", kModules, autoApplies},
      {"undo", kModules, undoOfLongRun},
  };
}

}  // namespace Tessaril::Bench
