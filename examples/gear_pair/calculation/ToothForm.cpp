#include "examples/gear_pair/calculation/ToothForm.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <optional>

#include "examples/gear_pair/calculation/Bisection.h"
#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/RackFillet.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr double kMinTipThicknessInModules = 0.2;
constexpr double kMinRimInModules = 1.5;
constexpr int kFilletSteps = 24;
constexpr int kInvoluteSteps = 20;
constexpr int kTipSteps = 4;
constexpr int kRootSteps = 2;

std::string millimetres(double length) { return fixedText(length, 2) + " mm"; }

/// "The pinion with 7 teeth".
std::string subject(const GearData& gear) {
  return "The " + memberName(gear.member) + " with " + std::to_string(gear.teeth) + " teeth";
}

double squared(double value) { return value * value; }

/// Arc thickness of a gear's teeth at the reference circle.
double referenceThickness(const BasicRack& rack, double generatingShift) {
  return rack.module *
         (std::numbers::pi / 2 + 2.0 * generatingShift * std::tan(rack.pressureAngle));
}

/// Angle between the tooth's centre line and its involute at a radius, seen from the axis.
double involuteHalfAngle(const BasicRack& rack, const GearData& gear, double radius) {
  const double atReference =
      referenceThickness(rack, gear.generatingShift) / gear.referenceDiameter;
  const double angle = profileAngle(radius, gear.baseDiameter / 2);
  return atReference + involute(rack.pressureAngle) - involute(angle);
}

/// Length of the rack's line of action from the gear's base circle to the end of the cutter's
/// straight flank; negative if the flank cuts beyond the base circle, that is, undercuts.
double cutterPathStart(const BasicRack& rack, const GearData& gear) {
  const double sine = std::sin(rack.pressureAngle);
  const double depth = rack.straightDepth - gear.generatingShift * rack.module;
  return gear.referenceDiameter / 2 * sine - depth / sine;
}

/// Where fillet and involute meet.
struct Junction {
  /// Parameter of the fillet.
  double parameter;
  double radius;
  bool undercut;
};

/// The point at which an undercutting fillet leaves the tooth through the involute.
Junction undercutJunction(const BasicRack& rack, const GearData& gear, const RackFillet& fillet) {
  const double baseRadius = gear.baseDiameter / 2;
  const auto aboveBase = [&](double parameter) { return fillet.radius(parameter) - baseRadius; };
  const auto outsideTooth = [&](double parameter) {
    return fillet.halfAngle(parameter) - involuteHalfAngle(rack, gear, fillet.radius(parameter));
  };
  const double atBase = signChange(aboveBase, 0.0, fillet.endParameter());
  const double parameter = signChange(outsideTooth, atBase, fillet.endParameter());
  return {parameter, std::max(baseRadius, fillet.radius(parameter)), true};
}

Junction junction(const BasicRack& rack, const GearData& gear, const RackFillet& fillet) {
  const double pathStart = cutterPathStart(rack, gear);
  if (pathStart < 0.0) {
    return undercutJunction(rack, gear, fillet);
  }
  return {fillet.endParameter(), std::hypot(gear.baseDiameter / 2, pathStart), false};
}

/// The lower flank from the middle of the space up to the end of the fillet, closer points towards
/// that end, where the fillet's points lie farther apart for the same step of the parameter.
Polyline filletLine(const GearData& gear, const RackFillet& fillet, const Junction& end) {
  Polyline line;
  const double spaceMiddle = std::numbers::pi / gear.teeth;
  const double rootArc = spaceMiddle - fillet.halfAngle(0.0);
  for (int i = 0; i < kRootSteps; ++i) {
    const double halfAngle = spaceMiddle - rootArc * i / kRootSteps;
    line.push_back(polarPoint(gear.rootDiameter / 2, -halfAngle));
  }
  for (int i = 0; i < kFilletSteps; ++i) {
    const double parameter = end.parameter * std::sin(std::numbers::pi / 2 * i / kFilletSteps);
    line.push_back(polarPoint(fillet.radius(parameter), -fillet.halfAngle(parameter)));
  }
  return line;
}

