#include "examples/gear_pair/application/UnitSystemMessage.h"

namespace GearPair {

UnitSystemMessage::UnitSystemMessage(UnitSystem from, UnitSystem to) : before(from), after(to) {}

UnitSystem UnitSystemMessage::getUnits() const { return after; }

std::shared_ptr<Tessaril::ApplyUpdateMessage> UnitSystemMessage::clone() const {
  return std::make_shared<UnitSystemMessage>(*this);
}

bool UnitSystemMessage::isEmpty() const { return before == after; }

bool UnitSystemMessage::isGlobal() const { return true; }

}  // namespace GearPair
