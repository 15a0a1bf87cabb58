#include <utility>

#include "bench/instructions/Design.h"
#include "bench/instructions/Item.h"

namespace Tessaril::Bench {

namespace {

constexpr std::size_t kModules = 10'000;

/// Adds the number of modules that it visits to what it is given.
using Walk = std::function<void(const Design&, std::size_t&)>;

Item walkItem(std::string name, const Shape& shape, std::size_t modules, Walk walk) {
  return {std::move(name), modules, [shape, walk = std::move(walk)] {
            const auto design = std::make_shared<const Design>(shape);
            const auto visited = std::make_shared<std::size_t>(0);
            return Work{[=] { walk(*design, *visited); }, [=] { return *visited; }};
          }};
}

Item notification() {
  return {"notify-followers", kModules - 1, [] {
            const auto design = std::make_shared<const Design>(sideChains(kModules));
            return Work{
                [=] { design->start()->sendStateChangeSignalsOfFollowingModules(); },
                [=] {
                  return design->count([](const StepModule& step) { return step.signals == 1; });
                }};
          }};
}

}  // namespace

std::vector<Item> walkItems() {
  return {
      walkItem("walk-followers", randomLinks(kModules), kModules - 1,
               [](const Design& design, std::size_t& visited) {
                 design.start()->forAllFollowingModules(
                     [&](const std::shared_ptr<ApplyModule>& /*module*/) {
                       ++visited;
                       return true;
                     });
               }),
      walkItem("walk-dependencies", merges(kModules), kModules - 1,
               [](const Design& design, std::size_t& visited) {
                 design.end()->forAllPreviousModules(
                     [&](const std::shared_ptr<ApplyModule>& /*module*/) {
                       ++visited;
                       return true;
                     });
               }),
      walkItem("walk-by-reference", randomLinks(kModules), kModules,
               [](const Design& design, std::size_t& visited) {
                 design.start()->forThisAndAllFollowingModules([&](const ApplyModule& /*module*/) {
                   ++visited;
                   return true;
                 });
               }),
      // The start is the last module that the question comes to.
      walkItem("has-as-ancestor", ladder(kModules), kModules,
               [](const Design& design, std::size_t& visited) {
                 visited += design.end()->hasAsAncestor(*design.start()) ? design.size() : 0;
               }),
      notification(),
  };
}

}  // namespace Tessaril::Bench
