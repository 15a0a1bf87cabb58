#include "tessaril/platform/parameterization/Object.h"

#include <algorithm>
#include <utility>

#include "reference_platform/persistence_archiver/HostClass.h"

namespace Tessaril {
namespace {

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

void requireAllowed(std::string_view name) {
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string_view::npos) {
    throw ObjectException(quoted(name) + " cannot be the name of an object");
  }
}

}  // namespace

Object::Object(std::string name) : objectName(std::move(name)) { requireAllowed(objectName); }

Object::~Object() {
  for (const auto& child : children) {
    child->parent = nullptr;
  }
}

const std::string& Object::getName() const noexcept { return objectName; }

void Object::setName(std::string name) {
  if (name == objectName) {
    return;
  }
  requireAllowed(name);
  if (parent == nullptr) {
    objectName.swap(name);
  } else {
    parent->requireFreeName(name);
    parent->childrenByName.remove(*this);
    objectName.swap(name);
    parent->childrenByName.add(*this);
  }
  emitSigTreeChanged(ObjectTreeChangeReason::Renamed);
}

Object* Object::getParent() const noexcept { return parent; }

const Object& Object::getRoot() const noexcept {
  const Object* root = this;
  while (root->parent != nullptr) {
    root = root->parent;
  }
  return *root;
}

const std::vector<std::shared_ptr<Object>>& Object::getChildren() const noexcept {
  return children;
}

std::shared_ptr<Object> Object::getChild(std::string_view name) const {
  Object* const found = childrenByName.find(name);
  return found != nullptr ? found->shared_from_this() : nullptr;
}

void Object::addChild(std::shared_ptr<Object> child) {
  requireAddable(child.get());
  Object& added = *child;
  children.push_back(std::move(child));
  try {
    childrenByName.add(added);
  } catch (...) {
    children.pop_back();
    throw;
  }
  added.parent = this;
  emitSigTreeChanged(ObjectTreeChangeReason::ChildAdded);
}

std::shared_ptr<Object> Object::removeChild(const Object& child) {
  if (child.parent != this) {
    throw ObjectException(quoted(child.objectName) + " is no child of " + quoted(objectName));
  }
  const auto place = std::find_if(children.begin(), children.end(),
                                  [&](const auto& candidate) { return candidate.get() == &child; });
  std::shared_ptr<Object> removed = std::move(*place);
  children.erase(place);
  childrenByName.remove(*removed);
  removed->parent = nullptr;
  emitSigTreeChanged(ObjectTreeChangeReason::ChildRemoved);
  return removed;
}

Path Object::getPath(RequestedPathType /*type*/) const {
  return Path::absolute(namesBelow(getRoot()));
}

Path Object::getPath(const Object* origin, RequestedPathType /*type*/) const {
  if (origin == nullptr) {
    throw ObjectException("The path to " + quoted(objectName) + " needs an origin");
  }
  if (&origin->getRoot() != &getRoot()) {
    throw ObjectException("No path leads from " + quoted(origin->objectName) + " to " +
                          quoted(objectName) + ": they are in different trees");
  }
  const std::vector<std::string> from = origin->namesBelow(getRoot());
  const std::vector<std::string> to = namesBelow(getRoot());
  const auto [fromHere, toHere] = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
  std::vector<std::string> names(static_cast<std::size_t>(from.end() - fromHere), "..");
  names.insert(names.end(), toHere, to.end());
  return Path::relative(std::move(names));
}

std::shared_ptr<Object> Object::getObject(const Path& path, GetObjectBehavior behavior) const {
  if (const Object* found = follow(path)) {
    if (const auto held = found->weak_from_this().lock()) {
      return std::const_pointer_cast<Object>(held);
    }
  }
  if (behavior == GetObjectBehavior::ReturnNull) {
    return nullptr;
  }
  throw ObjectException("From " + quoted(objectName) + ", the path " + quoted(path.toString()) +
                        " leads to no object");
}

void Object::emitSigTreeChanged(ObjectTreeChangeReason reason) const {
  std::shared_ptr<const Object> announced;
  for (const Object* level = this; level != nullptr;) {
    // Only a slot can edit the tree, or drop what is passed.
    if (level->sigTreeChanged.connectionCount() == 0) {
      level = level->parent;
      continue;
    }
    if (announced == nullptr) {
      announced = weak_from_this().lock();
    }
    const auto passed = level->weak_from_this().lock();
    level->sigTreeChanged.emit(*this, reason);
    level = level->parent;
  }
}

Signals::Connection Object::connectToSigTreeChanged(const TreeChangedSignal::SlotType& slot,
                                                    Signals::ConnectPosition position) const {
  return sigTreeChanged.connect(slot, position);
}

void Object::requireAddable(const Object* child) const {
  if (child == nullptr) {
    throw ObjectException("An empty pointer cannot be a child of " + quoted(objectName));
  }
  if (child->parent != nullptr) {
    throw ObjectException(quoted(child->objectName) + " is a child of " +
                          quoted(child->parent->objectName) + " already");
  }
  if (child == &getRoot()) {
    throw ObjectException(quoted(child->objectName) +
                          " cannot be a child of itself or of an object below it");
  }
  requireFreeName(child->objectName);
}

void Object::requireFreeName(std::string_view name) const {
  if (childrenByName.find(name) != nullptr) {
    throw ObjectException(quoted(objectName) + " has a child " + quoted(name) + " already");
  }
}

std::vector<std::string> Object::namesBelow(const Object& ancestor) const {
  std::vector<std::string> names;
  for (const Object* level = this; level != &ancestor; level = level->parent) {
    names.push_back(level->objectName);
  }
  std::reverse(names.begin(), names.end());
  return names;
}

/// The object that the path leads to, held by a shared pointer or not; null for none.
const Object* Object::follow(const Path& path) const {
  if (path.isEmpty()) {
    return nullptr;
  }
  const Object* level = path.isAbsolute() ? &getRoot() : this;
  for (const std::string& name : path.getNames()) {
    if (name == "..") {
      level = level->parent;
    } else {
      level = level->childrenByName.find(name);
    }
    if (level == nullptr) {
      return nullptr;
    }
  }
  return level;
}

void Object::serialization_register(void* descriptor) {
  static const BaseClassRegister& record = ReferencePlatform::registerHostClass<Object>(
      "Object", 1,
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<Object*>(target.object)->load(archiver, target.version);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const Object*>(source.object)->save(archiver, source.version);
      },
      []() -> void* { return new (std::nothrow) Object("object"); });
  *static_cast<BaseClassRegister*>(descriptor) = record;
}

void Object::save(PersistenceArchiver& archiver, unsigned int /*version*/) const {
  archiver << objectName << static_cast<unsigned int>(children.size());
  for (const auto& child : children) {
    archiver.writeShared(child);
  }
}

void Object::load(PersistenceArchiver& archiver, unsigned int /*version*/) {
  std::string name;
  unsigned int count = 0;
  archiver >> name >> count;
  setName(std::move(name));
  for (; count > 0; --count) {
    addChild(archiver.readShared<Object>());
  }
}

}  // namespace Tessaril
