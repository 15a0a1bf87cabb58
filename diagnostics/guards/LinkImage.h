#pragma once

#include <memory>
#include <vector>

// Internal: what edits leave behind that no hook tells of.

namespace Tessaril {

class ApplyModule;

namespace Diagnostics {

/// The links of a graph as they were at one moment.
///
/// Of everything that can be reached from the given modules along next and previous entries. Keeps
/// no module alive; that one is gone is no edit. On the graph's thread.
class LinkImage {
 public:
  using ModulePtr = std::shared_ptr<const ApplyModule>;

  explicit LinkImage(const std::vector<std::weak_ptr<const ApplyModule>>& theOrigins);

  /// The modules whose lists are other ones than at the last call, in the order in which they were
  /// reached then. Linear in the modules and links.
  std::vector<ModulePtr> takeEdited();

 private:
  using Links = std::vector<std::weak_ptr<ApplyModule>>;
  struct Lists {
    std::weak_ptr<const ApplyModule> module;
    Links previous;
    Links next;
  };

  void take();

  std::vector<std::weak_ptr<const ApplyModule>> origins;
  std::vector<Lists> image;
};

}  // namespace Diagnostics
}  // namespace Tessaril
