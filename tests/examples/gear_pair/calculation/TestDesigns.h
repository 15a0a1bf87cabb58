#pragma once

#include <functional>
#include <string>

#include "examples/gear_pair/calculation/DesignInput.h"
#include "examples/gear_pair/calculation/Mesh.h"
#include "examples/gear_pair/calculation/Strength.h"

namespace GearPair {

/// 20 and 41 teeth of module 2.5, shifted, with backlash.
inline DesignInput soundDesign() {
  DesignInput input;
  input.module = 2.5;
  input.pinionTeeth = 20;
  input.wheelTeeth = 41;
  input.pinionShift = 0.25;
  input.wheelShift = 0.1;
  input.faceWidth = 30.0;
  input.backlash = 0.12;
  input.pinionMaterial = "16MnCr5";
  input.wheelMaterial = "42CrMo4";
  input.torque = 100.0;
  input.speed = 1450.0;
  return input;
}

/// A pair without profile shift and backlash, of module 1.
inline DesignInput standardDesign(int pinionTeeth, int wheelTeeth) {
  DesignInput input = soundDesign();
  input.module = 1.0;
  input.pinionTeeth = pinionTeeth;
  input.wheelTeeth = wheelTeeth;
  input.pinionShift = 0.0;
  input.wheelShift = 0.0;
  input.backlash = 0.0;
  return input;
}

/// All steps of a design.
struct Computed {
  Requirements requirements;
  ToothForm pinion;
  ToothForm wheel;
  Mesh mesh;
  Strength strength;
};

inline Computed compute(const DesignInput& input) {
  Computed all;
  all.requirements = deriveRequirements(input);
  all.pinion = computeToothForm(all.requirements, Member::kPinion);
  all.wheel = computeToothForm(all.requirements, Member::kWheel);
  all.mesh = computeMesh(all.requirements, all.pinion, all.wheel);
  all.strength = computeStrength(all.requirements, all.pinion, all.wheel, all.mesh);
  return all;
}

/// The text of the exception that an action throws; "nothing was thrown" if it does not.
template <typename Error>
std::string messageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    return error.what();
  }
  return "nothing was thrown";
}

}  // namespace GearPair
