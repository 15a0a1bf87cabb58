#pragma once

#include <string>
#include <vector>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace GearPair {

/// The classes of a saved design with their versions, in lines of at most that many characters
/// where possible.
std::string classList(const std::vector<Tessaril::ArchivedClass>& classes, int width);

}  // namespace GearPair
