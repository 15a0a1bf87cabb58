#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// A list of links, with the address of each module beside the weak reference to it: to lock a
/// reference costs more than most of what is done with the module then, and a module that is held
/// already is known by its address. An address says nothing of an entry that has expired.
///
/// Most lists have one or two entries, whose addresses stand in the list itself.
class LinkList {
 public:
  using Links = std::vector<std::weak_ptr<ApplyModule>>;

  const Links& links() const { return references; }
  std::size_t size() const { return references.size(); }
  bool isLive(std::size_t place) const { return !references[place].expired(); }
  ApplyModule* address(std::size_t place) const {
    return hasFew(size()) ? few[place] : many[place];
  }
  /// Whether the live or expired entry is one for the module that `module` holds, through the same
  /// owner. If so, it is live.
  bool isHeldBy(std::size_t place, const std::shared_ptr<ApplyModule>& module) const {
    return address(place) == module.get() && !references[place].owner_before(module) &&
           !module.owner_before(references[place]);
  }

  /// At the end.
  void add(const std::shared_ptr<ApplyModule>& module) {
    const std::size_t count = size();
    if (count == kFew) {
      many.assign(few.begin(), few.end());
    }
    if (!hasFew(count + 1)) {
      many.resize(count);
      many.push_back(module.get());
    }
    references.push_back(module);
    if (hasFew(count + 1)) {
      few[count] = module.get();
    }
  }

  /// An empty pointer makes the entry an expired one, also where it shares an owner.
  void set(std::size_t place, const std::shared_ptr<ApplyModule>& module) {
    references[place] = module;
    if (module == nullptr) {
      references[place].reset();
    }
    addresses()[place] = module.get();
  }

  /// Leaves the entry `from` without meaning.
  void move(std::size_t from, std::size_t to) {
    references[to].swap(references[from]);
    addresses()[to] = addresses()[from];
  }

  void erase(std::size_t begin, std::size_t end) {
    if (begin == end) {
      return;
    }
    ApplyModule** const old = addresses();
    std::copy(old + end, old + size(), old + begin);
    const auto at = [this](std::size_t place) {
      return std::next(references.begin(), static_cast<std::ptrdiff_t>(place));
    };
    references.erase(at(begin), at(end));
    if (hasFew(size()) && old != few.data()) {
      std::copy_n(old, size(), few.begin());
    }
    many.resize(hasFew(size()) ? 0 : size());
  }

  void clear() {
    references.clear();
    many.clear();
  }

  void swap(LinkList& other) {
    references.swap(other.references);
    few.swap(other.few);
    many.swap(other.many);
  }

  void reserve(std::size_t count) {
    references.reserve(count);
    many.reserve(hasFew(count) ? 0 : count);
  }

 private:
  static constexpr std::size_t kFew = 2;
  static constexpr bool hasFew(std::size_t count) { return count <= kFew; }
  ApplyModule** addresses() { return hasFew(size()) ? few.data() : many.data(); }

  Links references;
  std::array<ApplyModule*, kFew> few{};
  /// In place of the few.
  std::vector<ApplyModule*> many;
};

}  // namespace Tessaril
