// Stores a small graph in an archive and makes it anew, with nothing but the library and its
// services. It fails where the library's own classes have not been registered by the time main
// begins.

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tessaril/platform/parameterization/Object.h"

namespace DesignApplication {

using Tessaril::ApplyGraph;
using Tessaril::ApplyModule;
using Tessaril::ApplyModuleData;
using Tessaril::BaseClassRegister;
using Tessaril::Object;
using Tessaril::PersistenceArchiver;

class Step : public ApplyModule, public Object {
 public:
  explicit Step(const std::string& name = "step") : Object(name) {}

  static void serialization_register(void* descriptor) {
    *static_cast<BaseClassRegister*>(descriptor) = *Tessaril::registerClass<Step>(
        "DesignApplication.Step", 1,
        [](PersistenceArchiver& archiver, BaseClassRegister& target) {
          Step& step = *static_cast<Step*>(target.object);
          Tessaril::readNested<Object>(archiver, step);
          Tessaril::readNested<ApplyModule>(archiver, step);
        },
        [](PersistenceArchiver& archiver, BaseClassRegister& source) {
          const Step& step = *static_cast<const Step*>(source.object);
          Tessaril::writeNested<Object>(archiver, step);
          Tessaril::writeNested<ApplyModule>(archiver, step);
        });
  }
};

std::string saved() {
  const auto design = std::make_shared<Object>("design");
  std::shared_ptr<Step> last;
  for (const char* name : {"requirements", "parts", "mesh"}) {
    const auto step = std::make_shared<Step>(name);
    design->addChild(step);
    if (last) {
      ApplyGraph::insertAfter(step, last);
    }
    last = step;
  }
  last->setFrozen(true, false);
  std::vector<ApplyModuleData> links;
  ApplyGraph::storeApplyGraph(design, {last}, links);
  PersistenceArchiver archiver;
  archiver.writeShared(design);
  Tessaril::writeContainer(archiver, links);
  return archiver.finish();
}

void open(const std::string& archive) {
  PersistenceArchiver archiver(archive);
  const auto design = archiver.readShared<Object>();
  std::vector<ApplyModuleData> links;
  Tessaril::readContainer(archiver, links);
  archiver.requireEnd();
  ApplyGraph::restoreApplyGraph(design, links);
  auto step = std::dynamic_pointer_cast<Step>(design->getChild("requirements"));
  for (; step; step = std::dynamic_pointer_cast<Step>(step->getNextApplyModule())) {
    std::cout << step->getName() << (step->isFrozen() ? " (frozen)" : " -> ");
  }
  std::cout << "\n";
}

}  // namespace DesignApplication

int main() {
  for (const char* name :
       {"ModuleState", "ApplyModule", "ApplyModuleInsertInfo", "ApplyModuleData"}) {
    if (Tessaril::PersistenceArchiver::findFactory(name) == nullptr) {
      std::cout << name << " is not registered\n";
      return 1;
    }
  }
  static const bool stepIsAnObject =
      Tessaril::registerBaseClass<Tessaril::Object, DesignApplication::Step>();
  if (!stepIsAnObject) {
    return 1;
  }
  DesignApplication::open(DesignApplication::saved());
}
