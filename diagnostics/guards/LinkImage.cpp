#include "diagnostics/guards/LinkImage.h"

#include <algorithm>
#include <unordered_set>

#include "tessaril/module/ApplyModule.h"

namespace Tessaril::Diagnostics {
namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;

/// Also where what they lead to has gone.
bool isSameEntry(const std::weak_ptr<ApplyModule>& left, const std::weak_ptr<ApplyModule>& right) {
  return !left.owner_before(right) && !right.owner_before(left) && left.lock() == right.lock();
}

bool areSame(const Links& left, const Links& right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(), &isSameEntry);
}

}  // namespace

LinkImage::LinkImage(const std::vector<std::weak_ptr<const ApplyModule>>& theOrigins)
    : origins(theOrigins) {
  take();
}

std::vector<LinkImage::ModulePtr> LinkImage::takeEdited() {
  std::vector<ModulePtr> edited;
  for (const Lists& lists : image) {
    const ModulePtr module = lists.module.lock();
    if (module != nullptr && !(areSame(lists.previous, module->getPreviousApplyModules()) &&
                               areSame(lists.next, module->getNextApplyModules()))) {
      edited.push_back(module);
    }
  }
  take();
  return edited;
}

void LinkImage::take() {
  image.clear();
  std::unordered_set<const ApplyModule*> reached;
  std::vector<ModulePtr> found;
  const auto reach = [&](const ModulePtr& module) {
    if (module != nullptr && reached.insert(module.get()).second) {
      found.push_back(module);
    }
  };
  for (const auto& origin : origins) {
    reach(origin.lock());
  }
  for (std::size_t i = 0; i < found.size(); ++i) {
    const ModulePtr module = found[i];
    const Lists& lists = image.emplace_back(
        Lists{module, module->getPreviousApplyModules(), module->getNextApplyModules()});
    for (const Links* const links : {&lists.next, &lists.previous}) {
      for (const auto& link : *links) {
        reach(link.lock());
      }
    }
  }
}

}  // namespace Tessaril::Diagnostics
