#pragma once

#include <string>
#include <unordered_map>

#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril::Diagnostics {

/// What people call the chains of a snapshot: "main chain" for the invalid identifier, "chain 1",
/// "chain 2" and so on for the others. Chains that have modules are counted first, in the order of
/// the snapshot; behind them come those that modules only refer to, as the chain they branch off or
/// merge.
class ChainNames {
 public:
  explicit ChainNames(const GraphSnapshot& snapshot);

  /// The text form of the identifier for a chain that the snapshot does not know.
  std::string nameOf(const Identifier& chain) const;

 private:
  void add(const Identifier& chain);

  /// From 1; the main chain is not among them.
  std::unordered_map<Identifier, std::size_t> numbers;
};

}  // namespace Tessaril::Diagnostics
