#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// An edit that takes the entries of one link list out one by one, from the front on. Erasing them
/// one by one would move all others each time. So the list is brought up to date only when somebody
/// looks at it, such as the graph hook of a module, and at the end, by way of an exception too.
///
/// Meanwhile the list reads: what has been kept (entries that have expired), a gap, the rest.
class LinkDrain {
 public:
  using Links = std::vector<std::weak_ptr<ApplyModule>>;

  /// `active` is the place where the owner of the list looks for what it has to settle before it
  /// uses its lists. Lists of a few entries are left to erase them.
  LinkDrain(LinkDrain*& active, Links& list) : slot(active), outer(active), links(list) {
    if (outer != nullptr) {
      outer->settle();
    }
    if (links.size() >= kManyLinks) {
      slot = this;
    }
  }
  ~LinkDrain() {
    settle();
    slot = outer;
  }
  LinkDrain(const LinkDrain&) = delete;
  LinkDrain& operator=(const LinkDrain&) = delete;

  /// Takes out the first entry for the module, provided that it is the first one that is live;
  /// answers whether it did.
  bool takeOut(const Links& list, const std::shared_ptr<ApplyModule>& module) {
    if (&list != &links || module == nullptr) {
      return false;
    }
    std::size_t found = rest;
    std::shared_ptr<ApplyModule> firstLive;
    while (found < links.size() && (firstLive = links[found].lock()) == nullptr) {
      ++found;
    }
    if (firstLive != module) {
      return false;
    }
    for (; rest < found; ++rest, ++kept) {
      links[kept].swap(links[rest]);
    }
    ++rest;
    return true;
  }

  /// Brings the list up to date.
  void settle() {
    if (rest == 0) {
      return;
    }
    const auto at = [this](std::size_t place) {
      return std::next(links.begin(), static_cast<std::ptrdiff_t>(place));
    };
    links.erase(at(kept), at(rest));
    kept = 0;
    rest = 0;
  }

 private:
  static constexpr std::size_t kManyLinks = 16;

  LinkDrain*& slot;
  LinkDrain* outer;
  Links& links;
  std::size_t kept = 0;
  std::size_t rest = 0;
};

}  // namespace Tessaril
