#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "tessaril/module/AddressNumbers.h"
#include "tessaril/module/LinkList.h"

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// The place of the first entry for that very module, or the size of the list. A null module
/// matches the first entry that has expired.
inline std::size_t findLink(const LinkList& links, const std::shared_ptr<ApplyModule>& module) {
  std::size_t place = 0;
  while (place < links.size() &&
         (module == nullptr ? links.isLive(place)
                            : links.address(place) != module.get() || !links.isLive(place))) {
    ++place;
  }
  return place;
}

inline bool holds(const LinkList& links, const std::shared_ptr<ApplyModule>& module) {
  return findLink(links, module) != links.size();
}

/// Knows the modules of one link list, for an edit that adds many: without it, each addition would
/// search all that were added before. Lives as long as the edit is at that list. Meanwhile entries
/// are added through it only; they may be taken out, and expire.
class KnownLinks {
 public:
  /// False if `links` holds the module. Otherwise the caller appends it.
  bool isNew(const LinkList& links, const std::shared_ptr<ApplyModule>& module) {
    if (known == nullptr && (links.size() < kFewLinks || ++questions < kFewQuestions)) {
      return !holds(links, module);
    }
    if (known == nullptr) {
      learn(links);
    }
    const auto [number, isNewAddress] = known->addresses.add(module.get());
    if (isNewAddress) {
      known->places.push_back(links.size());
      return true;
    }
    // The entry may have gone since.
    std::size_t& place = known->places[number];
    if ((place < links.size() && links.address(place) == module.get() && links.isLive(place)) ||
        holds(links, module)) {
      return false;
    }
    place = links.size();
    return true;
  }

 private:
  // Looking at so few entries costs less than a set, and so does looking so few times.
  static constexpr std::size_t kFewLinks = 16;
  static constexpr std::size_t kFewQuestions = 4;

  struct Modules {
    AddressNumbers addresses;
    /// Where in the list each of them stands.
    std::vector<std::size_t> places;
  };

  void learn(const LinkList& links) {
    auto modules = std::make_unique<Modules>();
    for (std::size_t place = 0; place < links.size(); ++place) {
      if (links.isLive(place) && modules->addresses.add(links.address(place)).second) {
        modules->places.push_back(place);
      }
    }
    known = std::move(modules);
  }

  std::size_t questions = 0;
  std::unique_ptr<Modules> known;
};

}  // namespace Tessaril
