#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "examples/gear_pair/application/DesignSession.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {

/// The five flags of a module as letters, a dot for one that is not set: "aci.." is active,
/// consistent and input ok.
std::string flagsOf(const DesignModule& module);

/// Everything a designer can observe of a design. Results are compared by value.
struct Snapshot {
  explicit Snapshot(const GearPairDesign& design);

  DesignInput input;
  UnitSystem units;
  std::string flags;
  std::optional<Requirements> requirements;
  std::optional<ToothForm> pinion;
  std::optional<ToothForm> wheel;
  std::optional<ToothMeasures> pinionMeasures;
  std::optional<ToothMeasures> wheelMeasures;
  std::optional<Mesh> mesh;
  std::optional<LoadedPair> loaded;
  std::optional<std::string> report;
  std::optional<std::string> cutter;
  std::optional<std::string> drawing;
  std::optional<std::string> plan;

  bool operator==(const Snapshot&) const = default;
};

/// Names what differs, so that a failed comparison can be read.
std::string difference(const Snapshot& left, const Snapshot& right);

/// A session whose steps run inline.
DesignSession inlineSession(const DesignInput& input = soundDesign());

/// Updates up to the report and answers with what was applied, such as "strength:apply".
std::string updated(DesignSession& session);

}  // namespace GearPair
