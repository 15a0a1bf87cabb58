#pragma once

#include <cstddef>
#include <memory>

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// Calls `visit` with every live module of `links`, in list order. By index, since what `visit`
/// does to other modules may reach this list.
template <typename Links, typename Visit>
void forEachLive(const Links& links, const Visit& visit) {
  for (std::size_t i = 0; i < links.size(); ++i) {
    if (const std::shared_ptr<ApplyModule> module = links[i].lock()) {
      visit(module);
    }
  }
}

}  // namespace Tessaril
