#include "tests/diagnostics/picture/GearPairPicture.h"

#include "diagnostics/run/ObservedUpdate.h"
#include "examples/gear_pair/application/DesignSession.h"

namespace {

using GearPair::DesignModule;
using GearPair::DesignSession;
using Tessaril::Identifier;
using Tessaril::Diagnostics::ObservedUpdate;
using Tessaril::Diagnostics::RunRecorder;
using Tessaril::Diagnostics::RunReport;

RunReport observedUpdateOf(DesignSession& session) {
  const auto design = session.design();
  const auto recorder = std::make_shared<RunRecorder>();
  const auto update = std::make_shared<ObservedUpdate<GearPair::UpdateDesignCmd>>(
      recorder,
      Tessaril::Diagnostics::RunRange{design, design->requirements(), design->report(), {}}, design,
      design->report(), nullptr);
  session.run(update);
  return recorder->getLastReport();
}

std::map<Identifier, std::string> chainNamesOf(const GearPair::GearPairDesign& design) {
  std::map<Identifier, std::string> names;
  for (const auto& module : design.getModules()) {
    if (!module->getChainId().isNull()) {
      names[module->getChainId()] = GearPair::GearPairDesign::chainName(*module);
    }
  }
  return names;
}

}  // namespace

GearPairPicture gearPairPicture(const std::filesystem::path& design) {
  DesignSession session(GearPair::readDesign(design), nullptr);
  session.update();
  session.set("torque=160Nm");
  const RunReport report = observedUpdateOf(session);
  GearPairPicture picture;
  picture.snapshot = Tessaril::Diagnostics::snapshotOf(
      {session.design()->requirements()}, [](const Tessaril::ApplyModule& module) {
        return dynamic_cast<const DesignModule&>(module).getTitle();
      });
  picture.options.title = "Gear pair: the torque was changed";
  picture.options.chainNames = chainNamesOf(*session.design());
  picture.options.runMarks = runMarksOf(report, picture.snapshot);
  for (auto& [module, mark] : picture.options.runMarks) {
    mark.duration.reset();
  }
  return picture;
}
