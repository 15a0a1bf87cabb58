#include "examples/gear_pair/calculation/Report.h"

#include <cmath>

#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/TextTable.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

/// Everything that a section of the report may need.
struct Results {
  const Requirements& requirements;
  const ToothForm& pinion;
  const ToothForm& wheel;
  const Mesh& mesh;
  const Strength& strength;
  UnitSystem units;

  std::string sign(Quantity quantity) const { return unitSign(quantity, units); }
  std::string number(double value, Quantity quantity) const {
    return quantityNumber(value, quantity, units);
  }
  std::string length(double value) const { return number(value, Quantity::kLength); }
};

std::string angleText(double angle) { return fixedText(degrees(angle), 3); }

/// A specific sliding, which has no bound where contact starts on the base circle.
std::string slidingText(double sliding) {
  return std::isfinite(sliding) ? fixedText(sliding, 2) : "unbounded";
}

void addLength(const Results& results, const std::string& label, double pinion, double wheel,
               TextTable& table) {
  table.add(label, results.length(pinion), results.length(wheel), results.sign(Quantity::kLength));
}

void addQuantity(const Results& results, const std::string& label, double value, Quantity quantity,
                 TextTable& table) {
  table.add(label, results.number(value, quantity), results.sign(quantity));
}

std::string taskSection(const Results& results) {
  const Requirements& r = results.requirements;
  TextTable table;
  addQuantity(results, "module", r.rack.module, Quantity::kLength, table);
  if (results.units == UnitSystem::kUsCustomary) {
    table.add("diametral pitch", fixedText(25.4 / r.rack.module, 4), "1/in");
  }
  table.add("pressure angle", angleText(r.rack.pressureAngle), "deg");
  addQuantity(results, "face width", r.faceWidth, Quantity::kLength, table);
  addQuantity(results, "power", r.power, Quantity::kPower, table);
  table.add("tooth ratio", fixedText(r.toothRatio, 3));
  table.add("", "pinion", "wheel", "");
  table.add("teeth", std::to_string(r.pinion.teeth), std::to_string(r.wheel.teeth), "");
  table.add("material", r.pinion.material.name, r.wheel.material.name, "");
  table.add("torque", results.number(r.pinionTorque, Quantity::kTorque),
            results.number(r.wheelTorque, Quantity::kTorque), results.sign(Quantity::kTorque));
  table.add("speed", fixedText(r.pinionSpeed, 1), fixedText(r.wheelSpeed, 1), "rpm");
  return sectionHeading("Task") + table.text();
}

std::string teethSection(const Results& results) {
  const ToothForm& pinion = results.pinion;
  const ToothForm& wheel = results.wheel;
  TextTable table;
  table.add("", "pinion", "wheel", "");
  table.add("profile shift coefficient", fixedText(pinion.gear.profileShift, 3),
            fixedText(wheel.gear.profileShift, 3), "");
  table.add("as cut for the backlash", fixedText(pinion.gear.generatingShift, 4),
            fixedText(wheel.gear.generatingShift, 4), "");
  addLength(results, "reference diameter", pinion.gear.referenceDiameter,
            wheel.gear.referenceDiameter, table);
  addLength(results, "base diameter", pinion.gear.baseDiameter, wheel.gear.baseDiameter, table);
  addLength(results, "tip diameter", pinion.gear.tipDiameter, wheel.gear.tipDiameter, table);
  addLength(results, "root diameter", pinion.gear.rootDiameter, wheel.gear.rootDiameter, table);
  addLength(results, "involute starts at diameter", pinion.formDiameter, wheel.formDiameter, table);
  addLength(results, "tooth thickness, reference circle", pinion.toothThickness,
            wheel.toothThickness, table);
  addLength(results, "tooth thickness, tip circle", pinion.tipThickness, wheel.tipThickness, table);
  table.add("undercut", pinion.undercut ? "yes" : "no", wheel.undercut ? "yes" : "no", "");
  table.add("lowest shift without undercut", fixedText(pinion.undercutLimitShift, 3),
            fixedText(wheel.undercutLimitShift, 3), "");
  return sectionHeading("Teeth") + table.text();
}

