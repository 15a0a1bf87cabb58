#include "diagnostics/archive/ListedTree.h"

#include <utility>

namespace Tessaril::Diagnostics {

ListedTree::ListedTree(const std::vector<ArchivedObject>& listed) {
  for (const ArchivedObject& object : listed) {
    if (object.hasPlace) {
      objects.try_emplace(object.path, &object);
      addLevels(object.path);
    }
  }
}

/// A design that was saved from below the root of its tree has levels above it.
void ListedTree::addLevels(std::string path) {
  while (path.size() > 1 && levels.insert(path).second) {
    path.resize(path.rfind('/'));
  }
}

std::string ListedTree::follow(const Path& path) const {
  if (path.isEmpty()) {
    return {};
  }
  std::string level;
  for (const std::string& name : path.getNames()) {
    if (name != "..") {
      level += '/' + name;
      if (!levels.contains(level)) {
        return {};
      }
    } else if (level.empty()) {
      return {};
    } else {
      level.resize(level.rfind('/'));
    }
  }
  return level.empty() ? "/" : level;
}

PathTarget ListedTree::targetOf(const Path& path) const {
  const std::string place = follow(path);
  if (place.empty()) {
    return PathTarget::Nothing;
  }
  const auto found = objects.find(place);
  return found != objects.end() && found->second->module ? PathTarget::Module
                                                         : PathTarget::OtherObject;
}

}  // namespace Tessaril::Diagnostics
