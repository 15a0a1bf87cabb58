#include "examples/gear_pair/calculation/Mesh.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr double kMinContactRatio = 1.1;
constexpr double kMinTipClearanceInModules = 0.1;

std::string millimetres(double length) { return fixedText(length, 2) + " mm"; }

/// Distances of the characteristic points along the line of action from where it touches the
/// pinion's base circle: there they are the radii of curvature of the pinion's flank.
struct ActionLine {
  /// Whole length between the base circles.
  double length;
  double start;
  double pitchPoint;
  double end;
  double basePitch;
};

/// Radius of curvature of a gear's involute at its tip.
double tipCurvature(const GearData& gear) {
  return std::sqrt(gear.tipDiameter * gear.tipDiameter - gear.baseDiameter * gear.baseDiameter) / 2;
}

ActionLine actionLine(const Requirements& requirements) {
  const double sine = std::sin(requirements.workingPressureAngle);
  ActionLine line{};
  line.length = requirements.centreDistance * sine;
  line.start = line.length - tipCurvature(requirements.wheel);
  line.pitchPoint = requirements.pinion.workingPitchDiameter / 2 * sine;
  line.end = tipCurvature(requirements.pinion);
  line.basePitch = std::numbers::pi * requirements.pinion.baseDiameter / requirements.pinion.teeth;
  return line;
}

/// Rad/s of a speed in rpm.
double angularVelocity(double speed) { return speed * std::numbers::pi / 30.0; }

/// The mesh seen from one gear: its flank's radii of curvature in the order of growing diameter.
struct OwnView {
  const GearData* own;
  const GearData* mate;
  double start;
  double tip;
  double lineLength;
  /// Speed of the mate over the own speed.
  double mateSpeedRatio;
  /// Length of the path on which this gear's addendum is in contact.
  double addendumPath;
};

OwnView pinionView(const Requirements& requirements, const ActionLine& line) {
  return {
      &requirements.pinion,          &requirements.wheel,       line.start, line.end, line.length,
      1.0 / requirements.toothRatio, line.end - line.pitchPoint};
}

OwnView wheelView(const Requirements& requirements, const ActionLine& line) {
  return {&requirements.wheel,         &requirements.pinion, line.length - line.end,
          line.length - line.start,    line.length,          requirements.toothRatio,
          line.pitchPoint - line.start};
}

/// 1 - (rolling velocity of the mate) / (own rolling velocity).
double specificSliding(const OwnView& view, double curvature) {
  const double mateCurvature = view.lineLength - curvature;
  if (curvature <= 0.0) {
    return -std::numeric_limits<double>::infinity();
  }
  return 1.0 - view.mateSpeedRatio * mateCurvature / curvature;
}

double diameterAt(const GearData& gear, double curvature) {
  return 2.0 * std::hypot(gear.baseDiameter / 2, curvature);
}

FlankContact flankContact(const Requirements& requirements, const OwnView& view, double basePitch) {
  const double slidingPerPath =
      (angularVelocity(requirements.pinionSpeed) + angularVelocity(requirements.wheelSpeed)) /
      1000.0;
  FlankContact contact;
  contact.activeStartDiameter = diameterAt(*view.own, std::max(0.0, view.start));
  contact.singleContactOuterDiameter =
      diameterAt(*view.own, std::min(view.tip, view.start + basePitch));
  contact.specificSlidingAtRoot = specificSliding(view, view.start);
  contact.specificSlidingAtTip = specificSliding(view, view.tip);
  contact.slidingVelocityAtTip = view.addendumPath * slidingPerPath;
  contact.tipClearance =
      requirements.centreDistance - (view.own->tipDiameter + view.mate->rootDiameter) / 2;
  return contact;
}

double circumferentialBacklash(const Requirements& requirements) {
  const GearData& pinion = requirements.pinion;
  const double pitch = std::numbers::pi * pinion.workingPitchDiameter / pinion.teeth;
  return pitch - toothThicknessAt(requirements, Member::kPinion, pinion.workingPitchDiameter) -
         toothThicknessAt(requirements, Member::kWheel, requirements.wheel.workingPitchDiameter);
}

/// The point of the line of action at a distance from the pinion's base circle.
Point pointOfAction(const Requirements& requirements, double distanceFromTangent) {
  const double angle = requirements.workingPressureAngle;
  const double baseRadius = requirements.pinion.baseDiameter / 2;
  return {baseRadius * std::cos(angle) + distanceFromTangent * std::sin(angle),
          -baseRadius * std::sin(angle) + distanceFromTangent * std::cos(angle)};
}

