#include "examples/gear_pair/application/archive/DesignValidation.h"

#include <sstream>

#include "examples/gear_pair/application/GearPairDesign.h"

namespace GearPair {

namespace {

using Links = std::vector<std::weak_ptr<Tessaril::ApplyModule>>;

std::string namesOf(const Links& links) {
  std::string names;
  for (const auto& link : links) {
    const auto module = std::dynamic_pointer_cast<DesignModule>(link.lock());
    names += ' ' + (module == nullptr ? "?" : module->getName());
  }
  return names;
}

/// Where a module stands, as a text to compare.
std::string placeOf(const DesignModule& module) {
  std::ostringstream place;
  place << module.getInsertMode() << ' ' << module.getChainId().toString();
  for (const Tessaril::Identifier& chain : module.getMergeChainIds()) {
    place << ' ' << chain.toString();
  }
  place << '|' << namesOf(module.getPreviousApplyModules()) << '|'
        << namesOf(module.getNextApplyModules()) << '|' << module.isStartOfSideChain()
        << module.isAdditionalModule() << module.getChildren().size()
        << module.ApplyModule::getSpeedRate();
  return place.str();
}

bool hasFlagsOfItsOwn(const DesignModule& module) {
  return module.isActive() && module.isConsistent() == module.isUpToDate() &&
         module.isInputOk() == module.computeIsInputOk();
}

}  // namespace

// The links are looked at one by one: before they are known to be those of a design, a walk along
// them might never end.
std::string objectionToDesign(const GearPairDesign& design) {
  const auto reference = GearPairDesign::create({});
  for (const auto& expected : reference->getModules()) {
    const auto module = design.findModule(expected->getName());
    if (module == nullptr || placeOf(*module) != placeOf(*expected)) {
      return "the " + expected->getName() + " does not stand where it belongs in a design";
    }
  }
  for (const auto& module : design.getModules()) {
    if (!hasFlagsOfItsOwn(*module)) {
      return "the flags of the " + module->getName() + " contradict what it holds";
    }
  }
  return {};
}

}  // namespace GearPair
