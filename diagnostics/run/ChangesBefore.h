#pragma once

#include <cstddef>
#include <vector>

// Internal: what has changed before something was decided upon.

namespace Tessaril::Diagnostics {

/// The changes of modules, each at a place in an order that counts from 1. Tells which one comes
/// last among all that a module depends on.
///
/// What was found out about a module is kept as long as no change of what it depends on comes in
/// between. So where the questions follow the order of the changes, as the steps of a run do, all
/// of them together cost little more than one look at each link.
class ChangesBefore {
 public:
  using Links = std::vector<std::vector<std::size_t>>;

  /// `previous`: for each module those that it depends on at once, by index. What lies on a cycle
  /// depends on itself.
  /// `changes`: for each module the place of its change, 0 for none.
  ChangesBefore(Links previous, std::vector<std::size_t> changes);

  /// The place of the last change up to `latest`, 0 for none.
  std::size_t before(std::size_t module, std::size_t latest);
  /// How many links were looked at up to now.
  std::size_t effort() const { return linksSeen; }

 private:
  /// From the last change up to some place to the first one behind it: for every place in between
  /// the last change is the same. As long as nothing is known, there is none.
  struct Stretch {
    std::size_t last = 1;
    std::size_t nextOne = 0;

    bool contains(std::size_t place) const { return last <= place && place < nextOne; }
  };

  void cutCycles();
  void cutCycle(const std::vector<std::size_t>& part);
  std::size_t addModule(std::size_t change);
  void findOut(std::size_t module, std::size_t latest);
  bool pushUnknown(std::size_t module, std::size_t latest);
  Stretch stretchAround(std::size_t module, std::size_t latest) const;

  Links previousOf;
  std::vector<std::size_t> changeOf;
  std::vector<Stretch> known;
  /// What has to be found out, the last one first.
  std::vector<std::size_t> pending;
  std::size_t linksSeen = 0;
};

}  // namespace Tessaril::Diagnostics