/// Appends the lower flank's involute, both ends included, evenly spread by its radius of
/// curvature.
void appendInvolute(const BasicRack& rack, const GearData& gear, double formRadius,
                    Polyline& line) {
  const double baseRadius = gear.baseDiameter / 2;
  const double tipRadius = gear.tipDiameter / 2;
  const double start = std::sqrt(squared(formRadius) - squared(baseRadius));
  const double end = std::sqrt(squared(tipRadius) - squared(baseRadius));
  for (int i = 0; i <= kInvoluteSteps; ++i) {
    const double curvature = start + (end - start) * i / kInvoluteSteps;
    const double radius = std::hypot(baseRadius, curvature);
    line.push_back(polarPoint(radius, -involuteHalfAngle(rack, gear, radius)));
  }
}

/// One tooth from the middle of the space below up to, without it, the middle of the space above.
Polyline toothLine(const GearData& gear, const Polyline& flank) {
  Polyline tooth = flank;
  const double tipHalfAngle = -std::atan2(flank.back().y, flank.back().x);
  for (int i = 1; i < kTipSteps; ++i) {
    const double angle = tipHalfAngle * (2.0 * i / kTipSteps - 1.0);
    tooth.push_back(polarPoint(gear.tipDiameter / 2, angle));
  }
  for (std::size_t i = flank.size() - 1; i > 0; --i) {
    tooth.push_back({flank[i].x, -flank[i].y});
  }
  return tooth;
}

Polyline gearLine(const GearData& gear, const Polyline& tooth) {
  Polyline outline;
  outline.reserve(tooth.size() * static_cast<std::size_t>(gear.teeth));
  for (int i = 0; i < gear.teeth; ++i) {
    const Polyline turned = placed(tooth, 2.0 * std::numbers::pi * i / gear.teeth, {});
    outline.insert(outline.end(), turned.begin(), turned.end());
  }
  return outline;
}

RootSection rootSection(const RackFillet& fillet, const Junction& end) {
  constexpr double kTangentAngle = std::numbers::pi / 6;
  const auto steeper = [&fillet](double parameter) {
    return fillet.tangentAngle(parameter) - kTangentAngle;
  };
  const double parameter = signChange(steeper, 0.0, end.parameter);
  const Point foot = polarPoint(fillet.radius(parameter), fillet.halfAngle(parameter));
  return {2.0 * foot.y, foot.x, fillet.curvatureRadius(parameter)};
}

/// Profile shifts are advised in hundredths.
constexpr double kShiftStep = 0.01;

/// The requirements with another profile shift of one gear; none if the shifts leave no mesh.
std::optional<Requirements> withShift(const Requirements& requirements, Member member,
                                      int hundredths) {
  DesignInput design = requirements.design;
  (member == Member::kPinion ? design.pinionShift : design.wheelShift) = hundredths * kShiftStep;
  try {
    return deriveRequirements(design);
  } catch (const DesignError&) {
    return std::nullopt;
  }
}

bool isPointed(const Requirements& requirements, double tipThickness) {
  return tipThickness < kMinTipThicknessInModules * requirements.rack.module;
}

bool isPointed(const Requirements& requirements, Member member) {
  return isPointed(requirements,
                   toothThicknessAt(requirements, member, requirements.gear(member).tipDiameter));
}

bool isUndercut(const Requirements& requirements, Member member) {
  return cutterPathStart(requirements.rack, requirements.gear(member)) < 0.0;
}

/// The next shift, counted in hundredths from the given one in steps of the given sign, that a
/// condition accepts; none within -1 to 1.
template <typename Condition>
std::optional<int> nextShift(const Requirements& requirements, Member member, int hundredths,
                             int step, Condition accepts) {
  for (int shift = hundredths; std::abs(shift) <= 100; shift += step) {
    const std::optional<Requirements> changed = withShift(requirements, member, shift);
    if (changed && accepts(*changed)) {
      return shift;
    }
  }
  return std::nullopt;
}