void checkInterference(const ToothForm& own, const ToothForm& mate, double activeStartDiameter,
                       double start) {
  if (start >= 0.0 && activeStartDiameter >= own.formDiameter) {
    return;
  }
  const std::string contact =
      start < 0.0 ? "beyond its base circle of " + millimetres(own.gear.baseDiameter) + " diameter"
                  : "at " + millimetres(activeStartDiameter) + " diameter";
  throw DesignError("The tips of the " + memberName(mate.gear.member) + " with " +
                    std::to_string(mate.gear.teeth) + " teeth run into the roots of the " +
                    memberName(own.gear.member) + " with " + std::to_string(own.gear.teeth) +
                    " teeth: they meet it " + contact + ", where its involute starts only at " +
                    millimetres(own.formDiameter) +
                    "; use a smaller addendum or root radius, or a larger profile shift of the " +
                    memberName(own.gear.member) + ".");
}

void checkTipClearance(const Requirements& requirements, const GearData& gear, double clearance) {
  const double module = requirements.rack.module;
  if (clearance >= kMinTipClearanceInModules * module) {
    return;
  }
  throw DesignError("The tips of the " + memberName(gear.member) + " have a clearance of only " +
                    millimetres(clearance) + " from the mating roots where 0.1 modules (" +
                    millimetres(kMinTipClearanceInModules * module) +
                    ") are needed; use a dedendum of at least " +
                    fixedText(requirements.rack.addendum / module + kMinTipClearanceInModules, 2) +
                    " modules.");
}

void checkContactRatio(const Mesh& mesh) {
  if (mesh.contactRatio >= kMinContactRatio) {
    return;
  }
  throw DesignError("The contact ratio of " + fixedText(mesh.contactRatio, 2) +
                    " is below 1.1: the path of contact is " + millimetres(mesh.pathLength) +
                    " long, the base pitch " + millimetres(mesh.basePitch) +
                    "; use more teeth, less profile shift, a larger addendum or a smaller "
                    "pressure angle.");
}

void placePoints(const Requirements& requirements, const ActionLine& line, Mesh& mesh) {
  mesh.pinionTangentPoint = pointOfAction(requirements, 0.0);
  mesh.startOfContact = pointOfAction(requirements, line.start);
  mesh.pitchPoint = pointOfAction(requirements, line.pitchPoint);
  mesh.endOfContact = pointOfAction(requirements, line.end);
  mesh.wheelTangentPoint = pointOfAction(requirements, line.length);
}

}  // namespace

Mesh computeMesh(const Requirements& requirements, const ToothForm& pinion,
                 const ToothForm& wheel) {
  const ActionLine line = actionLine(requirements);
  Mesh mesh;
  mesh.centreDistance = requirements.centreDistance;
  mesh.workingPressureAngle = requirements.workingPressureAngle;
  mesh.basePitch = line.basePitch;
  mesh.pathLength = line.end - line.start;
  mesh.approachLength = line.pitchPoint - line.start;
  mesh.recessLength = line.end - line.pitchPoint;
  mesh.contactRatio = mesh.pathLength / mesh.basePitch;
  mesh.circumferentialBacklash = circumferentialBacklash(requirements);
  mesh.normalBacklash = mesh.circumferentialBacklash * std::cos(requirements.workingPressureAngle);
  placePoints(requirements, line, mesh);
  const OwnView ofPinion = pinionView(requirements, line);
  const OwnView ofWheel = wheelView(requirements, line);
  mesh.pinion = flankContact(requirements, ofPinion, line.basePitch);
  mesh.wheel = flankContact(requirements, ofWheel, line.basePitch);

  checkInterference(pinion, wheel, mesh.pinion.activeStartDiameter, ofPinion.start);
  checkInterference(wheel, pinion, mesh.wheel.activeStartDiameter, ofWheel.start);
  checkTipClearance(requirements, pinion.gear, mesh.pinion.tipClearance);
  checkTipClearance(requirements, wheel.gear, mesh.wheel.tipClearance);
  checkContactRatio(mesh);
  return mesh;
}

Polyline placedPinion(const ToothForm& pinion, double pinionRotation) {
  return placed(pinion.outline, pinionRotation, {});
}

Polyline placedWheel(const ToothForm& wheel, const Mesh& mesh, int pinionTeeth,
                     double pinionRotation) {
  const double spaceTowardsPinion = std::numbers::pi + std::numbers::pi / wheel.gear.teeth;
  const double turned = -pinionRotation * pinionTeeth / wheel.gear.teeth;
  return placed(wheel.outline, spaceTowardsPinion + turned, {mesh.centreDistance, 0.0});
}

}  // namespace GearPair
