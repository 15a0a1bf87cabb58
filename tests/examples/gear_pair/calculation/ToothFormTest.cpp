#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <vector>

#include "examples/gear_pair/calculation/CutterRack.h"
#include "examples/gear_pair/calculation/Involute.h"
#include "examples/gear_pair/calculation/ToothForm.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::HasSubstr;

constexpr double kPi = std::numbers::pi;

std::string errorOf(const DesignInput& input, Member member = Member::kPinion) {
  return messageOf<DesignError>([&] { computeToothForm(deriveRequirements(input), member); });
}

ToothForm formOf(const DesignInput& input, Member member = Member::kPinion) {
  return computeToothForm(deriveRequirements(input), member);
}

DesignInput pinionDesign(int teeth, double shift) {
  DesignInput input = soundDesign();
  input.pinionTeeth = teeth;
  input.pinionShift = shift;
  return input;
}

/// Designs over the whole range of tooth counts and shifts that can be made.
std::vector<DesignInput> sweep() {
  std::vector<DesignInput> designs;
  for (const int teeth : {8, 12, 15, 17, 20, 28, 41}) {
    for (const double shift : {-0.3, 0.0, 0.2, 0.45, 0.6}) {
      const DesignInput input = pinionDesign(teeth, shift);
      if (errorOf(input) == "nothing was thrown") {
        designs.push_back(input);
      }
    }
  }
  return designs;
}

double angleOf(Point point) { return std::atan2(point.y, point.x); }

double radiusOf(Point point) { return std::hypot(point.x, point.y); }

TEST(ToothForm, IsFoundForMostOfTheSweep) { EXPECT_GE(sweep().size(), 20U); }

// A tangent to the base circle that meets the flank is perpendicular to it, and its length is the
// base circle's arc that has been unwound.
TEST(ToothForm, HasInvoluteFlanks) {
  for (const DesignInput& input : sweep()) {
    const ToothForm form = formOf(input);
    const double base = form.gear.baseDiameter / 2;
    std::optional<double> start;
    for (std::size_t i = form.involuteStart; i < form.flank.size(); ++i) {
      const Point point = form.flank[i];
      const double tangentLength =
          std::sqrt(std::max(0.0, std::pow(radiusOf(point), 2) - base * base));
      const double tangentDirection = angleOf(point) + std::atan2(tangentLength, base);
      const double unwoundFrom = tangentDirection - tangentLength / base;
      const double atStart = start.value_or(unwoundFrom);
      EXPECT_NEAR(unwoundFrom, atStart, 1e-9) << "teeth " << form.gear.teeth;
      start = atStart;
    }
  }
}

TEST(ToothForm, ReachesFromTheRootCircleToTheTipCircle) {
  for (const DesignInput& input : sweep()) {
    const ToothForm form = formOf(input);
    EXPECT_NEAR(2.0 * radiusOf(form.flank.front()), form.gear.rootDiameter, 1e-9);
    EXPECT_NEAR(2.0 * radiusOf(form.flank.back()), form.gear.tipDiameter, 1e-9);
    EXPECT_NEAR(2.0 * radiusOf(form.flank[form.involuteStart]), form.formDiameter, 1e-9);
    EXPECT_NEAR(angleOf(form.flank.front()), -kPi / form.gear.teeth, 1e-12);
    EXPECT_NEAR(-2.0 * angleOf(form.flank.back()) * form.gear.tipDiameter / 2, form.tipThickness,
                1e-9);
  }
}

TEST(ToothForm, RisesFromRootToTip) {
  for (const DesignInput& input : sweep()) {
    const ToothForm form = formOf(input);
    for (std::size_t i = 1; i < form.flank.size(); ++i) {
      EXPECT_GE(radiusOf(form.flank[i]), radiusOf(form.flank[i - 1]) - 1e-9);
    }
  }
}

