#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numbers>

#include "examples/gear_pair/calculation/DesignInput.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// A complete design of eight lines; more lines may follow.
std::string completeText() {
  return "module = 2.5 mm\n"
         "pinion_teeth = 20\n"
         "wheel_teeth = 41\n"
         "face_width = 30 mm\n"
         "pinion_material = 16MnCr5\n"
         "wheel_material = 42CrMo4\n"
         "torque = 100 Nm\n"
         "speed = 1450 rpm\n";
}

std::string parseError(const std::string& text) {
  return messageOf<InputError>([&] { parseDesign(text, "a.gear"); });
}

std::string setError(const std::string& assignment) {
  return messageOf<InputError>([&] {
    DesignInput input = soundDesign();
    setValue(input, assignment);
  });
}

DesignInput withValue(const std::string& assignment) {
  DesignInput input = soundDesign();
  setValue(input, assignment);
  return input;
}

TEST(DesignInput, ReadsTheMandatoryValuesAndKeepsTheDefaults) {
  const DesignInput input = parseDesign(completeText(), "a.gear");
  EXPECT_EQ(input.module, 2.5);
  EXPECT_EQ(input.pinionTeeth, 20);
  EXPECT_EQ(input.wheelTeeth, 41);
  EXPECT_EQ(input.faceWidth, 30.0);
  EXPECT_EQ(input.pinionMaterial, "16MnCr5");
  EXPECT_EQ(input.wheelMaterial, "42CrMo4");
  EXPECT_EQ(input.torque, 100.0);
  EXPECT_EQ(input.speed, 1450.0);
  EXPECT_EQ(input.pressureAngle, 20.0);
  EXPECT_EQ(input.addendumCoefficient, 1.0);
  EXPECT_EQ(input.dedendumCoefficient, 1.25);
  EXPECT_EQ(input.rootRadiusCoefficient, 0.38);
}

TEST(DesignInput, AllowsCommentsBlankLinesAndAnySpacing) {
  const DesignInput input = parseDesign(
      "\xEF\xBB\xBF# a comment\r\n\r\n   \n" + completeText() + "\tbacklash=0.1mm# tight\r\n", "a");
  EXPECT_EQ(input.backlash, 0.1);
}

TEST(DesignInput, ReadsTheLastLineWithoutALineFeed) {
  EXPECT_EQ(parseDesign(completeText() + "backlash = 0.2", "a").backlash, 0.2);
}

TEST(DesignInput, WritesWhatItReadsBackEqual) {
  DesignInput input = soundDesign();
  input.pressureAngle = 100.0 / 6.0;
  input.backlash = 0.1 + 0.2;
  input.pinionBore = 1.0 / 3.0;
  input.requiredSafety = 1.7;
  EXPECT_EQ(parseDesign(writeDesign(input), "a"), input);
}

TEST(DesignInput, WritesEveryValueInItsOwnLine) {
  const std::string text = writeDesign(soundDesign());
  for (const ValueDescription& value : describeValues()) {
    EXPECT_THAT(text, HasSubstr("\n" + value.name + " ")) << value.name;
  }
  EXPECT_EQ(writeDesign(parseDesign(text, "a")), text);
}

TEST(DesignInput, ConvertsUnits) {
  EXPECT_DOUBLE_EQ(withValue("module = 0.1 in").module, 2.54);
  EXPECT_DOUBLE_EQ(withValue("face_width = 3 cm").faceWidth, 30.0);
  EXPECT_DOUBLE_EQ(withValue("torque = 1000 lbf.in").torque, 112.9848290276167);
  EXPECT_DOUBLE_EQ(withValue("torque = 100 lbf.ft").torque, 135.58179483314004);
  EXPECT_DOUBLE_EQ(withValue("torque = 0.2 kNm").torque, 200.0);
  EXPECT_DOUBLE_EQ(withValue("torque = 2500 Nmm").torque, 2.5);
  EXPECT_DOUBLE_EQ(withValue("speed = 10 1/s").speed, 600.0);
  EXPECT_NEAR(withValue("speed = 100 rad/s").speed, 3000.0 / std::numbers::pi, 1e-9);
  EXPECT_NEAR(withValue("pressure_angle = 0.4363323 rad").pressureAngle, 25.0, 1e-5);
  EXPECT_EQ(withValue("pressure_angle = 15°").pressureAngle, 15.0);
}

TEST(DesignInput, SetsOneValueWithOrWithoutItsUnit) {
  EXPECT_EQ(withValue("torque=250 Nm").torque, 250.0);
  EXPECT_EQ(withValue("torque=250").torque, 250.0);
  EXPECT_EQ(withValue(" pinion_teeth = 23 ").pinionTeeth, 23);
  EXPECT_EQ(withValue("pinion_shift=+0.5").pinionShift, 0.5);
  EXPECT_EQ(withValue("wheel_material=c45").wheelMaterial, "C45");
  EXPECT_EQ(withValue("speed=1.5e3").speed, 1500.0);
}

