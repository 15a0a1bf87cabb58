#pragma once

#include <stdexcept>

namespace GearPair {

/// Says in one line why a design input cannot be read: "origin: what is wrong; what would be
/// right". The origin is "file:line" for a file and the assignment itself for a single assignment.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace GearPair
