#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "examples/gear_pair/application/DesignValues.h"
#include "examples/gear_pair/application/modules/CutterModule.h"
#include "examples/gear_pair/application/modules/DrawingModule.h"
#include "examples/gear_pair/application/modules/PlanModule.h"
#include "examples/gear_pair/application/modules/ReportModule.h"
#include "tessaril/platform/parameterization/Object.h"

namespace GearPair {

/// "metric" or "US customary".
std::string unitSystemName(UnitSystem units);

/// The design of one gear pair: its values, its modules, and their graph.
///
///   requirements -> pinion -> mesh -> strength -> report -> plan      main chain
///   requirements -> wheel -> mesh                                     fork, merged by the mesh
///   pinion -> cutter                                                  side chain
///   mesh -> drawing                                                   side chain
///
/// The object "design" of the parameter tree owns the modules as its children.
class GearPairDesign final : public Tessaril::Object {
 public:
  static std::shared_ptr<GearPairDesign> create(const DesignInput& input);

  const DesignValues& getValues() const;
  /// Both refresh the flags of all modules and tell their listeners.
  void setInput(const DesignInput& input);
  void setUnits(UnitSystem units);

  // The modules. Never null.

  const std::shared_ptr<RequirementsModule>& requirements() const;
  const std::shared_ptr<ToothModule>& pinion() const;
  const std::shared_ptr<ToothModule>& wheel() const;
  const std::shared_ptr<MeshModule>& mesh() const;
  const std::shared_ptr<StrengthModule>& strength() const;
  const std::shared_ptr<ReportModule>& report() const;
  const std::shared_ptr<CutterModule>& cutter() const;
  const std::shared_ptr<DrawingModule>& drawing() const;
  const std::shared_ptr<PlanModule>& plan() const;

  /// Where every update starts: the requirements.
  std::shared_ptr<DesignModule> start() const;
  /// The module of that name, or null.
  std::shared_ptr<DesignModule> findModule(std::string_view name) const;
  /// All modules in the order in which an update visits them.
  std::vector<std::shared_ptr<DesignModule>> getModules() const;
  /// The name of the module's chain: "main", "wheel", "cutter" or "drawing".
  static std::string chainName(const DesignModule& module);

  /// Tells the listeners of all modules.
  void announce() const;

  /// Fills the class record of "GearPair.Design" into the BaseClassRegister that `descriptor`
  /// points to: values, modules and what these hold. The links between them are stored with the
  /// graph.
  static void serialization_register(void* descriptor);

 private:
  explicit GearPairDesign(const DesignInput& input);
  /// With modules and graph.
  static std::unique_ptr<GearPairDesign> make(const DesignInput& input);

  void save(Tessaril::PersistenceArchiver& archiver) const;
  void load(Tessaril::PersistenceArchiver& archiver);

  PairModules pair() const;
  void setUpModules();
  void setUpGraph();
  void refresh();

  std::shared_ptr<DesignValues> values;
  std::shared_ptr<RequirementsModule> requirementsModule;
  std::shared_ptr<ToothModule> pinionModule;
  std::shared_ptr<ToothModule> wheelModule;
  std::shared_ptr<MeshModule> meshModule;
  std::shared_ptr<StrengthModule> strengthModule;
  std::shared_ptr<ReportModule> reportModule;
  std::shared_ptr<CutterModule> cutterModule;
  std::shared_ptr<DrawingModule> drawingModule;
  std::shared_ptr<PlanModule> planModule;
};

}  // namespace GearPair
