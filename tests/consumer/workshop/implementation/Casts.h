#pragma once

#include <optional>
#include <vector>

#include "tessaril/platform/persistence_archiver/Caster.h"

namespace Workshop {

/// The casters that lead from a class to one of its bases, one after the other: none where the two
/// are the same. Empty where no casters lead there.
std::optional<std::vector<const Tessaril::Caster*>> castsBetween(unsigned int derivedId,
                                                                 unsigned int baseId);

}  // namespace Workshop