std::string shiftText(int hundredths) { return fixedText(hundredths * kShiftStep, 2); }

std::string undercutAdvice(const Requirements& requirements, const GearData& gear) {
  const double limitTeeth = undercutLimitTeeth(requirements.rack, gear.generatingShift);
  const std::string teeth = "use at least " + fixedText(std::ceil(limitTeeth), 0) + " teeth";
  const int start = static_cast<int>(std::ceil(gear.profileShift / kShiftStep));
  const std::optional<int> shift =
      nextShift(requirements, gear.member, start, 1,
                [&gear](const Requirements& changed) { return !isUndercut(changed, gear.member); });
  if (!shift) {
    return teeth + ".";
  }
  if (isPointed(*withShift(requirements, gear.member, *shift), gear.member)) {
    return teeth + "; a profile shift of " + shiftText(*shift) +
           " would cure it too, but would make the teeth pointed.";
  }
  return teeth + " or a profile shift of at least " + shiftText(*shift) + ".";
}

void checkUndercut(const Requirements& requirements, const ToothForm& form) {
  if (!form.undercut || form.formDiameter <= form.activeStartDiameter) {
    return;
  }
  const GearData& gear = form.gear;
  throw DesignError(subject(gear) + " is undercut: the cutter removes its involute up to " +
                    millimetres(form.formDiameter) + " diameter, but the " +
                    memberName(otherMember(gear.member)) + " needs it from " +
                    millimetres(form.activeStartDiameter) + " on; " +
                    undercutAdvice(requirements, gear));
}

std::string pointedAdvice(const Requirements& requirements, const GearData& gear) {
  const int start = static_cast<int>(std::floor(gear.profileShift / kShiftStep));
  const std::optional<int> shift =
      nextShift(requirements, gear.member, start, -1,
                [&gear](const Requirements& changed) { return !isPointed(changed, gear.member); });
  if (!shift) {
    return "reduce the addendum of " +
           fixedText(requirements.rack.addendum / requirements.rack.module, 2) +
           " modules or the backlash of " + millimetres(requirements.backlash) + ".";
  }
  if (isUndercut(*withShift(requirements, gear.member, *shift), gear.member)) {
    return "use more teeth or a smaller addendum; a smaller profile shift would undercut them.";
  }
  return "use a profile shift of at most " + shiftText(*shift) + " instead of " +
         fixedText(gear.profileShift, 2) + ", or a smaller addendum.";
}

void checkTip(const Requirements& requirements, const ToothForm& form) {
  if (!isPointed(requirements, form.tipThickness)) {
    return;
  }
  const double needed = kMinTipThicknessInModules * requirements.rack.module;
  const std::string found = form.tipThickness > 0.0
                                ? "only " + millimetres(form.tipThickness) + " thick at the tip"
                                : "without any thickness at the tip";
  throw DesignError(subject(form.gear) + " has pointed teeth, " + found + " where 0.2 modules (" +
                    millimetres(needed) + ") are needed; " +
                    pointedAdvice(requirements, form.gear));
}

void checkDiameters(const GearData& gear) {
  if (gear.rootDiameter <= 0.0) {
    throw DesignError(subject(gear) + " has nothing left below its tooth roots (root diameter " +
                      millimetres(gear.rootDiameter) +
                      "); use more teeth or a larger profile shift.");
  }
  if (gear.tipDiameter <= gear.baseDiameter) {
    throw DesignError(subject(gear) + " has its tips at " + millimetres(gear.tipDiameter) +
                      " diameter, within the base circle of " + millimetres(gear.baseDiameter) +
                      ", so that it has no involute; use a larger profile shift or addendum.");
  }
}

