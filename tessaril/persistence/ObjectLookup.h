#pragma once

#include <memory>

#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/parameterization/ObjectException.h"

// Internal to the library.

namespace Tessaril {

/// The object that `path` leads to from `origin`, as a T. An object that is no T counts as one that
/// was not found; `behavior` decides between an ObjectException and null.
template <typename T>
std::shared_ptr<T> getObjectAs(const Object& origin, const Path& path, GetObjectBehavior behavior) {
  auto object = std::dynamic_pointer_cast<T>(origin.getObject(path, behavior));
  if (object == nullptr && behavior == GetObjectBehavior::Throw) {
    throw ObjectException("Object::getObject: Failed to cast object to requested type");
  }
  return object;
}

}  // namespace Tessaril
