#pragma once

#include <cstdio>
#include <cstdlib>

namespace Tessaril::Fuzz {

/// Ends the process, which makes the input a finding, when what must always hold does not.
inline void check(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "Broken: %s\n", what);
    std::abort();
  }
}

}  // namespace Tessaril::Fuzz
