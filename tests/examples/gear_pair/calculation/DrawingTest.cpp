#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <vector>

#include "examples/gear_pair/calculation/Drawing.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::string drawingOf(const DesignInput& input) {
  const Computed pair = compute(input);
  return drawPair(pair.requirements, pair.pinion, pair.wheel, pair.mesh);
}

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

/// The corners of the first path of a style class that consists of straight lines.
Polyline pathOf(const std::string& svg, const std::string& styleClass) {
  const std::size_t end = svg.find("Z\" class=\"" + styleClass + "\"");
  const std::size_t start = svg.rfind("d=\"M", end) + 4;
  std::string data = svg.substr(start, end - start);
  std::replace(data.begin(), data.end(), 'L', ' ');
  std::istringstream numbers(data);
  Polyline line;
  for (Point point; numbers >> point.x >> point.y;) {
    line.push_back(point);
  }
  return line;
}

/// Whether every start tag has its end tag, in the right order.
bool isBalanced(const std::string& svg) {
  const std::regex tag("<(/?)([A-Za-z]+)[^>]*?(/?)>");
  std::vector<std::string> open;
  for (std::sregex_iterator match(svg.begin(), svg.end(), tag), none; match != none; ++match) {
    if ((*match)[1].length() > 0) {
      if (open.empty() || open.back() != (*match)[2]) {
        return false;
      }
      open.pop_back();
    } else if ((*match)[3].length() == 0) {
      open.push_back((*match)[2]);
    }
  }
  return open.empty();
}

DesignInput boredDesign() {
  DesignInput input = soundDesign();
  input.pinionBore = 20.0;
  input.wheelBore = 30.0;
  return input;
}

TEST(PairDrawing, IsAnSvgDocument) {
  const std::string svg = drawingOf(boredDesign());
  EXPECT_THAT(svg, StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns="));
  EXPECT_THAT(svg, EndsWith("</svg>\n"));
  EXPECT_THAT(svg, Not(HasSubstr("nan")));
  EXPECT_THAT(svg, Not(HasSubstr("inf\"")));
}

TEST(PairDrawing, ShowsBothGearsTrueToScale) {
  const Computed pair = compute(boredDesign());
  const std::string svg = drawPair(pair.requirements, pair.pinion, pair.wheel, pair.mesh);
  const Polyline wheel = pathOf(svg, "wheel");
  const Polyline pinion = pathOf(svg, "pinion");
  ASSERT_EQ(wheel.size(), pair.wheel.outline.size());
  ASSERT_EQ(pinion.size(), pair.pinion.outline.size());
  const double ratio = signedArea(wheel) / signedArea(pinion);
  EXPECT_NEAR(ratio, signedArea(pair.wheel.outline) / signedArea(pair.pinion.outline), 1e-3);
}

TEST(PairDrawing, ShowsTheGearsInMeshWithoutOverlap) {
  const std::string svg = drawingOf(boredDesign());
  const Polyline wheel = pathOf(svg, "wheel");
  const Polyline pinion = pathOf(svg, "pinion");
  const double wheelStart = std::ranges::min_element(wheel, {}, &Point::x)->x;
  double nearest = 1e9;
  for (const Point point : pinion) {
    if (point.x > wheelStart) {
      EXPECT_FALSE(contains(wheel, point)) << point.x << ", " << point.y;
      nearest = std::min(nearest, distanceToOutline(wheel, point));
    }
  }
  EXPECT_LT(nearest, 1.0);
}

TEST(PairDrawing, StaysWithinTheSheet) {
  DesignInput large = boredDesign();
  large.wheelTeeth = 200;
  for (const DesignInput& input : {boredDesign(), large, standardDesign(20, 20)}) {
    const std::string svg = drawingOf(input);
    for (const std::string style : {"wheel", "pinion"}) {
      for (const Point point : pathOf(svg, style)) {
        ASSERT_GT(point.x, 28.0);
        ASSERT_LT(point.x, 1042.0);
        ASSERT_GT(point.y, 28.0);
        ASSERT_LT(point.y, 740.0);
      }
    }
  }
}

TEST(PairDrawing, NamesTheMainFigures) {
  const std::string svg = drawingOf(boredDesign());
  for (const std::string text :
       {">a = 77.091 mm<", ">Pinion, 20 teeth<", ">Wheel, 41 teeth<", ">2.500 mm<", ">0.120 mm<",
        ">16MnCr5 / 42CrMo4<", ">line of action<"}) {
    EXPECT_THAT(svg, HasSubstr(text));
  }
}

TEST(PairDrawing, WritesLengthsInTheUnitsOfTheReaderOnTheSameSheet) {
  const Computed pair = compute(boredDesign());
  const auto draw = [&pair](UnitSystem units) {
    return drawPair(pair.requirements, pair.pinion, pair.wheel, pair.mesh, units);
  };
  const std::string us = draw(UnitSystem::kUsCustomary);
  EXPECT_THAT(us, HasSubstr(">a = 3.0351 in<"));
  EXPECT_THAT(us, Not(HasSubstr(" mm<")));
  EXPECT_EQ(pathOf(us, "wheel"), pathOf(draw(UnitSystem::kMetric), "wheel"));
}

TEST(PairDrawing, DoesNotDependOnTheLoad) {
  DesignInput loaded = boredDesign();
  loaded.torque *= 2.0;
  EXPECT_EQ(drawingOf(loaded), drawingOf(boredDesign()));
}

TEST(PairDrawing, ShowsBoresOnlyWhereThereAreAny) {
  EXPECT_EQ(occurrences(drawingOf(soundDesign()), "class=\"wheel-opening\""), 0U);
  // Six holes in the web and the bore.
  EXPECT_EQ(occurrences(drawingOf(boredDesign()), "class=\"wheel-opening\""), 7U);
  EXPECT_EQ(occurrences(drawingOf(boredDesign()), "class=\"pinion-opening\""), 1U);
}

TEST(PairDrawing, ShowsPitchAndBaseCirclesOfBothGears) {
  const std::string svg = drawingOf(soundDesign());
  // Twice each in the drawing and in the lens; the legend shows each line once.
  EXPECT_EQ(occurrences(svg, "class=\"pitch\""), 5U);
  EXPECT_EQ(occurrences(svg, "class=\"base\""), 5U);
}

TEST(Drawings, CloseEveryElement) {
  EXPECT_FALSE(isBalanced("<a><b></a></b>"));
  const std::string rack = drawCutterRack(computeCutterRack(deriveRequirements(soundDesign())));
  EXPECT_TRUE(isBalanced(rack.substr(rack.find("<svg"))));
  const std::string pair = drawingOf(standardDesign(20, 20));
  EXPECT_EQ(occurrences(pair, "<g "), occurrences(pair, "</g>"));
  EXPECT_EQ(occurrences(pair, "<text "), occurrences(pair, "</text>"));
}

TEST(CutterDrawing, ShowsProfileAndDimensions) {
  const CutterRack rack = computeCutterRack(deriveRequirements(soundDesign()));
  const std::string svg = drawCutterRack(rack);
  EXPECT_EQ(pathOf(svg, "cutter").size(), rack.profile.size());
  EXPECT_THAT(svg, HasSubstr(">p = 7.854 mm<"));
  EXPECT_THAT(svg, HasSubstr(">s = 3.927 mm<"));
  EXPECT_THAT(svg, HasSubstr(">ρ = 0.950 mm<"));
  EXPECT_THAT(svg, HasSubstr(">α = 20.00°<"));
  EXPECT_THAT(svg, EndsWith("</svg>\n"));
}

}  // namespace
}  // namespace GearPair
