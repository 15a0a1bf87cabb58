#pragma once

#include <memory>

namespace GearPair {

/// An immutable value that modules and commands share; null: not there.
template <typename T>
using Shared = std::shared_ptr<const T>;

/// Whether two shared values are equal. The same object is equal without a look at it.
template <typename T>
bool sameValue(const Shared<T>& left, const Shared<T>& right) {
  return left == right || (left != nullptr && right != nullptr && *left == *right);
}

}  // namespace GearPair
