#include <algorithm>

#include "Registration.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {
namespace {

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

void requireName(const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
    throw ObjectException(quoted(name) + " is no name for an object");
  }
}

}  // namespace

Path::Path(std::string_view text) {
  if (text.empty()) {
    return;
  }
  begin = text.front() == '/' ? Begin::Root : Begin::Here;
  while (!text.empty()) {
    const std::size_t slash = std::min(text.find('/'), text.size());
    add(text.substr(0, slash));
    text.remove_prefix(std::min(slash + 1, text.size()));
  }
}

Path Path::absolute(const std::vector<std::string>& names) {
  Path path("/");
  std::for_each(names.begin(), names.end(), [&](const auto& name) { path.add(name); });
  return path;
}

Path Path::relative(const std::vector<std::string>& names) {
  Path path(".");
  std::for_each(names.begin(), names.end(), [&](const auto& name) { path.add(name); });
  return path;
}

void Path::add(std::string_view name) {
  if (!name.empty() && name != ".") {
    names.emplace_back(name);
  }
}

std::string Path::toString() const {
  if (isEmpty()) {
    return {};
  }
  if (names.empty()) {
    return isAbsolute() ? "/" : ".";
  }
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() && !isAbsolute() ? "" : "/") + name;
  }
  return text;
}

void Path::save(PersistenceArchiver& archiver) const {
  archiver.writeEnumeration(begin);
  archiver << static_cast<unsigned int>(names.size());
  for (const std::string& name : names) {
    archiver << name;
  }
}

void Path::load(PersistenceArchiver& archiver) {
  unsigned int count = 0;
  archiver.readEnumeration(begin);
  archiver >> count;
  archiver.check_container_size(count);
  names.assign(count, {});
  for (std::string& name : names) {
    archiver >> name;
  }
}

void Path::serialization_register(void* descriptor) {
  Workshop::describe<Path>(
      descriptor, "Path", [] { return static_cast<void*>(new Path); },
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<Path*>(target.object)->load(archiver);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const Path*>(source.object)->save(archiver);
      });
}

Object::Object(std::string objectName) : name(std::move(objectName)) { requireName(name); }

Object::~Object() {
  for (const auto& child : children) {
    child->parent = nullptr;
  }
}

void Object::setName(std::string newName) {
  if (newName == name) {
    return;
  }
  requireName(newName);
  if (parent != nullptr) {
    if (parent->getChild(newName)) {
      throw ObjectException("There is a " + quoted(newName) + " beside " + quoted(name));
    }
    auto node = parent->childrenByName.extract(name);
    node.key() = newName;
    parent->childrenByName.insert(std::move(node));
  }
  name = std::move(newName);
  emitSigTreeChanged(ObjectTreeChangeReason::Renamed);
}

const Object& Object::getRoot() const noexcept {
  const Object* root = this;
  while (root->parent != nullptr) {
    root = root->parent;
  }
  return *root;
}

std::shared_ptr<Object> Object::getChild(std::string_view childName) const {
  const auto found = childrenByName.find(childName);
  return found != childrenByName.end() ? found->second : nullptr;
}

void Object::addChild(std::shared_ptr<Object> child) {
  if (child == nullptr || child->parent != nullptr || child.get() == &getRoot()) {
    throw ObjectException("What is to be added to " + quoted(name) +
                          " is nothing, or has its place already");
  }
  if (!childrenByName.emplace(child->name, child).second) {
    throw ObjectException(quoted(name) + " has a child " + quoted(child->name) + " already");
  }
  child->parent = this;
  children.push_back(std::move(child));
  emitSigTreeChanged(ObjectTreeChangeReason::ChildAdded);
}

std::shared_ptr<Object> Object::removeChild(const Object& child) {
  if (child.parent != this) {
    throw ObjectException(quoted(child.name) + " is no child of " + quoted(name));
  }
  const auto place = std::find_if(children.begin(), children.end(),
                                  [&](const auto& each) { return each.get() == &child; });
  std::shared_ptr<Object> removed = *place;
  children.erase(place);
  childrenByName.erase(removed->name);
  removed->parent = nullptr;
  emitSigTreeChanged(ObjectTreeChangeReason::ChildRemoved);
  return removed;
}

/// From the root to this object.
std::vector<const Object*> Object::lineage() const {
  std::vector<const Object*> found;
  for (const Object* object = this; object != nullptr; object = object->parent) {
    found.insert(found.begin(), object);
  }
  return found;
}

Path Object::getPath(RequestedPathType /*type*/) const {
  std::vector<std::string> names;
  for (const Object* object : lineage()) {
    names.push_back(object->name);
  }
  names.erase(names.begin());
  return Path::absolute(names);
}

Path Object::getPath(const Object* origin, RequestedPathType /*type*/) const {
  if (origin == nullptr || &origin->getRoot() != &getRoot()) {
    throw ObjectException("No path leads from " + (origin ? quoted(origin->name) : "nothing") +
                          " to " + quoted(name));
  }
  const auto there = origin->lineage();
  const auto here = lineage();
  const auto [up, down] = std::mismatch(there.begin(), there.end(), here.begin(), here.end());
  std::vector<std::string> names(static_cast<std::size_t>(there.end() - up), "..");
  std::for_each(down, here.end(), [&](const Object* object) { names.push_back(object->name); });
  return Path::relative(names);
}

std::shared_ptr<Object> Object::follow(const Path& path) const {
  const Object* at = path.isEmpty() ? nullptr : path.isAbsolute() ? &getRoot() : this;
  for (const std::string& step : path.getNames()) {
    if (at != nullptr) {
      at = step == ".." ? at->parent : at->getChild(step).get();
    }
  }
  return at != nullptr ? std::const_pointer_cast<Object>(at->weak_from_this().lock()) : nullptr;
}

std::shared_ptr<Object> Object::getObject(const Path& path, GetObjectBehavior behavior) const {
  auto found = follow(path);
  if (found == nullptr && behavior == GetObjectBehavior::Throw) {
    throw ObjectException("The path " + quoted(path.toString()) + " leads nowhere from " +
                          quoted(name));
  }
  return found;
}

void Object::emitSigTreeChanged(ObjectTreeChangeReason reason) const {
  // What the slots drop lasts until the announcement has passed it.
  const auto self = weak_from_this().lock();
  std::shared_ptr<const Object> lasting = self;
  for (const Object* object = this; object != nullptr;) {
    object->treeChanged.emit(*this, reason);
    object = object->parent;
    lasting = object != nullptr ? object->weak_from_this().lock() : nullptr;
  }
}

void Object::save(PersistenceArchiver& archiver) const {
  archiver << name << static_cast<unsigned int>(children.size());
  for (const auto& child : children) {
    archiver.writeShared(child);
  }
}

void Object::load(PersistenceArchiver& archiver) {
  std::string storedName;
  unsigned int count = 0;
  archiver >> storedName >> count;
  archiver.check_container_size(count);
  setName(storedName);
  for (unsigned int i = 0; i < count; ++i) {
    addChild(archiver.readShared<Object>());
  }
}

void Object::serialization_register(void* descriptor) {
  Workshop::describe<Object>(
      descriptor, "Object", [] { return static_cast<void*>(new Object("object")); },
      [](PersistenceArchiver& archiver, BaseClassRegister& target) {
        static_cast<Object*>(target.object)->load(archiver);
      },
      [](PersistenceArchiver& archiver, BaseClassRegister& source) {
        static_cast<const Object*>(source.object)->save(archiver);
      });
}

}  // namespace Tessaril
