#include "tests/examples/gear_pair/application/TestSession.h"

namespace GearPair {

namespace {

template <typename T>
std::optional<T> copyOf(const std::shared_ptr<const T>& value) {
  return value == nullptr ? std::nullopt : std::make_optional(*value);
}

}  // namespace

std::string flagsOf(const DesignModule& module) {
  std::string flags;
  flags += module.isActive() ? 'a' : '.';
  flags += module.isConsistent() ? 'c' : '.';
  flags += module.isInputOk() ? 'i' : '.';
  flags += module.isFrozen() ? 'f' : '.';
  flags += module.isSkipped() ? 's' : '.';
  return flags;
}

Snapshot::Snapshot(const GearPairDesign& design)
    : input(design.getValues().input),
      units(design.getValues().units),
      requirements(copyOf(design.requirements()->getResult())),
      pinion(copyOf(design.pinion()->getResult())),
      wheel(copyOf(design.wheel()->getResult())),
      pinionMeasures(copyOf(design.pinion()->getMeasures())),
      wheelMeasures(copyOf(design.wheel()->getMeasures())),
      mesh(copyOf(design.mesh()->getResult())),
      loaded(copyOf(design.strength()->getResult())),
      report(copyOf(design.report()->getResult())),
      drawing(copyOf(design.drawing()->getResult())),
      plan(copyOf(design.plan()->getResult())) {
  if (const auto sheet = design.cutter()->getResult()) {
    cutter = sheet->gearsCut + sheet->drawing;
  }
  for (const auto& module : design.getModules()) {
    flags += module->getName() + ":" + flagsOf(*module) + " ";
  }
}

std::string difference(const Snapshot& left, const Snapshot& right) {
  std::string names;
  const auto compare = [&names](const char* name, bool equal) {
    names += equal ? "" : std::string(name) + " ";
  };
  compare("input", left.input == right.input);
  compare("units", left.units == right.units);
  compare("requirements", left.requirements == right.requirements);
  compare("pinion", left.pinion == right.pinion);
  compare("wheel", left.wheel == right.wheel);
  compare("pinionMeasures", left.pinionMeasures == right.pinionMeasures);
  compare("wheelMeasures", left.wheelMeasures == right.wheelMeasures);
  compare("mesh", left.mesh == right.mesh);
  compare("loaded", left.loaded == right.loaded);
  compare("report", left.report == right.report);
  compare("cutter", left.cutter == right.cutter);
  compare("drawing", left.drawing == right.drawing);
  compare("plan", left.plan == right.plan);
  return left.flags == right.flags ? names : names + left.flags + "<> " + right.flags;
}

DesignSession inlineSession(const DesignInput& input) { return DesignSession(input, nullptr); }

std::string updated(DesignSession& session) { return session.update()->getEventText(); }

}  // namespace GearPair
