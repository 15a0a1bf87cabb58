#pragma once

#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/ApplyModule.h"

// Internal to the library: how its algorithms reach the links of modules.

namespace Tessaril {

inline const LinkList& ApplyGraph::getNextLinks(const ApplyModule& module) {
  return ApplyModule::nextLinksOf(module);
}

inline const LinkList& ApplyGraph::getPreviousLinks(const ApplyModule& module) {
  return ApplyModule::previousLinksOf(module);
}

inline void ApplyGraph::loadLinksEarly(const ApplyModule* module) {
  ApplyModule::loadLinksEarly(module);
}

}  // namespace Tessaril