TEST(DesignInput, LeavesAllOtherValuesAlone) {
  DesignInput expected = soundDesign();
  expected.wheelBore = 12.5;
  EXPECT_EQ(withValue("wheel_bore=12.5 mm"), expected);
}

TEST(DesignInput, StaysAsItIsWhenAnAssignmentIsWrong) {
  DesignInput input = soundDesign();
  EXPECT_THROW(setValue(input, "torque=-1"), InputError);
  EXPECT_EQ(input, soundDesign());
}

TEST(DesignInput, NamesUnknownValues) {
  EXPECT_EQ(parseError(completeText() + "modul = 2\n"),
            "a.gear:9: unknown value 'modul'; did you mean 'module'?");
  EXPECT_EQ(setError("whel_teeth=4"),
            "whel_teeth=4: unknown value 'whel_teeth'; did you mean 'wheel_teeth'?");
  EXPECT_THAT(setError("colour=red"),
              StartsWith("colour=red: unknown value 'colour'; known are module, pinion_teeth, "));
}

TEST(DesignInput, NamesLinesWithoutAnAssignment) {
  EXPECT_EQ(parseError("module 2.5 mm\n"),
            "a.gear:1: 'module 2.5 mm' has no '='; write it as in 'module = 2.5 mm'");
  EXPECT_EQ(parseError("\n= 2.5 mm\n"),
            "a.gear:2: no name before '='; write it as in 'module = 2.5 mm'");
  EXPECT_EQ(setError("torque"), "torque: 'torque' has no '='; write it as in 'module = 2.5 mm'");
}

TEST(DesignInput, NamesMissingValuesOfAnAssignment) {
  EXPECT_EQ(parseError("module = # 2.5\n"),
            "a.gear:1: module has no value; write for example 'module = 2.5 mm'");
  EXPECT_EQ(setError("wheel_material="),
            "wheel_material=: wheel_material has no value; write for example "
            "'wheel_material = 42CrMo4'");
}

TEST(DesignInput, NamesAllMandatoryValuesThatAreMissing) {
  EXPECT_EQ(parseError("module = 2 mm\npinion_teeth = 20\nwheel_teeth = 30\nface_width = 20 mm\n"
                       "pinion_material = C45\nwheel_material = C45\n"),
            "a.gear:6: missing torque and speed; add for example 'torque = 100 Nm' and "
            "'speed = 1450 rpm'");
  EXPECT_THAT(parseError(""), StartsWith("a.gear:1: missing module, pinion_teeth, wheel_teeth, "
                                         "face_width, pinion_material, wheel_material, torque and "
                                         "speed; add for example 'module = 2.5 mm', "));
}

TEST(DesignInput, NamesDuplicates) {
  EXPECT_EQ(parseError("module = 2 mm\n# c\nmodule = 2 mm\n"),
            "a.gear:3: module is given twice, first in line 1; keep only one of the two lines");
}

TEST(DesignInput, NamesWhatIsNotANumber) {
  EXPECT_EQ(setError("module=big"),
            "module=big: 'big' is not a number; write for example 'module = 2.5 mm'");
  EXPECT_EQ(setError("module=nan mm"),
            "module=nan mm: 'nan' is not a number; write for example 'module = 2.5 mm'");
  EXPECT_EQ(setError("torque=inf"),
            "torque=inf: 'inf' is not a number; write for example 'torque = 100 Nm'");
  EXPECT_EQ(setError("module=2.5.1"),
            "module=2.5.1: '2.5.1' is not a number; write for example 'module = 2.5 mm'");
  EXPECT_EQ(setError("module=+-2"),
            "module=+-2: '+-2' is not a number; write for example 'module = 2.5 mm'");
  EXPECT_EQ(setError("module=2,5 mm"),
            "module=2,5 mm: '2,5' is not a number; write it with a decimal point, as in "
            "'module = 2.5 mm'");
}

TEST(DesignInput, NamesCountsThatAreNotWhole) {
  EXPECT_EQ(setError("pinion_teeth=20.5"),
            "pinion_teeth=20.5: pinion_teeth = 20.5 is not a whole number; write for example "
            "'pinion_teeth = 20'");
}

TEST(DesignInput, NamesWrongUnits) {
  EXPECT_EQ(setError("torque=5 kg"),
            "torque=5 kg: torque cannot be given in 'kg'; use Nm, Nmm, kNm, lbf.in or lbf.ft");
  EXPECT_EQ(setError("pinion_teeth=20 mm"),
            "pinion_teeth=20 mm: pinion_teeth is a number without a unit, not in 'mm'; write for "
            "example 'pinion_teeth = 20'");
}

