#pragma once

#include <cstddef>
#include <vector>

// Internal: what has changed before something was decided upon.

namespace Tessaril::Diagnostics {

/// The changes of modules, each at a place in an order that counts from 1. Tells which one comes
/// last among all that a module depends on.
class ChangesBefore {
 public:
  using Links = std::vector<std::vector<std::size_t>>;

  /// `previous`: for each module those that it depends on at once, by index; best in graph order.
  /// `changes`: for each module the place of its change, 0 for none.
  ChangesBefore(Links previous, std::vector<std::size_t> changes);

  /// The place of the last change up to `latest`, 0 for none. Constant where no later one matters,
  /// else linear in what the module depends on.
  std::size_t before(std::size_t module, std::size_t latest) const;

 private:
  Links previousOf;
  std::vector<std::size_t> changeOf;
  /// For each module the last change of all.
  std::vector<std::size_t> lastBefore;
};

}  // namespace Tessaril::Diagnostics
