#include "examples/gear_pair/application/ToothFormCache.h"

#include <algorithm>
#include <utility>

namespace GearPair {

Requirements teethPart(Requirements requirements) {
  requirements.faceWidth = 0.0;
  requirements.pinionTorque = 0.0;
  requirements.wheelTorque = 0.0;
  requirements.pinionSpeed = 0.0;
  requirements.wheelSpeed = 0.0;
  requirements.power = 0.0;
  requirements.applicationFactor = 0.0;
  requirements.requiredSafety = 0.0;
  return requirements;
}

void ToothFormCache::beginUpdate() {
  entries.clear();
  hits = 0;
  misses = 0;
}

void ToothFormCache::endUpdate() { entries.clear(); }

std::shared_ptr<const ToothForm> ToothFormCache::toothForm(const Requirements& requirements,
                                                           Member member) {
  Requirements teeth = teethPart(requirements);
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
    return entry.member == member && entry.teeth == teeth;
  });
  if (found != entries.end()) {
    ++hits;
    return found->form;
  }
  ++misses;
  auto form = std::make_shared<const ToothForm>(computeToothForm(requirements, member));
  entries.push_back({std::move(teeth), member, form});
  return form;
}

int ToothFormCache::getHits() const { return hits; }
int ToothFormCache::getMisses() const { return misses; }

std::shared_ptr<const ToothForm> toothForm(ToothFormCache* cache, const Requirements& requirements,
                                           Member member) {
  return cache != nullptr
             ? cache->toothForm(requirements, member)
             : std::make_shared<const ToothForm>(computeToothForm(requirements, member));
}

}  // namespace GearPair
