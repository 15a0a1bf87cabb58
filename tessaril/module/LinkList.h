#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
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

  LinkList() = default;
  ~LinkList() { dropBlock(); }
  LinkList(const LinkList& other) : references(other.references), own(other.own) {
    if (hasBlock()) {
      own.block = blockOf(other.own.block.addresses, size(), size());
    }
  }
  LinkList& operator=(const LinkList& other) {
    LinkList copy(other);
    swap(copy);
    return *this;
  }

  const Links& links() const { return references; }
  std::size_t size() const { return references.size(); }
  bool isLive(std::size_t place) const { return !references[place].expired(); }
  ApplyModule* address(std::size_t place) const {
    // A branch, so that the processor need not know the size before it goes on to the module.
    if (!hasBlock()) [[likely]] {
      return own.few[place];
    }
    return own.block.addresses[place];
  }
  /// Whether the live or expired entry is one for the module that `module` holds, through the same
  /// owner. If so, it is live.
  bool isHeldBy(std::size_t place, const std::shared_ptr<ApplyModule>& module) const {
    return address(place) == module.get() && !references[place].owner_before(module) &&
           !module.owner_before(references[place]);
  }

  /// Has the processor begin to load the entries.
  void loadEarly() const {
#if defined(__GNUC__)
    __builtin_prefetch(references.data());
    if (hasBlock()) {
      __builtin_prefetch(own.block.addresses);
    }
#endif
  }

  /// At the end.
  void add(const std::shared_ptr<ApplyModule>& module) {
    const std::size_t count = size();
    if (count == room()) {
      addToLargerBlock(module);
    } else {
      references.push_back(module);
    }
    addresses()[count] = module.get();
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
    const std::size_t left = size() - (end - begin);
    std::copy(addresses() + end, addresses() + size(), addresses() + begin);
    if (hasBlock() && left <= kFew) {
      const std::unique_ptr<ApplyModule*[]> block(own.block.addresses);
      own.few = {};
      std::copy_n(block.get(), left, own.few.begin());
    }
    const auto at = [this](std::size_t place) {
      return std::next(references.begin(), static_cast<std::ptrdiff_t>(place));
    };
    references.erase(at(begin), at(end));
  }

  void clear() {
    dropBlock();
    references.clear();
  }

  void swap(LinkList& other) {
    references.swap(other.references);
    std::swap(own, other.own);
  }

  void reserve(std::size_t count) { references.reserve(count); }

 private:
  static constexpr std::size_t kFew = 2;
  struct Block {
    ApplyModule** addresses;
    std::size_t room;
  };
  /// Of lists with more entries than a few it is the block.
  union Addresses {
    std::array<ApplyModule*, kFew> few;
    Block block;
  };

  bool hasBlock() const { return size() > kFew; }
  std::size_t room() const { return hasBlock() ? own.block.room : kFew; }
  ApplyModule** addresses() { return hasBlock() ? own.block.addresses : own.few.data(); }
  ApplyModule* const* addresses() const {
    return hasBlock() ? own.block.addresses : own.few.data();
  }

  static Block blockOf(ApplyModule* const* addresses, std::size_t count, std::size_t room) {
    auto block = std::make_unique_for_overwrite<ApplyModule*[]>(room);
    std::copy_n(addresses, count, block.get());
    return {block.release(), room};
  }

  void addToLargerBlock(const std::shared_ptr<ApplyModule>& module) {
    const std::size_t count = size();
    references.reserve(std::max(references.capacity(), 2 * count));
    const Block larger = blockOf(addresses(), count, 2 * count);
    dropBlock();
    references.push_back(module);
    own.block = larger;
  }

  void dropBlock() {
    if (hasBlock()) {
      delete[] own.block.addresses;
      own.few = {};
    }
  }

  Links references;
  Addresses own{};
};

}  // namespace Tessaril