void checkFormDiameter(const Requirements& requirements, const ToothForm& form) {
  if (form.formDiameter < form.gear.tipDiameter) {
    return;
  }
  const std::string advice = form.undercut ? undercutAdvice(requirements, form.gear)
                                           : "use a larger addendum or a smaller profile shift.";
  throw DesignError(subject(form.gear) + " has no involute left: it would start at " +
                    millimetres(form.formDiameter) + " diameter, the tips are at " +
                    millimetres(form.gear.tipDiameter) + "; " + advice);
}

void checkBore(const Requirements& requirements, const GearData& gear) {
  const double rim = (gear.rootDiameter - gear.boreDiameter) / 2 - keywayDepth(gear.boreDiameter);
  const double needed = kMinRimInModules * requirements.rack.module;
  if (gear.boreDiameter == 0.0 || rim >= needed) {
    return;
  }
  const double bore = (gear.rootDiameter / 2 - needed) / (0.5 + keywayDepth(1.0));
  const std::string advice = bore >= 1.0
                                 ? "bore it " + fixedText(std::floor(bore), 0) + " mm at most."
                                 : "leave it solid.";
  throw DesignError(subject(gear) + " has " + millimetres(std::max(rim, 0.0)) +
                    " of material between the tooth roots and the keyway of its " +
                    millimetres(gear.boreDiameter) + " bore where 1.5 modules (" +
                    millimetres(needed) + ") are needed; " + advice);
}

double activeStart(const Requirements& requirements, Member member) {
  const GearData& own = requirements.gear(member);
  const GearData& mate = requirements.gear(otherMember(member));
  const double lineOfAction =
      requirements.centreDistance * std::sin(requirements.workingPressureAngle);
  const double matePath =
      std::sqrt(std::max(0.0, squared(mate.tipDiameter) - squared(mate.baseDiameter))) / 2;
  return 2.0 * std::hypot(own.baseDiameter / 2, std::max(0.0, lineOfAction - matePath));
}

}  // namespace

double undercutLimitTeeth(const BasicRack& rack, double profileShift) {
  return 2.0 * (rack.straightDepth / rack.module - profileShift) /
         squared(std::sin(rack.pressureAngle));
}

double undercutLimitShift(const BasicRack& rack, int teeth) {
  return rack.straightDepth / rack.module - teeth * squared(std::sin(rack.pressureAngle)) / 2;
}

double keywayDepth(double boreDiameter) { return 0.12 * boreDiameter; }

double toothThicknessAt(const Requirements& requirements, Member member, double diameter) {
  return diameter * involuteHalfAngle(requirements.rack, requirements.gear(member), diameter / 2);
}

ToothForm computeToothForm(const Requirements& requirements, Member member) {
  const BasicRack& rack = requirements.rack;
  ToothForm form;
  form.gear = requirements.gear(member);
  const GearData& gear = form.gear;
  checkDiameters(gear);

  const RackFillet fillet(rack, gear.teeth, gear.generatingShift);
  const Junction end = junction(rack, gear, fillet);
  form.formDiameter = 2.0 * end.radius;
  form.activeStartDiameter = activeStart(requirements, member);
  form.toothThickness = referenceThickness(rack, gear.generatingShift);
  form.tipThickness = toothThicknessAt(requirements, member, gear.tipDiameter);
  form.undercut = end.undercut;
  form.undercutLimitTeeth = undercutLimitTeeth(rack, gear.generatingShift);
  form.undercutLimitShift =
      undercutLimitShift(rack, gear.teeth) + gear.profileShift - gear.generatingShift;
  checkUndercut(requirements, form);
  checkTip(requirements, form);
  checkFormDiameter(requirements, form);
  checkBore(requirements, gear);

  form.rootSection = rootSection(fillet, end);
  form.flank = filletLine(gear, fillet, end);
  form.involuteStart = form.flank.size();
  appendInvolute(rack, gear, end.radius, form.flank);
  form.outline = gearLine(gear, toothLine(gear, form.flank));
  return form;
}

}  // namespace GearPair
