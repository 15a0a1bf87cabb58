#include "diagnostics/run/ChangesBefore.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "diagnostics/graph/links/Cycles.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

std::vector<std::size_t> modulesBeforeThemselves(const ChangesBefore::Links& previous) {
  std::vector<std::size_t> modules;
  for (std::size_t module = 0; module < previous.size(); ++module) {
    if (std::find(previous[module].begin(), previous[module].end(), module) !=
        previous[module].end()) {
      modules.push_back(module);
    }
  }
  return modules;
}

}  // namespace

ChangesBefore::ChangesBefore(Links previous, std::vector<std::size_t> changes)
    : previousOf(std::move(previous)), changeOf(std::move(changes)) {
  cutCycles();
  known.resize(previousOf.size());
}

// Most graphs have no cycles, and what changes seldom lies on one; but whatever lies behind one
// depends on all of it.
void ChangesBefore::cutCycles() {
  for (const auto& part : cyclicParts(previousOf)) {
    cutCycle(part);
  }
  for (const std::size_t module : modulesBeforeThemselves(previousOf)) {
    cutCycle({module});
  }
}

/// The modules of the part, ascending, get one new module before them: behind what the part depends
/// on, and behind a likeness of each of its modules that depends on nothing.
void ChangesBefore::cutCycle(const std::vector<std::size_t>& part) {
  const std::size_t gate = addModule(0);
  for (const std::size_t module : part) {
    const std::size_t likeness = addModule(changeOf[module]);
    previousOf[gate].push_back(likeness);
    for (const std::size_t before : std::exchange(previousOf[module], {gate})) {
      if (!std::binary_search(part.begin(), part.end(), before)) {
        previousOf[gate].push_back(before);
      }
    }
  }
}

std::size_t ChangesBefore::addModule(std::size_t change) {
  previousOf.emplace_back();
  changeOf.push_back(change);
  return changeOf.size() - 1;
}

std::size_t ChangesBefore::before(std::size_t module, std::size_t latest) {
  // What was just changed is often right before it, and nothing can have come later.
  const auto isLatest = [this, latest](std::size_t one) { return changeOf[one] == latest; };
  const auto& previous = previousOf[module];
  if (latest > 0 && std::any_of(previous.begin(), previous.end(), isLatest)) {
    linksSeen += previous.size();
    return latest;
  }
  findOut(module, latest);
  return known[module].last;
}

void ChangesBefore::findOut(std::size_t module, std::size_t latest) {
  pending.push_back(module);
  while (!pending.empty()) {
    const std::size_t present = pending.back();
    if (known[present].contains(latest)) {
      pending.pop_back();
    } else if (!pushUnknown(present, latest)) {
      known[present] = stretchAround(present, latest);
    }
  }
}

bool ChangesBefore::pushUnknown(std::size_t module, std::size_t latest) {
  const std::size_t count = pending.size();
  linksSeen += previousOf[module].size();
  std::copy_if(previousOf[module].begin(), previousOf[module].end(), std::back_inserter(pending),
               [this, latest](std::size_t before) { return !known[before].contains(latest); });
  return pending.size() > count;
}

/// Requires: all about those right before the module is known.
ChangesBefore::Stretch ChangesBefore::stretchAround(std::size_t module, std::size_t latest) const {
  Stretch stretch{0, kNever};
  for (const std::size_t before : previousOf[module]) {
    stretch.last = std::max(stretch.last, known[before].last);
    stretch.nextOne = std::min(stretch.nextOne, known[before].nextOne);
    const std::size_t change = changeOf[before];
    if (change > latest) {
      stretch.nextOne = std::min(stretch.nextOne, change);
    } else {
      stretch.last = std::max(stretch.last, change);
    }
  }
  return stretch;
}

}  // namespace Tessaril::Diagnostics
