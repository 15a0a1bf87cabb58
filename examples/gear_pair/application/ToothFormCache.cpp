#include "examples/gear_pair/application/ToothFormCache.h"

#include <algorithm>
#include <utility>

namespace GearPair {

Requirements teethPart(const Requirements& requirements, Member member) {
  const bool isPinion = member == Member::kPinion;
  Requirements part;
  part.rack = requirements.rack;
  part.workingPressureAngle = requirements.workingPressureAngle;
  part.centreDistance = requirements.centreDistance;
  part.backlash = requirements.backlash;
  const GearData& mate = requirements.gear(otherMember(member));
  GearData& mateInPart = isPinion ? part.wheel : part.pinion;
  mateInPart.baseDiameter = mate.baseDiameter;
  mateInPart.tipDiameter = mate.tipDiameter;
  (isPinion ? part.pinion : part.wheel) = requirements.gear(member);
  return part;
}

void ToothFormCache::beginUpdate() {
  entries.clear();
  hits = 0;
  misses = 0;
}

void ToothFormCache::endUpdate() { entries.clear(); }

std::shared_ptr<const ToothForm> ToothFormCache::toothForm(const Requirements& requirements,
                                                           Member member) {
  Requirements teeth = teethPart(requirements, member);
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