TEST(ToothForm, HasTheThicknessOfTheFormulaAtTheReferenceCircle) {
  const DesignInput input = pinionDesign(20, 0.25);
  const Requirements r = deriveRequirements(input);
  const double x = r.pinion.generatingShift;
  const double expected = 2.5 * (kPi / 2 + 2.0 * x * std::tan(radians(20.0)));
  EXPECT_NEAR(formOf(input).toothThickness, expected, 1e-12);
  EXPECT_NEAR(toothThicknessAt(r, Member::kPinion, r.pinion.referenceDiameter), expected, 1e-12);
}

TEST(ToothForm, IsThinnedByHalfOfTheBacklashAtTheWorkingPitchCircle) {
  DesignInput tight = soundDesign();
  tight.backlash = 0.0;
  const Requirements loose = deriveRequirements(soundDesign());
  const Requirements exact = deriveRequirements(tight);
  for (const Member member : {Member::kPinion, Member::kWheel}) {
    const double diameter = loose.gear(member).workingPitchDiameter;
    EXPECT_NEAR(
        toothThicknessAt(exact, member, diameter) - toothThicknessAt(loose, member, diameter), 0.06,
        1e-12);
  }
}

TEST(ToothForm, DrawsAsManyTeethAsTheGearHas) {
  const ToothForm form = formOf(soundDesign());
  const std::size_t perTooth = form.outline.size() / 20;
  ASSERT_EQ(perTooth * 20, form.outline.size());
  for (std::size_t i = 0; i < form.outline.size(); ++i) {
    const Point turned = rotated(form.outline[i], 2.0 * kPi / 20);
    const Point next = form.outline[(i + perTooth) % form.outline.size()];
    EXPECT_NEAR(distance(turned, next), 0.0, 1e-9);
  }
}

TEST(ToothForm, IsItsOwnMirrorImage) {
  for (const DesignInput& input : sweep()) {
    const ToothForm form = formOf(input);
    const std::size_t count = form.outline.size();
    const std::size_t perTooth = count / static_cast<std::size_t>(form.gear.teeth);
    for (std::size_t i = 0; i < count; ++i) {
      const Point mirrored{form.outline[i].x, -form.outline[i].y};
      const Point opposite = form.outline[(count + perTooth - i) % count];
      ASSERT_NEAR(distance(mirrored, opposite), 0.0, 1e-9) << form.gear.teeth << ", point " << i;
    }
  }
}

TEST(ToothForm, RunsCounterclockwiseAroundItsAxis) {
  const ToothForm form = formOf(soundDesign());
  const double area = signedArea(form.outline);
  EXPECT_GT(area, kPi / 4 * std::pow(form.gear.rootDiameter, 2));
  EXPECT_LT(area, kPi / 4 * std::pow(form.gear.tipDiameter, 2));
  EXPECT_TRUE(contains(form.outline, {0.0, 0.0}));
}

/// Rolls the gear over the cutter, that is, cuts it once more. Independent of how the form was
/// found.
class Cutting {
 public:
  explicit Cutting(const DesignInput& input)
      : requirements_(deriveRequirements(input)),
        form_(computeToothForm(requirements_, Member::kPinion)),
        profile_(computeCutterRack(requirements_).profile) {}

  const ToothForm& form() const { return form_; }

  /// Nearest distance of a flank point to the cutter over the whole roll; negative if the cutter
  /// removes the point.
  double clearance(Point flankPoint) const {
    constexpr int kSteps = 250;
    double nearest = std::numeric_limits<double>::infinity();
    for (int i = -kSteps; i <= kSteps; ++i) {
      const double rolled = 1.7 * kPi * requirements_.rack.module * i / kSteps;
      const Point point = inRackFrame(flankPoint, rolled);
      const double apart = distanceToOutline(profile_, point);
      nearest = std::min(nearest, contains(profile_, point) ? -apart : apart);
    }
    return nearest;
  }

