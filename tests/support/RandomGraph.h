#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "tests/support/GraphText.h"

/// Seeded random graphs. A seed gives the same graph on every platform.
namespace Tessaril::TestSupport {

/// Random numbers whose sequence depends on the seed only.
class Random {
 public:
  explicit Random(std::uint64_t seed);

  /// One of 0, 1, ... bound - 1. Requires: bound > 0.
  std::size_t below(std::size_t bound);
  /// True with that probability.
  bool percent(unsigned probability);

 private:
  std::mt19937_64 engine;
};

/// What a random graph looks like. Probabilities are percentages. By default: connected, without
/// cycles, both ends in step, every flag as in a new module.
struct RandomGraphParameters {
  std::size_t modules = 8;
  /// So many modules follow nothing; every other follows at least one that was made earlier, but
  /// for what is lost to the faults below.
  std::size_t roots = 1;
  /// Of each pair of modules, to be linked from the earlier to the later one.
  unsigned links = 25;
  /// Of each pair of modules, to be linked from the later to the earlier one.
  unsigned backLinks = 0;
  /// Of each module, to be linked with itself.
  unsigned selfLinks = 0;
  /// Of each link, to be missing in one of the two lists.
  unsigned oneSided = 0;
  /// Of each entry, to stand in its list twice.
  unsigned duplicates = 0;
  /// Of each module, to be dropped in the end, so that its entries are dead.
  unsigned dead = 0;
  /// Of each flag of each module (state flags, additional, start of side chain), to differ from a
  /// new module's.
  unsigned flags = 0;
  /// So many chains beside the main chain; modules are on any of them, in any insert mode.
  std::size_t chains = 0;
};

/// Everything that can go wrong with a graph, a little of each.
RandomGraphParameters faultyGraphs();

TestGraph randomGraph(std::uint64_t seed, const RandomGraphParameters& parameters,
                      const ModuleFactory& factory);
TestGraph randomGraph(std::uint64_t seed, const RandomGraphParameters& parameters = {});

/// Calls `body` with the seeds 1, 2, ... count, and names the seed beside every failure. Ends at
/// the first seed that fails: the others would only repeat it.
template <typename Body>
void forSeeds(std::uint64_t count, const Body& body) {
  for (std::uint64_t seed = 1; seed <= count && !::testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    body(seed);
  }
}

}  // namespace Tessaril::TestSupport
