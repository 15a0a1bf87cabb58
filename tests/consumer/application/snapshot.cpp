// Takes a snapshot of a small graph with the installed diagnostics.

#include <iostream>
#include <memory>

#include "diagnostics/graph/GraphSnapshot.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/parameterization/Object.h"

class Step : public Tessaril::ApplyModule, public Tessaril::Object {
 public:
  using Object::Object;
};

int main() {
  const auto design = std::make_shared<Tessaril::Object>("design");
  const auto parts = std::make_shared<Step>("parts");
  const auto mesh = std::make_shared<Step>("mesh");
  design->addChild(parts);
  design->addChild(mesh);
  Tessaril::ApplyGraph::insertAfter(mesh, parts);
  for (const auto& module : Tessaril::Diagnostics::snapshotOf({mesh}).modules) {
    std::cout << module.name << " (" << module.className << ")\n";
  }
}
