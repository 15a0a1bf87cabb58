#pragma once

#include <cstddef>

namespace Tessaril::TestSupport {

/// Notes the largest single allocation of the process. A program that uses it has its operator new
/// replaced.
class AllocationWatch {
 public:
  /// Forgets what came before.
  AllocationWatch();
  std::size_t largest() const;
};

}  // namespace Tessaril::TestSupport
