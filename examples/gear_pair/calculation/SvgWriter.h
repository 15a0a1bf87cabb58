#pragma once

#include <string>

#include "examples/gear_pair/calculation/Geometry.h"

namespace GearPair {

/// Writes an SVG document element by element. Coordinates are those of the document: pixels, y
/// down. Every element names a class of the document's style sheet.
class SvgWriter {
 public:
  SvgWriter(double width, double height, const std::string& styleSheet);

  void polygon(const Polyline& closed, const std::string& styleClass);
  void line(Point from, Point to, const std::string& styleClass);
  void circle(Point centre, double radius, const std::string& styleClass);
  void rectangle(Point corner, double width, double height, const std::string& styleClass);
  /// Data in the syntax of an SVG path.
  void path(const std::string& data, const std::string& styleClass);
  void text(Point at, const std::string& content, const std::string& styleClass);

  /// What follows is seen only within the circle, until endClip().
  void beginCircleClip(const std::string& id, Point centre, double radius);
  void endClip();

  /// The document. Nothing may be added afterwards.
  std::string finish();

 private:
  std::string document_;
};

/// "x y" in the syntax of an SVG path.
std::string svgPoint(Point point);

/// A length or coordinate as SVG writes it.
std::string svgNumber(double value);

}  // namespace GearPair
