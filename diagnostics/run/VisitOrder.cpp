#include "diagnostics/run/VisitOrder.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tessaril::Diagnostics {
namespace {

/// Between the labels of neighbours, at the back of the queue and where all are labelled anew.
constexpr std::uint64_t kStep = std::uint64_t{1} << 32U;
/// What is pushed between two others leaves room for as many more, and more.
constexpr std::uint64_t kShare = 256;

}  // namespace

VisitOrder::VisitOrder(const Links& previous, const std::vector<bool>& isVisitedByIndex,
                       Scope theScope)
    : previousOf(previous),
      isVisited(isVisitedByIndex),
      scope(std::move(theScope)),
      cursor(queue.end()) {}

void VisitOrder::push(std::size_t module) {
  if (isVisited[module]) {
    return;
  }
  const Place behind = cursor == queue.begin() ? queue.end() : cursor;
  const Label label = labelBefore(behind);
  const Place place = queue.insert(behind, {module, label});
  Waiting& one = waitingOf(module);
  if (one.links == 0) {
    ready.emplace(label, place);
  } else {
    one.entries.push_back(place);
  }
}

VisitOrder::Waiting& VisitOrder::waitingOf(std::size_t module) {
  const auto [place, isNew] = waiting.try_emplace(module);
  if (isNew) {
    for (const std::size_t before : previousOf[module]) {
      if (!isVisited[before] && scope.contains(before)) {
        ++place->second.links;
        waitingFor[before].push_back(module);
      }
    }
  }
  return place->second;
}

void VisitOrder::noteVisited(std::size_t module) {
  const auto awaited = waitingFor.extract(module);
  if (awaited.empty()) {
    return;
  }
  for (const std::size_t follower : awaited.mapped()) {
    Waiting& one = waiting.at(follower);
    if (--one.links == 0) {
      for (const Place place : std::exchange(one.entries, {})) {
        ready.emplace(place->label, place);
      }
    }
  }
}

std::optional<std::size_t> VisitOrder::takeNext() {
  while (!ready.empty()) {
    auto next = cursor == queue.end() ? ready.end() : ready.lower_bound(cursor->label);
    next = next == ready.end() ? ready.begin() : next;
    const std::size_t module = next->second->module;
    cursor = queue.erase(next->second);
    ready.erase(next);
    if (!isVisited[module]) {
      return module;
    }
  }
  return std::nullopt;
}

/// Requires: `behind` is not the first of several entries.
VisitOrder::Label VisitOrder::labelBefore(Place behind) {
  const auto labelAhead = [&] {
    return behind == queue.begin() ? Label{0} : std::prev(behind)->label;
  };
  if (behind == queue.end()) {
    return labelAhead() + kStep;
  }
  if (behind->label - labelAhead() < 2) {
    labelAnew();
  }
  const Label gap = behind->label - labelAhead();
  return labelAhead() + std::max<Label>(gap / kShare, 1);
}

void VisitOrder::labelAnew() {
  Label label = 0;
  for (Entry& entry : queue) {
    label += kStep;
    entry.label = label;
  }
  std::map<Label, Place> labelled;
  for (const auto& [before, place] : ready) {
    labelled.emplace_hint(labelled.end(), place->label, place);
  }
  ready = std::move(labelled);
}

}  // namespace Tessaril::Diagnostics