 private:
  /// The gear's axis stands above the datum line by the reference radius and the profile shift; at
  /// the start, the space on the tooth's lower side faces down, onto the cutter's middle tooth.
  Point inRackFrame(Point point, double rolled) const {
    const double radius = form_.gear.referenceDiameter / 2;
    const double height = radius + form_.gear.generatingShift * requirements_.rack.module;
    const double start = -kPi / 2 + kPi / form_.gear.teeth;
    return moved(rotated(point, start - rolled / radius), {rolled, height});
  }

  Requirements requirements_;
  ToothForm form_;
  Polyline profile_;
};

TEST(ToothForm, IsWhatTheCutterLeaves) {
  constexpr double kTolerance = 0.004;
  for (const auto& [teeth, shift] :
       {std::pair{20, 0.25}, {12, 0.45}, {16, 0.0}, {30, -0.3}, {41, 0.6}}) {
    const Cutting cutting(pinionDesign(teeth, shift));
    for (const Point point : cutting.form().flank) {
      const double clearance = cutting.clearance(point);
      EXPECT_NEAR(clearance, 0.0, kTolerance)
          << teeth << " teeth, shift " << shift << ", at diameter " << 2.0 * radiusOf(point);
    }
  }
}

TEST(ToothForm, JoinsFilletAndInvoluteWithoutAGap) {
  for (const DesignInput& input : sweep()) {
    const ToothForm form = formOf(input);
    const Point before = form.flank[form.involuteStart - 1];
    const Point first = form.flank[form.involuteStart];
    EXPECT_LT(distance(before, first), 0.1) << form.gear.teeth;
  }
}

TEST(ToothForm, WithoutUndercutJoinsFilletAndInvoluteTangentially) {
  const ToothForm form = formOf(pinionDesign(25, 0.2));
  ASSERT_FALSE(form.undercut);
  const std::size_t joint = form.involuteStart;
  const auto direction = [&form](std::size_t from, std::size_t to) {
    return std::atan2(form.flank[to].y - form.flank[from].y, form.flank[to].x - form.flank[from].x);
  };
  EXPECT_NEAR(direction(joint - 1, joint), direction(joint, joint + 1), radians(5.0));
}

// The closed formulas of ISO 6336-3 for the root section of a gear cut by a rack.
TEST(ToothForm, HasTheRootSectionOfIso6336) {
  for (const DesignInput& input : sweep()) {
    const Requirements r = deriveRequirements(input);
    const ToothForm form = computeToothForm(r, Member::kPinion);
    const double z = form.gear.teeth;
    const double alpha = r.rack.pressureAngle;
    const double rho = 0.38;
    const double e =
        kPi / 4 - 1.25 * std::tan(alpha) - (1.0 - std::sin(alpha)) * rho / std::cos(alpha);
    const double g = rho - 1.25 + form.gear.generatingShift;
    const double h = 2.0 / z * (kPi / 2 - e) - kPi / 3;
    double theta = kPi / 6;
    for (int i = 0; i < 200; ++i) {
      theta = 2.0 * g / z * std::tan(theta) - h;
    }
    const double cosine = std::cos(theta);
    const double thickness = z * std::sin(kPi / 3 - theta) + std::sqrt(3.0) * (g / cosine - rho);
    const double radius = rho + 2.0 * g * g / (cosine * (z * cosine * cosine - 2.0 * g));
    EXPECT_NEAR(form.rootSection.thickness / r.rack.module, thickness, 1e-9) << z;
    const double height = (z * std::cos(kPi / 3 - theta) + g / cosine - rho) / 2;
    EXPECT_NEAR(form.rootSection.filletRadius / r.rack.module, radius, 1e-9) << z;
    EXPECT_NEAR(form.rootSection.distanceFromAxis / r.rack.module, height, 1e-9) << z;
  }
}

