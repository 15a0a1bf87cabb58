#include "diagnostics/graph/ChainNames.h"

namespace Tessaril::Diagnostics {

ChainNames::ChainNames(const GraphSnapshot& snapshot) {
  for (const SnapshotModule& module : snapshot.modules) {
    add(module.chainId);
  }
  for (const SnapshotModule& module : snapshot.modules) {
    add(module.startChainId);
    for (const Identifier& merged : module.mergeChainIds) {
      add(merged);
    }
  }
}

void ChainNames::add(const Identifier& chain) {
  if (!chain.isNull()) {
    numbers.emplace(chain, numbers.size() + 1);
  }
}

std::string ChainNames::nameOf(const Identifier& chain) const {
  if (chain.isNull()) {
    return "main chain";
  }
  const auto place = numbers.find(chain);
  return place == numbers.end() ? chain.toString() : "chain " + std::to_string(place->second);
}

}  // namespace Tessaril::Diagnostics
