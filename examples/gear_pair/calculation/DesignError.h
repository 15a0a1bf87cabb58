#pragma once

#include <stdexcept>

namespace GearPair {

/// Says in one sentence why a gear pair of these values cannot be built or run, with the numbers
/// that show it and with what would be right.
class DesignError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace GearPair
