#pragma once

#include "examples/gear_pair/calculation/Units.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"

namespace GearPair {

/// "The unit system changed": goes to every module of the graph; those that write texts answer it
/// with a command that writes them anew. No module has to be applied for it.
class UnitSystemMessage final : public Tessaril::ApplyUpdateMessage {
 public:
  UnitSystemMessage(UnitSystem from, UnitSystem to);

  UnitSystem getUnits() const;

  std::shared_ptr<Tessaril::ApplyUpdateMessage> clone() const override;
  /// True where nothing has changed after all.
  bool isEmpty() const override;
  /// True: it concerns all that follow, not only the next module.
  bool isGlobal() const override;

 private:
  UnitSystem before;
  UnitSystem after;
};

}  // namespace GearPair
