#include "diagnostics/archive/DroppedLinks.h"

#include <cstddef>
#include <unordered_map>
#include <utility>

namespace Tessaril::Diagnostics {
namespace {

/// The same text for every path, without a step back, that leads to one module. Requires: the path
/// leads to something.
std::string placeOf(const Path& path) {
  std::vector<std::string> names;
  for (const std::string& name : path.getNames()) {
    if (name == "..") {
      names.pop_back();
    } else {
      names.push_back(name);
    }
  }
  return Path::absolute(std::move(names)).toString();
}

class DroppedLinkSearch {
 public:
  using Lookup = std::function<PathTarget(const Path&)>;

  DroppedLinkSearch(const std::vector<ApplyModuleData>& stored, const Lookup& lookup)
      : records(stored), find(lookup) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (find(records[i].path) == PathTarget::Module) {
        lastRecord[placeOf(records[i].path)] = i;
      }
    }
  }

  std::vector<DroppedLink> search() {
    for (std::size_t i = 0; i < records.size(); ++i) {
      lookAt(records[i], i);
    }
    return std::move(dropped);
  }

 private:
  void lookAt(const ApplyModuleData& record, std::size_t index) {
    const std::string module = record.path.toString();
    const PathTarget target = find(record.path);
    if (target != PathTarget::Module) {
      dropped.push_back({module, {}, false, target == PathTarget::OtherObject, false});
    } else if (lastRecord.at(placeOf(record.path)) != index) {
      dropped.push_back({module, {}, false, false, true});
    } else {
      lookAtList(module, record.previousPaths, false);
      lookAtList(module, record.nextPaths, true);
    }
  }

  void lookAtList(const std::string& module, const std::vector<Path>& list, bool isNext) {
    for (const Path& path : list) {
      const PathTarget target = find(path);
      if (target != PathTarget::Module) {
        dropped.push_back(
            {module, path.toString(), isNext, target == PathTarget::OtherObject, false});
      }
    }
  }

  const std::vector<ApplyModuleData>& records;
  const Lookup& find;
  std::unordered_map<std::string, std::size_t> lastRecord;
  std::vector<DroppedLink> dropped;
};

}  // namespace

std::string DroppedLink::toString() const {
  const std::string where =
      leadsToObject ? "leads to an object that is no module" : "leads nowhere";
  if (isReplaced) {
    return record + " has another record behind this one, and that one counts";
  }
  if (!neighbour) {
    return record + " " + where + ", so its record is left out";
  }
  return record + ": " + (neighbour->empty() ? "the empty path" : *neighbour) + ", a " +
         (isNext ? "next" : "previous") + " module, " + where + ", so the link is dropped";
}

std::vector<DroppedLink> droppedLinks(const std::vector<ApplyModuleData>& records,
                                      const std::function<PathTarget(const Path&)>& find) {
  return DroppedLinkSearch(records, find).search();
}

}  // namespace Tessaril::Diagnostics