// 17.097 for 20 degrees, 31.9 for 14.5 degrees and 11.2 for 25 degrees: the limits that textbooks
// round to 17, 32 and 12 teeth.
TEST(UndercutLimit, AgreesWithTheTextbooks) {
  BasicRack rack = deriveRequirements(standardDesign(20, 40)).rack;
  rack.straightDepth = rack.module;
  EXPECT_NEAR(undercutLimitTeeth(rack, 0.0), 17.097, 5e-4);
  rack.pressureAngle = radians(14.5);
  EXPECT_NEAR(undercutLimitTeeth(rack, 0.0), 31.9, 0.05);
  rack.pressureAngle = radians(25.0);
  EXPECT_NEAR(undercutLimitTeeth(rack, 0.0), 11.2, 0.05);
}

// x >= (17 - z) / 17 in its exact form.
TEST(UndercutLimit, OfTheShiftIsTheInverseOfTheLimitOfTheTeeth) {
  const BasicRack rack = deriveRequirements(standardDesign(20, 40)).rack;
  EXPECT_NEAR(undercutLimitShift(rack, 10), 1.0 - 10.0 / 17.097, 1e-4);
  for (const int teeth : {5, 10, 17, 25}) {
    EXPECT_NEAR(undercutLimitTeeth(rack, undercutLimitShift(rack, teeth)), teeth, 1e-9);
  }
}

TEST(UndercutLimit, DividesUndercutFromSoundTeeth) {
  for (const int teeth : {12, 14, 16}) {
    DesignInput input = standardDesign(teeth, 41);
    const double limit = undercutLimitShift(deriveRequirements(input).rack, teeth);
    input.pinionShift = limit + 1e-6;
    EXPECT_FALSE(formOf(input).undercut) << teeth;
    input.pinionShift = limit - 0.01;
    EXPECT_TRUE(formOf(input).undercut) << teeth;
  }
}

TEST(Undercut, CutsHigherTheFewerTeethThereAre) {
  // 16 teeth are undercut so little that the wheel does not need what is missing.
  const ToothForm form = formOf(standardDesign(16, 41));
  EXPECT_TRUE(form.undercut);
  EXPECT_GT(form.formDiameter, form.gear.baseDiameter);
  EXPECT_LE(form.formDiameter, form.activeStartDiameter);
}

TEST(Undercut, IsRefusedWhereTheWheelNeedsTheFlank) {
  EXPECT_EQ(errorOf(pinionDesign(10, 0.0)),
            "The pinion with 10 teeth is undercut: the cutter removes its involute up to 23.65 mm "
            "diameter, but the wheel needs it from 23.49 mm on; use at least 18 teeth or a profile "
            "shift of at least 0.45.");
}

TEST(Undercut, AdvisesAgainstAShiftThatMakesPointedTeeth) {
  EXPECT_EQ(errorOf(pinionDesign(7, 0.0)),
            "The pinion with 7 teeth is undercut: the cutter removes its involute up to 16.78 mm "
            "diameter, but the wheel needs it from 16.44 mm on; use at least 18 teeth; a profile "
            "shift of 0.63 would cure it too, but would make the teeth pointed.");
}

TEST(Undercut, IsCuredByWhatTheMessageAdvises) {
  EXPECT_FALSE(formOf(pinionDesign(10, 0.45)).undercut);
  EXPECT_TRUE(formOf(pinionDesign(18, 0.0)).formDiameter > 0.0);
  EXPECT_FALSE(formOf(pinionDesign(18, 0.0)).undercut);
}

TEST(PointedTeeth, AreRefused) {
  EXPECT_EQ(errorOf(pinionDesign(10, 0.8)),
            "The pinion with 10 teeth has pointed teeth, only 0.11 mm thick at the tip where 0.2 "
            "modules (0.50 mm) are needed; use a profile shift of at most 0.57 instead of 0.80, or "
            "a smaller addendum.");
  EXPECT_THAT(errorOf(pinionDesign(8, 0.9)), HasSubstr("without any thickness at the tip"));
}

