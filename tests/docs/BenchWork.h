#pragma once

#include <cstdint>

#include "bench/ModuleGraph.h"
#include "bench/Paired.h"
#include "bench/Shapes.h"
#include "bench/VisitHash.h"

// What a document shows of the benchmarks is a main() alone; this stands in for the rest.

namespace Tessaril::Bench {

inline std::uint64_t count(const ModulePtr& start) {
  VisitHash hash;
  start->forThisAndAllFollowingModules([&hash](const ApplyModule& module) {
    hash.add(module.getNextApplyModules().size());
    return true;
  });
  return hash.value();
}

namespace Literal {

inline std::uint64_t count(const ModulePtr& start) { return Bench::count(start); }

}  // namespace Literal

}  // namespace Tessaril::Bench
