#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "tessaril/module/AddressNumbers.h"

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// The first entry for that very module, or the end. A null module matches the first entry that has
/// expired. Entries are told apart by their owners, which takes no look at the modules, and locked
/// only to confirm. Where none is left all are locked: a pointer may name a module and share the
/// ownership of something else.
inline std::vector<std::weak_ptr<ApplyModule>>::const_iterator findLink(
    const std::vector<std::weak_ptr<ApplyModule>>& links,
    const std::shared_ptr<ApplyModule>& module) {
  const auto find = [&links](const auto& matches) {
    auto link = links.begin();
    while (link != links.end() && !matches(*link)) {
      ++link;
    }
    return link;
  };
  using Link = const std::weak_ptr<ApplyModule>&;
  if (module == nullptr) {
    return find([](Link link) { return link.expired(); });
  }
  const auto found = find([&module](Link link) {
    return !link.owner_before(module) && !module.owner_before(link) && link.lock() == module;
  });
  return found != links.end() ? found
                              : find([&module](Link link) { return link.lock() == module; });
}

/// Knows the modules of one link list, for an edit that adds many: without it, each addition would
/// search all that were added before. Lives as long as the edit is at that list. Meanwhile entries
/// are added through it only; they may be taken out, and expire.
class KnownLinks {
 public:
  /// False if `links` holds the module. Otherwise the caller appends it.
  bool isNew(const std::vector<std::weak_ptr<ApplyModule>>& links,
             const std::shared_ptr<ApplyModule>& module) {
    if (known == nullptr && (links.size() < kFewLinks || ++questions < kFewQuestions)) {
      return findLink(links, module) == links.end();
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
    if ((place < links.size() && links[place].lock() == module) ||
        findLink(links, module) != links.end()) {
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

  void learn(const std::vector<std::weak_ptr<ApplyModule>>& links) {
    auto modules = std::make_unique<Modules>();
    for (std::size_t place = 0; place < links.size(); ++place) {
      const auto module = links[place].lock();
      if (module != nullptr && modules->addresses.add(module.get()).second) {
        modules->places.push_back(place);
      }
    }
    known = std::move(modules);
  }

  std::size_t questions = 0;
  std::unique_ptr<Modules> known;
};

}  // namespace Tessaril
