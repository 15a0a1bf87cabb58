#include "diagnostics/run/ChangesBefore.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace Tessaril::Diagnostics {

ChangesBefore::ChangesBefore(Links previous, std::vector<std::size_t> changes)
    : previousOf(std::move(previous)),
      changeOf(std::move(changes)),
      lastBefore(changeOf.size(), 0) {
  for (std::size_t module = 0; module < lastBefore.size(); ++module) {
    for (const std::size_t before : previousOf[module]) {
      lastBefore[module] = std::max({lastBefore[module], changeOf[before], lastBefore[before]});
    }
  }
}

// A module may be decided upon before something that it depends on: the sub-graph of a module off
// the way does not wait for what lies outside of it.
std::size_t ChangesBefore::before(std::size_t module, std::size_t latest) const {
  std::size_t last = 0;
  std::unordered_set<std::size_t> met;
  std::vector<std::size_t> pending{module};
  while (!pending.empty()) {
    const std::size_t present = pending.back();
    pending.pop_back();
    if (lastBefore[present] <= latest) {
      last = std::max(last, lastBefore[present]);
      continue;
    }
    for (const std::size_t before : previousOf[present]) {
      last = changeOf[before] <= latest ? std::max(last, changeOf[before]) : last;
      if (met.insert(before).second) {
        pending.push_back(before);
      }
    }
  }
  return last;
}

}  // namespace Tessaril::Diagnostics