std::string meshSection(const Results& results) {
  const Mesh& mesh = results.mesh;
  TextTable table;
  addQuantity(results, "centre distance", mesh.centreDistance, Quantity::kLength, table);
  table.add("working pressure angle", angleText(mesh.workingPressureAngle), "deg");
  table.add("contact ratio", fixedText(mesh.contactRatio, 3));
  addQuantity(results, "path of contact", mesh.pathLength, Quantity::kLength, table);
  addQuantity(results, "circumferential backlash", mesh.circumferentialBacklash, Quantity::kLength,
              table);
  addQuantity(results, "normal backlash", mesh.normalBacklash, Quantity::kLength, table);
  table.add("", "pinion", "wheel", "");
  addLength(results, "working pitch diameter", results.pinion.gear.workingPitchDiameter,
            results.wheel.gear.workingPitchDiameter, table);
  addLength(results, "active profile starts at diameter", mesh.pinion.activeStartDiameter,
            mesh.wheel.activeStartDiameter, table);
  addLength(results, "tip clearance", mesh.pinion.tipClearance, mesh.wheel.tipClearance, table);
  table.add("specific sliding at the root", slidingText(mesh.pinion.specificSlidingAtRoot),
            slidingText(mesh.wheel.specificSlidingAtRoot), "");
  table.add("specific sliding at the tip", slidingText(mesh.pinion.specificSlidingAtTip),
            slidingText(mesh.wheel.specificSlidingAtTip), "");
  table.add("sliding velocity at the tip",
            results.number(mesh.pinion.slidingVelocityAtTip, Quantity::kVelocity),
            results.number(mesh.wheel.slidingVelocityAtTip, Quantity::kVelocity),
            results.sign(Quantity::kVelocity));
  return sectionHeading("Mesh") + table.text();
}

std::string loadSection(const Results& results) {
  const Strength& strength = results.strength;
  TextTable table;
  addQuantity(results, "tangential force", strength.tangentialForce, Quantity::kForce, table);
  addQuantity(results, "radial force", strength.radialForce, Quantity::kForce, table);
  addQuantity(results, "normal tooth force", strength.normalForce, Quantity::kForce, table);
  addQuantity(results, "pitch line velocity", strength.pitchLineVelocity, Quantity::kVelocity,
              table);
  table.add("application factor", fixedText(strength.applicationFactor, 2));
  table.add("dynamic factor", fixedText(strength.dynamicFactor, 2));
  addQuantity(results, "contact pressure at the pitch point", strength.contactStress,
              Quantity::kStress, table);
  return sectionHeading("Loads") + table.text();
}

std::string strengthSection(const Results& results) {
  const RootStrength& pinion = results.strength.pinion;
  const RootStrength& wheel = results.strength.wheel;
  const auto stress = [&results](const std::string& label, double ofPinion, double ofWheel,
                                 TextTable& table) {
    table.add(label, results.number(ofPinion, Quantity::kStress),
              results.number(ofWheel, Quantity::kStress), results.sign(Quantity::kStress));
  };
  TextTable table;
  table.add("", "pinion", "wheel", "");
  addLength(results, "root section thickness", results.pinion.rootSection.thickness,
            results.wheel.rootSection.thickness, table);
  addLength(results, "root fillet radius", results.pinion.rootSection.filletRadius,
            results.wheel.rootSection.filletRadius, table);
  addLength(results, "bending lever arm", pinion.leverArm, wheel.leverArm, table);
  table.add("form factor", fixedText(pinion.formFactor, 3), fixedText(wheel.formFactor, 3), "");
  table.add("stress correction factor", fixedText(pinion.stressCorrection, 3),
            fixedText(wheel.stressCorrection, 3), "");
  stress("nominal root stress", pinion.nominalStress, wheel.nominalStress, table);
  stress("root stress under the full load", pinion.stress, wheel.stress, table);
  stress("endured root stress", pinion.limitStress, wheel.limitStress, table);
  table.add("safety against root breakage", fixedText(pinion.safety, 2), fixedText(wheel.safety, 2),
            "");
  return sectionHeading("Root strength") + table.text();
}

}  // namespace

std::string writeReport(const Requirements& requirements, const ToothForm& pinion,
                        const ToothForm& wheel, const Mesh& mesh, const Strength& strength,
                        UnitSystem units) {
  const Results results{requirements, pinion, wheel, mesh, strength, units};
  return "SPUR GEAR PAIR\n" + taskSection(results) + teethSection(results) + meshSection(results) +
         loadSection(results) + strengthSection(results) + "\n" + strengthVerdict(strength) + "\n";
}

}  // namespace GearPair
