#pragma once

#include <cstddef>
#include <memory>

#include "tessaril/module/LinkList.h"

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
  /// `active` is the place where the owner of the list looks for what it has to settle before it
  /// uses its lists. Lists of a few entries are left to erase them.
  LinkDrain(LinkDrain*& active, LinkList& list) : slot(active), outer(active), links(list) {
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
  bool takeOut(const LinkList& list, const std::shared_ptr<ApplyModule>& module) {
    if (&list != &links || module == nullptr) {
      return false;
    }
    std::size_t found = rest;
    while (found < links.size() && !links.isLive(found)) {
      ++found;
    }
    if (found == links.size() || links.address(found) != module.get()) {
      return false;
    }
    for (; rest < found; ++rest, ++kept) {
      if (kept != rest) {
        links.move(rest, kept);
      }
    }
    ++rest;
    return true;
  }

  /// Brings the list up to date.
  void settle() {
    if (rest == 0) {
      return;
    }
    links.erase(kept, rest);
    kept = 0;
    rest = 0;
  }

 private:
  static constexpr std::size_t kManyLinks = 16;

  LinkDrain*& slot;
  LinkDrain* outer;
  LinkList& links;
  std::size_t kept = 0;
  std::size_t rest = 0;
};

}  // namespace Tessaril