TEST(DesignInput, NamesValuesOutOfRange) {
  EXPECT_EQ(setError("module=900 mm"),
            "module=900 mm: module = 900 mm is out of range; allowed are 0.2 to 50 mm");
  EXPECT_EQ(setError("face_width=100 in"),
            "face_width=100 in: face_width = 100 in is out of range; allowed are 0.5 to 1000 mm");
  EXPECT_EQ(setError("pinion_teeth=2"),
            "pinion_teeth=2: pinion_teeth = 2 is out of range; allowed are 3 to 500");
  EXPECT_EQ(setError("speed=1e999"),
            "speed=1e999: speed = 1e999 is out of range; allowed are 0.01 to 60000 rpm");
  EXPECT_EQ(setError("torque=0"),
            "torque=0: torque = 0 is out of range; allowed are 0.001 to 1000000 Nm");
}

TEST(DesignInput, TakesTheEndsOfEachRange) {
  for (const ValueDescription& value : describeValues()) {
    const std::size_t to = value.range.find(" to ");
    if (to == std::string::npos) {
      continue;
    }
    EXPECT_NO_THROW(withValue(value.name + "=" + value.range.substr(0, to))) << value.name;
    EXPECT_NO_THROW(withValue(value.name + "=" + value.range.substr(to + 4))) << value.name;
  }
}

TEST(DesignInput, NamesWhatFollowsAValue) {
  EXPECT_EQ(setError("module=2.5 mm wide"),
            "module=2.5 mm wide: 'wide' follows the value of module; write only "
            "'module = 2.5 mm'");
  EXPECT_EQ(setError("wheel_material=C45 steel"),
            "wheel_material=C45 steel: 'steel' follows the value of wheel_material; write only "
            "'wheel_material = 42CrMo4'");
}

TEST(DesignInput, NamesUnknownMaterials) {
  EXPECT_EQ(setError("pinion_material=16MnCr6"),
            "pinion_material=16MnCr6: unknown material '16MnCr6'; did you mean '16MnCr5'?");
  EXPECT_EQ(setError("pinion_material=butter"),
            "pinion_material=butter: unknown material 'butter'; known are S355, C45, 42CrMo4, "
            "31CrMoV9, 16MnCr5 and 18CrNiMo7-6");
}

TEST(DesignInput, KeepsEveryMessageInOneLine) {
  for (const std::string text :
       {"mod\tule\x01 = 2\n", "module = 2 \x02 mm\n", "module = 1e999\x03\n", "\x04\n"}) {
    EXPECT_THAT(parseError(text), Not(HasSubstr("\n"))) << text;
    EXPECT_TRUE(std::ranges::none_of(parseError(text), [](char c) { return c > 0 && c < 0x20; }));
  }
  EXPECT_THAT(setError("module\n=\n1 kg"), Not(HasSubstr("\n")));
}

TEST(DesignInput, ReadsTheSampleDesigns) {
  const std::filesystem::path folder = GEAR_PAIR_DESIGNS_DIR;
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    EXPECT_NO_THROW(readDesign(entry.path())) << entry.path();
    ++count;
  }
  EXPECT_GE(count, 1);
}

TEST(DesignInput, NamesFilesThatCannotBeRead) {
  EXPECT_EQ(messageOf<InputError>([] { readDesign("no/such.gear"); }),
            "no/such.gear:1: cannot read the file; give the path of a readable design file");
  EXPECT_THAT(messageOf<InputError>([] { readDesign(GEAR_PAIR_DESIGNS_DIR); }),
              EndsWith(":1: cannot read the file; give the path of a readable design file"));
}

TEST(DesignInput, DescribesEveryValue) {
  EXPECT_EQ(describeValues().size(), 19U);
  for (const ValueDescription& value : describeValues()) {
    EXPECT_FALSE(value.description.empty()) << value.name;
    EXPECT_FALSE(value.range.empty()) << value.name;
    EXPECT_EQ(value.mandatory, value.defaultText.empty()) << value.name;
    EXPECT_NO_THROW(withValue(value.name + "=" + value.example)) << value.name;
    if (!value.unit.empty()) {
      EXPECT_EQ(value.unit, value.acceptedUnits.front()) << value.name;
      EXPECT_THAT(value.range, EndsWith(" " + value.unit)) << value.name;
    }
  }
}

TEST(DesignInput, DescribesDefaultsAsTheyAre) {
  DesignInput input = soundDesign();
  for (const ValueDescription& value : describeValues()) {
    if (!value.mandatory) {
      setValue(input, value.name + "=" + value.defaultText);
      EXPECT_EQ(valueText(input, value.name), valueText(DesignInput{}, value.name));
    }
  }
}

TEST(DesignInput, GivesSingleValuesAsText) {
  EXPECT_EQ(valueText(soundDesign(), "module"), "2.5 mm");
  EXPECT_EQ(valueText(soundDesign(), "wheel_teeth"), "41");
  EXPECT_EQ(valueText(soundDesign(), "pinion_material"), "16MnCr5");
  EXPECT_THROW(valueText(soundDesign(), "colour"), InputError);
}

}  // namespace
}  // namespace GearPair
