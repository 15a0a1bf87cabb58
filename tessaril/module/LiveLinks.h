#pragma once

#include <cstddef>
#include <memory>
#include <vector>

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// Calls `visit` with every live module of `links`, in list order. By index, since what `visit`
/// does to other modules may reach this list.
template <typename Visit>
void forEachLive(const std::vector<std::weak_ptr<ApplyModule>>& links, const Visit& visit) {
  for (std::size_t i = 0; i < links.size(); ++i) {
    if (const std::shared_ptr<ApplyModule> module = links[i].lock()) {
      visit(module);
    }
  }
}

}  // namespace Tessaril