/// The number that follows a phrase of a message; none if the phrase is missing.
std::optional<double> numberAfter(const std::string& message, const std::string& phrase) {
  const std::size_t at = message.find(phrase);
  return at == std::string::npos ? std::nullopt
                                 : std::optional(std::stod(message.substr(at + phrase.size())));
}

TEST(Advice, CuresWhatItsMessageSays) {
  int followed = 0;
  for (int teeth = 5; teeth < 18; ++teeth) {
    for (const double shift : {-0.2, 0.0, 0.3, 0.5, 0.7, 0.9}) {
      const DesignInput input = pinionDesign(teeth, shift);
      const std::string message = errorOf(input);
      const auto atLeast = numberAfter(message, "or a profile shift of at least ");
      const auto atMost = numberAfter(message, "use a profile shift of at most ");
      const auto enoughTeeth = numberAfter(message, "use at least ");
      for (const auto& advised : {atLeast, atMost}) {
        if (advised) {
          EXPECT_EQ(errorOf(pinionDesign(teeth, *advised)), "nothing was thrown") << message;
          ++followed;
        }
      }
      if (enoughTeeth) {
        const DesignInput cured = pinionDesign(static_cast<int>(*enoughTeeth), shift);
        EXPECT_FALSE(formOf(cured).undercut) << message;
        ++followed;
      }
    }
  }
  EXPECT_GE(followed, 20);
}

TEST(PointedTeeth, AreBlamedOnTheBacklashWhereNoShiftHelps) {
  DesignInput input = soundDesign();
  input.backlash = 5.0;
  EXPECT_THAT(errorOf(input),
              HasSubstr("reduce the addendum of 1.00 modules or the backlash of 5.00 mm."));
}

TEST(Bore, IsRefusedWhereItLeavesNoRim) {
  DesignInput input = soundDesign();
  input.pinionBore = 35.0;
  EXPECT_EQ(
      errorOf(input),
      "The pinion with 20 teeth has 0.72 mm of material between the tooth roots and the keyway "
      "of its 35.00 mm bore where 1.5 modules (3.75 mm) are needed; bore it 30 mm at most.");
  input.pinionBore = 30.0;
  EXPECT_NO_THROW(formOf(input));
  EXPECT_NO_THROW(formOf(input, Member::kWheel));
}

TEST(Bore, OfTheOtherGearDoesNotMatter) {
  DesignInput input = soundDesign();
  input.wheelBore = 95.0;
  EXPECT_NO_THROW(formOf(input));
  EXPECT_THAT(errorOf(input, Member::kWheel), HasSubstr("The wheel with 41 teeth has "));
}

TEST(ToothForm, IsRefusedWhereNothingIsLeftBelowTheRoots) {
  DesignInput input = pinionDesign(3, -0.5);
  EXPECT_THAT(errorOf(input), HasSubstr("has nothing left below its tooth roots"));
}

TEST(ToothForm, IsRefusedWhereTheTipsLieWithinTheBaseCircle) {
  DesignInput input = soundDesign();
  input.wheelTeeth = 50;
  input.wheelShift = -1.0;
  input.pinionShift = 1.0;
  input.addendumCoefficient = 0.5;
  input.pressureAngle = 10.0;
  EXPECT_THAT(errorOf(input, Member::kWheel), HasSubstr("within the base circle of "));
}

TEST(ToothForm, SaysNoMoreThanOneSentenceInOneLine) {
  for (int teeth = 3; teeth < 20; ++teeth) {
    for (const double shift : {-1.0, -0.5, 0.0, 0.5, 1.0}) {
      const std::string message = errorOf(pinionDesign(teeth, shift));
      EXPECT_EQ(message.find('\n'), std::string::npos);
      EXPECT_EQ(message.find("nan"), std::string::npos) << message;
    }
  }
}

}  // namespace
}  // namespace GearPair
