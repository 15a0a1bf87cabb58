#pragma once

#include <memory>
#include <vector>

#include "examples/gear_pair/calculation/ToothForm.h"
#include "tessaril/platform/framework_interfaces/ApplyCacheInterface.h"

namespace GearPair {

/// The part of the requirements that the teeth of one gear depend on: requirements that are equal
/// in it give equal teeth. Of the mate it holds what decides how deep the flanks are used, so that
/// a gear is not cut anew for its mate's bore or steel. But the tip circles of both gears follow
/// the centre distance: another number of teeth on one of them concerns both.
Requirements teethPart(const Requirements& requirements, Member member);

/// Keeps the tooth forms that are computed during one run of an update.
///
/// The cutter has to know both gears, but its turn comes before the wheel's: it computes the
/// wheel's teeth, and the wheel finds them here a moment later. Forgotten at the end of the run.
///
/// Takes no lock: the steps of a run use it one after the other, whichever thread they are on.
class ToothFormCache final : public Tessaril::ApplyCacheInterface {
 public:
  /// Empties the cache and begins to count anew.
  void beginUpdate() override;
  /// Empties the cache; the counts stay.
  void endUpdate() override;

  /// The teeth of one gear, computed unless they have been asked for in this run. Throws what
  /// computeToothForm() throws; a failure is not kept.
  std::shared_ptr<const ToothForm> toothForm(const Requirements& requirements, Member member);

  /// How often the last run found a form here, and how often it had to compute one.
  int getHits() const;
  int getMisses() const;

 private:
  struct Entry {
    Requirements teeth;
    Member member;
    std::shared_ptr<const ToothForm> form;
  };
  // A run knows a handful of forms: a search from end to end is the fastest.
  std::vector<Entry> entries;
  int hits = 0;
  int misses = 0;
};

/// The same with a cache that may be missing; the form is computed then.
std::shared_ptr<const ToothForm> toothForm(ToothFormCache* cache, const Requirements& requirements,
                                           Member member);

}  // namespace GearPair
